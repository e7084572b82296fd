#include <array>
#include <ostream>

#include "Shared/Shortcuts.h"
#include "Simulator/Mac/Mouse.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Simulator.h"

/// What the user does with mouse and modifier keys, and lets programs see of it.
namespace vlm::sim {

namespace {

Outcome noPoint(const std::string& text) { return Outcome::refused(quoted(text) + " is no point such as -1920,0"); }

/// "cmd+shift" as Carbon bits: a shortcut without its key.
std::optional<std::uint32_t> parseModifiers(const std::string& text) {
  const auto code = shortcutFromText(text + "+a");
  if (!code) return std::nullopt;
  return static_cast<std::uint32_t>(*code & 0xFF) << 8;
}

Outcome noModifiers(const std::string& text) {
  return Outcome::refused(quoted(text) + " is no modifier of control, option, shift, command, nor several with +");
}

Outcome hold(Simulator& simulator, Arguments arguments) {
  const auto modifiers = parseModifiers(arguments[0]);
  if (!modifiers) return noModifiers(arguments[0]);
  simulator.mac().modifiersHeld |= *modifiers;
  return {};
}

Outcome release(Simulator& simulator, Arguments arguments) {
  const auto modifiers = parseModifiers(arguments[0]);
  if (!modifiers) return noModifiers(arguments[0]);
  simulator.mac().modifiersHeld &= ~*modifiers;
  return {};
}

Point pointOf(const PointArgument& argument) {
  return {.x = static_cast<double>(argument.x), .y = static_cast<double>(argument.y)};
}

/// Moves the mouse and lets those who watch it act.
void moveMouse(Simulator& simulator, Point to) {
  if (simulator.mac().mouse().cursor == to) return;
  simulator.mac().mouse().moveTo(to);
  simulator.mac().turn();
}

Outcome cursor(Simulator& simulator, Arguments arguments) {
  const auto to = parsePoint(arguments[0]);
  if (!to) return noPoint(arguments[0]);
  moveMouse(simulator, pointOf(*to));
  const Point now = simulator.mac().mouse().cursor;
  if (now != pointOf(*to)) simulator.output().data << "the cursor is at " << pointText(now) << "\n";
  return {};
}

std::string ownerText(Simulator& simulator, std::int32_t processIdentifier) {
  const Session* const owner = simulator.mac().sessionWithProcessIdentifier(processIdentifier);
  return owner == nullptr ? "a process that has ended" : owner->description().name;
}

std::string whereItEnded(Simulator& simulator, const MouseOutcome& outcome) {
  if (outcome.keptBy != 0) return "kept by " + ownerText(simulator, outcome.keptBy);
  if (!outcome.window) return "no window there";
  const char* const what = outcome.window->layer == kFinderDesktopLayer ? "desktop" : "window";
  return std::string(what) + " of " + ownerText(simulator, outcome.window->processIdentifier) + " (number " +
         std::to_string(outcome.window->number) + ")";
}

template <std::int32_t eventType>
Outcome click(Simulator& simulator, Arguments arguments) {
  const auto at = parsePoint(arguments[0]);
  if (!at) return noPoint(arguments[0]);
  std::uint32_t modifiers = 0;
  if (arguments.size() > 1) {
    if (arguments.size() != 3 || arguments[1] != "with") {
      return Outcome::refused("behind the point stands: with MODIFIERS, such as with cmd+shift");
    }
    const auto with = parseModifiers(arguments[2]);
    if (!with) return noModifiers(arguments[2]);
    modifiers = *with;
  }
  moveMouse(simulator, pointOf(*at));
  const MouseOutcome outcome = simulator.mac().mouse().press(eventType, modifiers);
  simulator.mac().turn();
  simulator.output().data << pointText(simulator.mac().mouse().cursor) << ": " << whereItEnded(simulator, outcome)
                          << "\n";
  return {};
}

Outcome trust(Simulator& simulator, Arguments arguments) {
  const auto on = parseSwitch(arguments[0]);
  if (!on) return Outcome::refused(notASwitch(arguments[0]));
  simulator.mac().accessibilityTrusted = *on;
  return {};
}

Outcome slowTaps(Simulator& simulator, Arguments) {
  simulator.mac().mouse().switchOffTaps();
  simulator.mac().turn();
  return {};
}

constexpr std::array kCommands{
    Command{"hold", "MODIFIERS", 1, 1, "holds control, option, shift or command, or several", "hold control", hold},
    Command{"release", "MODIFIERS", 1, 1, "lets go of them", "release control", release},
    Command{"cursor", "X,Y", 1, 1, "moves the mouse, also to where no display is", "cursor 100,100", cursor},
    Command{"click", "X,Y [with MODIFIERS]", 1, 3, "moves the mouse there and clicks; says where the click ended",
            "click 100,100 with cmd+shift", click<kEventLeftMouseDown>},
    Command{"right-click", "X,Y [with MODIFIERS]", 1, 3, "the same with the right button", "right-click 100,100",
            click<kEventRightMouseDown>},
    Command{"trust", "on|off", 1, 1, "lets programs control the computer (accessibility), or does so no more",
            "trust on", trust},
    Command{"slow-taps", "", 0, 0, "the system switches event taps off, as too slow", "slow-taps", slowTaps},
};

}  // namespace

std::span<const Command> inputCommands() { return kCommands; }

}  // namespace vlm::sim
