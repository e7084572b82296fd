#include <algorithm>
#include <array>

#include "Fuzz/FuzzInput.h"
#include "Fuzz/FuzzMac.h"
#include "Fuzz/GivenFiles.h"
#include "Models/OverrideContent.h"
#include "Models/VLMDisplay.h"
#include "Models/VLMGlobals.h"

/// An override file's content into a display's records, and composed back.
namespace vlm::fuzz {
namespace {

/// Not keys of a file: an input that has them is a file, and what the settings file says of the display.
constexpr const char* kFile = "the file";
constexpr const char* kRecord = "the record";

constexpr auto kWords = std::to_array<std::string_view>(
    {kFile, kRecord, OverrideKey::timings, OverrideKey::scaledSizes, OverrideKey::standardModes,
     OverrideKey::timingRange, OverrideKey::defaultResolution, OverrideKey::pixelDimensions, OverrideKey::productName,
     OverrideKey::refreshRatePolicy, OverrideKey::edid, OverrideKey::backup,
     // Of earlier versions.
     "Velmoratix backuped settings", "VLdspc", "VLtspc", "VLScale", "VZtr", "VZto", "VLdefres", "VLDisplayProductName",
     "VLtrng", "VLEDID",
     // Of the platform.
     "DisplayVendorID", "DisplayProductID", "IODisplayOverrideMatching", "IODisplayIsDigital", "tspc", "dspc",
     "IOGFlags", "target-default-ppmm", "en_US", "en", "de", "Velmoratix4 - Left", "Left",
     // Keys of "tovr".
     "1", "2", "38", "56", "-1", "65537", "no number",
     // Of the settings file.
     "overridenModes", "monitorTiming", "defaultResolution", "displayPixelDimensions", "displayName",
     "displayFreqPolicy", "importedEDID", "importedEDIDKeepsID", "shouldOverride", "name", "minH", "maxH", "minV",
     "maxV", "minPClock", "maxPClock", "Nx", "Ny", "Hz", "resolutionType", "activeNx", "frontNx", "syncNx", "backNx",
     "activeNy", "frontNy", "syncNy", "backNy", "pixelClock", "interlaced", "positiveSyncH", "positiveSyncV",
     "scaledNx", "scaledNy", "appleID", "creationDate", "toInstall"});

/// Keys that the records write or take out.
constexpr auto kOurKeys = std::to_array<std::string_view>(
    {OverrideKey::timings, OverrideKey::scaledSizes, OverrideKey::standardModes, OverrideKey::timingRange,
     OverrideKey::defaultResolution, OverrideKey::pixelDimensions, OverrideKey::productName,
     OverrideKey::refreshRatePolicy, OverrideKey::edid, OverrideKey::backup});

/// The machine, the one process on it (what it keeps are tables that never change), and a display as it was found.
struct Desk {
  Desk() : mac("laptop-and-two"), files(mac.mac, mac.session), process(mac.session.ports({.files = &files})) {
    files.contentAt = [this](const std::string& path) -> const plist::Value* {
      return path.starts_with("/Library/Displays/") && path.find("/DisplayProductID-") != path.npos ? file : nullptr;
    };
    found->cgID = mac.mac.windowServer().displays()[1]->id;
    found->container = &VLMGlobals::sharedInstance();
    found->initializeRegistryData();
    found->countAndFillAllModes();
    found->prepareValidModes();
    found->updateCurrentMode();
  }

  std::shared_ptr<VLMDisplay> displayWith(const plist::Dictionary& record) {
    auto display = VLMDisplay::initAndDecodeReadableWith(record, found->container);
    display->cgID = found->cgID;
    display->displayVendorID = found->displayVendorID;
    display->displayProductID = found->displayProductID;
    display->isDigital = found->isDigital;
    display->sysMonitorName = found->sysMonitorName;
    display->allDisplayModes = found->allDisplayModes;
    display->validDisplayModes = found->validDisplayModes;
    display->currentMode = found->currentMode;
    return display;
  }

