#include <algorithm>

#include "Models/VLMGlobals.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/System.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

/// Posted on the local centre when the sets' order in the menus has been made anew.
constexpr const char* kSetsReordered = "VLMInternalDisplaySetsArrayReordered";

/// Survives the records that it was counted from; the document tells whether it still holds.
struct HardMirroredCount {
  std::int32_t count = 0;
};

}  // namespace

std::int32_t VLMGlobals::nDispHardMirrored() {
  std::int32_t& count = Process::current().state<HardMirroredCount>().count;
  if (isCachedNDispHardMirrored) return count;
  count = static_cast<std::int32_t>(std::count_if(displayArray.begin(), displayArray.end(), [](const auto& display) {
    return display->isActive() && os().quartz.CGDisplayIsAlwaysInMirrorSet(display->cgID);
  }));
  isCachedNDispHardMirrored = true;
  return count;
}

bool VLMGlobals::isMirroringEnabled() const {
  return std::any_of(displayArray.begin(), displayArray.end(),
                     [](const auto& display) { return os().quartz.CGDisplayIsInMirrorSet(display->cgID); });
}

bool VLMGlobals::haveAllDisplaySameDepth() const {
  return std::all_of(displayArray.begin(), displayArray.end(),
                     [&](const auto& display) { return display->currentDepth == displayArray.front()->currentDepth; });
}

bool VLMGlobals::isGrayEnabled() const {
  return systemVersion() < kSystem10_15 ? os().system.CGDisplayUsesForceToGray() : os().system.UAGrayscaleIsEnabled();
}

namespace {

/// Displays that are on when the open transactions have completed. One whose cable was just pulled still has a record,
/// which says that it is on.
std::ptrdiff_t activeDisplays(const std::vector<std::shared_ptr<VLMDisplay>>& displays) {
  return std::count_if(displays.begin(), displays.end(), [](const auto& display) {
    const CGDirectDisplayID cgID = display->cgID;
    if (!os().quartz.CGDisplayIsOnline(cgID)) return false;
    return DisplayTransaction::isGoingOn(cgID) || (display->isActive() && !DisplayTransaction::isGoingOff(cgID));
  });
}

}  // namespace

bool VLMGlobals::canDisableDisplay(const VLMDisplay& display) const {
  return display.doesSupportDisabling() && activeDisplays(displayArray) >= 2;
}

bool VLMGlobals::showEnableDisableOption(const VLMDisplay& display) const {
  if (!display.doesSupportDisabling()) return false;
  return !display.isActive() || activeDisplays(displayArray) >= 2;
}

void VLMGlobals::updateCurrentModes() {
  for (const auto& display : displayArray) {
    display->updateCurrentMode();
    // The rebuild that a rotation brings about has not come yet.
    if (needsUpdatingDisplays && display->canRotate) display->transfType = display->getDisplayTansfType();
  }
}

std::int64_t VLMGlobals::findNextSetUniqueID() const {
  // The running maximum has 16 bits; identifiers above 32767 are not expected.
  std::int16_t largest = 0;
  for (const auto& set : displaySetsArray) {
    const std::int64_t identifier = set->uniqueID.value_or(0);
    if (identifier > largest) largest = truncateTo<std::int16_t>(identifier);
  }
  return static_cast<std::int64_t>(largest) + 1;
}

void VLMGlobals::resortDisplaySetsMenuOrder() {
  std::int64_t order = 0;
  for (const auto& set : displaySetsArray) set->menuOrder = truncateTo<std::int16_t>(++order);
  os().notifications.post(NotificationCenter::local,
                          {.name = kSetsReordered, .object = {}, .sender = this, .userInfo = {}}, 0);
}

std::int32_t VLMGlobals::nextDeskResID() {
  // Counted on from the largest one of the document; found when the displays are rebuilt.
  return ++lastDeskResID_;
}

}  // namespace vlm
