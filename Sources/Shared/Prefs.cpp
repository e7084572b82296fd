#include "Shared/Prefs.h"

#include <utility>

#include "Platform/Files.h"
#include "Platform/Preferences.h"
#include "Platform/Process.h"
#include "Shared/CheckedRelease.h"
#include "Shared/Format.h"

namespace vlm {

namespace {

std::optional<std::string> settingsFileIn(Files::Domain domain) {
  const auto library = os().files.libraryDirectory(domain);
  if (!library) return std::nullopt;
  return *library + "/Preferences/" + format("%@.plist", kDaemonBundleIdentifier);
}

bool isReachable(const std::optional<std::string>& path) { return path && os().files.checkResourceIsReachable(*path); }

/// A value copied from a preference domain: its one reference is ours.
class CopiedValue : public CountedObject {
 public:
  explicit CopiedValue(plist::Value content) : content_(std::move(content)) {}
  std::int64_t retainCount() const override { return content_ ? 1 : 0; }
  void release() override { content_.reset(); }
  plist::Dictionary* dictionary() { return content_ ? content_->dictionary() : nullptr; }

 private:
  std::optional<plist::Value> content_;
};

}  // namespace

std::optional<std::string> Prefs_GetVLM4PrefsURL(bool forWriting) {
  auto own = settingsFileIn(Files::Domain::user);
  if (forWriting || isReachable(own)) return own;
  auto machineWide = settingsFileIn(Files::Domain::local);
  return isReachable(machineWide) ? machineWide : own;
}

std::optional<plist::Dictionary> Common_LoadDictFromUser(const std::string& key, const std::string& applicationID) {
  auto copied = os().preferences.CFPreferencesCopyValue(key, applicationID);
  if (!copied) return std::nullopt;
  CopiedValue value(std::move(*copied));
  if (plist::Dictionary* dictionary = value.dictionary()) return std::move(*dictionary);
  Common_CheckedRelease(&value, "value");
  return std::nullopt;
}

plist::Dictionary Common_LoadDictMutableFromUser(const std::string& key, const std::string& applicationID) {
  auto loaded = Common_LoadDictFromUser(key, applicationID);
  if (!loaded) return {};
  CopiedValue value(std::move(*loaded));
  plist::Dictionary changeable = std::move(*value.dictionary());
  Common_CheckedRelease(&value, "value");
  return changeable;
}

void Common_SaveDictFromUser(const std::string& key, const std::optional<plist::Value>& value,
                             const std::string& applicationID) {
  os().preferences.CFPreferencesSetValue(key, value, applicationID);
}

}  // namespace vlm
