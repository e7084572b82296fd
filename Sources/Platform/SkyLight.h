#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

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
  /// 0, or why not.
  virtual std::optional<std::int32_t> SLSDisplaySetHDRModeEnabled(CGDirectDisplayID display, bool enabled) = 0;
  /// Turns the picture at once, outside of any transaction: 0, 90, 180 or 270 degrees. The four numbers behind are 0.
  /// Answers 0, or why not.
  virtual std::optional<std::int32_t> SLSSetDisplayRotation(CGDirectDisplayID display, std::int32_t angle,
                                                            std::int32_t reserved1, std::int32_t reserved2,
                                                            std::int32_t reserved3, std::int32_t reserved4) = 0;

  virtual std::optional<bool> DisplayServicesCanChangeBrightness(CGDirectDisplayID display) = 0;
  /// 0 to 1.
  virtual std::optional<float> DisplayServicesGetBrightness(CGDirectDisplayID display) = 0;
  virtual std::optional<std::int32_t> DisplayServicesSetBrightness(CGDirectDisplayID display, float brightness) = 0;
  virtual std::optional<std::int32_t> DisplayServicesRegisterForBrightnessChangeNotifications(
      CGDirectDisplayID display, BrightnessCallback callback) = 0;
  virtual std::optional<std::int32_t> DisplayServicesUnregisterForBrightnessChangeNotifications(
      CGDirectDisplayID display) = 0;

  /// How many colour presets the display offers.
  virtual std::optional<std::int32_t> CoreDisplay_Display_GetPresetCount(CGDirectDisplayID display) = 0;
  /// "PresetValid" (boolean), "PresetName" and "PresetUniqueID" (texts) of the preset at an index.
  virtual std::optional<plist::Dictionary> CoreDisplay_Display_CopyPresetData(CGDirectDisplayID display,
                                                                              std::int32_t index) = 0;
  /// The index of the preset in use.
  virtual std::optional<std::int32_t> SLSDisplayGetActivePresetIndex(CGDirectDisplayID display) = 0;
  /// 0, or why not.
  virtual std::optional<std::int32_t> SLSDisplaySetActivePresetIndex(CGDirectDisplayID display, std::int32_t index) = 0;

  /// The displays as Core Animation lists them, by numbers that mean something to the next two alone; absent where it
  /// does not list them.
  virtual std::optional<std::vector<std::uint32_t>> CADisplays() = 0;
  /// Width of the display's frame in points, from a cached state that lags behind; 0 when it is gone.
  virtual double CADisplayFrameWidth(std::uint32_t caDisplay) = 0;
  /// Drops the cached state.
  virtual void CADisplayInvalidate(std::uint32_t caDisplay) = 0;
};

}  // namespace vlm
