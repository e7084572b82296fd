#include "Simulator/Mac/SimulatedBundle.h"

#include <utility>

#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

namespace {
constexpr const char* kDaemonIdentifier = "org.kelvane.velmoratix.daemon";
constexpr const char* kDaemonPrincipalClass = "VLMDaemonMainController";
}  // namespace

std::optional<std::string> LocalizedTexts::text(const std::string& table, const std::string& key) {
  auto found = tables_.find(table);
  if (found == tables_.end()) {
    PropertyListResult result =
        readPropertyList(std::string(VELMORATIX_RESOURCES_FOLDER) + "/en.lproj/" + table + ".strings");
    plist::Dictionary* const texts = result.value ? result.value->dictionary() : nullptr;
    found = tables_.emplace(table, texts == nullptr ? plist::Dictionary() : std::move(*texts)).first;
  }
  return found->second.string(key);
}

plist::Dictionary informationOf(const ProcessDescription& process) {
  plist::Dictionary information;
  information.set("CFBundleIdentifier", process.bundleIdentifier);
  information.set("CFBundleName", process.name);
  if (!process.version.empty()) {
    information.set("CFBundleShortVersionString", process.version);
    information.set("CFBundleVersion", process.version);
  }
  if (process.bundleIdentifier == kDaemonIdentifier) information.set("NSPrincipalClass", kDaemonPrincipalClass);
  return information;
}

std::optional<plist::Value> SimulatedBundle::objectForInfoDictionaryKey(const std::string& key) {
  const plist::Dictionary information = informationOf(session_.description());
  const plist::Value* const value = information.find(key);
  if (value == nullptr) return std::nullopt;
  return *value;
}

std::optional<plist::Dictionary> SimulatedBundle::infoDictionaryOfBundleAt(const std::string& path) {
  return mac_.informationOfBundleAt(path);
}

std::string SimulatedBundle::bundlePath() { return session_.description().bundlePath; }

std::optional<std::string> SimulatedBundle::localizedString(const std::string& table, const std::string& key) {
  return mac_.localizedTexts().text(table, key);
}

}  // namespace vlm::sim
