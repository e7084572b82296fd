#include "Daemon/Controllers/VLMDaemonEventsObserver.h"
#include "Daemon/Controllers/VLMDaemonMainController.h"
#include "Daemon/Power.h"
#include "Models/Monitor.h"
#include "Models/VLMGlobals.h"
#include "Platform/Files.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Shared/Log.h"
#include "Shared/Prefs.h"

namespace vlm {

bool VLMDaemonMainController::loadPrefsFromFile() {
  VLMLog("VLMDaemonMainController loadPrefsFromFile");
  const auto path = Prefs_GetVLM4PrefsURL(false);
  const auto settings = path ? os().files.dictionaryWithContentsOfURL(*path) : std::nullopt;
  const bool isFirstRun = !settings || !settings->contains("VLMDaemonRunOnce");
  prefs.initializeAllDisplaysFromSystemData();
  // Always written back once, in the current format.
  prefs.savePrefs(SettingsGroup::all);
  prefs.completeOverridesWithDictionaries();
  prefs.completeOverridesWithActualSettings();
  return isFirstRun;
}

void VLMDaemonMainController::savePrefsToFileAndForce(bool force) {
  prefs.savePrefs(force ? SettingsGroup::allForced : SettingsGroup::all);
}

void VLMDaemonMainController::reloadPrefsFromFile() {
  daemonRemoveHotKeys();
  eventsObserver->daemonRemoveEventsObservers();
  removeMouseMonitors();
  Monitor_RemoveBrightnessNotifications(prefs);
  Power_RemoveNotification();
  // The records are about to forget which displays were off, as in a tick that makes them anew.
  undoForbiddenActivations();
  prefs.forget();
  loadPrefsFromFile();
  getCurrentLocalSettings();
  daemonInstallGlobalMonitors();
  Monitor_InstallBrightnessNotifications(prefs);
  Power_InstallNotification();
  loadStatusItem(prefs.showStatusItem);
}

void VLMDaemonMainController::getCurrentLocalSettings() {
  prefs.previousGrays = prefs.isGrayEnabled();
  prefs.previousMirroring = prefs.isMirroringEnabled() ? 1 : 0;
  bool hasMain = false;
  for (const auto& display : prefs.displayArray) {
    if (!hasMain && display->isMainDisplay()) {
      prefs.previousMainDisplay = truncateTo<std::int32_t>(display->monitorResID.value_or(0));
      hasMain = true;
    }
    display->previousTransfType = display->getDisplayTansfType();
    // A sleeping display answers its stored state, which has to say "on" here.
    display->isEnabled = true;
    display->isEnabled = display->isActive();
    display->previousEnabled = display->isEnabled;
    display->previousOverscan = display->isInOverscan();
    display->previousHDR = display->isInHDR();
    display->previousUnderscan = display->underscanValue();
    display->previousDepth = display->currentDepth;
    display->previousMode = display->currentMode;
    display->previousPos = display->displayPosition();
    if (display->hasDisplayPresets()) display->currentPresetUUID = display->currentColorPresetUUID();
    display->currentProfile = display->currentColorProfileURL();
  }
}

void VLMDaemonMainController::computerAwakeFromSleep(const Notification& /*notification*/) {
  // The system may have changed the modes while nobody looked. What was known is the mode to compare with, and the one
  // that is saved of a display that did not come back.
  for (const auto& display : prefs.displayArray) {
    if (display->currentMode.get() != nullptr) {
      display->previousMode = display->currentMode;
      display->previousDepth = display->currentDepth;
    }
    display->currentMode = {};
  }
  prefs.needToRecheckDisplays = true;
}

void VLMDaemonMainController::forceResavingSettings() { prefs.needsUpdatingDisplays = true; }

}  // namespace vlm
