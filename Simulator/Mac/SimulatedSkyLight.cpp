#include "Simulator/Mac/SimulatedSkyLight.h"

#include <algorithm>
#include <utility>

#include "Simulator/Mac/JournalText.h"

namespace vlm::sim {
namespace {

constexpr std::int32_t kSuccess = 0;
/// kIOReturnUnsupported: what the display services say of a panel that they do not reach.
constexpr std::int32_t kUnsupported = static_cast<std::int32_t>(0xe00002c7);

}  // namespace

SimulatedSkyLight::SimulatedSkyLight(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

bool SimulatedSkyLight::isSystemAtLeast(std::int64_t major, std::int64_t minor) const {
  const OperatingSystemVersion& version = mac_.machine().systemVersion;
  return std::pair(version.majorVersion, version.minorVersion) >= std::pair(major, minor);
}

SimulatedDisplay* SimulatedSkyLight::findDimmable(CGDirectDisplayID display) const {
  SimulatedDisplay* found = find(display);
  return found != nullptr && found->description.systemBrightness ? found : nullptr;
}

std::optional<std::string> SimulatedSkyLight::SLSCopyDisplayUUID(CGDirectDisplayID display) {
  const SimulatedDisplay* found = find(display);
  if (!isSystemAtLeast(10, 15) || found == nullptr) return std::nullopt;
  return found->uuid;
}

std::optional<std::uint32_t> SimulatedSkyLight::SLSIsDisplayModeVRR(CGDirectDisplayID display,
                                                                    std::int32_t modeNumber) {
  if (!isSystemAtLeast(12, 0)) return std::nullopt;
  const SimulatedDisplay* found = find(display);
  const SimulatedMode* mode = found == nullptr ? nullptr : found->modeNumbered(modeNumber);
  return mode == nullptr ? 0 : mode->variableRefresh;
}

std::optional<bool> SimulatedSkyLight::SLSDisplaySupportsHDRMode(CGDirectDisplayID display) {
  if (!isSystemAtLeast(11, 0)) return std::nullopt;
  const SimulatedDisplay* found = find(display);
  return found != nullptr && found->description.supportsHDR;
}

std::optional<bool> SimulatedSkyLight::SLSDisplayIsHDRModeEnabled(CGDirectDisplayID display) {
  if (!isSystemAtLeast(11, 0)) return std::nullopt;
  const SimulatedDisplay* found = find(display);
  return found != nullptr && found->hdr;
}

std::optional<bool> SimulatedSkyLight::DisplayServicesCanChangeBrightness(CGDirectDisplayID display) {
  return findDimmable(display) != nullptr;
}

std::optional<float> SimulatedSkyLight::DisplayServicesGetBrightness(CGDirectDisplayID display) {
  const SimulatedDisplay* found = findDimmable(display);
  return found == nullptr ? std::nullopt : std::optional(found->brightness);
}

std::optional<std::int32_t> SimulatedSkyLight::DisplayServicesSetBrightness(CGDirectDisplayID display,
                                                                            float brightness) {
  SimulatedDisplay* found = findDimmable(display);
  if (found == nullptr) return kUnsupported;
  session_.record("DisplayServicesSetBrightness(" + found->description.name + ", " + numberText(double(brightness)) +
                  ")");
  mac_.windowServer().setBrightness(*found, std::clamp(brightness, 0.0F, 1.0F), &session_);
  return kSuccess;
}

std::optional<std::int32_t> SimulatedSkyLight::DisplayServicesRegisterForBrightnessChangeNotifications(
    CGDirectDisplayID display, BrightnessCallback callback) {
  if (findDimmable(display) == nullptr) return kUnsupported;
  mac_.windowServer().addBrightnessCallback(session_, display, std::move(callback));
  return kSuccess;
}

std::optional<std::int32_t> SimulatedSkyLight::DisplayServicesUnregisterForBrightnessChangeNotifications(
    CGDirectDisplayID display) {
  mac_.windowServer().removeBrightnessCallback(session_, display);
  return kSuccess;
}

}  // namespace vlm::sim
