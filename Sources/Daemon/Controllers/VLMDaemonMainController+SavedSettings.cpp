#include <algorithm>

#include "Daemon/Controllers/VLMDaemonMainController.h"
#include "Models/DisplayTransaction.h"
#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Shared/Log.h"

namespace vlm {

namespace {

/// How a display shall be configured.
struct WantedState {
  bool enabled = false;
  std::shared_ptr<VLMMode> mode;
  std::int32_t depth = 0;
};

WantedState stateAtShutdown(const VLMDisplay& display) {
  return {.enabled = display.shutdownEnabled, .mode = display.shutdownMode.get(), .depth = display.shutdownDepth};
}

WantedState stateAtFirstSight(const VLMDisplay& display) {
  return {.enabled = display.initialEnabled, .mode = display.initialMode.get(), .depth = display.initialDepth};
}

bool willChange(const VLMDisplay& display, const WantedState& wanted) {
  return display.willChangeModeAndDepth(wanted.mode, wanted.depth) || display.willChangeActiveIn(wanted.enabled);
}

using Displays = std::vector<std::shared_ptr<VLMDisplay>>;

/// In one transaction, every display: the setters leave alone what is right already. The list is a copy, because what a
/// change brings about may make the document's anew.
void bringAbout(const Displays displays, WantedState (*wantedOf)(const VLMDisplay&)) {
  DisplayTransaction transaction;
  // First of all, so that the display that is the only one on now may go off for another.
  for (const auto& display : displays) {
    if (wantedOf(*display).enabled) display->setIsActive(true, &transaction);
  }
  for (const auto& display : displays) {
    const WantedState wanted = wantedOf(*display);
    display->setIsActive(wanted.enabled, &transaction);
    display->setDisplayMode(wanted.mode, wanted.depth, false, false, &transaction, false);
  }
  transaction.complete();
}

/// How a user asks for an exception: at the start that the displays be left alone, at the end that they be put back.
bool isControlHeld() { return (os().input.GetCurrentKeyModifiers() & (controlKey | rightControlKey)) != 0; }

/// Whether anything differs from the state at shutdown. Every display is logged; once one differs, no more are asked.
bool willShutdownStateChangeAnything(const Displays& displays) {
  bool willChangeAny = false;
  for (const auto& display : displays) {
    VLMLog("In saved preferences, disp %@ %@ active // actual it is active = %d", display->monitorResID,
           display->shutdownEnabled ? "was" : "was not", display->isActive());
    willChangeAny = willChangeAny || willChange(*display, stateAtShutdown(*display));
  }
  return willChangeAny;
}

}  // namespace

void VLMDaemonMainController::applySavedSettings() {
  VLMLog("[Velmoratix4] applySavedSettings");
  if (isControlHeld()) return;
  if (prefs.startupSet()) {
    VLMLog("[Velmoratix4] Applying display set from saved preferences");
    prefs.applyDisplaySet(prefs.startupSet(), false);
    return;
  }
  if (prefs.startupDoNothing) return;
  prefs.updateCurrentModes();
  const Displays& displays = prefs.displayArray;
  const bool isOneOn =
      std::any_of(displays.begin(), displays.end(), [](const auto& display) { return display->shutdownEnabled; });
  // Nobody shall be left before black screens, whatever the file says.
  if (!isOneOn && !displays.empty()) displays.front()->shutdownEnabled = true;
  if (!willShutdownStateChangeAnything(displays)) return;
  VLMLog("After preferences, something will change");
  bringAbout(displays, stateAtShutdown);
}

// Guarded the other way round than the start: it works only while Control is held.
void VLMDaemonMainController::reapplyInitialSettings() {
  if (!isControlHeld()) return;
  prefs.updateCurrentModes();
  const Displays& displays = prefs.displayArray;
  if (std::any_of(displays.begin(), displays.end(),
                  [](const auto& display) { return willChange(*display, stateAtFirstSight(*display)); })) {
    bringAbout(displays, stateAtFirstSight);
  }
}

}  // namespace vlm
