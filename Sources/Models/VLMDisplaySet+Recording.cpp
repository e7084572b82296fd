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

void recordMirroring(VLMDisplaySet& set, const Displays& displays) {
  for (const auto& a : displays) {
    for (const auto& b : displays) {
      if (a == b || !a->isMirroring(*b) || !a->monitorResID || !b->monitorResID) continue;
      set.hasMirroring = true;
      // Mirroring goes both ways, and holds between two that show a third one: a pair says who shows whom.
      if (os().quartz.CGDisplayMirrorsDisplay(b->cgID) != a->cgID) continue;
      set.complexMirroringSet.add({*a->monitorResID, *b->monitorResID});
    }
  }
  if (!set.complexMirroringSet.isSetCompleteWithMonitorArrays(displays)) return;
  set.inMirroring = true;
  set.complexMirroringSet.clear();
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
  monitor->colorPreset = display.currentColorPresetUUID();
  monitor->colorProfile = display.currentColorProfileURL();
  monitor->isMainDisplay = isOneOfSeveral && display.isMainDisplay();
  return monitor;
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

}  // namespace vlm
