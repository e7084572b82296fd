#include "Models/VLMGlobals.h"

#include <algorithm>

#include "Platform/Process.h"
#include "Platform/RunLoop.h"
#include "Shared/Prefs.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

/// Seconds. A full disk is not emptied in one, and the user may change nothing more for days.
constexpr double kSaveRetryDelay = 30;

}  // namespace

VLMGlobals& VLMGlobals::sharedInstance() { return Process::current().state<VLMGlobals>(); }

VLMGlobals::VLMGlobals() {
  // Asked once here, so that every later version gate compares against the same number.
  systemVersion();
}

VLMGlobals::~VLMGlobals() { cutChains(); }

void VLMGlobals::cutChains() {
  // Chained sets hold each other; a chain that comes back to its beginning would never go.
  for (const auto& set : displaySetsArray) set->setChainedDisplaySet(nullptr);
}

void VLMGlobals::forget() {
  quitShortCut.reset();
  launchShortCut.reset();
  cutChains();
  displayArray.clear();
  extraDisplayArray.clear();
  applicationSetsArray.clear();
  eventsArray.clear();
  displaySetsArray.clear();
  // Its count of users goes with the set.
  startupSet_.reset();
  loadedGroups_ = 0;
}

void VLMGlobals::loadPrefs(int flags) {
  const Settings settings = Prefs_LoadSettings();
  static const plist::Dictionary kEmpty;
  decodeReadableWith(settings ? *settings : kEmpty, flags & 0xFFFF);
}

void VLMGlobals::savePrefs(int flags) {
  const bool isSaved = Prefs_SaveSettings(
      [&](const plist::Dictionary* current) { return encodeReadableInDict(current, flags & 0xFFFF); });
  if (isSaved || isSaveRetryScheduled_) return;
  isSaveRetryScheduled_ = true;
  os().runLoop.performAfterDelay(kSaveRetryDelay, [this] {
    isSaveRetryScheduled_ = false;
    saveWhatIsPending();
  });
}

void VLMGlobals::saveWhatIsPending() {
  if (Prefs_IsSavePending()) savePrefs(0);
}

plist::Dictionary VLMGlobals::getPrefs(int flags) {
  return encodeReadableInDict(Prefs_LoadSettings().get(), flags & 0xFFFF);
}

void VLMGlobals::setStartupDisplaySet(std::shared_ptr<VLMDisplaySet> set) {
  if (startupSet_) --startupSet_->nbUsers;
  if (set) ++set->nbUsers;
  startupSet_ = std::move(set);
}

namespace {

template <class Predicate>
std::shared_ptr<VLMDisplay> firstOf(const std::vector<std::shared_ptr<VLMDisplay>>& displays, Predicate matches) {
  const auto found =
      std::find_if(displays.begin(), displays.end(), [&](const auto& display) { return matches(*display); });
  return found == displays.end() ? nullptr : *found;
}

}  // namespace

std::shared_ptr<VLMDisplay> VLMGlobals::displayAtIndex(std::size_t index) const {
  return index < displayArray.size() ? displayArray[index] : nullptr;
}

std::shared_ptr<VLMDisplay> VLMGlobals::displayWithcgID(CGDirectDisplayID cgID) const {
  return firstOf(displayArray, [&](const VLMDisplay& display) { return display.cgID == cgID; });
}

std::shared_ptr<VLMDisplay> VLMGlobals::displayWithID(std::optional<std::int64_t> monitorResID) const {
  if (!monitorResID) return nullptr;
  return firstOf(displayArray, [&](const VLMDisplay& display) { return display.monitorResID == monitorResID; });
}

std::shared_ptr<VLMDisplay> VLMGlobals::extraDisplayWithID(std::optional<std::int64_t> monitorResID) const {
  if (!monitorResID) return nullptr;
  return firstOf(extraDisplayArray, [&](const VLMDisplay& display) { return display.monitorResID == monitorResID; });
}

std::shared_ptr<VLMDisplay> VLMGlobals::getDispWithPoint(Point point) const {
  return firstOf(displayArray,
                 [&](const VLMDisplay& display) { return os().quartz.CGDisplayBounds(display.cgID).contains(point); });
}

std::shared_ptr<VLMDisplay> VLMGlobals::mainDisplay() const {
  return firstOf(displayArray, [](const VLMDisplay& display) { return display.isMainDisplay(); });
}

}  // namespace vlm
