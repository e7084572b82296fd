#include "Daemon/Controllers/VLMDaemonMainController.h"
#include "Models/VLMGlobals.h"
#include "Shared/Log.h"

namespace vlm {

void VLMDaemonMainController::updateColorPresets() {
  for (const auto& display : prefs.displayArray) {
    if (!display->hasDisplayPresets()) continue;
    const auto preset = display->currentColorPresetUUID();
    if (preset == display->currentPresetUUID) continue;
    display->currentPresetUUID = preset;
    recordPresetFromDisp(*display, preset);
    VLMLog("Color preset Changed for disp %@ to %@", display->monitorResID, preset);
  }
}

void VLMDaemonMainController::updateColorSync() {
  for (const auto& display : prefs.displayArray) {
    const auto profile = display->currentColorProfileURL();
    if (profile == display->currentProfile) continue;
    display->currentProfile = profile;
    recordProfileFromDisp(*display, profile);
    VLMLog("Colorsync profile Changed for disp %@ to %@", display->monitorResID, profile);
  }
}

}  // namespace vlm
