#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <unordered_set>

#include "Models/DisplayList.h"
#include "Models/VLMGlobals.h"
#include "Models/VLMOverrideDisplayName.h"
#include "Platform/IORegistry.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/SkyLight.h"
#include "Shared/Log.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

/// The window server's list is never asked for more.
constexpr std::uint32_t kMostDisplays = 99;
/// Identifiers from here on come from a damaged file alone; counting on from one would leave the range.
constexpr std::int32_t kHighestIdentifier = 0x7FFF0000;
/// Bit of a frame buffer's "IOFBProbeOptions": it can be asked to look for displays.
constexpr std::int64_t kProbeIsPossible = 1;

std::vector<CGDirectDisplayID> onlineDisplays(const std::vector<CGDirectDisplayID>& displays) {
  std::vector<CGDirectDisplayID> online;
  std::copy_if(displays.begin(), displays.end(), std::back_inserter(online),
               [](CGDirectDisplayID display) { return os().quartz.CGDisplayIsOnline(display); });
  if (online.size() > kMostDisplays) online.resize(kMostDisplays);
  return online;
}

bool canBeProbed(CGDirectDisplayID display) {
  const io_service_t frameBuffer = os().quartz.CGDisplayIOServicePort(display);
  if (frameBuffer == 0) return false;
  const auto options = os().registry.IORegistryEntryCreateCFProperty(frameBuffer, "IOFBProbeOptions");
  return options && options->isNumber() && (options->sInt64() & kProbeIsPossible) != 0;
}

/// How a display was configured at some moment: all that a reload of the records leaves of it. What it is, too: when
/// the settings file lost its records, the numbers are given anew.
struct RememberedState {
  std::uint32_t vendor = 0, product = 0, serial = 0;
  bool enabled = false;
  std::optional<std::uint32_t> modeUniqueID;
  std::int32_t depth = 0;
};

/// The settings file's state at the daemon's start, and that in which each display was first seen in this run; by
/// `monitorResID`. The start itself saves the file at once, and every reload makes new records, so both stand here.
struct RememberedStates {
  bool hasSettingsFileState = false;
  std::map<std::int64_t, RememberedState> shutdown;
  std::map<std::int64_t, RememberedState> initial;
};

RememberedState stateOf(const VLMDisplay& display, bool enabled) {
  RememberedState state{.vendor = display.displayVendorID,
                        .product = display.displayProductID,
                        .serial = display.serialNumber,
                        .enabled = enabled,
                        .modeUniqueID = {},
                        .depth = display.currentDepth};
  if (const auto mode = display.currentMode.get()) state.modeUniqueID = mode->modeUniqueID;
  return state;
}

bool isSameMonitor(const RememberedState& a, const RememberedState& b) {
  return a.vendor == b.vendor && a.product == b.product && a.serial == b.serial;
}

/// States remembered under the number of a display that are another monitor's.
void forgetWhatIsOfAnother(RememberedStates& states, std::int64_t monitorResID, const RememberedState& now) {
  const auto initial = states.initial.find(monitorResID);
  if (initial == states.initial.end() || isSameMonitor(initial->second, now)) return;
  states.initial.erase(initial);
  states.shutdown.erase(monitorResID);
}

std::shared_ptr<VLMMode> modeOf(const VLMDisplay& display, const RememberedState& state) {
  return state.modeUniqueID ? display.validModeWithUniqueID(*state.modeUniqueID) : nullptr;
}

}  // namespace

std::vector<CGDirectDisplayID> displayList() {
  std::uint32_t count = 0;
  if (os().quartz.CGSGetDisplayList(kMostDisplays, {}, count) != kCGErrorSuccess) return {};
  std::vector<CGDirectDisplayID> displays(std::min(count, kMostDisplays));
  if (os().quartz.CGSGetDisplayList(static_cast<std::uint32_t>(displays.size()), displays, count) != kCGErrorSuccess) {
    return {};
  }
  displays.resize(std::min<std::size_t>(displays.size(), count));
  return displays;
}

std::int32_t VLMGlobals::getNumberOfDisplays() const {
  const auto displays = displayList();
  VLMLog("getNumberOfDisplays got %d displays", displays.size());
  const auto online = onlineDisplays(displays);
  VLMLog("getNumberOfDisplays stripped to %d displays", online.size());
  return static_cast<std::int32_t>(online.size());
}

std::shared_ptr<VLMDisplay> VLMGlobals::newAttachedDisplay(CGDirectDisplayID cgID) {
  auto display = VLMDisplay::init();
  display->container = this;
  if (systemVersion() >= kSystem10_15) display->displayUUIDString = os().skyLight.SLSCopyDisplayUUID(cgID);
  display->dispIsPresent = true;
  display->cgID = cgID;
  display->monitorResID = VLMDisplay::kUnmatchedResID;

  VLMLog("%@", std::string(80, '-'));
  VLMLog("initializeRegistryData for display %d", cgID);
  display->initializeRegistryData();
  VLMLog("...done");

  display->canRotate = display->doesSupportRotating();
  display->transfType = display->canRotate ? display->getDisplayTansfType() : std::int16_t{0};
  display->canOverscan = display->doesSupportOverscan();
  display->canUnderscan = display->doesSupportUnderscan();
  display->underscan = display->canUnderscan ? display->underscanValue() : 0.0F;
  display->canBrightness = display->brightnessMethod();
  display->brightness = display->readBrightness();
  // A display asleep answers what is stored: nobody has turned it off.
  display->isEnabled = true;
  display->isEnabled = display->isActive();

  VLMLog("countAndFillAllModes for display %d", cgID);
  display->countAndFillAllModes();
  VLMLog("...done");
  display->prepareValidModes();
  return display;
}

