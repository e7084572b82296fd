#include "Models/VLMGlobals.h"
#include "Platform/AppleEvents.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"


namespace vlm {

void VLMGlobals::setIsGrayEnabled(bool /*gray*/) {
  // Switches grey scale by the system's old or new switch, once the grey-scale setters are there.
}

void VLMGlobals::setIsMirroringEnabled(bool on, DisplayTransaction* transaction, bool /*touch*/) {
  if (on) {
    // Makes every active display show the first one's picture, once the mirroring setters are there.
    return;
  }
  JoinedTransaction joined(transaction);
  for (const auto& display : displayArray) {
    os().quartz.CGConfigureDisplayMirrorOfDisplay(joined->config(), display->cgID, kCGNullDirectDisplay);
  }
}

bool VLMGlobals::willChangeMainDisplayInto(const VLMDisplay& display) const { return !display.isMainDisplay(); }

void VLMGlobals::setMainDisplay(VLMDisplay& display, DisplayTransaction* transaction) {
  if (displayArray.size() < 2 || !willChangeMainDisplayInto(display)) return;
  // The display at the origin is the main one: all move by the same distance, so that their arrangement stays.
  const DisplayPosition shift = display.displayPosition();
  JoinedTransaction joined(transaction);
  for (const auto& attached : displayArray) {
    const DisplayPosition now = attached->displayPosition();
    attached->setDisplayPositionTo({.v = truncateTo<std::int16_t>(now.v - shift.v), .h = truncateTo<std::int16_t>(now.h - shift.h)},
                                   &*joined);
  }
}

void VLMGlobals::relaunchDock() {
  // The system starts it again by itself.
  os().appleEvents.executeAppleScript("tell application \"Dock\" to quit");
}

}  // namespace vlm
