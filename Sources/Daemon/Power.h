#pragma once

namespace vlm {

class VLMGlobals;

/// Follows the source of the machine's power. Installed by a reload of the settings alone, not by the start. Removed,
/// the run-loop source stays alive for the next installation.
void Power_InstallNotification();
void Power_RemoveNotification();

/// Hands the event of the source that the machine lives on now to the rules for events, after half a second.
void PowerSourceChangedCallback(VLMGlobals& context);

}  // namespace vlm
