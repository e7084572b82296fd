#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vlm {

struct RunningApplication {
  std::int32_t processIdentifier = 0;
  std::string bundleIdentifier;
  std::string localizedName;
  std::string bundlePath;
  friend bool operator==(const RunningApplication&, const RunningApplication&) = default;
};

/// Running applications and opening things.
class Workspace {
 public:
  virtual ~Workspace() = default;

  virtual std::int32_t processIdentifier() = 0;
  /// In the system's order; this process too when it has that identifier.
  virtual std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(const std::string& identifier) = 0;
  /// False when there is no such process.
  virtual bool forceTerminate(std::int32_t processIdentifier) = 0;
};

}  // namespace vlm
