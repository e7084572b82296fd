#include <algorithm>

#include "Models/VLMGlobals.h"
#include "Platform/AppleEvents.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/RunLoop.h"
#include "Platform/System.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

/// The system needs this long to settle before the Dock can be asked to begin anew. Seconds.
constexpr double kDockRelaunchDelay = 1.0;

/// The record of a display whose cable was just pulled stays until the next look; a change of it would be refused, and
/// with it the whole transaction.
bool isThere(const VLMDisplay& display) { return os().quartz.CGDisplayIsOnline(display.cgID); }

}  // namespace

void VLMGlobals::setIsGrayEnabled(bool gray) {
  if (!willChangeGraysInto(gray)) return;
  if (systemVersion() >= kSystem10_15) {
    os().system.UAGrayscaleSetEnabled(gray);
  } else {
    os().system.CGDisplayForceToGray(gray);
  }
}

void VLMGlobals::setIsMirroringEnabled(bool on, DisplayTransaction* transaction, bool touch) {
  JoinedTransaction joined(transaction);
  if (on) {
    mirrorActiveDisplays(*joined);
    if (touch) turnOnInactiveDisplays(*joined);
    return;
  }
  for (const auto& display : displayArray) {
    if (!isThere(*display)) continue;
    os().quartz.CGConfigureDisplayMirrorOfDisplay(joined->config(), display->cgID, kCGNullDirectDisplay);
  }
}

bool VLMGlobals::isFirstActive(const VLMDisplay& display) const {
  const auto first = std::find_if(displayArray.begin(), displayArray.end(),
                                  [](const auto& attached) { return isThere(*attached) && attached->isActive(); });
  return first != displayArray.end() && first->get() == &display;
}

bool VLMGlobals::isFirstActiveShown() const {
  return std::all_of(displayArray.begin(), displayArray.end(), [&](const auto& display) {
    return !isFirstActive(*display) || os().quartz.CGDisplayMirrorsDisplay(display->cgID) == kCGNullDirectDisplay;
  });
}

void VLMGlobals::mirrorActiveDisplays(DisplayTransaction& transaction) const {
  std::shared_ptr<VLMDisplay> master;
  for (const auto& display : displayArray) {
    if (!isThere(*display) || !display->isActive()) continue;
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
    if (isThere(*display) && !display->isActive())
      hasTurnedOn = display->setIsActive(true, &transaction) || hasTurnedOn;
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
    if (!isThere(*attached)) continue;
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
