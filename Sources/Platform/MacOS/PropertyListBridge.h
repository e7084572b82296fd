#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/MacOS/ScopedCF.h"
#include "Platform/PropertyList.h"

namespace vlm::native {

// Core Foundation objects and property-list values, both ways.
//
// What has no counterpart is left out of the array or dictionary it stands in, and its neighbours stay: sets, null
// objects and keys that are no text on the way in, texts that are not UTF-8 on the way out, and in both directions
// what is nested deeper than kMaximumNesting.

/// Arrays and dictionaries within each other, the outermost counted; more would need a stack that nobody promises.
constexpr int kMaximumNesting = 512;

/// Absent for null and for what has no counterpart. The object stays the caller's.
std::optional<plist::Value> valueFromCF(CFTypeRef object);
/// Absent for null and for anything else than a dictionary.
std::optional<plist::Dictionary> dictionaryFromCF(CFTypeRef object);
std::optional<plist::Data> dataFromCF(CFDataRef data);
/// UTF-8; halves of surrogate pairs become "?". Absent for null.
std::optional<std::string> textFromCF(CFStringRef text);

/// Empty when the value has no counterpart.
ScopedCF<CFTypeRef> makeCFObject(const plist::Value& value);
ScopedCF<CFDictionaryRef> makeCFDictionary(const plist::Dictionary& dictionary);
/// Empty when the text is not UTF-8.
ScopedCF<CFStringRef> makeCFString(std::string_view text);

}  // namespace vlm::native
