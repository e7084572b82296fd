#include <algorithm>
#include <utility>

#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/Mouse.h"
#include "Simulator/Mac/Scheduler.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedInput.h"
#include "Simulator/Mac/SimulatedMac.h"

/// The mouse as one process sees it, and the modifiers that are held.
namespace vlm::sim {

std::uint32_t SimulatedInput::GetCurrentKeyModifiers() { return mac_.modifiersHeld; }

bool SimulatedInput::AXIsProcessTrusted() { return mac_.accessibilityTrusted; }

// --- Monitors ---

EventMonitorRef SimulatedInput::addGlobalMonitorForEventsMatchingMask(std::uint64_t mask, MouseHandler handler) {
  session_.record("addGlobalMonitorForEventsMatchingMask(" + std::to_string(mask) + ")");
  const EventMonitorRef reference = mac_.nextReference();
  monitors_[reference] = std::make_shared<Monitor>(Monitor{.mask = mask, .handler = std::move(handler)});
  return reference;
}

void SimulatedInput::removeMonitor(EventMonitorRef monitor) {
  const auto found = monitors_.find(monitor);
  if (found == monitors_.end()) return;
  session_.record("removeMonitor(" + std::to_string(found->second->mask) + ")");
  // Out of the map first: the handler owns what the program put into it.
  const auto gone = std::move(found->second);
  monitors_.erase(found);
}

void SimulatedInput::showMonitors(const MouseEvent& event) {
  for (const auto& [reference, monitor] : monitors_) {
    if ((monitor->mask & eventMaskBit(event.type)) == 0) continue;
    mac_.scheduler().onNextTurn(&session_, [this, event, key = reference] {
      const auto found = monitors_.find(key);
      if (found == monitors_.end()) return;
      const auto held = found->second;
      held->handler(event);
    });
  }
}

// --- Taps ---

EventTapRef SimulatedInput::CGEventTapCreate(std::uint32_t location, std::uint32_t placement, std::uint32_t options,
                                             std::uint64_t mask, TapCallback callback) {
  if (!mac_.accessibilityTrusted) return 0;
  session_.record("CGEventTapCreate(" + std::to_string(location) + ", " + std::to_string(placement) + ", " +
                  std::to_string(options) + ", " + std::to_string(mask) + ")");
  return mac_.mouse().addTap(session_, placement, mask, std::move(callback));
}

void SimulatedInput::CFRunLoopAddEventTap(EventTapRef tap) {
  if (mac_.mouse().addTapToRunLoop(session_, tap)) session_.record("CFRunLoopAddEventTap()");
}

void SimulatedInput::CGEventTapEnable(EventTapRef tap, bool enable) {
  if (!mac_.mouse().enableTap(session_, tap, enable)) return;
  session_.record(std::string("CGEventTapEnable(") + (enable ? "yes" : "no") + ")");
}

void SimulatedInput::CFReleaseEventTap(EventTapRef tap) {
  if (mac_.mouse().removeTap(session_, tap)) session_.record("CFReleaseEventTap()");
}

// --- Cursor and windows ---

Point SimulatedInput::CGEventGetLocation() { return mac_.mouse().cursor; }

std::int64_t SimulatedInput::windowNumberAtPoint(Point point, std::int64_t belowWindowWithWindowNumber) {
  bool isBelow = belowWindowWithWindowNumber == 0;
  for (const SimulatedWindow& window : mac_.windows().frontToBack()) {
    if (isBelow && window.frame.contains(point)) return window.number;
    isBelow = isBelow || window.number == belowWindowWithWindowNumber;
  }
  return 0;
}

std::vector<plist::Dictionary> SimulatedInput::CGWindowListCreateDescriptionFromArray(
    const std::vector<std::int64_t>& windowNumbers) {
  std::vector<plist::Dictionary> descriptions;
  const std::vector<SimulatedWindow> windows = mac_.windows().frontToBack();
  for (const std::int64_t number : windowNumbers) {
    const auto found =
        std::find_if(windows.begin(), windows.end(), [&](const auto& window) { return window.number == number; });
    if (found == windows.end()) continue;
    descriptions.push_back({{"kCGWindowNumber", found->number},
                            {"kCGWindowOwnerPID", found->processIdentifier},
                            {"kCGWindowLayer", found->layer}});
  }
  return descriptions;
}

}  // namespace vlm::sim
