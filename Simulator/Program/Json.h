#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/PropertyList.h"

namespace vlm::sim {

/// A value as JSON over several lines, keys in ascending order. Data becomes a text in hexadecimal digits, a date its
/// seconds since 1 January 2001; what is no UTF-8 is replaced, a number that is none becomes null.
std::string jsonText(const plist::Value& value);

/// The value that `jsonText` wrote; nulls are left out. Absent when the text is no JSON.
std::optional<plist::Value> valueFromJson(std::string_view text);

}  // namespace vlm::sim
