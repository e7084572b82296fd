#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vlm {

struct OperatingSystemVersion {
  std::int64_t majorVersion = 0;
  std::int64_t minorVersion = 0;
  std::int64_t patchVersion = 0;
};

/// The system at large: version, kernel, log, clock, locale, grey scale, Dock, volume.
class System {
 public:
  virtual ~System() = default;

  /// Absent when the system cannot tell.
  virtual std::optional<OperatingSystemVersion> operatingSystemVersion() = 0;
  /// A 32-bit integer of the kernel; absent when the call fails.
  virtual std::optional<std::int32_t> sysctlbyname(const std::string& name) = 0;
  /// Whether anybody reads an area of the log; when not, texts need not be made. Areas are short names ("VLMDisplay").
  virtual bool isLogEnabled(std::string_view area) = 0;
  virtual void log(std::string_view area, const std::string& text) = 0;
  /// Seconds since 1 January 2001, 00:00 UTC.
  virtual double timeIntervalSinceReferenceDate() = 0;
  /// The decimal separator of the user's locale.
  virtual std::string decimalSeparator() = 0;

  /// Whether the picture is forced to grey: the older switch, and that of Universal Access.
  virtual bool CGDisplayUsesForceToGray() = 0;
  virtual bool UAGrayscaleIsEnabled() = 0;
  /// Switch it. Each changes its own switch alone: from 10.15 on the older one is not heeded.
  virtual void CGDisplayForceToGray(bool forceToGray) = 0;
  virtual void UAGrayscaleSetEnabled(bool enabled) = 0;

  /// Whether the Dock hides itself while nobody uses it.
  virtual bool CoreDockGetAutoHideEnabled() = 0;
  virtual void CoreDockSetAutoHideEnabled(bool enabled) = 0;

  /// Volume of the output device in use, 0 to 1; absent when there is none, or none that can be set.
  virtual std::optional<float> CoreAudio_GetVolume() = 0;
  /// False when it was refused.
  virtual bool CoreAudio_SetVolume(float volume) = 0;
};

}  // namespace vlm
