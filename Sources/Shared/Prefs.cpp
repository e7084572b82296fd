#include "Shared/Prefs.h"

#include <utility>

#include "Platform/Files.h"
#include "Platform/Preferences.h"
#include "Platform/Process.h"
#include "Shared/Format.h"

namespace vlm {

namespace {

std::optional<std::string> settingsFileIn(Files::Domain domain) {
  const auto library = os().files.libraryDirectory(domain);
  if (!library) return std::nullopt;
  return *library + "/Preferences/" + format("%@.plist", kDaemonBundleIdentifier);
}

bool isReachable(const std::optional<std::string>& path) { return path && os().files.checkResourceIsReachable(*path); }

}  // namespace

std::optional<std::string> Prefs_GetVLM4PrefsURL(bool forWriting) {
  auto own = settingsFileIn(Files::Domain::user);
  if (forWriting || isReachable(own)) return own;
  auto machineWide = settingsFileIn(Files::Domain::local);
  return isReachable(machineWide) ? machineWide : own;
}

std::optional<plist::Dictionary> Common_LoadDictFromUser(const std::string& key, const std::string& applicationID) {
  auto value = os().preferences.CFPreferencesCopyValue(key, applicationID);
  if (!value || value->dictionary() == nullptr) return std::nullopt;
  return std::move(*value->dictionary());
}

plist::Dictionary Common_LoadDictMutableFromUser(const std::string& key, const std::string& applicationID) {
  return Common_LoadDictFromUser(key, applicationID).value_or(plist::Dictionary());
}

void Common_SaveDictFromUser(const std::string& key, const std::optional<plist::Value>& value,
                             const std::string& applicationID) {
  os().preferences.CFPreferencesSetValue(key, value, applicationID);
}

}  // namespace vlm
