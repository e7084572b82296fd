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

constexpr std::array kFields{
    field<&VLMMode::Nx>("Nx"),
    field<&VLMMode::Ny>("Ny"),
    field<&VLMMode::Hz>("Hz"),
    field<&VLMMode::isVRR>("isVRR"),
    field<&VLMMode::colorMask>("colorMask"),
    field<&VLMMode::deskResID>("deskResID"),
    field<&VLMMode::orientation>("orientation"),
    field<&VLMMode::definition>("dpi"),
    field<&VLMMode::aliasedModeID, std::uint32_t, std::int32_t>("aliasedModeID"),
    // Read in 16 bits: a larger number comes back as its low half, sign-extended.
    field<&VLMMode::vesaMode, std::int32_t, std::int16_t>("vesaMode"),
    field<&VLMMode::modeUniqueID, std::uint32_t, std::int32_t>("modeUniqueID"),
    field<&VLMMode::pixClock>("pixClock"),
    field<&VLMMode::totalPixels>("totalPixels"),
    field<&VLMMode::totalPixelsMin>("totalPixelsMin"),
    field<&VLMMode::sysFlags>("sysFlags"),
    field<&VLMMode::flags>("flags"),
    field<&VLMMode::resolutionType>("resolutionType"),
    field<&VLMMode::IOFBModeID>("IOFBModeID"),
    field<&VLMMode::menuVal>("menuVal"),
    field<&VLMMode::interlaced>("interlaced"),
    field<&VLMMode::isValidAct>("isValidAct"),
    field<&VLMMode::hasIcon>("hasIcon"),
    field<&VLMMode::showInfo>("showInfo"),
    field<&VLMMode::isNative>("isNative"),
    field<&VLMMode::isScaled>("isScaled"),
};

/// One key a depth slot.
constexpr std::array<const char*, VLMMode::kDepthSlots> kSysModeIDKeys{"sysModeID[0]", "sysModeID[1]", "sysModeID[2]",
                                                                       "sysModeID[3]", "sysModeID[4]", "sysModeID[5]",
                                                                       "sysModeID[6]", "sysModeID[7]", "sysModeID[8]"};

}  // namespace

std::shared_ptr<VLMMode> VLMMode::initAndDecodeReadableWith(const plist::Dictionary& dict) {
  auto mode = init();
  for (const auto& row : kFields) row.read(*mode, dict, row);
  for (std::size_t slot = 0; slot < kSysModeIDKeys.size(); ++slot) {
    mode->sysModeID[slot] = dict.sInt32(kSysModeIDKeys[slot]);
  }
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
  entries.reserve(kFields.size() + kSysModeIDKeys.size() + 2);
  if (modeName_) entries.push_back({kModeNameKey, *modeName_});
  if (freqName_) entries.push_back({kFreqNameKey, *freqName_});
  for (const auto& row : kFields) entries.push_back({std::string(row.key), row.written(*this)});
  for (std::size_t slot = 0; slot < kSysModeIDKeys.size(); ++slot) {
    entries.push_back({kSysModeIDKeys[slot], sysModeID[slot]});
  }
  return plist::Dictionary(std::move(entries));
}

}  // namespace vlm
