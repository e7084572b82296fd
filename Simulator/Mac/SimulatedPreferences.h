#pragma once

#include <map>
#include <optional>
#include <string>

#include "Platform/Preferences.h"
#include "Simulator/Mac/AtomicFile.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// The preference domains of the machine's user, as its processes see them together: each a property-list file, read
/// when it is first asked for and with every synchronisation.
class PreferenceStore {
 public:
  void setFolder(std::string folder) { folder_ = std::move(folder); }

  /// An empty dictionary while there is no file.
  const plist::Dictionary& domain(const std::string& applicationID);
  void read(const std::string& applicationID);
  /// Answers the reason of a failure; then the domain is as it was.
  std::optional<std::string> write(const std::string& applicationID, plist::Dictionary values, DiskFault fault);

 private:
  std::string pathOf(const std::string& applicationID) const;

  std::string folder_;
  std::map<std::string, plist::Dictionary> domains_;
};

/// One process's view of the preference domains: its own changes, which the others see once it has synchronised.
class SimulatedPreferences : public Preferences {
 public:
  SimulatedPreferences(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

  std::optional<plist::Value> CFPreferencesCopyValue(const std::string& key, const std::string& applicationID) override;
  void CFPreferencesSetValue(const std::string& key, const std::optional<plist::Value>& value,
                             const std::string& applicationID) override;
  bool CFPreferencesSynchronize(const std::string& applicationID) override;

 private:
  SimulatedMac& mac_;
  Session& session_;
  /// By domain and key; no value: to be removed.
  std::map<std::string, std::map<std::string, std::optional<plist::Value>>> changes_;
};

}  // namespace vlm::sim
