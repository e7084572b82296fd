#pragma once

#include "Platform/Files.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// Real files in the machine's folders; "/Library/…" and "/System/…" are those of the machine's root.
class SimulatedFiles : public Files {
 public:
  SimulatedFiles(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

  std::optional<std::string> libraryDirectory(Domain domain) override;
  bool checkResourceIsReachable(const std::string& path) override;
  std::optional<plist::Dictionary> dictionaryWithContentsOfURL(const std::string& path) override;
  std::optional<plist::Value> propertyListWithContentsOfURL(const std::string& path) override;
  std::optional<plist::Data> dataWithContentsOfURL(const std::string& path) override;
  std::optional<plist::Data> CFURLCreateBookmarkDataFromAliasRecord(const plist::Data& aliasRecord) override;
  std::optional<std::string> URLByResolvingBookmarkData(const plist::Data& bookmark) override;
  std::optional<std::string> writeToURLAtomically(const plist::Dictionary& dictionary,
                                                  const std::string& path) override;
  std::optional<std::string> writeToURLAsAdministrator(const plist::Value& propertyList,
                                                       const std::string& path) override;
  std::optional<std::string> copyItem(const std::string& from, const std::string& to) override;
  void removeUnfinishedWrites(const std::string& path) override;

 private:
  /// The platform's own one, which is no file here. A file in its place goes before it.
  bool isStandardModeTable(const std::string& path) const;

  SimulatedMac& mac_;
  Session& session_;
};

}  // namespace vlm::sim
