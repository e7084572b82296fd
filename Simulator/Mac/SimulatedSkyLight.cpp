#include "Simulator/Mac/SimulatedSkyLight.h"

#include <algorithm>
#include <utility>

#include "Platform/Numbers.h"
#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/UuidText.h"

namespace vlm::sim {
namespace {

constexpr std::int32_t kSuccess = 0;
/// kIOReturnUnsupported: what the display services say of a panel that they do not reach.
constexpr std::int32_t kUnsupported = static_cast<std::int32_t>(0xe00002c7);

std::string calledDisplay(const SimulatedDisplay* display, CGDirectDisplayID id) {
  return display == nullptr ? std::to_string(id) : display->description.name;
}

/// "PresetUniqueID" of one of them: presets of one name are told apart by their order.
std::string presetIdentifier(const std::vector<std::string>& presets, std::size_t index) {
  const auto place = presets.begin() + static_cast<std::ptrdiff_t>(index);
  const auto before = std::count(presets.begin(), place, *place);
  return uuidText((before == 0 ? "preset " : "repeated " + std::to_string(before) + " ") + *place);
}

std::string noDisplay(CGDirectDisplayID id) { return "there is no display " + std::to_string(id); }

}  // namespace

SimulatedSkyLight::SimulatedSkyLight(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {
  const auto listed = SimulatedSkyLight::CADisplays();
  for (const std::uint32_t known : *listed) SimulatedSkyLight::CADisplayInvalidate(known);
}

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

std::int32_t SimulatedSkyLight::answer(const std::string& call, const std::optional<std::string>& refusal) const {
  if (!refusal) {
    session_.record(call);
    return kSuccess;
  }
  session_.record(call + " = " + std::to_string(kCGErrorIllegalArgument) + ": " + *refusal);
  return kCGErrorIllegalArgument;
}

std::optional<std::int32_t> SimulatedSkyLight::SLSDisplaySetHDRModeEnabled(CGDirectDisplayID display, bool enabled) {
  if (!isSystemAtLeast(11, 0)) return std::nullopt;
  SimulatedDisplay* const found = find(display);
  const std::string call =
      "SLSDisplaySetHDRModeEnabled(" + calledDisplay(found, display) + (enabled ? ", true)" : ", false)");
  if (found == nullptr) return answer(call, noDisplay(display));
  if (const auto reason = found->whyInactive()) return answer(call, reason);
  if (!found->description.supportsHDR) return answer(call, found->description.name + " does not support HDR");
  found->hdr = enabled;
  return answer(call, std::nullopt);
}

std::optional<std::int32_t> SimulatedSkyLight::SLSSetDisplayRotation(CGDirectDisplayID display, std::int32_t angle,
                                                                     std::int32_t /*reserved1*/,
                                                                     std::int32_t /*reserved2*/,
                                                                     std::int32_t /*reserved3*/,
                                                                     std::int32_t /*reserved4*/) {
  if (!isSystemAtLeast(10, 15)) return std::nullopt;
  SimulatedDisplay* const found = find(display);
  const std::string call =
      "SLSSetDisplayRotation(" + calledDisplay(found, display) + ", " + std::to_string(angle) + ")";
  if (found == nullptr) return answer(call, noDisplay(display));
  if (const auto reason = found->whyInactive()) return answer(call, reason);
  if (angle % 90 != 0 || angle < 0 || angle > 270) return answer(call, "no picture can be turned by that");
  if (!found->description.canRotate) return answer(call, found->description.name + " cannot be turned");
  session_.record(call);
  mac_.windowServer().turn(*found, {.degrees = truncateTo<std::uint32_t>(angle)}, &session_);
  return kSuccess;
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
  const SimulatedDisplay* const found = findDimmable(display);
  if (found == nullptr) return kUnsupported;
  session_.record("DisplayServicesRegisterForBrightnessChangeNotifications(" + found->description.name + ")");
  mac_.windowServer().addBrightnessCallback(session_, display, std::move(callback));
  return kSuccess;
}

std::optional<std::int32_t> SimulatedSkyLight::DisplayServicesUnregisterForBrightnessChangeNotifications(
    CGDirectDisplayID display) {
  if (const SimulatedDisplay* const found = findDimmable(display)) {
    session_.record("DisplayServicesUnregisterForBrightnessChangeNotifications(" + found->description.name + ")");
  }
  mac_.windowServer().removeBrightnessCallback(session_, display);
  return kSuccess;
}

std::optional<std::int32_t> SimulatedSkyLight::CoreDisplay_Display_GetPresetCount(CGDirectDisplayID display) {
  if (!isSystemAtLeast(10, 15)) return std::nullopt;
  const SimulatedDisplay* const found = find(display);
  return found == nullptr ? 0 : truncateTo<std::int32_t>(found->description.presets.size());
}

std::optional<plist::Dictionary> SimulatedSkyLight::CoreDisplay_Display_CopyPresetData(CGDirectDisplayID display,
                                                                                       std::int32_t index) {
  if (!isSystemAtLeast(10, 15)) return std::nullopt;
  const SimulatedDisplay* const found = find(display);
  if (found == nullptr || index < 0 || static_cast<std::size_t>(index) >= found->description.presets.size()) {
    return plist::Dictionary{{"PresetValid", false}};
  }
  const auto& presets = found->description.presets;
  const auto place = static_cast<std::size_t>(index);
  const std::string& name = presets[place];
  return plist::Dictionary{
      {"PresetValid", !name.empty()}, {"PresetName", name}, {"PresetUniqueID", presetIdentifier(presets, place)}};
}

std::optional<std::int32_t> SimulatedSkyLight::SLSDisplayGetActivePresetIndex(CGDirectDisplayID display) {
  if (!isSystemAtLeast(10, 15)) return std::nullopt;
  const SimulatedDisplay* const found = find(display);
  return found == nullptr ? 0 : truncateTo<std::int32_t>(found->activePreset);
}

std::optional<std::int32_t> SimulatedSkyLight::SLSDisplaySetActivePresetIndex(CGDirectDisplayID display,
                                                                              std::int32_t index) {
  if (!isSystemAtLeast(10, 15)) return std::nullopt;
  SimulatedDisplay* const found = find(display);
  const std::string call =
      "SLSDisplaySetActivePresetIndex(" + calledDisplay(found, display) + ", " + std::to_string(index) + ")";
  if (found == nullptr) return answer(call, noDisplay(display));
  const auto& presets = found->description.presets;
  const auto place = static_cast<std::size_t>(index);
  if (index < 0 || place >= presets.size() || presets[place].empty()) {
    return answer(call, found->description.name + " has no such preset");
  }
  found->activePreset = truncateTo<std::uint32_t>(index);
  return answer(call, std::nullopt);
}

double SimulatedSkyLight::frameWidth(const SimulatedDisplay& display) const {
  return display.isArranged() ? mac_.windowServer().bounds(display).size.width : 0;
}

std::optional<std::vector<std::uint32_t>> SimulatedSkyLight::CADisplays() {
  std::vector<std::uint32_t> listed;
  for (const auto& display : mac_.windowServer().displays()) {
    const auto number = truncateTo<std::uint32_t>(caNumbers_.size() + 1);
    const auto& [of, known] = *caNumbers_.emplace(display.get(), number).first;
    if (frameWidth(*of) != 0 || caWidths_[known] != 0) listed.push_back(known);
  }
  return listed;
}

double SimulatedSkyLight::CADisplayFrameWidth(std::uint32_t caDisplay) {
  const auto found = caWidths_.find(caDisplay);
  return found == caWidths_.end() ? 0 : found->second;
}

void SimulatedSkyLight::CADisplayInvalidate(std::uint32_t caDisplay) {
  for (const auto& [display, number] : caNumbers_) {
    if (number == caDisplay) caWidths_[number] = frameWidth(*display);
  }
}

}  // namespace vlm::sim
