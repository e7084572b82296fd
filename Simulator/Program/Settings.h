#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/PropertyList.h"

namespace vlm::sim {

/// The value at a path of keys with dots between, numbers for the places of a list: "displaySetsArray.0.name". Null
/// when there is none.
const plist::Value* valueAt(const plist::Dictionary& root, std::string_view keyPath);

/// A value as people write it in an expectation: true, 1001, 0.5, the bare text of a string.
std::string plainText(const plist::Value& value);

/// Where two values differ first, as a path of keys behind `path`; absent when they are equal.
std::optional<std::string> firstDifference(const plist::Value& before, const plist::Value& now,
                                           const std::string& path);

}  // namespace vlm::sim
