#include <algorithm>

#include "Colour/VLMColorPreset.h"
#include "Colour/VLMColorProfile.h"
#include "Models/VLMDisplay.h"
#include "Platform/ColorSync.h"
#include "Platform/Process.h"
#include "Platform/SkyLight.h"

namespace vlm {

// --- Presets ---

bool VLMDisplay::hasDisplayPresets() const {
  return os().skyLight.CoreDisplay_Display_GetPresetCount(cgID).value_or(0) > 0;
}

std::optional<std::string> VLMDisplay::currentColorPresetUUID() const {
  const auto index = os().skyLight.SLSDisplayGetActivePresetIndex(cgID);
  const auto preset = index ? os().skyLight.CoreDisplay_Display_CopyPresetData(cgID, *index) : std::nullopt;
  return preset ? preset->string("PresetUniqueID") : std::nullopt;
}

std::vector<std::shared_ptr<VLMColorPreset>> VLMDisplay::allColorPresetsForThisDisp() {
  std::vector<std::shared_ptr<VLMColorPreset>> presets;
  const std::int32_t count = os().skyLight.CoreDisplay_Display_GetPresetCount(cgID).value_or(0);
  for (std::int32_t index = 0; index < count; ++index) {
    const auto data = os().skyLight.CoreDisplay_Display_CopyPresetData(cgID, index);
    if (!data || !data->boolean("PresetValid")) continue;
    presets.push_back(VLMColorPreset::presetWithPresetdata(*data, index, shared_from_this()));
  }
  return presets;
}

bool VLMDisplay::willSetDisplayPreset(std::int32_t index) const {
  if (!hasDisplayPresets() || !currentPresetUUID) return false;
  const auto data = os().skyLight.CoreDisplay_Display_CopyPresetData(cgID, index);
  return data && data->string("PresetUniqueID") == currentPresetUUID;
}

void VLMDisplay::setDisplayPreset(std::int32_t index) {
  if (hasDisplayPresets()) os().skyLight.SLSDisplaySetActivePresetIndex(cgID, index);
}

// --- Profiles ---

std::optional<std::string> VLMDisplay::currentColorProfileURL() const {
  ColorSync& colorSync = os().colorSync;
  const auto uuid = colorSync.CGDisplayCreateUUIDFromDisplayID(cgID);
  const auto device =
      uuid ? colorSync.ColorSyncDeviceCopyDeviceInfo(kColorSyncDisplayDeviceClass, *uuid) : std::nullopt;
  const plist::Dictionary* const factory = device ? device->dictionary(kColorSyncFactoryProfiles) : nullptr;
  const auto profileInUse = factory != nullptr ? factory->string(kColorSyncDeviceDefaultProfileID) : std::nullopt;
  if (!profileInUse) return std::nullopt;
  if (const plist::Dictionary* const chosen = device->dictionary(kColorSyncCustomProfiles)) {
    if (auto location = chosen->string(*profileInUse)) return location;
  }
  const plist::Dictionary* const shipped = factory->dictionary(*profileInUse);
  return shipped != nullptr ? shipped->string(kColorSyncDeviceProfileURL) : std::nullopt;
}

std::array<std::vector<std::shared_ptr<VLMColorProfile>>, 2> VLMDisplay::colorProfilesForThisDisp() {
  std::array<std::vector<std::shared_ptr<VLMColorProfile>>, 2> lists;
  auto& [dedicated, others] = lists;
  for (const auto& [url, opened] : Common_GetAllColorProfiles()) {
    const auto profile = VLMColorProfile::profileWithLocationWithoutName(url, shared_from_this());
    if (!profile->isAMonitorProfile()) continue;
    (profile->isProfileDedicated() ? dedicated : others).push_back(profile);
  }
  for (auto& list : lists) {
    std::stable_sort(list.begin(), list.end(),
                     [](const auto& a, const auto& b) { return a->profileCompareByName(*b) < 0; });
  }
  return lists;
}

bool VLMDisplay::willSetDisplayProfile(const std::optional<std::string>& url) const {
  return url && url == currentColorProfileURL();
}

void VLMDisplay::setDisplayProfile(const std::optional<std::string>& url) {
  if (!url) return;
  const auto uuid = os().colorSync.CGDisplayCreateUUIDFromDisplayID(cgID);
  if (!uuid) return;
  os().colorSync.ColorSyncDeviceSetCustomProfiles(kColorSyncDisplayDeviceClass, *uuid,
                                                  {{kColorSyncDeviceDefaultProfileID, *url}});
}

}  // namespace vlm
