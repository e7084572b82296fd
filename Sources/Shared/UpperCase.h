#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Just enough Unicode for the names of keys.
namespace vlm {

/// The UTF-8 text in capitals: the Latin, Greek and Cyrillic letters that stand on keyboards. Everything else, broken
/// UTF-8 too, stays as it is.
std::string upperCased(std::string_view text);

/// Length as the platform counts it, in units of UTF-16; text that is no UTF-8 counts a unit a byte.
std::size_t lengthInUTF16(std::string_view text);

}  // namespace vlm