  FuzzMac mac;
  GivenFiles files;
  Process process;
  std::shared_ptr<VLMDisplay> found = VLMDisplay::init();
  const plist::Value* file = nullptr;  ///< null: there is none
};

void read(VLMDisplay& display) {
  display.completeOverridesWithDictionary();
  display.completeOverridesWithActualSettings();
}

void askEverything(VLMDisplay& display) {
  display.willNeedToSaveOverride();
  display.areAllOverridenModesOriginal();
  display.isANonActiveScaledMode();
  display.hasToOverrideImportedEDID();
  display.contentBeforeOverrides();
  for (const auto& mode : display.overridenModes) {
    display.findingsOf(*mode);
    mode->displayedModeName();
    mode->description();
    mode->checkStatus();
  }
}

/// The clock of a descriptor loses a unit where a number of 10 kHz has no exact double.
plist::Dictionary withoutClocks(plist::Dictionary content) {
  plist::Value* const items = content.find(OverrideKey::timings);
  if (items == nullptr || items->array() == nullptr) return content;
  for (plist::Value& item : *items->array()) {
    const plist::Data* const data = item.data();
    if (data == nullptr || data->size() != VLMOverrideResolution::kDescriptorLength) continue;
    plist::Data bytes = *data;
    bytes[0] = bytes[1] = 0;
    item = std::move(bytes);
  }
  return content;
}

void checkWhatStays(const plist::Dictionary& before, const plist::Dictionary& composed) {
  const plist::Value *const backup = before.find(OverrideKey::backup), *const now = composed.find(OverrideKey::backup);
  check(now != nullptr && isSame(*backup, *now), "the backup section stays");
  for (const plist::Entry& entry : before) {
    if (std::find(kOurKeys.begin(), kOurKeys.end(), entry.key) != kOurKeys.end()) continue;
    const plist::Value* const kept = composed.find(entry.key);
    check(kept != nullptr && isSame(entry.value, *kept), "what nobody understands stays");
  }
}

/// What is composed from a file that was composed is the same.
void composeTwice(Desk& desk, VLMDisplay& display, const plist::Dictionary& record) {
  const auto own = display.makeContentOfOverrideDictionary(true);
  const OverrideComposition once = display.composeOverrides();
  if (!own) return;
  plist::Dictionary before = *own;
  VLMDisplay::makeBackupOfOverrides(before);
  checkWhatStays(before, once.content);

  const plist::Value written = display.modifiedOverrideContentWith(once.content, true);
  desk.file = &written;
  const auto again = desk.displayWith(record);
  read(*again);
  const OverrideComposition twice = again->composeOverrides();
  checkSame(withoutClocks(once.content), withoutClocks(twice.content), "what was composed is composed again");
}

void writeAndRestore(Desk& desk, VLMDisplay& display) {
  const OverrideComposition composed = display.composeOverrides();
  if (!display.makeContentOfOverrideDictionary(true)) return;
  const plist::Value written = display.modifiedOverrideContentWith(composed.content, true);
  desk.file = &written;
  check(!display.writeOverrides(composed.content), "a file can be written");
  askEverything(display);
  const auto original = display.contentBeforeOverrides();
  const bool hasWayBack = composed.content.dictionary(OverrideKey::backup) != nullptr;
  check(original.has_value() == hasWayBack, "there is a way back");
  if (!original) return;
  const plist::Value restored = *original;
  desk.file = &restored;
  check(!display.restoreOverrides(), "a file can be restored");
  askEverything(display);
  checkSame(*display.contentBeforeOverrides(), *original, "a restored file has the same way back");
}

/// As what the settings file keeps, and back.
void saveSettings(VLMDisplay& display) {
  display.restoreOriginalSettings();
  // Modes take most of the time, and are the settings' own target.
  display.allDisplayModes.clear();
  display.validDisplayModes.clear();
  const plist::Dictionary encoded = readBack(display.encodeReadable());
  checkSame(encoded, readBack(encoded), "overrides are read back from the settings as they were written");
}

}  // namespace
}  // namespace vlm::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vlm::fuzz;
  static Desk desk;
  const auto input = propertyListIn({data, size}, kWords);
  if (!input) return 0;
  const vlm::plist::Dictionary* const root = input->dictionary();
  const vlm::plist::Value* const file = root == nullptr ? nullptr : root->find(kFile);
  const vlm::plist::Dictionary* const record = root == nullptr ? nullptr : root->dictionary(kRecord);
  const vlm::plist::Dictionary settings = record == nullptr ? vlm::plist::Dictionary() : *record;
  desk.file = file == nullptr ? &*input : file;

  const auto display = desk.displayWith(settings);
  read(*display);
  askEverything(*display);
  // One of them for each input: together they take too long.
  switch (size % 4) {
    case 0:
      writeAndRestore(desk, *display);
      break;
    case 1:
      saveSettings(*display);
      break;
    default:
      composeTwice(desk, *display, settings);
  }
  desk.mac.mac.forgetHistory();
  return 0;
}
