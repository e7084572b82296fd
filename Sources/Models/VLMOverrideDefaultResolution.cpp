#include "Models/VLMOverrideDefaultResolution.h"

#include <cmath>

#include "Models/BigEndian.h"
#include "Models/OverrideContent.h"

namespace vlm {

namespace {

constexpr std::size_t kDefaultResolutionLength = 12;
/// The rate's unit in the file.
constexpr double kFixedPointOne = 65536;
/// The same rate once it has been through a file.
constexpr double kSameHz = 0.01;

}  // namespace

std::shared_ptr<VLMOverrideDefaultResolution> VLMOverrideDefaultResolution::initWithDefaultResolutionData(
    const std::optional<plist::Data>& data, std::int16_t status, bool shouldOverride) {
  if (!data || data->size() < kDefaultResolutionLength) return nullptr;
  auto record = std::make_shared<VLMOverrideDefaultResolution>();
  record->Nx = bigEndian32(*data, 0);
  record->Ny = bigEndian32(*data, 4);
  record->Hz = bigEndian32(*data, 8) / kFixedPointOne;
  record->status = status;
  record->shouldOverride = shouldOverride;
  record->copyBackupWith(*record);
  return record;
}

std::shared_ptr<VLMOverrideDefaultResolution> VLMOverrideDefaultResolution::initAndDecodeReadableWith(
    const plist::Dictionary& dict) {
  auto record = std::make_shared<VLMOverrideDefaultResolution>();
  record->Nx = dict.uInt32("Nx");
  record->Ny = dict.uInt32("Ny");
  record->Hz = dict.real("Hz");
  record->shouldOverride = dict.boolean("shouldOverride");
  record->status = kOverrideFoundInSettings;
  return record;
}

plist::Dictionary VLMOverrideDefaultResolution::encodeReadable() const {
  return {{"Nx", Nx}, {"Ny", Ny}, {"Hz", Hz}, {"shouldOverride", shouldOverride}};
}

void VLMOverrideDefaultResolution::addInOverrideDictionary(plist::Dictionary& content) const {
  if (!shouldOverride) {
    content.remove(OverrideKey::defaultResolution);
    return;
  }
  plist::Data data;
  appendBigEndian32(data, Nx);
  appendBigEndian32(data, Ny);
  appendBigEndian32(data, wholePartTo<std::uint32_t>(Hz * kFixedPointOne));
  content.set(OverrideKey::defaultResolution, std::move(data));
}

void VLMOverrideDefaultResolution::fillWithDefaultResolution(const VLMOverrideDefaultResolution& other) {
  Nx = other.Nx;
  Ny = other.Ny;
  Hz = other.Hz;
  shouldOverride = other.shouldOverride;
}

bool VLMOverrideDefaultResolution::isEqualToDefaultResolution(const VLMOverrideDefaultResolution* other) const {
  return other != nullptr && Nx == other->Nx && Ny == other->Ny && std::abs(Hz - other->Hz) < kSameHz;
}

bool VLMOverrideDefaultResolution::isEmpty() const { return Nx == 0 && Ny == 0 && Hz == 0; }

}  // namespace vlm
