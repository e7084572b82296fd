#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "Platform/PropertyList.h"
#include "Platform/Quartz.h"

namespace vlm {

/// Private display services (SkyLight, DisplayServices, CoreDisplay). Every answer is absent on a system that lacks the
/// function asked. Main thread only.
class SkyLight {
 public:
  /// The display and the "value" dictionary of the notification.
  using BrightnessCallback = std::function<void(CGDirectDisplayID, const plist::Dictionary&)>;

  virtual ~SkyLight() = default;

  /// The system's UUID of a display as text, "37D8832A-2D66-02CA-B9F7-8F30A301B230".
  virtual std::optional<std::string> SLSCopyDisplayUUID(CGDirectDisplayID display) = 0;
  /// 0 fixed rate, 1 variable.
  virtual std::optional<std::uint32_t> SLSIsDisplayModeVRR(CGDirectDisplayID display, std::int32_t modeNumber) = 0;
  virtual std::optional<bool> SLSDisplaySupportsHDRMode(CGDirectDisplayID display) = 0;
  virtual std::optional<bool> SLSDisplayIsHDRModeEnabled(CGDirectDisplayID display) = 0;

  virtual std::optional<bool> DisplayServicesCanChangeBrightness(CGDirectDisplayID display) = 0;
  /// 0 to 1.
  virtual std::optional<float> DisplayServicesGetBrightness(CGDirectDisplayID display) = 0;
  virtual std::optional<std::int32_t> DisplayServicesSetBrightness(CGDirectDisplayID display, float brightness) = 0;
  virtual std::optional<std::int32_t> DisplayServicesRegisterForBrightnessChangeNotifications(
      CGDirectDisplayID display, BrightnessCallback callback) = 0;
  virtual std::optional<std::int32_t> DisplayServicesUnregisterForBrightnessChangeNotifications(
      CGDirectDisplayID display) = 0;
};

}  // namespace vlm
