#include "Models/VLMOverrideDisplayPixelDimensions.h"

#include "Models/BigEndian.h"
#include "Models/OverrideContent.h"
#include "Shared/Format.h"

namespace vlm {

namespace {

constexpr std::size_t kPixelDimensionsLength = 8;

}  // namespace

std::shared_ptr<VLMOverrideDisplayPixelDimensions>
VLMOverrideDisplayPixelDimensions::initWithDisplayPixelDimensionsData(const std::optional<plist::Data>& data,
                                                                      std::int16_t status, bool shouldOverride) {
  if (!data || data->size() < kPixelDimensionsLength) return nullptr;
  auto record = std::make_shared<VLMOverrideDisplayPixelDimensions>();
  record->Nx = bigEndian32(*data, 0);
  record->Ny = bigEndian32(*data, 4);
  record->status = status;
  record->shouldOverride = shouldOverride;
  record->copyBackupWith(*record);
  return record;
}

std::shared_ptr<VLMOverrideDisplayPixelDimensions> VLMOverrideDisplayPixelDimensions::initAndDecodeReadableWith(
    const plist::Dictionary& dict) {
  auto record = std::make_shared<VLMOverrideDisplayPixelDimensions>();
  record->Nx = dict.uInt32("Nx");
  record->Ny = dict.uInt32("Ny");
  record->shouldOverride = dict.boolean("shouldOverride");
  record->status = kOverrideFoundInSettings;
  return record;
}

plist::Dictionary VLMOverrideDisplayPixelDimensions::encodeReadable() const {
  return {{"Nx", Nx}, {"Ny", Ny}, {"shouldOverride", shouldOverride}};
}

void VLMOverrideDisplayPixelDimensions::addInOverrideDictionary(plist::Dictionary& content) const {
  if (!shouldOverride) {
    content.remove(OverrideKey::pixelDimensions);
    return;
  }
  plist::Data data;
  appendBigEndian32(data, Nx);
  appendBigEndian32(data, Ny);
  content.set(OverrideKey::pixelDimensions, std::move(data));
}

std::string VLMOverrideDisplayPixelDimensions::description() const {
  return format("VLMDisplayPixelDimensions %p (status = %d): - Nx = %ld Ny = %ld", static_cast<const void*>(this),
                status, Nx, Ny);
}

void VLMOverrideDisplayPixelDimensions::fillWithDisplayPixelDimensions(const VLMOverrideDisplayPixelDimensions& other) {
  Nx = other.Nx;
  Ny = other.Ny;
  shouldOverride = other.shouldOverride;
}

bool VLMOverrideDisplayPixelDimensions::isEqualToDisplayPixelDimensions(
    const VLMOverrideDisplayPixelDimensions* other) const {
  return other != nullptr && Nx == other->Nx && Ny == other->Ny;
}

bool VLMOverrideDisplayPixelDimensions::isEmpty() const { return Nx == 0 && Ny == 0; }

}  // namespace vlm
