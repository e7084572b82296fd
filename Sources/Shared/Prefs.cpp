#include "Shared/Prefs.h"

#include <utility>

#include "Platform/Files.h"
#include "Platform/Preferences.h"
#include "Platform/Process.h"
#include "Shared/Format.h"
#include "Shared/Log.h"

namespace vlm {

namespace {

std::optional<std::string> settingsFileIn(Files::Domain domain) {
  const auto library = os().files.libraryDirectory(domain);
  if (!library) return std::nullopt;
  return *library + "/Preferences/" + format("%@.plist", kDaemonBundleIdentifier);
}

bool isReachable(const std::optional<std::string>& path) { return path && os().files.checkResourceIsReachable(*path); }

/// A user who has so many damaged files has a damaged disk; none of them is given up for another.
constexpr int kMostUnreadableCopies = 9;

/// What a process remembers of its saves.
struct SettingsSaves {
  struct Unsaved {
    std::optional<plist::Dictionary> inFile;
    plist::Dictionary settings;
  };

  bool hasClearedAway = false;
  /// The file that cannot be read has its copy already; only its replacement failed.
  bool isUnreadableCopied = false;
  /// From a failed save to the next one that succeeds.
  std::optional<Unsaved> unsaved;
};

SettingsSaves& settingsSaves() { return Process::current().state<SettingsSaves>(); }

/// The failed save's settings where they are still the newest.
const plist::Dictionary* unsavedOver(const std::optional<plist::Dictionary>& inFile) {
  const auto& unsaved = settingsSaves().unsaved;
  return unsaved && unsaved->inFile == inFile ? &unsaved->settings : nullptr;
}

/// "….unreadable", "….unreadable-2" and so on. Absent when all are taken.
std::optional<std::string> freeNameForUnreadable(const std::string& path) {
  for (int number = 1; number <= kMostUnreadableCopies; ++number) {
    std::string name = path + ".unreadable" + (number == 1 ? "" : "-" + std::to_string(number));
    if (!isReachable(name)) return name;
  }
  return std::nullopt;
}

/// Keeps the bytes of the file that cannot be read. Answers the reason of a failure, or nothing.
std::optional<std::string> copyUnreadable(const std::string& path) {
  if (settingsSaves().isUnreadableCopied) return std::nullopt;
  const auto copy = freeNameForUnreadable(path);
  if (!copy) return "it is unreadable, and as many others are kept already";
  if (auto failure = os().files.copyItem(path, *copy)) return "it is unreadable, and its copy failed: " + *failure;
  settingsSaves().isUnreadableCopied = true;
  VLMLog("[VLM4] The settings file is unreadable and will be replaced; it is kept as %@", *copy);
  return std::nullopt;
}

/// Only the beginning and the end of a streak are worth a line: a save is tried again and again.
void noteOutcome(const std::optional<std::string>& failure, std::optional<plist::Dictionary> inFile,
                 plist::Dictionary settings) {
  SettingsSaves& saves = settingsSaves();
  if (failure) {
    if (!saves.unsaved) VLMLog("[VLM4] The settings file is not written: %@. It will be tried again", *failure);
    saves.unsaved = {.inFile = std::move(inFile), .settings = std::move(settings)};
    return;
  }
  if (saves.unsaved) VLMLog("[VLM4] The settings file is written again");
  saves.unsaved.reset();
  saves.isUnreadableCopied = false;
}

}  // namespace

std::optional<std::string> Prefs_GetVLM4PrefsURL(bool forWriting) {
  auto own = settingsFileIn(Files::Domain::user);
  if (forWriting || isReachable(own)) return own;
  auto machineWide = settingsFileIn(Files::Domain::local);
  return isReachable(machineWide) ? machineWide : own;
}

std::optional<plist::Dictionary> Prefs_LoadSettings() {
  SettingsSaves& saves = settingsSaves();
  const auto own = Prefs_GetVLM4PrefsURL(true);
  if (own && !saves.hasClearedAway) os().files.removeUnfinishedWrites(*own);
  saves.hasClearedAway = saves.hasClearedAway || own.has_value();
  if (own && saves.unsaved) {
    if (const auto* unsaved = unsavedOver(os().files.dictionaryWithContentsOfURL(*own))) return *unsaved;
  }
  const auto path = Prefs_GetVLM4PrefsURL(false);
  return path ? os().files.dictionaryWithContentsOfURL(*path) : std::nullopt;
}

bool Prefs_SaveSettings(const SettingsChange& change) {
  const auto path = Prefs_GetVLM4PrefsURL(true);
  // Without a Library folder there is nothing to save to, now or later.
  if (!path) return true;
  auto inFile = os().files.dictionaryWithContentsOfURL(*path);
  const bool isDamaged = !inFile && isReachable(path);
  if (!isDamaged) settingsSaves().isUnreadableCopied = false;
  const plist::Dictionary* const unsaved = unsavedOver(inFile);
  plist::Dictionary settings = change(unsaved != nullptr ? unsaved : inFile ? &*inFile : nullptr, isDamaged);
  auto failure = isDamaged ? copyUnreadable(*path) : std::nullopt;
  if (!failure) failure = os().files.writeToURLAtomically(settings, *path);
  noteOutcome(failure, std::move(inFile), std::move(settings));
  return !failure;
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
