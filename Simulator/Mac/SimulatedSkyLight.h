#pragma once

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

  std::optional<bool> DisplayServicesCanChangeBrightness(CGDirectDisplayID display) override;
  std::optional<float> DisplayServicesGetBrightness(CGDirectDisplayID display) override;
  std::optional<std::int32_t> DisplayServicesSetBrightness(CGDirectDisplayID display, float brightness) override;
  std::optional<std::int32_t> DisplayServicesRegisterForBrightnessChangeNotifications(
      CGDirectDisplayID display, BrightnessCallback callback) override;
  std::optional<std::int32_t> DisplayServicesUnregisterForBrightnessChangeNotifications(
      CGDirectDisplayID display) override;

 private:
  bool isSystemAtLeast(std::int64_t major, std::int64_t minor) const;
  SimulatedDisplay* find(CGDirectDisplayID display) const { return mac_.windowServer().displayWithID(display); }
  /// The display when the system reaches its brightness, else null.
  SimulatedDisplay* findDimmable(CGDirectDisplayID display) const;

  SimulatedMac& mac_;
  Session& session_;
};

}  // namespace vlm::sim
