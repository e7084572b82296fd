#pragma once

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

/// The dictionary under a key of a preference domain. Absent when the key is, or holds something else.
/// None of these three synchronises: callers do, before a batch of loads and after a batch of saves.
std::optional<plist::Dictionary> Common_LoadDictFromUser(const std::string& key, const std::string& applicationID);
/// The same to be changed; empty when absent.
plist::Dictionary Common_LoadDictMutableFromUser(const std::string& key, const std::string& applicationID);
/// No value removes the key.
void Common_SaveDictFromUser(const std::string& key, const std::optional<plist::Value>& value,
                             const std::string& applicationID);

}  // namespace vlm
