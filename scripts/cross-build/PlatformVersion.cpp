// What clang calls for "@available" above the oldest supported system. On a Mac it comes from the compiler's own
// run-time library, which a compiler from elsewhere lacks; only scripts/cross-build-macos.sh compiles this.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include <sys/sysctl.h>

namespace {

/// Major, minor, patch; missing ones are 0.
using Version = std::array<std::uint32_t, 3>;

/// All zeros when the system does not tell: then the older of two calls is made.
Version systemVersion() {
  Version version{};
  // "13.6.1". Longer than any system's.
  std::array<char, 64> text{};
  std::size_t size = text.size() - 1;
  if (sysctlbyname("kern.osproductversion", text.data(), &size, nullptr, 0) != 0) return version;
  const char* rest = text.data();
  for (std::uint32_t& part : version) {
    char* end = nullptr;
    part = static_cast<std::uint32_t>(std::strtoul(rest, &end, 10));
    if (*end != '.') break;
    rest = end + 1;
  }
  return version;
}

}  // namespace

extern "C" std::int32_t __isPlatformVersionAtLeast(std::uint32_t platform, std::uint32_t major, std::uint32_t minor,
                                                   std::uint32_t patch);

// The name is the compiler's. The program is built for one platform alone.
std::int32_t __isPlatformVersionAtLeast([[maybe_unused]] std::uint32_t platform, std::uint32_t major,
                                        std::uint32_t minor, std::uint32_t patch) {
  static const Version version = systemVersion();
  return version >= Version{major, minor, patch} ? 1 : 0;
}
