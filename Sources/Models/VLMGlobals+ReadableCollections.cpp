#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <utility>

#include "Models/VLMGlobals.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Shared/Log.h"
#include "Shared/ReadableEncoding.h"

namespace vlm {

namespace {

/// When each set was last applied. The sets themselves are replaced by every reload, and a chain that comes back to a
/// set within a second must still find it applied.
struct LastExecutedDates {
  std::map<std::int64_t, double> byUniqueID;
};

std::optional<std::int64_t> identifierFromKey(const std::string& key) {
  std::int64_t identifier = 0;
  const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), identifier);
  if (error != std::errc() || end != key.data() + key.size()) return std::nullopt;
  return identifier;
}

std::vector<std::int64_t> volatileIdentifiers(const plist::Dictionary& dict) {
  std::vector<std::int64_t> identifiers;
  const plist::Array* array = dict.array("volatileDisplays");
  if (array == nullptr) return identifiers;
  for (const plist::Value& entry : *array) {
    if (entry.isNumber()) identifiers.push_back(entry.sInt64());
  }
  return identifiers;
}

}  // namespace

void VLMGlobals::decodeDisplayRecords(const plist::Dictionary& dict) {
  extraDisplayArray.clear();
  const plist::Dictionary* all = dict.dictionary("allDisplays");
  if (all == nullptr) return;
  // Entries stand in the order of their keys as texts: "10" before "9".
  for (const plist::Entry& entry : *all) {
    const plist::Dictionary* record = entry.value.dictionary();
    if (record == nullptr) continue;
    auto display = VLMDisplay::initAndDecodeReadableWith(*record, this);
    // A damaged record that has lost its identifier still stands under it.
    if (!display->monitorResID) display->monitorResID = identifierFromKey(entry.key);
    if (display->monitorResID) extraDisplayArray.push_back(std::move(display));
  }
}

void VLMGlobals::decodeAttachedDisplays(const plist::Dictionary& dict) {
  displayArray.clear();
  const std::vector<std::int64_t> identifiers = volatileIdentifiers(dict);
  // One display alone gets number 0, by wrap-around; several get 1, 2, 3 …
  std::uint16_t number = identifiers.size() < 2 ? 65535 : 0;
  for (const std::int64_t identifier : identifiers) {
    const auto display = extraDisplayWithID(identifier);
    if (!display) continue;
    ++number;
    display->dispIsPresent = true;
    display->container = this;
    display->displayNumber = truncateTo<std::int16_t>(number);
    displayArray.push_back(display);
  }
  findDuplicateDisplays();
  isCachedNDispHardMirrored = false;
  const std::set<std::int64_t> attached(identifiers.begin(), identifiers.end());
  for (const auto& display : extraDisplayArray) {
    if (display->monitorResID && attached.contains(*display->monitorResID)) {
      display->gatherModesInFrequencySets();
    } else {
      display->cgID = 0;
      display->displayNumber = 0;
    }
  }
}

void VLMGlobals::decodeDisplaySets(const plist::Dictionary& dict) {
  VLMLog("Decoding display sets");
  cutChains();
  displaySetsArray.clear();
  const plist::Array* array = dict.array("displaySetsArray");
  VLMLog("Array on disk = %@",
         lazily([&] { return array == nullptr ? std::string("(null)") : plist::describe(*array); }));
  const auto& dates = Process::current().state<LastExecutedDates>().byUniqueID;
  static const plist::Array kEmpty;
  for (const plist::Value& entry : array == nullptr ? kEmpty : *array) {
    const plist::Dictionary* setDict = entry.dictionary();
    if (setDict == nullptr) continue;
    auto set = VLMDisplaySet::initAndDecodeReadableWith(*setDict);
    set->container = this;
    const auto date = set->uniqueID ? dates.find(*set->uniqueID) : dates.end();
    if (date != dates.end()) set->lastExecutedDate = date->second;
    displaySetsArray.push_back(std::move(set));
  }
  alignDisplaySets();
  for (const auto& set : displaySetsArray) {
    if (!set->chainedSetUID) continue;
    set->setChainedDisplaySet(findSetByUniqueID(displaySetsArray, set->chainedSetUID));
    set->chainedSetUID.reset();
  }
  followTheSetsMadeAnew();
  VLMLog("Decoded Display Sets, result is %@",
         lazily([&] { return plist::describe(vlm::encodeReadable(displaySetsArray)); }));
}

