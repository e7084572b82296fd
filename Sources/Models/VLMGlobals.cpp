#include "Models/VLMGlobals.h"

#include <algorithm>

#include "Platform/Files.h"
#include "Platform/Process.h"
#include "Shared/Prefs.h"
#include "Shared/SystemVersion.h"

namespace vlm {

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
  displaySetsArray.clear();
  // Its count of users goes with the set.
  startupSet_.reset();
  carriedGroups_ = {};
  loadedGroups_ = 0;
}

void VLMGlobals::loadPrefs(int flags) {
  const auto path = Prefs_GetVLM4PrefsURL(false);
  const auto dict = path ? os().files.dictionaryWithContentsOfURL(*path) : std::nullopt;
  static const plist::Dictionary kEmpty;
  decodeReadableWith(dict ? *dict : kEmpty, flags & 0xFFFF);
}

void VLMGlobals::savePrefs(int flags) {
  const auto path = Prefs_GetVLM4PrefsURL(true);
  if (!path) return;
  const auto onDisk = os().files.dictionaryWithContentsOfURL(*path);
  // A failed write leaves the old file; what is in memory is written again by the next save.
  os().files.writeToURLAtomically(encodeReadableInDict(onDisk ? &*onDisk : nullptr, flags & 0xFFFF), *path);
}

plist::Dictionary VLMGlobals::getPrefs(int flags) {
  const auto path = Prefs_GetVLM4PrefsURL(false);
  const auto onDisk = path ? os().files.dictionaryWithContentsOfURL(*path) : std::nullopt;
  return encodeReadableInDict(onDisk ? &*onDisk : nullptr, flags & 0xFFFF);
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
