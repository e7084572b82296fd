#pragma once

#include <map>
#include <optional>
#include <string>

#include "Platform/Bundle.h"
#include "Simulator/Mac/Machine.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// The localised texts of the daemon's resources folder, in English. Tables are property lists, read when first asked
/// for.
class LocalizedTexts {
 public:
  /// Absent when the table or the key is missing.
  std::optional<std::string> text(const std::string& table, const std::string& key);

 private:
  std::map<std::string, plist::Dictionary> tables_;
};

/// What stands in the Info.plist of a program.
plist::Dictionary informationOf(const ProcessDescription& process);

/// One process's bundle.
class SimulatedBundle : public Bundle {
 public:
  SimulatedBundle(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

  std::optional<plist::Value> objectForInfoDictionaryKey(const std::string& key) override;
  std::optional<plist::Dictionary> infoDictionaryOfBundleAt(const std::string& path) override;
  std::string bundlePath() override;
  std::optional<std::string> localizedString(const std::string& table, const std::string& key) override;

 private:
  SimulatedMac& mac_;
  Session& session_;
};

}  // namespace vlm::sim
