#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "Simulator/Mac/SessionPorts.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::fuzz {

/// Files that hold what a target gives them, without a disk; the platform's table of standard modes is the machine's.
/// What is written is gone.
class GivenFiles final : public sim::SimulatedFiles {
 public:
  GivenFiles(sim::SimulatedMac& mac, sim::Session& session) : SimulatedFiles(mac, session) {}

  /// What the file at a path holds; null: there is none.
  std::function<const plist::Value*(const std::string& path)> contentAt;

  bool checkResourceIsReachable(const std::string& path) override { return contentAt(path) != nullptr; }
  std::optional<plist::Dictionary> dictionaryWithContentsOfURL(const std::string& path) override {
    if (path.ends_with("/IOGraphicsProperties.plist")) return SimulatedFiles::dictionaryWithContentsOfURL(path);
    const plist::Value* const content = contentAt(path);
    return content == nullptr || content->dictionary() == nullptr ? std::nullopt
                                                                  : std::optional(*content->dictionary());
  }
  std::optional<plist::Value> propertyListWithContentsOfURL(const std::string& path) override {
    if (path.ends_with("/IOGraphicsProperties.plist")) return SimulatedFiles::propertyListWithContentsOfURL(path);
    const plist::Value* const content = contentAt(path);
    return content == nullptr ? std::nullopt : std::optional(*content);
  }
  std::optional<plist::Data> dataWithContentsOfURL(const std::string& /*path*/) override { return std::nullopt; }
  std::optional<std::string> writeToURLAtomically(const plist::Dictionary& /*dictionary*/,
                                                  const std::string& /*path*/) override {
    return std::nullopt;
  }
  std::optional<std::string> writeToURLAsAdministrator(const plist::Value& /*propertyList*/,
                                                       const std::string& /*path*/) override {
    return std::nullopt;
  }
  std::optional<std::string> copyItem(const std::string& /*from*/, const std::string& /*to*/) override {
    return std::nullopt;
  }
  void removeUnfinishedWrites(const std::string& /*path*/) override {}
};

}  // namespace vlm::fuzz
