#include "Daemon/Controllers/VLMDaemonEventsObserver.h"
#include "Daemon/Controllers/VLMDaemonMainController.h"
#include "Models/VLMGlobals.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Shared/Log.h"
#include "Shared/Shortcuts.h"

namespace vlm {

EventHotKeyRef VLMDaemonMainController::daemonInstallHotKeyCode(std::int32_t code, std::uint32_t identifier) {
  if (code == kNoShortcut) return 0;
  const auto keyCode = static_cast<std::uint32_t>(code >> 8);
  // Caps Lock never takes part.
  const auto modifiers = (static_cast<std::uint32_t>(code) & kShortcutModifierMask) << 8;
  EventHotKeyRef reference = 0;
  os().input.RegisterEventHotKey(keyCode, modifiers, {.signature = kHotKeySignature, .id = identifier}, 0, reference);
  VLMLog("Register hotkey for key ID = %d", code);
  return reference;
}

void VLMDaemonMainController::daemonInstallHotKeys() {
  VLMLog("daemonInstallHotKeys");
  // Asked for twice in a row, the first registrations would stand for ever: nobody could name them any more.
  unregisterHotKeys();
  const auto install = [this](std::optional<std::int64_t> code, std::uint32_t identifier) {
    hotKeys.push_back(daemonInstallHotKeyCode(truncateTo<std::int32_t>(code.value_or(kNoShortcut)), identifier));
  };
  install(prefs.launchShortCut, kHotKeyOpenControlApp);
  install(prefs.quitShortCut, kHotKeyQuit);
  for (const auto& set : prefs.displaySetsArray) {
    if (set->keyCode) install(set->keyCode, truncateTo<std::uint32_t>(*set->keyCode));
  }
}

void VLMDaemonMainController::daemonRemoveHotKeys() {
  VLMLog("daemonRemoveHotKeys");
  unregisterHotKeys();
}

void VLMDaemonMainController::unregisterHotKeys() {
  for (const EventHotKeyRef reference : hotKeys) os().input.UnregisterEventHotKey(reference);
  hotKeys.clear();
}

void VLMDaemonMainController::daemonInstallGlobalMonitors() {
  daemonInstallHotKeys();
  eventsObserver->daemonInstallEventsObservers();
  installMouseMonitors();
}

namespace {

/// The set that a hot key stands for: the first with that code that is not in force already, so that several sets with
/// one hot key are stepped through.
std::shared_ptr<VLMDisplaySet> setForHotKey(VLMGlobals& document, std::uint32_t identifier) {
  document.updateCurrentModes();
  for (const auto& set : document.displaySetsArray) {
    if (!set->keyCode || truncateTo<std::uint32_t>(*set->keyCode) != identifier) continue;
    bool hasOneMonitorSetting = false;
    const std::int16_t mark = document.checkMarkForSet(*set, &hasOneMonitorSetting);
    if (!hasOneMonitorSetting || mark == 0) return set;
  }
  return nullptr;
}

OSStatus handleHotKey(const CarbonEvent& event, VLMGlobals& document) {
  VLMLog("[Velmoratix4] Got hotkey event");
  if (!event.directObject || event.directObject->signature != kHotKeySignature) return eventNotHandledErr;
  VLMLog("[Velmoratix4] Is a VLM Hotkey");
  const std::uint32_t identifier = event.directObject->id;
  if (identifier == kHotKeyOpenControlApp) {
    document.openControlApp({});
    return noErr;
  }
  if (identifier == kHotKeyQuit) {
    document.quitDaemon({});
    return noErr;
  }
  if (const auto set = setForHotKey(document, identifier)) {
    VLMLog("[Velmoratix4] Applying display set from hotkey");
    document.applyDisplaySet(set, true);
  }
  // Left to others on purpose, also when a set was applied.
  return eventNotHandledErr;
}

}  // namespace

OSStatus VLMDaemonMainController::Daemon_AppCommandProcess(const CarbonEvent& event, VLMGlobals& document) {
  if (event.eventClass == kEventClassApplication) {
    if (event.eventKind != kEventAppTerminated) {
      VLMLog("[Velmoratix4] Carbon process event %d not handled", event.eventKind);
    } else if (event.processID && document.applicationObject != nullptr) {
      document.applicationObject->applicationQuitted(*event.processID);
    }
    return eventNotHandledErr;
  }
  if (event.eventClass == kEventClassKeyboard && event.eventKind == kEventHotKeyPressed) {
    return handleHotKey(event, document);
  }
  return eventNotHandledErr;
}

}  // namespace vlm
