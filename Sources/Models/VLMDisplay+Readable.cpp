#include <array>
#include <map>

#include "Models/ReadableField.h"
#include "Models/VLMDisplay.h"
#include "Shared/ReadableEncoding.h"

namespace vlm {

namespace {

using readable::field;
using Field = ReadableField<VLMDisplay>;

/// Seconds.
constexpr double kDefaultGammaDelay = 5;

struct TextKey {
  const char* key;
  std::optional<std::string> VLMDisplay::*text;
};

constexpr std::array kTexts{
    TextKey{"sysMonitorName", &VLMDisplay::sysMonitorName},
    TextKey{"driverLocationName", &VLMDisplay::driverLocationName},
    TextKey{"edidSerialString", &VLMDisplay::edidSerialString},
    TextKey{"displayUUIDString", &VLMDisplay::displayUUIDString},
};

constexpr Field keyedApart(Field row, std::string_view readKey) {
  row.readKey = readKey;
  return row;
}

constexpr std::array kFields{
    field<&VLMDisplay::cgID>("cgID"),
    field<&VLMDisplay::displayVendorID>("displayVendorID"),
    field<&VLMDisplay::displayProductID>("displayProductID"),
    field<&VLMDisplay::manufactureYear>("manufactureYear"),
    field<&VLMDisplay::manufactureWeek>("manufactureWeek"),
    // Read under a key that is never written, so that a saved record has no serial number. The format has it so, and
    // monitors are told apart without.
    keyedApart(field<&VLMDisplay::serialNumber>("serialNumber"), "serialNumber:"),
    field<&VLMDisplay::connection>("connection"),
    field<&VLMDisplay::currentDepth>("currentDepth"),
    field<&VLMDisplay::savedBrightness>("savedBrightness"),
    field<&VLMDisplay::useBrightness>("useBrightness"),
    field<&VLMDisplay::useGamma>("useGamma", true),
    field<&VLMDisplay::gammaDelay>("gammaDelay", kDefaultGammaDelay),
    field<&VLMDisplay::transfType>("transfType"),
    field<&VLMDisplay::canRotate>("canRotate"),
    field<&VLMDisplay::isDigital>("isDigital"),
    field<&VLMDisplay::canOverscan>("canOverscan"),
    field<&VLMDisplay::canBrightness, std::int16_t>("canBrightness"),
    Field{.key = "isDisabled",
          .readKey = "isDisabled",
          .written = [](const VLMDisplay& display) { return plist::Value(!display.isEnabled); },
          .read = [](VLMDisplay& display, const plist::Dictionary& dict,
                     const Field& row) { display.isEnabled = !dict.boolean(row.readKey); }},
    field<&VLMDisplay::canUnderscan>("canUnderscan"),
    field<&VLMDisplay::underscan>("underscan"),
    field<&VLMDisplay::showNativeInBold>("showNativeInBold", true),
    field<&VLMDisplay::showFrequenciesApart>("showFrequenciesApart", true),
    field<&VLMDisplay::showFrequenciesSubMenu>("showFrequenciesSubMenu"),
    field<&VLMDisplay::showFrequenciesGrouped>("showFrequenciesGrouped", true),
    // Carries another option than it names; who reads the file relies on what it carries.
    Field{.key = "hasSupplementalCAFreq",
          .readKey = "hasSupplementalCAFreq",
          .written = readable::written<&VLMDisplay::showFrequenciesApart, bool>,
          .read = readable::read<&VLMDisplay::hasSupplementalCAFreq, bool>},
    field<&VLMDisplay::importedEDIDKeepsID>("importedEDIDKeepsID", true),
    field<&VLMDisplay::previousTransfType>("previousTransfType"),
};

OverrideResolutions decodeResolutions(const plist::Dictionary& dict) {
  OverrideResolutions resolutions;
  const plist::Array* const array = dict.array("overridenModes");
  if (array == nullptr) return resolutions;
  for (const plist::Value& entry : *array) {
    const plist::Dictionary* const resolutionDict = entry.dictionary();
    if (resolutionDict == nullptr) continue;
    const auto resolution = VLMOverrideResolution::initAndDecodeReadableWith(*resolutionDict);
    resolution->copyBackupWith(*resolution);
    mergeObject(resolutions, resolution, true);
  }
  return resolutions;
}

VLMDisplay::Modes decodeModes(const plist::Dictionary& dict, const char* key, VLMDisplay& container) {
  VLMDisplay::Modes modes;
  const plist::Array* array = dict.array(key);
  if (array == nullptr) return modes;
  modes.reserve(array->size());
  for (const plist::Value& entry : *array) {
    const plist::Dictionary* modeDict = entry.dictionary();
    if (modeDict == nullptr) continue;
    modes.push_back(VLMMode::initAndDecodeReadableWith(*modeDict));
    modes.back()->container = &container;
  }
  return modes;
}

/// Puts every valid mode in the place of the entry with its identifier. Where several share one, the first valid mode
/// takes the first place, and so on: as many as were written come back as the same objects.
void placeValidModes(const VLMDisplay::Modes& validModes, VLMDisplay::Modes& allModes) {
  std::multimap<std::uint32_t, std::size_t> places;
  for (std::size_t i = 0; i < allModes.size(); ++i) places.emplace(allModes[i]->modeUniqueID, i);
  for (const auto& mode : validModes) {
    const auto place = places.lower_bound(mode->modeUniqueID);
    if (place == places.end() || place->first != mode->modeUniqueID) continue;
    allModes[place->second] = mode;
    places.erase(place);
  }
}

/// Links every mode of `modes` that is an alias to its target among `targets`; modes that are linked already stay.
void linkStoredAliases(const VLMDisplay::Modes& modes, const VLMDisplay::Modes& targets) {
  std::map<std::uint32_t, std::shared_ptr<VLMMode>> byUniqueID;
  for (const auto& mode : targets) byUniqueID.emplace(mode->modeUniqueID, mode);
  for (const auto& mode : modes) {
    // 0 says that it stands for itself, also where a damaged file has a mode without an identifier.
    if (mode->aliasedModeID == 0 || mode->aliasedMode() != nullptr) continue;
    const auto found = byUniqueID.find(truncateTo<std::uint32_t>(mode->aliasedModeID));
    if (found != byUniqueID.end() && found->second != mode) mode->setAliasedMode(found->second);
  }
}

}  // namespace

std::shared_ptr<VLMDisplay> VLMDisplay::initAndDecodeReadableWith(const plist::Dictionary& dict,
                                                                  VLMDisplayContainer* container) {
  auto display = init();
  display->container = container;
  for (const TextKey& row : kTexts) (*display).*(row.text) = dict.string(row.key);
  display->monitorResID = dict.number("monitorResID");
  for (const Field& row : kFields) row.read(*display, dict, row);
  if (const plist::Data* edid = dict.data("importedEDID")) display->importedEDID = *edid;

  display->validDisplayModes = decodeModes(dict, "displayModes", *display);
  display->allDisplayModes = decodeModes(dict, "allDisplayModes", *display);
  if (display->allDisplayModes.empty()) {
    display->allDisplayModes = display->validDisplayModes;
  } else {
    placeValidModes(display->validDisplayModes, display->allDisplayModes);
  }
  if (const auto current = dict.number("currentMode")) {
    display->currentMode = display->validModeWithUniqueID(truncateTo<std::uint32_t>(*current));
  }
  linkStoredAliases(display->validDisplayModes, display->validDisplayModes);
  // Modes that are gone for a while keep what they stand for, or it would be lost with the next save.
  linkStoredAliases(display->allDisplayModes, display->allDisplayModes);

  display->overridenModes = decodeResolutions(dict);
  if (const auto* range = dict.dictionary("monitorTiming")) {
    display->mergeMonitorTiming(VLMOverrideMonitorRange::initAndDecodeReadableWith(*range));
  }
  if (const auto* resolution = dict.dictionary("defaultResolution")) {
    display->mergeDefaultResolution(VLMOverrideDefaultResolution::initAndDecodeReadableWith(*resolution));
  }
  if (const auto* dimensions = dict.dictionary("displayPixelDimensions")) {
    display->mergeDisplayPixelDimensions(VLMOverrideDisplayPixelDimensions::initAndDecodeReadableWith(*dimensions));
  }
  if (const auto* name = dict.dictionary("displayName")) {
    display->mergeDisplayName(VLMOverrideDisplayName::initAndDecodeReadableWith(*name));
  }
  if (const auto* policy = dict.dictionary("displayFreqPolicy")) {
    if (display->displayFreqPolicy == nullptr) display->displayFreqPolicy = std::make_shared<VLMOverrideBoolSettting>();
    display->displayFreqPolicy->decodeReadableWith(*policy);
  }
  return display;
}

plist::Dictionary VLMDisplay::encodeReadable() const {
  std::vector<plist::Entry> entries;
  for (const TextKey& row : kTexts) {
    if (const auto& text = this->*(row.text)) entries.push_back({row.key, *text});
  }
  if (monitorResID) entries.push_back({"monitorResID", *monitorResID});
  for (const Field& row : kFields) entries.push_back({std::string(row.key), row.written(*this)});
  entries.push_back({"displayModes", vlm::encodeReadable(validDisplayModes)});
  entries.push_back({"allDisplayModes", vlm::encodeReadable(allDisplayModes)});
  // Behind a wake the mode is not known yet, and of a display that went meanwhile it never will be.
  const auto known = currentMode.get() != nullptr ? currentMode.get() : previousMode.get();
  if (known != nullptr) entries.push_back({"currentMode", known->modeUniqueID});
  entries.push_back({"overridenModes", vlm::encodeReadable(overridenModes)});
  const auto addUnlessEmpty = [&](const char* key, const auto& record) {
    if (record != nullptr && !record->isEmpty()) entries.push_back({key, record->encodeReadable()});
  };
  addUnlessEmpty("monitorTiming", monitorTiming);
  addUnlessEmpty("defaultResolution", defaultResolution);
  addUnlessEmpty("displayPixelDimensions", displayPixelDimensions);
  if (displayName != nullptr && displayName->name) entries.push_back({"displayName", displayName->encodeReadable()});
  // A policy that is nowhere on says nothing: saved, it would stand against one that somebody puts into the file.
  if (displayFreqPolicy != nullptr) {
    plist::Dictionary policy = displayFreqPolicy->encodeReadable();
    const bool isOn = displayFreqPolicy->settingActual || displayFreqPolicy->settingInOverride;
    if (isOn) entries.push_back({"displayFreqPolicy", std::move(policy)});
  }
  if (importedEDID) entries.push_back({"importedEDID", *importedEDID});
  return plist::Dictionary(std::move(entries));
}

}  // namespace vlm
