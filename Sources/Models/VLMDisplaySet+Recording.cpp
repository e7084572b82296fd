#include <utility>

#include "Models/VLMDisplay.h"
#include "Models/VLMDisplaySet.h"
#include "Models/VLMGlobals.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Shared/BundleTexts.h"

namespace vlm {

namespace {

using Displays = std::vector<std::shared_ptr<VLMDisplay>>;

/// The name of a set before its user gives it one.
constexpr const char* kNewSetNameKey = "2614";

void recordMirroringPairs(VLMDisplaySet& set, const Displays& displays) {
  for (const auto& a : displays) {
    for (const auto& b : displays) {
      if (a == b || !a->isMirroring(*b) || !a->monitorResID || !b->monitorResID) continue;
      set.hasMirroring = true;
      // Mirroring goes both ways, and holds between two that show a third one: a pair says who shows whom.
      if (os().quartz.CGDisplayMirrorsDisplay(b->cgID) != a->cgID) continue;
      set.complexMirroringSet.add({*a->monitorResID, *b->monitorResID});
    }
  }
}

void recordMirroring(VLMDisplaySet& set, const Displays& displays) {
  recordMirroringPairs(set, displays);
  if (!set.complexMirroringSet.isSetCompleteWithMonitorArrays(displays)) return;
  set.inMirroring = true;
  set.complexMirroringSet.clear();
}

/// Off, pulled out, or showing another one's picture, a display has no place of its own: it stands where that one does,
/// or nowhere.
bool hasOwnPlace(const VLMDisplay& display) {
  return os().quartz.CGDisplayIsOnline(display.cgID) && display.isActive() &&
         os().quartz.CGDisplayMirrorsDisplay(display.cgID) == kCGNullDirectDisplay;
}

std::shared_ptr<VLMMonitorInSet> monitorAsItIs(const VLMDisplay& display, bool isOneOfSeveral) {
  auto monitor = VLMMonitorInSet::initEmpty();
  monitor->monitorResID = display.monitorResID;
  monitor->dispIsPresent = true;
  // A display without a known mode is recorded without one: an identifier of 0 would be a setting that never holds.
  if (const auto mode = display.currentMode.get()) {
    monitor->modeUniqueID = mode->modeUniqueID;
    monitor->selDepth = static_cast<std::uint64_t>(display.currentDepth);
  }
  monitor->origin = display.displayPosition().packed();
  monitor->isActive = display.isActive();
  monitor->underscan = display.underscanValue();
  monitor->inOverscan = display.isInOverscan();
  monitor->isInHDR = display.isInHDR();
  monitor->orientation = truncateTo<std::int16_t>(display.orientation());
  // A preset brings its own profile.
  if (display.hasDisplayPresets()) {
    monitor->colorPreset = display.currentColorPresetUUID();
  } else {
    monitor->colorProfile = display.currentColorProfileURL();
  }
  monitor->isMainDisplay = isOneOfSeveral && display.isMainDisplay() && hasOwnPlace(display);
  return monitor;
}

/// Lets the set enforce these aspects of a monitor, as far as its display has them.
void enforce(VLMMonitorInSet& monitor, const VLMDisplay& display, std::uint32_t options) {
  const auto has = [&](std::uint32_t option) { return (options & option) != 0; };
  if (!has(DisplaySetOption::mode)) monitor.modeUniqueID = VLMMonitorInSet::kNoSetting;
  if (!has(DisplaySetOption::depth)) monitor.selDepth = VLMMonitorInSet::kNoSetting;
  monitor.hasOrigin = has(DisplaySetOption::origin) && hasOwnPlace(display);
  monitor.hasOrientation = has(DisplaySetOption::orientation) && display.canRotate;
  monitor.hasActivity = has(DisplaySetOption::activity) && display.doesSupportDisabling();
  monitor.hasOverscan = has(DisplaySetOption::overscan) && display.canOverscan;
  monitor.hasUnderscan = has(DisplaySetOption::underscan) && display.canUnderscan;
  monitor.hasHDR = has(DisplaySetOption::hdr) && display.doesSupportHDR();
  monitor.hasColorProfile = has(DisplaySetOption::colour) && (monitor.colorPreset || monitor.colorProfile);
}

}  // namespace

std::shared_ptr<VLMDisplaySet> VLMDisplaySet::initWithDisplays(const Displays& displays, const VLMGlobals& document) {
  std::shared_ptr<VLMDisplaySet> set(new VLMDisplaySet);
  set->menuOrder = kNotYetPlaced;
  set->keyCode = kNoHotKey;
  set->name = GetBundleNSString("ControlPanel", kNewSetNameKey, kNewSetNameKey);
  set->isInMenu = true;
  set->hasIcon = true;
  recordMirroring(*set, displays);
  set->inGray = document.isGrayEnabled();
  for (const auto& display : displays) {
    auto monitor = monitorAsItIs(*display, displays.size() > 1);
    monitor->container = set.get();
    set->monitorArray.push_back(std::move(monitor));
  }
  return set;
}

std::shared_ptr<VLMDisplaySet> VLMDisplaySet::initWithDisplays(const Displays& displays, std::uint32_t options,
                                                               const VLMGlobals& document) {
  auto set = initWithDisplays(displays, document);
  set->hasMirroring = (options & DisplaySetOption::mirroring) != 0 && displays.size() > 1;
  set->hasGray = (options & DisplaySetOption::gray) != 0;
  for (std::size_t i = 0; i < displays.size(); ++i) {
    VLMMonitorInSet& monitor = *set->monitorArray[i];
    enforce(monitor, *displays[i], options);
    if ((options & DisplaySetOption::origin) == 0) monitor.isMainDisplay = false;
  }
  return set;
}

std::shared_ptr<VLMDisplaySet> VLMDisplaySet::initForApplicSaving(const std::string& identifier,
                                                                  const Displays& displays,
                                                                  const VLMGlobals& document) {
  auto set = initWithDisplays(displays, DisplaySetOption::all, document);
  set->name = identifier;
  // Mirroring of all says nothing of who is shown.
  if (std::exchange(set->inMirroring, false)) recordMirroringPairs(*set, displays);
  set->isInMenu = false;
  // Icons follow the modes; a layout of its own it has none.
  set->hasIcon = false;
  return set;
}

std::shared_ptr<VLMDisplaySet> VLMDisplaySet::initForDesktopSavingwithDisplays(const Displays& displays,
                                                                               std::int64_t uniqueID,
                                                                               const VLMGlobals& document) {
  auto set = initWithDisplays(displays, DisplaySetOption::mode | DisplaySetOption::origin, document);
  set->uniqueID = uniqueID;
  return set;
}

}  // namespace vlm
