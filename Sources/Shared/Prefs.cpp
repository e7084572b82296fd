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

std::optional<plist::Dictionary> settingsIn(const std::optional<std::string>& path) {
  return path ? os().files.dictionaryWithContentsOfURL(*path) : std::nullopt;
}

struct SettingsState {
  bool hasClearedAway = false;
  /// What the file held when this process last read or wrote it.
  Settings known;
  /// From a failed save to the next that succeeds: what shall stand in place of `known`.
  Settings pending;

  const Settings& content() const { return pending ? pending : known; }
};

SettingsState& settingsState() { return Process::current().state<SettingsState>(); }

const plist::Dictionary& dictionaryOf(const Settings& settings) {
  static const plist::Dictionary kEmpty;
  return settings ? *settings : kEmpty;
}

/// The file as it was found now, with the changes of the failed save where nobody else has changed it meanwhile.
Settings withPending(const Settings& found, const SettingsState& state) {
  const plist::Dictionary &known = dictionaryOf(state.known), &pending = dictionaryOf(state.pending);
  plist::Dictionary result = dictionaryOf(found);
  const auto lay = [&](const std::string& key) {
    const plist::Value *const before = known.find(key), *const now = dictionaryOf(found).find(key);
    if ((before == nullptr) != (now == nullptr) || (now != nullptr && *now != *before)) return;
    if (const plist::Value* const wanted = pending.find(key)) {
      result.set(key, *wanted);
    } else {
      result.remove(key);
    }
  };
  for (const plist::Entry& entry : known) lay(entry.key);
  for (const plist::Entry& entry : pending) lay(entry.key);
  return std::make_shared<const plist::Dictionary>(std::move(result));
}

/// Whether the file's whole folder has gone, a home on a volume that is away for a moment, say: then nobody can tell
/// whether there is a file.
bool isFolderAway(const std::optional<std::string>& path) {
  return path && !os().files.checkResourceIsReachable(path->substr(0, path->find_last_of('/')));
}

/// Brings the state up to date. Of a file that cannot be read, or reached, only this process still knows something:
/// nothing changes, and the answer is false.
bool readAgain(const std::optional<std::string>& own) {
  auto inFile = settingsIn(own);
  if (!inFile && (isReachable(own) || (settingsState().known && isFolderAway(own)))) return false;
  // The user's first file hides the machine-wide one, so it begins with all that stands there.
  if (!inFile) inFile = settingsIn(settingsFileIn(Files::Domain::local));
  const Settings found = inFile ? std::make_shared<const plist::Dictionary>(std::move(*inFile)) : nullptr;
  SettingsState& state = settingsState();
  if (state.pending) state.pending = withPending(found, state);
  state.known = found;
  return true;
}

/// A user who has so many damaged files has a damaged disk; the first ones say most.
constexpr int kMostUnreadableCopies = 9;

std::string nameForUnreadable(const std::string& path, int number) {
  return path + ".unreadable" + (number == 1 ? "" : "-" + std::to_string(number));
}

/// Keeps the bytes of the file that cannot be read, unless it is empty or its newest copy has them. Answers the reason
/// of a failure, or nothing.
std::optional<std::string> keepUnreadable(const std::string& path) {
  Files& files = os().files;
  int copies = 0;
  while (copies < kMostUnreadableCopies && isReachable(nameForUnreadable(path, copies + 1))) ++copies;
  const auto content = files.dataWithContentsOfURL(path);
  if (content && content->empty()) return std::nullopt;
  if (content && copies > 0 && files.dataWithContentsOfURL(nameForUnreadable(path, copies)) == content) return {};
  if (copies == kMostUnreadableCopies) {
    if (!settingsState().pending)
      VLMLog("[VLM4] The settings file is unreadable, and %d others are kept already", copies);
    return std::nullopt;
  }
  const std::string copy = nameForUnreadable(path, copies + 1);
  if (auto failure = files.copyItem(path, copy)) return "it is unreadable, and its copy failed: " + *failure;
  VLMLog("[VLM4] The settings file is unreadable and will be replaced; it is kept as %@", copy);
  return std::nullopt;
}

/// Only the beginning and the end of a streak are worth a line: a save is tried again and again.
void noteOutcome(const std::optional<std::string>& failure, Settings settings) {
  SettingsState& state = settingsState();
  if (failure) {
    if (!state.pending) VLMLog("[VLM4] The settings file is not written: %@. It will be tried again", *failure);
    state.pending = std::move(settings);
    return;
  }
  if (state.pending) VLMLog("[VLM4] The settings file is written again");
  state.pending.reset();
  state.known = std::move(settings);
}

}  // namespace

std::optional<std::string> Prefs_GetVLM4PrefsURL(bool forWriting) {
  auto own = settingsFileIn(Files::Domain::user);
  if (forWriting || isReachable(own)) return own;
  auto machineWide = settingsFileIn(Files::Domain::local);
  return isReachable(machineWide) ? machineWide : own;
}

Settings Prefs_LoadSettings() {
  SettingsState& state = settingsState();
  const auto own = Prefs_GetVLM4PrefsURL(true);
  if (own && !state.hasClearedAway) os().files.removeUnfinishedWrites(*own);
  state.hasClearedAway = state.hasClearedAway || own.has_value();
  readAgain(own);
  return state.content();
}

bool Prefs_SaveSettings(const SettingsChange& change) {
  const auto path = Prefs_GetVLM4PrefsURL(true);
  // Without a Library folder there is nothing to save to, now or later.
  if (!path) return true;
  const bool isDamaged = !readAgain(path) && isReachable(path);
  auto settings = std::make_shared<const plist::Dictionary>(change(settingsState().content().get()));
  auto failure = isDamaged ? keepUnreadable(*path) : std::nullopt;
  if (!failure) failure = os().files.writeToURLAtomically(*settings, *path);
  noteOutcome(failure, std::move(settings));
  return !failure;
}

bool Prefs_IsSavePending() { return settingsState().pending != nullptr; }

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
