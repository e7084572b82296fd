#include "Models/VLMGlobals.h"
#include "Platform/AppleEvents.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/RunLoop.h"

namespace vlm {

namespace {

/// The system needs this long to settle before the Dock can be asked to begin anew. Seconds.
constexpr double kDockRelaunchDelay = 1.0;

}  // namespace

void VLMGlobals::setIsGrayEnabled(bool /*gray*/) {
  // Switches grey scale by the system's old or new switch, once the grey-scale setters are there.
}

void VLMGlobals::setIsMirroringEnabled(bool on, DisplayTransaction* transaction, bool touch) {
  JoinedTransaction joined(transaction);
  if (on) {
    mirrorActiveDisplays(*joined);
    if (touch) turnOnInactiveDisplays(*joined);
    return;
  }
  for (const auto& display : displayArray) {
    os().quartz.CGConfigureDisplayMirrorOfDisplay(joined->config(), display->cgID, kCGNullDirectDisplay);
  }
}

void VLMGlobals::mirrorActiveDisplays(DisplayTransaction& transaction) const {
  std::shared_ptr<VLMDisplay> master;
  for (const auto& display : displayArray) {
    if (!display->isActive()) continue;
    if (master) {
      os().quartz.CGConfigureDisplayMirrorOfDisplay(transaction.config(), display->cgID, master->cgID);
    } else {
      master = display;
    }
  }
}

void VLMGlobals::turnOnInactiveDisplays(DisplayTransaction& transaction) {
  bool hasTurnedOn = false;
  for (const auto& display : displayArray) {
    if (!display->isActive()) hasTurnedOn = display->setIsActive(true, &transaction) || hasTurnedOn;
  }
  if (!hasTurnedOn) return;
  transaction.restart();
  if (quitDockAfterEnabling) relaunchDockLater();
}

void VLMGlobals::relaunchDockLater() {
  os().runLoop.performAfterDelay(kDockRelaunchDelay, [this] { relaunchDock(); });
}

bool VLMGlobals::willChangeMainDisplayInto(const VLMDisplay& display) const { return !display.isMainDisplay(); }

void VLMGlobals::setMainDisplay(VLMDisplay& display, DisplayTransaction* transaction) {
  if (displayArray.size() < 2 || !willChangeMainDisplayInto(display)) return;
  // The display at the origin is the main one: all move by the same distance, so that their arrangement stays.
  const DisplayPosition shift = display.displayPosition();
  JoinedTransaction joined(transaction);
  for (const auto& attached : displayArray) {
    const DisplayPosition now = attached->displayPosition();
    attached->setDisplayPositionTo(
        {.v = truncateTo<std::int16_t>(now.v - shift.v), .h = truncateTo<std::int16_t>(now.h - shift.h)}, &*joined);
  }
}

void VLMGlobals::relaunchDock() {
  // The system starts it again by itself.
  os().appleEvents.executeAppleScript("tell application \"Dock\" to quit");
}

}  // namespace vlm
