#include <algorithm>
#include <array>

#include "Models/ReadableField.h"
#include "Models/VLMOverrideResolution.h"

namespace vlm {

namespace {

using readable::field;

/// In double precision: a date loses its seconds in single.
template <auto kMember>
constexpr ReadableField<VLMOverrideResolution> doubleField(std::string_view key) {
  return {
      .key = key,
      .readKey = key,
      .written = [](const VLMOverrideResolution& resolution) { return plist::Value(resolution.*kMember); },
      .read = [](VLMOverrideResolution& resolution, const plist::Dictionary& dict,
                 const ReadableField<VLMOverrideResolution>& row) { resolution.*kMember = dict.real(row.readKey); }};
}

/// In the order in which a dictionary keeps them. What follows from the others is not stored.
constexpr std::array kFields{
    field<&VLMOverrideResolution::activeNx>("activeNx"),
    field<&VLMOverrideResolution::activeNy>("activeNy"),
    field<&VLMOverrideResolution::appleID>("appleID"),
    field<&VLMOverrideResolution::backNx>("backNx"),
    field<&VLMOverrideResolution::backNy>("backNy"),
    doubleField<&VLMOverrideResolution::creationDate>("creationDate"),
    field<&VLMOverrideResolution::frontNx>("frontNx"),
    field<&VLMOverrideResolution::frontNy>("frontNy"),
    field<&VLMOverrideResolution::interlaced>("interlaced"),
    doubleField<&VLMOverrideResolution::pixelClock>("pixelClock"),
    field<&VLMOverrideResolution::positiveSyncH>("positiveSyncH"),
    field<&VLMOverrideResolution::positiveSyncV>("positiveSyncV"),
    field<&VLMOverrideResolution::resolutionType>("resolutionType"),
    field<&VLMOverrideResolution::scaledNx>("scaledNx"),
    field<&VLMOverrideResolution::scaledNy>("scaledNy"),
    field<&VLMOverrideResolution::syncNx>("syncNx"),
    field<&VLMOverrideResolution::syncNy>("syncNy"),
    // Settings of versions that could not leave one out lack it.
    field<&VLMOverrideResolution::toInstall>("toInstall", 1),
};
static_assert(std::ranges::is_sorted(kFields, {}, &ReadableField<VLMOverrideResolution>::key));

}  // namespace

std::shared_ptr<VLMOverrideResolution> VLMOverrideResolution::initAndDecodeReadableWith(const plist::Dictionary& dict) {
  auto resolution = std::make_shared<VLMOverrideResolution>();
  for (const auto& row : kFields) row.read(*resolution, dict, row);
  resolution->status = kOverrideFoundInSettings;
  resolution->consolidateTotals();
  resolution->consolidateHFreq();
  resolution->consolidateVFreq();
  return resolution;
}

plist::Dictionary VLMOverrideResolution::encodeReadable() const {
  std::vector<plist::Entry> entries;
  entries.reserve(kFields.size());
  for (const auto& row : kFields) entries.push_back({std::string(row.key), row.written(*this)});
  return plist::Dictionary(std::move(entries));
}

}  // namespace vlm
