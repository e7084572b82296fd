#pragma once

#include <cstdint>
#include <tuple>

#include "Platform/System.h"

namespace vlm::sim {

/// Whether a system is that version or a later one.
inline bool isAtLeast(const OperatingSystemVersion& version, std::int64_t major, std::int64_t minor,
                      std::int64_t patch = 0) {
  return std::tie(version.majorVersion, version.minorVersion, version.patchVersion) >= std::tie(major, minor, patch);
}

}  // namespace vlm::sim
