#include <algorithm>

#include "Daemon/Controllers/VLMDaemonMainController.h"
#include "Graphics/GSMux.h"
#include "Models/Script_Send.h"
#include "Models/VLMDesktopLayout.h"
#include "Models/VLMGlobals.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Shared/Log.h"

namespace vlm {

namespace {

/// What a rule for the application in front does to a mode change behind the daemon's back.
constexpr std::int32_t kPutModeAndDepthBack = 2, kPutDepthBack = 3;
/// The session's displays settle in this time after its user comes back. Seconds.
constexpr double kFastUserSwitchDelay = 1.0;

}  // namespace

void VLMDaemonMainController::checkLoop1Sec() {
  if (prefs.needsUpdatingDisplays && !prefs.isSetExecuted) {
    retreatWholeDisplays();
  } else if (compareDisplays()) {
    VLMLog("One disp Changed -> save changes");
    prefs.savePrefs(SettingsGroup::watched);
    Script_SendDaemonReloadSettings(prefs);
  }
  prefs.isSetRecorded = false;
}

void VLMDaemonMainController::retreatWholeDisplays() {
  prefs.savePrefs(SettingsGroup::watched);
  prefs.forget();
  loadPrefsFromFile();
  for (const auto& display : prefs.displayArray) {
    if (display->previousTransfType == display->transfType) continue;
    recordOrientationFromDisp(*display, display->orientation());
    display->previousTransfType = display->transfType;
  }
  getCurrentLocalSettings();
  prefs.savePrefs(SettingsGroup::watched);
  sendThatMonitorsChanged(prefs);
  prefs.needsUpdatingDisplays = false;
  if (prefs.hasFastUserSwitchOccurred) {
    if (prefs.startupSet()) {
      VLMLog("[Velmoratix4] Applying startup display set %@ after fast user switch", prefs.startupSet()->name);
      prefs.applyDisplaySetAfterDelay(kFastUserSwitchDelay, prefs.startupSet(), false);
    }
    prefs.hasFastUserSwitchOccurred = false;
  }
  if (GSMux::canSwitchGPU()) rememberDiscreteGPUUsers();
}

bool VLMDaemonMainController::compareDisplays() {
  if (!prefs.needToRecheckDisplays) return false;
  prefs.needToRecheckDisplays = false;
  return recheckDisplays();
}

bool VLMDaemonMainController::recheckDisplays() {
  // In a mirror set, what the daemon did to one display counts for all.
  const bool isMirrorOrigin =
      prefs.isMirroringEnabled() && std::any_of(prefs.displayArray.begin(), prefs.displayArray.end(),
                                                [](const auto& display) { return display->rezChangeOriginatedFromMe; });
  bool changed = false;
  // Held: a setter's callbacks may bring anything about.
  const auto displays = prefs.displayArray;
  for (const auto& display : displays) changed = recheckDisplay(*display, isMirrorOrigin) || changed;
  changed = checkMainDisplay() || changed;
  changed = checkMirroring() || changed;
  return changed;
}

bool VLMDaemonMainController::recheckDisplay(VLMDisplay& display, bool isMirrorOrigin) {
  display.updateCurrentMode();
  const std::int16_t depth = truncateTo<std::int16_t>(display.currentDepth);
  const auto mode = display.currentMode.get();
  const DisplayPosition position = display.displayPosition();
  if (!mode) {
    VLMLog("New mode was found !!! Switch to special case, retreat the whole displays ");
    prefs.needsUpdatingDisplays = true;
    return false;
  }
  const auto previousMode = display.previousMode.get();
  if (mode == previousMode && depth == display.previousDepth && position == display.previousPos) return false;
  if (const auto aliased = mode->aliasedMode()) {
    display.setDisplayMode(aliased, depth, true, false, nullptr, false);
    return false;
  }
  if (!mode->isValidAct) {
    display.setDisplayMode(previousMode, display.previousDepth, true, false, nullptr, false);
    return false;
  }
  const bool isMine = display.rezChangeOriginatedFromMe || isMirrorOrigin;
  if (prefs.checkApplics && !isMine) {
    const std::int32_t policy = changeResOfApplicationInFront();
    if (policy == kPutModeAndDepthBack) {
      VLMLog("Will change mode from %d to %d", mode->Nx, previousMode ? previousMode->Nx : 0);
      display.setDisplayMode(previousMode, display.previousDepth, true, false, nullptr, false);
    } else if (policy == kPutDepthBack) {
      display.setDisplayMode(nullptr, display.previousDepth, true, false, nullptr, false);
    }
  }
  display.rezChangeOriginatedFromMe = false;
  return recordDisplayChanges(display, mode, depth, position);
}

bool VLMDaemonMainController::recordDisplayChanges(VLMDisplay& display, const std::shared_ptr<VLMMode>& mode,
                                                   std::int32_t depth, DisplayPosition position) {
  bool changed = false;
  if (depth != display.previousDepth) {
    recordDepthFromDisp(display, depth);
    changed = true;
    VLMLog("Depth Changed for disp %@", display.monitorResID);
  }
  if (mode != display.previousMode.get()) {
    recordModeFromDisp(display, mode);
    Script_SendSimpleNotification("kVLMModeChanged", plist::Value(display.monitorResID.value_or(0)),
                                  truncateTo<std::int32_t>(mode->modeUniqueID));
    if (!prefs.isSetRecorded && prefs.desktopLayout != nullptr) prefs.desktopLayout->positionOneIcons(display);
    changed = true;
    VLMLog("Mode Changed for disp %@", display.monitorResID);
  }
  if (position != display.previousPos) {
    recordPositionFromDisp(display, position);
    display.previousPos = position;
    changed = true;
    VLMLog("Position Changed for disp %@", display.monitorResID);
  }
  // Mode and depth of before are renewed by the next capture.
  return changed;
}

bool VLMDaemonMainController::checkMainDisplay() {
  const auto main = prefs.mainDisplay();
  if (!main) return false;
  const std::int32_t identifier = truncateTo<std::int32_t>(main->monitorResID.value_or(0));
  if (identifier == prefs.previousMainDisplay) return false;
  recordMainDisplayIsNow(*main);
  prefs.previousMainDisplay = identifier;
  VLMLog("Main Disp Changed");
  return true;
}

bool VLMDaemonMainController::checkMirroring() {
  const std::int32_t isMirroring = prefs.isMirroringEnabled() ? 1 : 0;
  if (isMirroring == prefs.previousMirroring) return false;
  recordMirroringIsNow(isMirroring != 0);
  prefs.previousMirroring = isMirroring;
  VLMLog("Mirror Changed to %d ", isMirroring);
  return true;
}

std::int32_t VLMDaemonMainController::changeResOfApplicationInFront() const {
  // The policy of the rule for the application in front, once application rules are read.
  return 0;
}

void VLMDaemonMainController::rememberDiscreteGPUUsers() {
  // Marks the tracked applications that use the discrete graphics processor.
}

void VLMDaemonMainController::checkLoop5Sec() {
  // Follows brightness while recording, and displays that come and go without a callback.
}

}  // namespace vlm
