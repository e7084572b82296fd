#include <algorithm>

#include "Daemon/Controllers/VLMDaemonMainController.h"
#include "Models/VLMGlobals.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/Workspace.h"
#include "Shared/Log.h"

namespace vlm {

namespace {

/// The desktop of a file manager: the window layer on which it draws it.
struct DesktopOwner {
  const char* bundleIdentifier;
  std::int64_t layer;
};
constexpr DesktopOwner kDesktopOwners[] = {
    {.bundleIdentifier = "com.apple.finder", .layer = -2147483603},
    {.bundleIdentifier = "com.cocoatech.PathFinder", .layer = -2147483623},
};

/// The tap for clicks, and the last place of the cursor that lay on a display. They outlast every reload.
struct MouseState {
  EventTapRef clickTap = 0;
  Point lastPoint;
};

MouseState& mouseState() { return Process::current().state<MouseState>(); }

/// Whether the front window at a point is a file manager's desktop.
bool isDesktopAt(Point point) {
  const std::int64_t window = os().input.windowNumberAtPoint(point, 0);
  const auto descriptions = os().input.CGWindowListCreateDescriptionFromArray({window});
  if (descriptions.empty() || descriptions.front().number("kCGWindowNumber") != window) return false;
  const plist::Dictionary& description = descriptions.front();
  const auto owner = os().workspace.runningApplicationWithProcessIdentifier(description.sInt32("kCGWindowOwnerPID"));
  return owner && std::any_of(std::begin(kDesktopOwners), std::end(kDesktopOwners), [&](const DesktopOwner& desktop) {
           return owner->bundleIdentifier == desktop.bundleIdentifier &&
                  description.number("kCGWindowLayer") == desktop.layer;
         });
}

/// The display that shows a point; none where there is a gap.
CGDirectDisplayID displayWithPoint(Point point) {
  CGDirectDisplayID display = kCGNullDirectDisplay;
  std::uint32_t count = 0;
  const CGError error = os().quartz.CGGetDisplaysWithPoint(point, 1, {&display, 1}, count);
  return error == kCGErrorSuccess && count > 0 ? display : kCGNullDirectDisplay;
}

/// The nearest place inside. The right and the lower edge belong to the neighbours, so the last place is a point before
/// them; a coordinate that is none ends at the origin.
double clamped(double coordinate, double minimum, double length) {
  const double last = std::max(minimum, minimum + length - 1);
  if (!(coordinate >= minimum)) return minimum;
  return coordinate >= minimum + length ? last : coordinate;
}

}  // namespace

void VLMDaemonMainController::installMouseMonitors() {
  if (prefs.monitorMousePosition) {
    mouseMovedMonitor = os().input.addGlobalMonitorForEventsMatchingMask(
        eventMaskBit(kEventMouseMoved), [this](const MouseEvent& event) { mouseMoved(event); });
  }
  if (!prefs.showContextMenu) return;
  if (!os().input.AXIsProcessTrusted()) {
    mouseClickedMonitor = os().input.addGlobalMonitorForEventsMatchingMask(
        eventMaskBit(kEventLeftMouseDown) | eventMaskBit(kEventRightMouseDown),
        [this](const MouseEvent& event) { mouseClicked(event); });
    return;
  }
  EventTapRef& tap = mouseState().clickTap;
  tap = os().input.CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap, kCGEventTapOptionDefault,
                                    eventMaskBit(kEventLeftMouseDown),
                                    [this](const MouseEvent& event) { return mouseClickedCallback(event, *this); });
  if (tap == 0) return;
  os().input.CFRunLoopAddEventTap(tap);
  os().input.CGEventTapEnable(tap, true);
}

void VLMDaemonMainController::removeMouseMonitors() {
  for (EventMonitorRef* const monitor : {&mouseMovedMonitor, &mouseClickedMonitor}) {
    if (*monitor != 0) os().input.removeMonitor(*monitor);
    *monitor = 0;
  }
  EventTapRef& tap = mouseState().clickTap;
  if (tap != 0) {
    os().input.CGEventTapEnable(tap, false);
    os().input.CFReleaseEventTap(tap);
  }
  tap = 0;
}

void VLMDaemonMainController::mouseClicked(const MouseEvent& event) { mouseContextualMenuCoreEvent(event, *this); }

std::optional<MouseEvent> VLMDaemonMainController::mouseClickedCallback(const MouseEvent& event,
                                                                        VLMDaemonMainController& self) {
  if (event.type == kEventTapDisabledByTimeout) {
    const EventTapRef tap = mouseState().clickTap;
    if (tap != 0) os().input.CGEventTapEnable(tap, true);
    return event;
  }
  if (event.type == kEventLeftMouseDown && mouseContextualMenuCoreEvent(event, self)) return std::nullopt;
  return event;
}

bool VLMDaemonMainController::mouseContextualMenuCoreEvent(const MouseEvent& event, VLMDaemonMainController& self) {
  // Every modifier asked for; others may be held besides.
  const auto wanted = static_cast<std::uint64_t>(self.prefs.contextualMenuModifier);
  if ((event.modifierFlags & wanted) != wanted || !isDesktopAt(event.location)) return false;
  os().userInterface.popUpMenu(self.contextualMenu, event.location);
  return true;
}

void VLMDaemonMainController::mouseMoved(const MouseEvent& /*event*/) {
  if (prefs.displayArray.size() < 2) return;
  const Point cursor = os().input.CGEventGetLocation();
  Point& lastPoint = mouseState().lastPoint;
  if (displayWithPoint(cursor) != kCGNullDirectDisplay) {
    lastPoint = cursor;
    return;
  }
  CGDirectDisplayID display = displayWithPoint(lastPoint);
  if (display == kCGNullDirectDisplay) {
    // The display that it came from has gone as well.
    const auto main = prefs.mainDisplay();
    if (main == nullptr) return;
    display = main->cgID;
  }
  const Rect bounds = os().quartz.CGDisplayBounds(display);
  VLMLog("Warping from x= %d, y = %d", wholePartTo<std::int32_t>(cursor.x), wholePartTo<std::int32_t>(cursor.y));
  const Point held{.x = clamped(cursor.x, bounds.origin.x, bounds.size.width),
                   .y = clamped(cursor.y, bounds.origin.y, bounds.size.height)};
  // Detached, so that the mouse does not carry it off again meanwhile.
  os().quartz.CGAssociateMouseAndMouseCursorPosition(false);
  os().quartz.CGWarpMouseCursorPosition(held);
  os().quartz.CGAssociateMouseAndMouseCursorPosition(true);
  VLMLog("Warping to x= %d, y = %d", wholePartTo<std::int32_t>(held.x), wholePartTo<std::int32_t>(held.y));
  lastPoint = held;
}

}  // namespace vlm
