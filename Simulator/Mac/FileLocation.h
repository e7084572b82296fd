#pragma once

#include <optional>
#include <string>

/// Locations of files as processes name them to the system. The simulated Mac's own: the daemon makes and reads its by
/// itself.
namespace vlm::sim {

/// The file URL of an absolute path.
std::string locationOfPath(const std::string& path);
/// Absent when the text is no URL of a file on this machine.
std::optional<std::string> pathAtLocation(const std::string& location);

}  // namespace vlm::sim
