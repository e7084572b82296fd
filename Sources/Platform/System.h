#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vlm {

struct OperatingSystemVersion {
  std::int64_t majorVersion = 0;
  std::int64_t minorVersion = 0;
  std::int64_t patchVersion = 0;
};

/// The system at large: version, kernel, log, clock, locale, grey scale.
class System {
 public:
  virtual ~System() = default;

  /// Absent when the system cannot tell.
  virtual std::optional<OperatingSystemVersion> operatingSystemVersion() = 0;
  /// A 32-bit integer of the kernel; absent when the call fails.
  virtual std::optional<std::int32_t> sysctlbyname(const std::string& name) = 0;
  /// Whether anybody reads the log; when not, texts need not be made.
  virtual bool isLogEnabled() = 0;
  virtual void log(const std::string& text) = 0;
  /// Seconds since 1 January 2001, 00:00 UTC.
  virtual double timeIntervalSinceReferenceDate() = 0;
  /// The decimal separator of the user's locale.
  virtual std::string decimalSeparator() = 0;

  /// Whether the picture is forced to grey: the older switch, and that of Universal Access.
  virtual bool CGDisplayUsesForceToGray() = 0;
  virtual bool UAGrayscaleIsEnabled() = 0;
};

}  // namespace vlm
