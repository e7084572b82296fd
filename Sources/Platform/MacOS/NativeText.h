#pragma once

#include <string>

#include "Platform/MacOS/PropertyListBridge.h"

#import <Foundation/Foundation.h>

namespace vlm::native {

/// Nil when the text is not UTF-8.
inline NSString* native(const std::string& text) { return CFBridgingRelease(makeCFString(text).release()); }

/// Nil when the path is not UTF-8, which the class would answer with an exception.
inline NSURL* fileURL(const std::string& path) {
  NSString* text = native(path);
  return text == nil ? nil : [NSURL fileURLWithPath:text];
}

}  // namespace vlm::native
