#include "Models/VLMOverrideDisplayName.h"

namespace vlm {

std::shared_ptr<VLMOverrideDisplayName> VLMOverrideDisplayName::initWithString(const std::optional<std::string>& name,
                                                                               std::int16_t status,
                                                                               bool shouldOverride) {
  if (!name) return nullptr;
  auto record = std::make_shared<VLMOverrideDisplayName>();
  record->name = name;
  record->status = status;
  record->shouldOverride = shouldOverride;
  record->copyBackupWith(*record);
  return record;
}

std::shared_ptr<VLMOverrideDisplayName> VLMOverrideDisplayName::initAndDecodeReadableWith(
    const plist::Dictionary& dict) {
  auto record = std::make_shared<VLMOverrideDisplayName>();
  record->name = dict.string("name");
  record->shouldOverride = dict.boolean("shouldOverride");
  record->status = kOverrideFoundInSettings;
  return record;
}

plist::Dictionary VLMOverrideDisplayName::encodeReadable() const {
  plist::Dictionary dict;
  if (name) dict.set("name", *name);
  dict.set("shouldOverride", shouldOverride);
  return dict;
}

void VLMOverrideDisplayName::fillWithDisplayName(const VLMOverrideDisplayName& other) {
  name = other.name;
  shouldOverride = other.shouldOverride;
}

void VLMOverrideDisplayName::copyBackupWith(const VLMOverrideDisplayName& other) {
  auto copy = std::make_shared<VLMOverrideDisplayName>();
  copy->fillWithDisplayName(other);
  copy->status = other.status;
  original = std::move(copy);
}

bool VLMOverrideDisplayName::isEqualToDisplayName(const VLMOverrideDisplayName* other) const {
  return other != nullptr && name == other->name;
}

bool VLMOverrideDisplayName::isModified() const {
  const bool didOverride = original != nullptr && original->shouldOverride;
  return shouldOverride != didOverride || (shouldOverride && !isEqualToDisplayName(original.get()));
}

}  // namespace vlm
