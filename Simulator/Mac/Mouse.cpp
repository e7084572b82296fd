#include "Simulator/Mac/Mouse.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Simulator/Mac/Scheduler.h"
#include "Simulator/Mac/SessionPorts.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

namespace {

std::uint64_t modifierFlagsOf(std::uint32_t carbonModifiers) {
  std::uint64_t flags = 0;
  if ((carbonModifiers & shiftKey) != 0) flags |= kModifierFlagShift;
  if ((carbonModifiers & (controlKey | rightControlKey)) != 0) flags |= kModifierFlagControl;
  if ((carbonModifiers & optionKey) != 0) flags |= kModifierFlagOption;
  if ((carbonModifiers & cmdKey) != 0) flags |= kModifierFlagCommand;
  return flags;
}

}  // namespace

// --- The way of an event ---

MouseOutcome Mouse::moveTo(Point point) {
  if (detachedBy_ == nullptr) cursor = point;
  return send({.type = kEventMouseMoved, .location = cursor, .modifierFlags = modifierFlagsOf(mac_.modifiersHeld)});
}

MouseOutcome Mouse::press(std::int32_t eventType, std::uint32_t modifiers) {
  return send(
      {.type = eventType, .location = cursor, .modifierFlags = modifierFlagsOf(mac_.modifiersHeld | modifiers)});
}

MouseOutcome Mouse::send(MouseEvent event) {
  const auto taps = taps_;
  for (const auto& tap : taps) {
    if ((tap->mask & eventMaskBit(event.type)) == 0) continue;
    // Read before the process may end.
    const std::int32_t owner = tap->session->processIdentifier();
    const std::optional<MouseEvent> passed = askTap(tap, event);
    if (!passed) return {.keptBy = owner, .window = std::nullopt};
    event = *passed;
  }
  const MouseOutcome outcome{.keptBy = 0, .window = mac_.windows().at(event.location)};
  showMonitors(event, outcome.window);
  return outcome;
}

/// What comes out of the tap. A tap that is off, or that went wrong over it, lets the event pass as it is.
std::optional<MouseEvent> Mouse::askTap(const std::shared_ptr<Tap>& tap, const MouseEvent& event) {
  const bool isRemoved = std::find(taps_.begin(), taps_.end(), tap) == taps_.end();
  if (isRemoved || !tap->isInRunLoop || !tap->isEnabled || !mac_.accessibilityTrusted) return event;
  const double before = mac_.now();
  std::optional<MouseEvent> passed = event;
  tap->session->call([&] { passed = tap->callback(event); });
  if (!tap->session->isRunning()) return event;
  if (mac_.now() - before <= kLongestWait) return passed;
  switchOff(tap);
  return event;
}

void Mouse::switchOff(const std::shared_ptr<Tap>& tap) {
  if (!tap->isEnabled) return;
  tap->isEnabled = false;
  mac_.journal().add("system: the event tap of " + tap->session->description().name + " is too slow");
  const std::weak_ptr<Tap> late = tap;
  mac_.scheduler().onNextTurn(tap->session, [late] {
    // Held while it is called: it may remove its tap.
    const std::shared_ptr<Tap> told = late.lock();
    if (told != nullptr && told->isInRunLoop) {
      told->callback({.type = kEventTapDisabledByTimeout, .location = {}, .modifierFlags = 0});
    }
  });
}

void Mouse::switchOffTaps() {
  const auto taps = taps_;
  for (const auto& tap : taps) switchOff(tap);
}

void Mouse::showMonitors(const MouseEvent& event, const std::optional<SimulatedWindow>& target) {
  for (Session* const session : mac_.sessions()) {
    if (target && target->processIdentifier == session->processIdentifier()) continue;
    session->adapters().input.showMonitors(event);
  }
}

// --- What the processes ask for ---

void Mouse::setMovesCursor(const Session& session, bool moves) { detachedBy_ = moves ? nullptr : &session; }

EventTapRef Mouse::addTap(Session& session, std::uint32_t placement, std::uint64_t mask, Input::TapCallback callback) {
  auto tap = std::make_shared<Tap>();
  tap->reference = mac_.nextReference();
  tap->session = &session;
  tap->mask = mask;
  tap->callback = std::move(callback);
  taps_.insert(placement == kCGHeadInsertEventTap ? taps_.begin() : taps_.end(), tap);
  return tap->reference;
}

Mouse::Tap* Mouse::tapOf(const Session& session, EventTapRef reference) {
  for (const auto& tap : taps_) {
    if (tap->session == &session && tap->reference == reference) return tap.get();
  }
  return nullptr;
}

bool Mouse::addTapToRunLoop(const Session& session, EventTapRef reference) {
  Tap* const tap = tapOf(session, reference);
  if (tap != nullptr) tap->isInRunLoop = true;
  return tap != nullptr;
}

bool Mouse::enableTap(const Session& session, EventTapRef reference, bool enable) {
  Tap* const tap = tapOf(session, reference);
  if (tap != nullptr) tap->isEnabled = enable;
  return tap != nullptr;
}

bool Mouse::removeTap(const Session& session, EventTapRef reference) {
  const Tap* const tap = tapOf(session, reference);
  if (tap == nullptr) return false;
  const auto found = std::find_if(taps_.begin(), taps_.end(), [&](const auto& known) { return known.get() == tap; });
  // Out of the list first: the callback owns what the program put into it.
  const std::shared_ptr<Tap> gone = std::move(*found);
  taps_.erase(found);
  return true;
}

void Mouse::sessionEnded(const Session& session) {
  if (detachedBy_ == &session) detachedBy_ = nullptr;
  const auto own =
      std::stable_partition(taps_.begin(), taps_.end(), [&](const auto& tap) { return tap->session != &session; });
  const std::vector<std::shared_ptr<Tap>> gone(std::make_move_iterator(own), std::make_move_iterator(taps_.end()));
  taps_.erase(own, taps_.end());
}

}  // namespace vlm::sim
