#pragma once

#import <AppKit/AppKit.h>

namespace vlm::native {

/// Between the global display space and AppKit's screen space, either way: the latter has its origin at the bottom left
/// corner of the first screen, and y goes up.
inline CGPoint flipped(CGPoint point) {
  return CGPointMake(point.x, NSMaxY(NSScreen.screens.firstObject.frame) - point.y);
}

}  // namespace vlm::native
