#pragma once

#include <optional>
#include <string>

namespace vlm::sim {

/// Replaces a file's content: whoever reads meanwhile, or after a crash, sees the old file or the new one, whole.
/// Answers the reason of a failure; the old file then stands as it was, and no other is left behind.
std::optional<std::string> replaceFile(const std::string& path, const std::string& content);

}  // namespace vlm::sim