void VLMGlobals::findAttachedMonitors(VLMDisplaySet& set) const {
  // Every monitor of the set, wherever its display stands among the attached ones.
  for (const auto& monitor : set.monitorArray) monitor->dispIsPresent = displayWithID(monitor->monitorResID) != nullptr;
}

/// Whoever refers to a set of before refers to the one of the same identifier now; a decoding of all groups makes the
/// rules anew behind this.
void VLMGlobals::followTheSetsMadeAnew() {
  const auto now = [&](const std::shared_ptr<VLMDisplaySet>& before) {
    return before ? findSetByUniqueID(displaySetsArray, before->uniqueID) : nullptr;
  };
  for (const auto& rule : applicationSetsArray) rule->setDisplaySet(now(rule->displaySet()));
  for (const auto& event : eventsArray) event->setDisplaySet(now(event->displaySet()));
  setStartupDisplaySet(now(startupSet_));
}

void VLMGlobals::alignDisplaySets() {
  for (const auto& set : displaySetsArray) {
    findAttachedMonitors(*set);
    const std::size_t count = std::min(set->monitorArray.size(), displayArray.size());
    for (std::size_t i = 0; i < count; ++i) {
      const std::ptrdiff_t j = set->indexOfMonitorWithID(displayArray[i]->monitorResID);
      if (j < 0 || static_cast<std::size_t>(j) == i) continue;
      std::swap(set->monitorArray[i], set->monitorArray[static_cast<std::size_t>(j)]);
    }
  }
}

void VLMGlobals::rememberExecution(const VLMDisplaySet& set) {
  if (!set.uniqueID || !set.lastExecutedDate) return;
  Process::current().state<LastExecutedDates>().byUniqueID[*set.uniqueID] = *set.lastExecutedDate;
  // The set may have been made anew while it was applied.
  if (const auto current = findSetByUniqueID(displaySetsArray, set.uniqueID)) {
    current->lastExecutedDate = set.lastExecutedDate;
  }
}

void VLMGlobals::encodeDisplays(plist::Dictionary& dict, int flags) const {
  if ((flags & SettingsGroup::attachedDisplays) != 0) {
    plist::Array identifiers;
    for (const auto& display : displayArray) {
      if (display->monitorResID) identifiers.push_back(*display->monitorResID);
    }
    dict.set("volatileDisplays", std::move(identifiers));
  }
  if ((flags & SettingsGroup::displayRecords) != 0) {
    // Taken out, not copied: it is nearly all of the file.
    plist::Value* const found = dict.find("allDisplays");
    plist::Dictionary all;
    if (found != nullptr && found->dictionary() != nullptr) all = std::move(*found->dictionary());
    const auto identity = [](const VLMDisplay& display) {
      return display.monitorResID.value_or(VLMDisplay::kUnmatchedResID);
    };
    const auto mustBeWritten = [](const auto& record) { return record->dispIsPresent || record->isDirty(); };
    // A monitor that is not attached has not changed since its record was read: the file's own stays, to the letter,
    // with whatever a newer version has put into it. In a damaged file one may bear the number of another, which has
    // its place.
    std::vector<std::shared_ptr<VLMDisplay>> records;
    for (const auto& record : extraDisplayArray) {
      const bool isNew = !all.contains(std::to_string(identity(*record))) &&
                         std::ranges::none_of(extraDisplayArray, [&](const auto& other) {
                           return mustBeWritten(other) && identity(*other) == identity(*record);
                         });
      if (mustBeWritten(record) || isNew) records.push_back(record);
    }
    dict.set("allDisplays", vlm::encodeReadableInDict(records, std::move(all), identity));
  }
}

void VLMGlobals::encodeDisplaySets(plist::Dictionary& dict) const {
  VLMLog("Encoding Display Sets array %@",
         lazily([&] { return plist::describe(vlm::encodeReadable(displaySetsArray)); }));
  plist::Array sets = vlm::encodeReadable(displaySetsArray);
  VLMLog("Encoded Display Sets array %@", lazily([&] { return plist::describe(sets); }));
  dict.set("displaySetsArray", std::move(sets));
}

}  // namespace vlm
