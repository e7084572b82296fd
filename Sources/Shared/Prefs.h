#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Platform/PropertyList.h"

/// Where settings are kept: the settings file, and dictionaries in preference domains.
namespace vlm {

/// Bundle identifier of the daemon; its settings file is named after it.
inline constexpr const char* kDaemonBundleIdentifier = "org.kelvane.velmoratix.daemon";

/// Path of the settings file. Writing always goes to the user's own; reading falls back to the machine-wide one of an
/// administrator as long as the user has none. Absent when there is no Library folder.
std::optional<std::string> Prefs_GetVLM4PrefsURL(bool forWriting);

/// The content of the settings file; null when there is none, or none that can be read.
using Settings = std::shared_ptr<const plist::Dictionary>;

/// What the settings file holds, found as above. While a save is pending, each key that it changed and nobody else has
/// is as that save would have written it. When the user's own file has become unreadable, what this process last read
/// or wrote. The first call of a process clears away what killed saves have left beside the user's file.
Settings Prefs_LoadSettings();

/// The settings to be written, made from those that a load would find; null: there are none.
using SettingsChange = std::function<plist::Dictionary(const plist::Dictionary* current)>;

/// Changes the settings and writes them to the user's file. One that cannot be read is copied beside itself before it
/// is replaced, and stays when it cannot be copied. Whether the file has the settings now; otherwise they are pending
/// until a later save succeeds. Only the first of several failures in a row is logged, and the success after them.
bool Prefs_SaveSettings(const SettingsChange& change);
bool Prefs_IsSavePending();

/// The dictionary under a key of a preference domain. Absent when the key is, or holds something else.
/// None of these three synchronises: callers do, before a batch of loads and after a batch of saves.
std::optional<plist::Dictionary> Common_LoadDictFromUser(const std::string& key, const std::string& applicationID);
/// The same to be changed; empty when absent.
plist::Dictionary Common_LoadDictMutableFromUser(const std::string& key, const std::string& applicationID);
/// No value removes the key.
void Common_SaveDictFromUser(const std::string& key, const std::optional<plist::Value>& value,
                             const std::string& applicationID);

}  // namespace vlm
