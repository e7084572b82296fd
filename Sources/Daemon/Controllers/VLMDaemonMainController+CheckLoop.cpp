#include <algorithm>

#include "Daemon/Controllers/VLMDaemonMainController.h"
#include "Graphics/GSMux.h"
#include "Models/Script_Send.h"
#include "Models/VLMDesktopLayout.h"
#include "Models/VLMGlobals.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/SkyLight.h"
#include "Shared/Log.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

/// What a rule for the application in front does to a mode change behind the daemon's back.
constexpr std::int32_t kPutModeAndDepthBack = 2, kPutDepthBack = 3;
/// `canBrightness` of a display whose brightness goes over DDC/CI.
constexpr std::int32_t kBrightnessOverDDC = 1;
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
  // Before the records forget which displays were off.
  undoForbiddenActivations();
  // Since then everything on is accepted as it is.
  prefs.activityChangeOriginatedFromMe = false;
  prefs.savePrefs(SettingsGroup::watched);
  prefs.forget();
  loadPrefsFromFile();
  for (const auto& display : prefs.displayArray) {
    if (display->previousTransfType == display->transfType) continue;
    recordOrientationFromDisp(*display, display->orientation());
    display->previousTransfType = display->transfType;
  }
  getCurrentLocalSettings();
  for (const auto& display : prefs.displayArray) display->relightWhenActive();
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
  bool changed = false;
  if (prefs.needToRecheckDisplays) {
    prefs.needToRecheckDisplays = false;
    changed = recheckDisplays();
  }
  changed = checkGrays() || changed;
  for (const auto& display : prefs.displayArray) changed = checkOverscan(*display) || changed;
  for (const auto& display : prefs.displayArray) changed = checkUnderscan(*display) || changed;
  if (systemVersion() >= kSystem11) {
    for (const auto& display : prefs.displayArray) changed = checkHDR(*display) || changed;
  }
  updateColorPresets();
  return checkActivities() || changed;
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
  // Copies: a switch below calls back, and that renews what the display remembers.
  const auto previousMode = display.previousMode.get();
  const std::int32_t previousDepth = display.previousDepth;
  if (mode == previousMode && depth == previousDepth && position == display.previousPos) return false;
  if (const auto aliased = mode->aliasedMode()) {
    display.setDisplayMode(aliased, depth, true, false, nullptr, false);
    return false;
  }
  // Only to one that may be used: between two that may not it would go on for ever.
  if (!mode->isValidAct && previousMode != nullptr && previousMode->isValidAct) {
    display.setDisplayMode(previousMode, previousDepth, true, false, nullptr, false);
    return false;
  }
  const bool isMine = display.rezChangeOriginatedFromMe || isMirrorOrigin;
  // Before a switch marks itself as the daemon's own: the next look must not undo that one, too.
  display.rezChangeOriginatedFromMe = false;
  if (prefs.checkApplics && !isMine) {
    const std::int32_t policy = changeResOfApplicationInFront();
    if (policy == kPutModeAndDepthBack) {
      VLMLog("Will change mode from %d to %d", mode->Nx, previousMode ? previousMode->Nx : 0);
      display.setDisplayMode(previousMode, previousDepth, true, false, nullptr, false);
    } else if (policy == kPutDepthBack) {
      display.setDisplayMode(nullptr, previousDepth, true, false, nullptr, false);
    }
  }
  bool changed = false;
  if (depth != previousDepth) changed = recordDepthChange(display, depth);
  if (mode != previousMode) changed = recordModeChange(display, mode);
  if (position != display.previousPos) changed = recordPositionChange(display, position);
  // Mode and depth of before are renewed by the next capture.
  return changed;
}

bool VLMDaemonMainController::recordDepthChange(VLMDisplay& display, std::int32_t depth) {
  recordDepthFromDisp(display, depth);
  VLMLog("Depth Changed for disp %@", display.monitorResID);
  return true;
}

bool VLMDaemonMainController::recordModeChange(VLMDisplay& display, const std::shared_ptr<VLMMode>& mode) {
  recordModeFromDisp(display, mode);
  Script_SendSimpleNotification("kVLMModeChanged", plist::Value(display.monitorResID.value_or(0)),
                                truncateTo<std::int32_t>(mode->modeUniqueID));
  if (!prefs.isSetRecorded && prefs.desktopLayout != nullptr) prefs.desktopLayout->positionOneIcons(display);
  VLMLog("Mode Changed for disp %@", display.monitorResID);
  return true;
}

