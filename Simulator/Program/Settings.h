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
/// The same with bytes in full, as commands take them.
std::string wholeText(const plist::Value& value);

/// A value as people write it in a command: true, false, numbers, "data:0A1F" for bytes, everything else a text;
/// "text:12" is one, too.
plist::Value valueFrom(const std::string& text);

/// Puts a value at a path of keys. Makes the dictionaries on the way where there is nothing; the place behind the last
/// one of a list is added to it, and where there is nothing the place 0 begins a list. False when something else stands
/// in the way.
bool setValueAt(plist::Value& root, std::string_view keyPath, const plist::Value& value);

/// Where two values differ first, as a path of keys behind `path`; absent when they are equal.
std::optional<std::string> firstDifference(const plist::Value& before, const plist::Value& now,
                                           const std::string& path);

}  // namespace vlm::sim
