#pragma once

namespace vlm {

/// Follows the source of the machine's power. Installed by a reload of the settings alone, not by the start.
void Power_InstallNotification();
void Power_RemoveNotification();

}  // namespace vlm
