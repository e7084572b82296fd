#pragma once

#include <cstdint>

namespace vlm {

/// An operating-system version as one integer, for comparing.
constexpr std::int32_t systemVersionOf(std::int32_t majorVersion, std::int32_t minorVersion,
                                       std::int32_t patchVersion = 0) {
  return majorVersion * 65536 + minorVersion * 256 + patchVersion;
}

inline constexpr std::int32_t kSystem10_9 = systemVersionOf(10, 9);
inline constexpr std::int32_t kSystem10_12 = systemVersionOf(10, 12);
inline constexpr std::int32_t kSystem10_13 = systemVersionOf(10, 13);
inline constexpr std::int32_t kSystem10_14 = systemVersionOf(10, 14);
inline constexpr std::int32_t kSystem10_15 = systemVersionOf(10, 15);
inline constexpr std::int32_t kSystem11 = systemVersionOf(11, 0);
inline constexpr std::int32_t kSystem12 = systemVersionOf(12, 0);
inline constexpr std::int32_t kSystem13 = systemVersionOf(13, 0);

/// The version of the system that runs, asked once per process; kSystem10_9 when the system cannot tell.
std::int32_t systemVersion();

/// Whether the process runs translated on a processor of another architecture; asked once per process.
bool Common_AmIRunningRosetta2();
/// The translation of the processors before: none of the systems that this daemon runs on has it.
constexpr bool Common_AmIRunningRosetta1() { return false; }

}  // namespace vlm
