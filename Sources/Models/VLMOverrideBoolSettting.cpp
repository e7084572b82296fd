#include "Models/VLMOverrideBoolSettting.h"

#include "Models/OverrideRecord.h"

namespace vlm {

namespace {

constexpr const char* kReadableKey = "settingInPreferences";
/// What stands under the key: a 64-bit 1, big-endian. Readers look for the key alone.
const plist::Data kOn{0, 0, 0, 0, 0, 0, 0, 1};

}  // namespace

void VLMOverrideBoolSettting::fillWithValue(bool value, std::int16_t status) {
  if (status == kOverrideFoundInSettings) settingInPreferences = value;
  if (status == kOverrideFoundInOverrideFile) settingInOverride = value;
}

plist::Dictionary VLMOverrideBoolSettting::encodeReadable() {
  plist::Dictionary dict{{kReadableKey, settingActual}};
  settingInPreferences = settingActual;
  return dict;
}

void VLMOverrideBoolSettting::decodeReadableWith(const plist::Dictionary& dict) {
  settingActual = dict.boolean(kReadableKey);
  settingInPreferences = settingActual;
}

void VLMOverrideBoolSettting::addInOverrideDictionary(plist::Dictionary& content, std::string_view overrideKey) const {
  if (!shouldOverride()) return;
  if (settingActual) {
    content.set(overrideKey, kOn);
  } else {
    content.remove(overrideKey);
  }
}

}  // namespace vlm
