#pragma once

#include <functional>
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

/// What the settings file holds, found as above; absent when there is none, or none that can be read. After a failed
/// save it is what that one would have written, as long as nobody else has changed the file. The first call of a
/// process clears away what killed saves have left beside the user's file.
std::optional<plist::Dictionary> Prefs_LoadSettings();

/// The settings to be written, made from those in the file; null: there are none that can be read. Whether there were
/// some that are damaged now: then nobody but this process still knows them.
using SettingsChange = std::function<plist::Dictionary(const plist::Dictionary* current, bool isDamaged)>;

/// Reads the user's settings file, changes the settings and writes them back. A file that cannot be read is copied
/// beside itself before it is replaced, and stays when it cannot be copied. Whether the file has the settings now;
/// only the first of several failures in a row is logged, and the success after them.
bool Prefs_SaveSettings(const SettingsChange& change);

/// The dictionary under a key of a preference domain. Absent when the key is, or holds something else.
/// None of these three synchronises: callers do, before a batch of loads and after a batch of saves.
std::optional<plist::Dictionary> Common_LoadDictFromUser(const std::string& key, const std::string& applicationID);
/// The same to be changed; empty when absent.
plist::Dictionary Common_LoadDictMutableFromUser(const std::string& key, const std::string& applicationID);
/// No value removes the key.
void Common_SaveDictFromUser(const std::string& key, const std::optional<plist::Value>& value,
                             const std::string& applicationID);

}  // namespace vlm