bool VLMDaemonMainController::recordPositionChange(VLMDisplay& display, DisplayPosition position) {
  recordPositionFromDisp(display, position);
  display.previousPos = position;
  VLMLog("Position Changed for disp %@", display.monitorResID);
  return true;
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

bool VLMDaemonMainController::checkGrays() {
  const bool isGray = prefs.isGrayEnabled();
  if (isGray == prefs.previousGrays) return false;
  recordGrayIsNow(isGray);
  prefs.previousGrays = isGray;
  VLMLog("Grays Changed");
  return true;
}

bool VLMDaemonMainController::checkOverscan(VLMDisplay& display) {
  if (!display.canOverscan) return false;
  const bool isInOverscan = display.isInOverscan();
  if (isInOverscan == display.previousOverscan) return false;
  recordOverscanFromDisp(display, isInOverscan);
  display.previousOverscan = isInOverscan;
  VLMLog("Overscan Changed for disp %@", display.monitorResID);
  return true;
}

bool VLMDaemonMainController::checkUnderscan(VLMDisplay& display) {
  if (!display.canUnderscan) return false;
  const float underscan = display.underscanValue();
  // What is no number is never equal, also to itself.
  if (underscan == display.previousUnderscan) return false;
  recordUnderscanFromDisp(display, underscan);
  display.previousUnderscan = underscan;
  VLMLog("Underscan Changed for disp %@ to %g", display.monitorResID, underscan);
  return true;
}

bool VLMDaemonMainController::checkHDR(VLMDisplay& display) {
  if (!display.doesSupportHDR()) return false;
  const bool isInHDR = display.isInHDR();
  if (isInHDR == display.previousHDR) return false;
  recordHDRFromDisp(display, isInHDR);
  display.previousHDR = isInHDR;
  VLMLog("HDR Changed for disp %@", display.monitorResID);
  return true;
}

std::vector<std::shared_ptr<VLMDisplay>> VLMDaemonMainController::undoForbiddenActivations() {
  std::vector<std::shared_ptr<VLMDisplay>> forbidden;
  if (!prefs.onlyMeCanActivate || prefs.activityChangeOriginatedFromMe || prefs.displayArray.size() < 2) return {};
  std::copy_if(prefs.displayArray.begin(), prefs.displayArray.end(), std::back_inserter(forbidden),
               [](const auto& display) {
                 return display->doesSupportDisabling() && !display->previousEnabled && display->isActive();
               });
  // Found first, undone then: undoing one marks the activity as the daemon's own.
  for (const auto& display : forbidden) display->setIsActive(display->previousEnabled, nullptr);
  return forbidden;
}

bool VLMDaemonMainController::checkActivities() {
  // A single display is never watched.
  if (prefs.displayArray.size() < 2) return false;
  bool changed = false;
  const auto displays = prefs.displayArray;
  const auto forbidden = undoForbiddenActivations();
  for (const auto& display : displays) {
    // What is undone, or cannot be, is nothing to record.
    const bool isUndone = std::find(forbidden.begin(), forbidden.end(), display) != forbidden.end();
    if (isUndone || !display->doesSupportDisabling()) continue;
    const bool isActive = display->isActive();
    if (isActive == display->previousEnabled) continue;
    display->previousEnabled = isActive;
    changed = true;
    recordEnabledFromDisp(*display, isActive);
    VLMLog("Enabled Changed for disp %@ to %d", display->monitorResID, isActive);
  }
  prefs.activityChangeOriginatedFromMe = false;
  if (changed && prefs.saveDesktopBySet && prefs.desktopLayout != nullptr) {
    prefs.desktopLayout->positionAllIcons(nullptr);
  }
  return changed;
}

void VLMDaemonMainController::checkLoop5Sec() {
  if (isRecordingOn() && !prefs.isSetRecorded) {
    for (const auto& display : prefs.displayArray) {
      if (display->canBrightness != kBrightnessOverDDC) continue;
      const float brightness = display->readBrightness();
      if (brightness == display->brightness) continue;
      recordBrightnessFromDisp(*display, display->brightness);
      display->brightness = brightness;
    }
  }
  const auto displays = os().skyLight.CADisplays();
  if (!displays) return;
  for (const std::uint32_t display : *displays) {
    const double before = os().skyLight.CADisplayFrameWidth(display);
    os().skyLight.CADisplayInvalidate(display);
    const double now = os().skyLight.CADisplayFrameWidth(display);
    // From one size to another is a mode change, which has its own callbacks; from or to nothing is a display.
    if (before != now && (before == 0 || now == 0)) prefs.needsUpdatingDisplays = true;
  }
}

}  // namespace vlm
