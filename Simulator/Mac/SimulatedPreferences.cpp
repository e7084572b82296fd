#include "Simulator/Mac/SimulatedPreferences.h"

#include <algorithm>
#include <utility>

#include "Simulator/Mac/AtomicFile.h"
#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

/// A domain's name is one component of a path, whatever it holds.
std::string PreferenceStore::pathOf(const std::string& applicationID) const {
  std::string name = applicationID;
  std::replace(name.begin(), name.end(), '/', ':');
  return folder_ + "/" + name + ".plist";
}

const plist::Dictionary& PreferenceStore::domain(const std::string& applicationID) {
  if (!domains_.contains(applicationID)) read(applicationID);
  return domains_[applicationID];
}

void PreferenceStore::read(const std::string& applicationID) {
  PropertyListResult result = readPropertyList(pathOf(applicationID));
  plist::Dictionary* const values = result.value ? result.value->dictionary() : nullptr;
  domains_[applicationID] = values == nullptr ? plist::Dictionary() : std::move(*values);
}

std::optional<std::string> PreferenceStore::write(const std::string& applicationID, plist::Dictionary values,
                                                  DiskFault fault) {
  if (auto failure = replaceFile(pathOf(applicationID), composePropertyList(values), fault)) return failure;
  domains_[applicationID] = std::move(values);
  return std::nullopt;
}

std::optional<plist::Value> SimulatedPreferences::CFPreferencesCopyValue(const std::string& key,
                                                                         const std::string& applicationID) {
  if (const auto changes = changes_.find(applicationID); changes != changes_.end()) {
    const auto change = changes->second.find(key);
    if (change != changes->second.end()) return change->second;
  }
  const plist::Value* const value = mac_.preferenceStore().domain(applicationID).find(key);
  if (value == nullptr) return std::nullopt;
  return *value;
}

void SimulatedPreferences::CFPreferencesSetValue(const std::string& key, const std::optional<plist::Value>& value,
                                                 const std::string& applicationID) {
  session_.record("CFPreferencesSetValue(" + key + ", " + (value ? plist::describe(*value) : "none") + ", " +
                  applicationID + ")");
  changes_[applicationID][key] = value;
}

bool SimulatedPreferences::CFPreferencesSynchronize(const std::string& applicationID) {
  PreferenceStore& store = mac_.preferenceStore();
  store.read(applicationID);
  const auto changes = changes_.find(applicationID);
  if (changes == changes_.end()) return true;
  plist::Dictionary values = store.domain(applicationID);
  for (const auto& [key, value] : changes->second) {
    if (value) {
      values.set(key, *value);
    } else {
      values.remove(key);
    }
  }
  if (store.write(applicationID, std::move(values), mac_.diskFault)) return false;
  session_.record("CFPreferencesSynchronize(" + applicationID + ")");
  changes_.erase(changes);
  return true;
}

}  // namespace vlm::sim
