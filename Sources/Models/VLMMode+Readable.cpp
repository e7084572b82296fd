#include <algorithm>
#include <array>

#include "Models/ReadableField.h"
#include "Models/VLMMode.h"

namespace vlm {

namespace {

using readable::field;

/// The largest kind of variable refresh that is known; a file may name others.
constexpr std::uint32_t kLastKindOfVRR = 2;

constexpr const char* kModeNameKey = "modeName";
constexpr const char* kFreqNameKey = "freqName";

/// One key a depth slot.
template <std::size_t slot>
constexpr ReadableField<VLMMode> slotField(std::string_view key) {
  return {.key = key,
          .readKey = key,
          .written = [](const VLMMode& mode) { return plist::Value(mode.sysModeID[slot]); },
          .read = [](VLMMode& mode, const plist::Dictionary& dict,
                     const ReadableField<VLMMode>& row) { mode.sysModeID[slot] = dict.sInt32(row.readKey); }};
}

/// In the order in which a dictionary keeps them: there are thousands of modes in a file, and none is to be sorted.
constexpr std::array kFields{
    field<&VLMMode::Hz>("Hz"),
    field<&VLMMode::IOFBModeID>("IOFBModeID"),
    field<&VLMMode::Nx>("Nx"),
    field<&VLMMode::Ny>("Ny"),
    field<&VLMMode::aliasedModeID, std::uint32_t, std::int32_t>("aliasedModeID"),
    field<&VLMMode::colorMask>("colorMask"),
    field<&VLMMode::deskResID>("deskResID"),
    field<&VLMMode::definition>("dpi"),
    field<&VLMMode::flags>("flags"),
    field<&VLMMode::hasIcon>("hasIcon"),
    field<&VLMMode::interlaced>("interlaced"),
    field<&VLMMode::isNative>("isNative"),
    field<&VLMMode::isScaled>("isScaled"),
    field<&VLMMode::isVRR>("isVRR"),
    field<&VLMMode::isValidAct>("isValidAct"),
    field<&VLMMode::menuVal>("menuVal"),
    field<&VLMMode::modeUniqueID, std::uint32_t, std::int32_t>("modeUniqueID"),
    field<&VLMMode::orientation>("orientation"),
    field<&VLMMode::pixClock>("pixClock"),
    field<&VLMMode::resolutionType>("resolutionType"),
    field<&VLMMode::showInfo>("showInfo"),
    field<&VLMMode::sysFlags>("sysFlags"),
    slotField<0>("sysModeID[0]"),
    slotField<1>("sysModeID[1]"),
    slotField<2>("sysModeID[2]"),
    slotField<3>("sysModeID[3]"),
    slotField<4>("sysModeID[4]"),
    slotField<5>("sysModeID[5]"),
    slotField<6>("sysModeID[6]"),
    slotField<7>("sysModeID[7]"),
    slotField<8>("sysModeID[8]"),
    field<&VLMMode::totalPixels>("totalPixels"),
    field<&VLMMode::totalPixelsMin>("totalPixelsMin"),
    // Read in 16 bits: a larger number comes back as its low half, sign-extended.
    field<&VLMMode::vesaMode, std::int32_t, std::int16_t>("vesaMode"),
};
static_assert(std::ranges::is_sorted(kFields, {}, &ReadableField<VLMMode>::key));

}  // namespace

std::shared_ptr<VLMMode> VLMMode::initAndDecodeReadableWith(const plist::Dictionary& dict) {
  auto mode = init();
  for (const auto& row : kFields) row.read(*mode, dict, row);
  if (mode->isVRR > kLastKindOfVRR) mode->isVRR = 0;
  // So that what is no number at all is mended too.
  if (!(mode->definition > 0)) mode->definition = 1;
  mode->setModeName(dict.string(kModeNameKey));
  mode->setFreqName(dict.string(kFreqNameKey));
  return mode;
}

plist::Dictionary VLMMode::encodeReadable() {
  const auto aliased = aliasedMode();
  aliasedModeID = aliased == nullptr ? 0 : truncateTo<std::int32_t>(aliased->modeUniqueID);

  std::vector<plist::Entry> entries;
  entries.reserve(kFields.size());
  for (const auto& row : kFields) entries.push_back({std::string(row.key), row.written(*this)});
  plist::Dictionary dict(std::move(entries));
  if (modeName_) dict.set(kModeNameKey, *modeName_);
  if (freqName_) dict.set(kFreqNameKey, *freqName_);
  return dict;
}

}  // namespace vlm
