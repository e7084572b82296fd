#pragma once

#include <cstdint>
#include <string>

/// Texts in the user's language, from the string tables of the application bundle.
namespace vlm {

/// The text with a number; the number itself when the table does not have it.
std::string GetBundleIndNSString(const std::string& table, std::int32_t index);
std::string GetBundleNSString(const std::string& table, const std::string& key, const std::string& ifAbsent);

}  // namespace vlm
