#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Locations of files as the platform writes them: "file:///Library/My%20Profile.icc".
namespace vlm {

/// The URL of an absolute path.
std::string fileURLWithPath(std::string_view path);

/// The absolute path that a file URL leads to, without a slash at its end; absent for anything else: another scheme,
/// another machine, broken or zero-byte escapes.
std::optional<std::string> pathOfFileURL(std::string_view url);

}  // namespace vlm
