#include <array>

#include "Fuzz/FuzzInput.h"
#include "Fuzz/FuzzMac.h"
#include "Fuzz/GivenFiles.h"
#include "Models/VLMGlobals.h"

/// A settings file's content through the document, and back.
namespace vlm::fuzz {
namespace {

/// Keys of the file, and texts that it has as values.
constexpr auto kWords = std::to_array<std::string_view>({
    "allDisplays",
    "1001",
    "1002",
    "1003",
    "0",
    "-1",
    "volatileDisplays",
    "displaySetsArray",
    "monitorArray",
    "applicationSetsArray",
    "eventsArray",
    "startupSet",
    "Version",
    "VLMDaemonRunOnce",
    // A display.
    "monitorResID",
    "sysMonitorName",
    "driverLocationName",
    "edidSerialString",
    "displayUUIDString",
    "cgID",
    "displayVendorID",
    "displayProductID",
    "manufactureYear",
    "manufactureWeek",
    "serialNumber",
    "connection",
    "isDigital",
    "canRotate",
    "canOverscan",
    "canUnderscan",
    "canBrightness",
    "hasSupplementalCAFreq",
    "allDisplayModes",
    "displayModes",
    "currentDepth",
    "currentMode",
    "transfType",
    "isDisabled",
    "underscan",
    "previousTransfType",
    "useBrightness",
    "savedBrightness",
    "useGamma",
    "gammaDelay",
    "showNativeInBold",
    "showFrequenciesApart",
    "showFrequenciesSubMenu",
    "showFrequenciesGrouped",
    "isActive",
    "isMainDisplay",
    // Its overrides.
    "overridenModes",
    "monitorTiming",
    "defaultResolution",
    "displayPixelDimensions",
    "displayName",
    "displayFreqPolicy",
    "importedEDID",
    "importedEDIDKeepsID",
    "shouldOverride",
    "name",
    "minH",
    "maxH",
    "minV",
    "maxV",
    "minPClock",
    "maxPClock",
    "resolutionType",
    "activeNx",
    "frontNx",
    "syncNx",
    "backNx",
    "blankingNx",
    "totalNx",
    "activeNy",
    "frontNy",
    "syncNy",
    "backNy",
    "blankingNy",
    "totalNy",
    "pixelClock",
    "hfreq",
    "vfreq",
    "positiveSyncH",
    "positiveSyncV",
    "scaledNx",
    "scaledNy",
    "appleID",
    "creationDate",
    "toInstall",
    // A mode.
    "Hz",
    "Nx",
    "Ny",
    "IOFBModeID",
    "aliasedModeID",
    "colorMask",
    "deskResID",
    "dpi",
    "flags",
    "freqName",
    "identifier",
    "interlaced",
    "isInMenu",
    "isNative",
    "isScaled",
    "isVRR",
    "isValidAct",
    "modeName",
    "modeUniqueID",
    "pixClock",
    "sysFlags",
    "sysModeID[0]",
    "sysModeID[1]",
    "totalPixels",
    "totalPixelsMin",
    "vesaMode",
    "selDepth",
    // A set and its monitors, a rule, an event.
    "uniqueID",
    "menuOrder",
    "menuVal",
    "MenuItems",
    "keyCode",
    "chainedSetUID",
    "scriptBookmark",
    "theScriptAlias",
    "argument",
    "changeRes",
    "colorPreset",
    "colorProfile",
    "complexMirroringSet",
    "hasActivity",
    "hasColorProfile",
    "hasGray",
    "hasHDR",
    "hasIcon",
    "hasMirroring",
    "hasOrientation",
    "hasOrigin",
    "hasOverscan",
    "hasUnderscan",
    "inGray",
    "inMirroring",
    "inOverscan",
    "isInHDR",
    "orientation",
    "origin",
    "usesDiscreteGPU",
    "activeSetAtLaunch",
    "appName",
    "hideDock",
    "hideOthers",
    "isAutoHidden",
    "restoreAtQuit",
    "setID",
    "showInfo",
    "signature",
    "soundLevel",
    "soundLevelIsSet",
    "notAtOSEvt",
    "pid",
    "type",
    // Options.
    "quitShortCut",
    "launchShortCut",
    "checkUpdate",
    "canProbe",
    "onlyMeCanActivate",
    "startRestoreDelay",
    "sysMenuFlags",
    "sysShowRez",
    "statusItemGray",
    "showMenuExtra",
    "cmMenuFlags",
    "cmShowRez",
    "showContextMenu",
    "contextualMenuModifier",
    "desktopFlags",
    "iconsGridH",
    "startDelay",
    "snapToGrid",
});

FuzzMac& fuzzMac() {
  static FuzzMac mac("laptop-and-two");
  return mac;
}

void askEverything(VLMGlobals& document) {
  for (const auto& set : document.displaySetsArray) {
    bool hasOneMonitorSetting = false;
    document.checkMarkForSet(*set, &hasOneMonitorSetting);
  }
  for (const auto& display : document.extraDisplayArray) {
    display->displayedNameForMenu();
    display->description();
    display->isADisplayableUnattachedMonitor();
    display->willNeedToSaveOverride();
    for (const auto& mode : display->validDisplayModes) display->validModeWithUniqueID(mode->modeUniqueID);
  }
  document.findNextSetUniqueID();
  document.resortDisplaySetsMenuOrder();
}

plist::Value writtenBehind(const plist::Dictionary& content) {
  const Process process(fuzzMac().session.ports());
  VLMGlobals& document = VLMGlobals::sharedInstance();
  document.decodeReadableWith(content, SettingsGroup::all);
  plist::Value written = document.encodeReadableInDict(&content, SettingsGroup::all);
  askEverything(document);
  return written;
}

/// A start with the file.
void start(const plist::Value& content) {
  static GivenFiles files(fuzzMac().mac, fuzzMac().session);
  files.contentAt = [&](const std::string& path) { return path.ends_with("daemon.plist") ? &content : nullptr; };
  const Process process(fuzzMac().session.ports({.files = &files}));
  VLMGlobals& document = VLMGlobals::sharedInstance();
  document.initializeAllDisplaysFromSystemData();
  askEverything(document);
  document.getPrefs(SettingsGroup::all);
  fuzzMac().mac.forgetHistory();
}

}  // namespace
}  // namespace vlm::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vlm::fuzz;
  const auto content = propertyListIn({data, size}, kWords);
  if (!content || content->dictionary() == nullptr) return 0;
  // What was written once is written so for ever.
  const vlm::plist::Value once = writtenBehind(*content->dictionary());
  const vlm::plist::Value twice = writtenBehind(*once.dictionary());
  checkSame(once, twice, "what is read back and written again is the same");
  // Takes far longer than all the rest.
  constexpr int kStartEvery = 128;
  if (size % kStartEvery == kStartEvery - 1) start(once);
  return 0;
}
