#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/PropertyList.h"
#include "Shared/DaemonNotification.h"

/// Announcements to the control application.
namespace vlm {

class VLMGlobals;

/// Posts a command with its parameters; without a first one only the second is sent. Always 0.
std::int32_t Script_SendSimpleNotification(const std::string& object, const std::optional<plist::Value>& parameter1,
                                           std::int32_t parameter2);
/// Tells the control application that the settings changed. The daemon hears its own post too: a mark on the
/// application object keeps it from reloading what it has just written. Always 0.
std::int32_t Script_SendDaemonReloadSettings(VLMGlobals& prefs);

void sendThatImLaunching();
void sendThatImClosing();
void sendThatMonitorsChanged(VLMGlobals& prefs);
/// With the whole document.
void sendThatDisplaySetsChanged(VLMGlobals& prefs);

}  // namespace vlm
