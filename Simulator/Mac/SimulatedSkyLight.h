#pragma once

#include <map>

#include "Platform/SkyLight.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

/// The private display services as one process sees them; each is there from the system version that brought it.
class SimulatedSkyLight final : public SkyLight {
 public:
  SimulatedSkyLight(SimulatedMac& mac, Session& session);

  std::optional<std::string> SLSCopyDisplayUUID(CGDirectDisplayID display) override;
  std::optional<std::uint32_t> SLSIsDisplayModeVRR(CGDirectDisplayID display, std::int32_t modeNumber) override;
  std::optional<bool> SLSDisplaySupportsHDRMode(CGDirectDisplayID display) override;
  std::optional<bool> SLSDisplayIsHDRModeEnabled(CGDirectDisplayID display) override;
  std::optional<std::int32_t> SLSDisplaySetHDRModeEnabled(CGDirectDisplayID display, bool enabled) override;
  std::optional<std::int32_t> SLSSetDisplayRotation(CGDirectDisplayID display, std::int32_t angle,
                                                    std::int32_t reserved1, std::int32_t reserved2,
                                                    std::int32_t reserved3, std::int32_t reserved4) override;

  std::optional<bool> DisplayServicesCanChangeBrightness(CGDirectDisplayID display) override;
  std::optional<float> DisplayServicesGetBrightness(CGDirectDisplayID display) override;
  std::optional<std::int32_t> DisplayServicesSetBrightness(CGDirectDisplayID display, float brightness) override;
  std::optional<std::int32_t> DisplayServicesRegisterForBrightnessChangeNotifications(
      CGDirectDisplayID display, BrightnessCallback callback) override;
  std::optional<std::int32_t> DisplayServicesUnregisterForBrightnessChangeNotifications(
      CGDirectDisplayID display) override;

  std::optional<std::int32_t> CoreDisplay_Display_GetPresetCount(CGDirectDisplayID display) override;
  std::optional<plist::Dictionary> CoreDisplay_Display_CopyPresetData(CGDirectDisplayID display,
                                                                      std::int32_t index) override;
  std::optional<std::int32_t> SLSDisplayGetActivePresetIndex(CGDirectDisplayID display) override;
  std::optional<std::int32_t> SLSDisplaySetActivePresetIndex(CGDirectDisplayID display, std::int32_t index) override;

  /// Those that have a frame and those that had one when it was last looked at.
  std::optional<std::vector<std::uint32_t>> CADisplays() override;
  double CADisplayFrameWidth(std::uint32_t caDisplay) override;
  void CADisplayInvalidate(std::uint32_t caDisplay) override;

 private:
  bool isSystemAtLeast(std::int64_t major, std::int64_t minor) const;
  SimulatedDisplay* find(CGDirectDisplayID display) const { return mac_.windowServer().displayWithID(display); }
  /// Notes a call, with the reason when it is refused; its answer.
  std::int32_t answer(const std::string& call, const std::optional<std::string>& refusal) const;
  /// The display when the system reaches its brightness, else null.
  SimulatedDisplay* findDimmable(CGDirectDisplayID display) const;

  /// Points; 0 while the display has no place on the desktop.
  double frameWidth(const SimulatedDisplay& display) const;

  SimulatedMac& mac_;
  Session& session_;
  /// Core Animation's numbers of displays, and the widths that this process was told last.
  std::map<const SimulatedDisplay*, std::uint32_t> caNumbers_;
  std::map<std::uint32_t, double> caWidths_;
};

}  // namespace vlm::sim
