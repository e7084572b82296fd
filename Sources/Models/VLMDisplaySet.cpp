#include "Models/VLMDisplaySet.h"

#include <algorithm>
#include <map>
#include <numeric>

#include "Models/VLMDisplay.h"
#include "Models/VLMGlobals.h"
#include "Shared/UpperCase.h"

namespace vlm {

bool ComplexMirroringSet::add(const Pair& pair) {
  if (std::find(pairs_.begin(), pairs_.end(), pair) != pairs_.end()) return false;
  pairs_.push_back(pair);
  return true;
}

bool ComplexMirroringSet::isSetCompleteWithMonitorArrays(
    const std::vector<std::shared_ptr<VLMDisplay>>& displays) const {
  if (displays.size() < 2) return false;
  // Each display's group is named by one of its members; a pair joins two groups.
  std::map<std::int64_t, std::int64_t> groupOf;
  for (const auto& display : displays) {
    if (!display->monitorResID) return false;
    groupOf[*display->monitorResID] = *display->monitorResID;
  }
  for (const auto& [shown, shows] : pairs_) {
    const auto a = groupOf.find(shown);
    const auto b = groupOf.find(shows);
    if (a == groupOf.end() || b == groupOf.end() || a->second == b->second) continue;
    const std::int64_t from = b->second;
    const std::int64_t to = a->second;
    for (auto& [display, group] : groupOf) {
      if (group == from) group = to;
    }
  }
  const std::int64_t first = groupOf.begin()->second;
  return std::all_of(groupOf.begin(), groupOf.end(), [&](const auto& entry) { return entry.second == first; });
}

void VLMDisplaySet::setChainedDisplaySet(std::shared_ptr<VLMDisplaySet> set) {
  if (chainedDisplaySet_) --chainedDisplaySet_->nbUsers;
  if (set) ++set->nbUsers;
  chainedDisplaySet_ = std::move(set);
}

std::shared_ptr<VLMMonitorInSet> VLMDisplaySet::monitorAtIndex(std::size_t index) const {
  return index < monitorArray.size() ? monitorArray[index] : nullptr;
}

std::shared_ptr<VLMMonitorInSet> VLMDisplaySet::monitorWithID(std::optional<std::int64_t> identifier) const {
  const std::ptrdiff_t index = indexOfMonitorWithID(identifier);
  return index < 0 ? nullptr : monitorArray[static_cast<std::size_t>(index)];
}

std::ptrdiff_t VLMDisplaySet::indexOfMonitorWithID(std::optional<std::int64_t> identifier) const {
  if (!identifier) return -1;
  const auto found = std::find_if(monitorArray.begin(), monitorArray.end(),
                                  [&](const auto& monitor) { return monitor->monitorResID == identifier; });
  return found == monitorArray.end() ? -1 : found - monitorArray.begin();
}

int VLMDisplaySet::compare(const VLMDisplaySet& other) const {
  return name.value_or(std::string()).compare(other.name.value_or(std::string()));
}

std::shared_ptr<VLMDisplaySet> findSetByUniqueID(const DisplaySets& sets, std::optional<std::int64_t> uniqueID) {
  if (!uniqueID) return nullptr;
  const auto found = std::find_if(sets.begin(), sets.end(), [&](const auto& set) { return set->uniqueID == uniqueID; });
  return found == sets.end() ? nullptr : *found;
}

VLMDisplaySet::~VLMDisplaySet() { setChainedDisplaySet(nullptr); }

std::shared_ptr<VLMDisplaySet> VLMDisplaySet::setWithSet(const VLMDisplaySet& set) {
  std::shared_ptr<VLMDisplaySet> copy(new VLMDisplaySet(set));
  copy->nbUsers = 0;
  // Once more, so that the chained set counts it.
  copy->chainedDisplaySet_.reset();
  copy->setChainedDisplaySet(set.chainedDisplaySet_);
  for (auto& monitor : copy->monitorArray) {
    monitor = monitor->deepCopy();
    monitor->container = copy.get();
  }
  return copy;
}

std::shared_ptr<VLMDisplaySet> VLMDisplaySet::duplicate() const {
  auto copy = deepCopy();
  copy->uniqueID.reset();
  copy->keyCode = kNoHotKey;
  copy->menuOrder = kNotYetPlaced;
  copy->lastExecutedDate.reset();
  return copy;
}

bool VLMDisplaySet::usesUnattachedMonitorsWithPrefs(const VLMGlobals& document) const {
  return std::any_of(monitorArray.begin(), monitorArray.end(), [&](const auto& monitor) {
    const bool isConcerned = monitor->hasActivity || monitor->hasADisplaySetting(nullptr, true);
    return isConcerned && document.displayWithID(monitor->monitorResID) == nullptr;
  });
}

std::string VLMDisplaySet::inMenuNameWithString(const std::string& string, std::uint32_t flags,
                                                std::size_t& width) const {
  const std::string title = name.value_or(std::string());
  width = lengthInUTF16(title);
  const bool hasString = (flags & kMenuNameWithString) != 0 && !string.empty();
  return hasString ? title + "\t" + string : title;
}

}  // namespace vlm
