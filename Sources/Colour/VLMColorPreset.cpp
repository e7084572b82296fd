#include "Colour/VLMColorPreset.h"

#include <limits>

#include "Models/VLMDisplay.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/SkyLight.h"
#include "Shared/Format.h"
#include "Shared/TextCompare.h"

namespace vlm {

namespace {

/// The first valid preset of the display with that value under a key. The counter has 16 bits, which no display's list
/// exceeds; what stood behind would not be found.
std::shared_ptr<VLMColorPreset> firstPresetWhere(const char* key, const std::string& value,
                                                 const std::shared_ptr<VLMDisplay>& display) {
  if (!display) return nullptr;
  const std::int32_t count = os().skyLight.CoreDisplay_Display_GetPresetCount(display->cgID).value_or(0);
  for (std::int16_t index = 0; index < count && index < std::numeric_limits<std::int16_t>::max();
       index = truncateTo<std::int16_t>(index + 1)) {
    const auto data = os().skyLight.CoreDisplay_Display_CopyPresetData(display->cgID, index);
    if (!data || !data->boolean("PresetValid") || data->string(key) != value) continue;
    return VLMColorPreset::presetWithPresetdata(*data, index, display);
  }
  return nullptr;
}

}  // namespace

std::shared_ptr<VLMColorPreset> VLMColorPreset::init() { return std::shared_ptr<VLMColorPreset>(new VLMColorPreset()); }

std::shared_ptr<VLMColorPreset> VLMColorPreset::presetWithName(const std::string& name,
                                                               const std::shared_ptr<VLMDisplay>& display) {
  return firstPresetWhere("PresetName", name, display);
}

std::shared_ptr<VLMColorPreset> VLMColorPreset::presetWithUUID(const std::string& uuid,
                                                               const std::shared_ptr<VLMDisplay>& display) {
  return firstPresetWhere("PresetUniqueID", uuid, display);
}

std::shared_ptr<VLMColorPreset> VLMColorPreset::presetWithPresetdata(const plist::Dictionary& data, std::int32_t index,
                                                                     const std::shared_ptr<VLMDisplay>& display) {
  auto preset = init();
  preset->name = data.string("PresetName");
  preset->UUID = data.string("PresetUniqueID");
  preset->index = index;
  preset->container = display;
  return preset;
}

int VLMColorPreset::presetCompareByName(const VLMColorPreset& other) const {
  return localizedStandardCompare(name.value_or(""), other.name.value_or(""));
}

std::string VLMColorPreset::description() const {
  return format("VLMColorPreset %p: Name %@ UUID = %@ index = %ld", this, name, UUID, index);
}

}  // namespace vlm
