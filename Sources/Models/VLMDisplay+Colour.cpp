#include "Models/VLMDisplay.h"
#include "Platform/ColorSync.h"
#include "Platform/Process.h"
#include "Platform/SkyLight.h"

namespace vlm {

bool VLMDisplay::hasDisplayPresets() const {
  return os().skyLight.CoreDisplay_Display_GetPresetCount(cgID).value_or(0) > 0;
}

std::optional<std::string> VLMDisplay::currentColorPresetUUID() const {
  const auto index = os().skyLight.SLSDisplayGetActivePresetIndex(cgID);
  const auto preset = index ? os().skyLight.CoreDisplay_Display_CopyPresetData(cgID, *index) : std::nullopt;
  return preset ? preset->string("PresetUniqueID") : std::nullopt;
}

// A preset will be chosen here.
void VLMDisplay::setDisplayPreset(std::int32_t /*index*/) {}

std::optional<std::string> VLMDisplay::currentColorProfileURL() const {
  const auto device = os().colorSync.ColorSyncDeviceCopyDeviceInfo(cgID);
  const plist::Dictionary* const factory = device ? device->dictionary(kColorSyncFactoryProfiles) : nullptr;
  const auto profileInUse = factory != nullptr ? factory->string(kColorSyncDeviceDefaultProfileID) : std::nullopt;
  if (!profileInUse) return std::nullopt;
  if (const plist::Dictionary* const chosen = device->dictionary(kColorSyncCustomProfiles)) {
    if (auto location = chosen->string(*profileInUse)) return location;
  }
  const plist::Dictionary* const shipped = factory->dictionary(*profileInUse);
  return shipped != nullptr ? shipped->string(kColorSyncDeviceProfileURL) : std::nullopt;
}

// A colour profile will be set here.
void VLMDisplay::setDisplayProfile(const std::optional<std::string>& /*url*/) {}

}  // namespace vlm
