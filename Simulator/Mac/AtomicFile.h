#pragma once

#include <optional>
#include <string>

namespace vlm::sim {

/// Replaces a file's content: whoever reads meanwhile, or after a crash, sees the old file or the new one, whole.
/// The file keeps its mode; a new one is its owner's alone, as preference files are. A symbolic link stays and the file
/// that it leads to is replaced; one that leads nowhere becomes the file.
/// Answers the reason of a failure; the old file then stands as it was, and no other is left behind.
std::optional<std::string> replaceFile(const std::string& path, const std::string& content);

}  // namespace vlm::sim