void VLMGlobals::initializeCurrentDisplays() {
  const auto displays = displayList();
  VLMLog("initializeCurrentDisplays found %d displays", displays.size());
  for (std::size_t i = 0; i < displays.size(); ++i) {
    VLMLog("initializeCurrentDisplays: Display %d is %lX", i, displays[i]);
  }
  const auto online = onlineDisplays(displays);
  VLMLog("stripped to %d displays", online.size());
  for (std::size_t i = 0; i < online.size(); ++i) VLMLog("stripped Display %d is %lX", i, online[i]);

  canProbe = std::any_of(online.begin(), online.end(), canBeProbed);
  displayArray.clear();
  isCachedNDispHardMirrored = false;
  for (const CGDirectDisplayID cgID : online) displayArray.push_back(newAttachedDisplay(cgID));
  findDuplicateDisplays();
}

void VLMGlobals::initializeAllDisplaysFromSystemData() {
  loadPrefs(SettingsGroup::all);
  for (const auto& saved : extraDisplayArray) saved->dispIsPresent = false;
  rememberSettingsFileState();
  initializeCurrentDisplays();
  for (const auto& saved : extraDisplayArray) {
    saved->cgID = 0;
    saved->displayNumber = 0;
  }
  matchAttachedDisplays();
  for (const auto& saved : extraDisplayArray) saved->setIsDirty(false);
  numberDisplays();
  for (const auto& display : displayArray) {
    display->updateCurrentMode();
    display->gatherModesInFrequencySets();
  }
  // What the file said of being attached is the past.
  alignDisplaySets();
  getInitialSettings();
}

void VLMGlobals::matchAttachedDisplays() {
  std::int64_t lastResID = VLMDisplay::kResIDsBeginAbove;
  lastDeskResID_ = 0;
  std::unordered_set<std::int32_t> deskResIDs;
  for (const auto& saved : extraDisplayArray) {
    const std::int64_t resID = saved->monitorResID.value_or(0);
    if (resID < kHighestIdentifier) lastResID = std::max(lastResID, resID);
    for (const auto& mode : saved->allDisplayModes) {
      // Two modes with one identifier would share their icon layouts: the second gets a new one.
      if (mode->deskResID >= kHighestIdentifier || !deskResIDs.insert(mode->deskResID).second) mode->deskResID = 0;
      lastDeskResID_ = std::max(lastDeskResID_, mode->deskResID);
    }
  }
  VLMLog("Matching memory displays to disk saved preferences");
  for (const auto& live : displayArray) {
    VLMLog("Looking for disp %@", lazily([&] { return live->description(); }));
    auto best = extraDisplayArray.end();
    int bestScore = 0;
    for (auto candidate = extraDisplayArray.begin(); candidate != extraDisplayArray.end(); ++candidate) {
      VLMLog("Checking candidate %@", lazily([&] { return (*candidate)->description(); }));
      const int score = live->identityScoreOf(**candidate);
      // Strictly more: the first of equals stays, and a model alone never matches.
      if (score <= bestScore) continue;
      bestScore = score;
      best = candidate;
    }
    if (best != extraDisplayArray.end()) {
      VLMLog("For disp %@, best candidate found %@ ", lazily([&] { return live->description(); }),
             lazily([&] { return (*best)->description(); }));
      live->copyDisplayFrom(**best);
      *best = live;
    } else {
      VLMLog("No candidate found for disp %@ ", lazily([&] { return live->description(); }));
      live->consolidateUniqueModesID();
      live->monitorResID = ++lastResID;
      extraDisplayArray.push_back(live);
    }
    // Taken: no other display may match it in this pass.
    live->setIsDirty(true);
  }
}

void VLMGlobals::numberDisplays() {
  if (displayArray.size() < 2) return;
  std::stable_partition(displayArray.begin(), displayArray.end(),
                        [](const auto& display) { return os().quartz.CGDisplayIsBuiltin(display->cgID); });
  std::int16_t number = 0;
  for (const auto& display : displayArray) display->displayNumber = ++number;
}

void VLMGlobals::rememberSettingsFileState() {
  auto& states = Process::current().state<RememberedStates>();
  if (states.hasSettingsFileState) return;
  states.hasSettingsFileState = true;
  for (const auto& saved : extraDisplayArray) {
    if (saved->monitorResID) states.shutdown.emplace(*saved->monitorResID, stateOf(*saved, saved->isEnabled));
    saved->rememberThatItIsDimmed();
  }
}

void VLMGlobals::getInitialSettings() {
  auto& states = Process::current().state<RememberedStates>();
  for (const auto& display : displayArray) {
    if (!display->monitorResID) continue;
    const RememberedState now = stateOf(*display, display->isActive());
    forgetWhatIsOfAnother(states, *display->monitorResID, now);
    const RememberedState& initial = states.initial.emplace(*display->monitorResID, now).first->second;
    display->initialEnabled = initial.enabled;
    display->initialMode = modeOf(*display, initial);
    display->initialDepth = initial.depth;
    // A monitor that the file did not know at the start is left as it was found.
    const RememberedState& shutdown = states.shutdown.emplace(*display->monitorResID, initial).first->second;
    display->shutdownEnabled = shutdown.enabled;
    display->shutdownMode = modeOf(*display, shutdown);
    display->shutdownDepth = shutdown.depth;
  }
}

void VLMGlobals::completeOverridesWithDictionaries() {
  for (const auto& display : extraDisplayArray) display->completeOverridesWithDictionary();
}

void VLMGlobals::completeOverridesWithActualSettings() {
  for (const auto& display : extraDisplayArray) display->completeOverridesWithActualSettings();
}

}  // namespace vlm
