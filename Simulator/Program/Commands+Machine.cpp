#include <array>

#include "Shared/Shortcuts.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/OnDisplay.h"
#include "Simulator/Program/Signals.h"
#include "Simulator/Program/Simulator.h"

/// What happens to the machine from outside: time, keys, cables, other programs.
namespace vlm::sim {

namespace {

/// A week of ticks takes seconds; more is a slip of the pen.
constexpr double kLongestAdvance = 7 * 86400.0;
/// Whole seconds, so that nothing is rounded; short enough for whoever interrupts.
constexpr double kAtOnce = 3600;

Outcome advance(Simulator& simulator, Arguments arguments) {
  const auto seconds = parseReal(arguments[0]);
  if (!seconds || *seconds < 0 || *seconds > kLongestAdvance) {
    return Outcome::refused(quoted(arguments[0]) + " is no number of seconds from 0 to " +
                            shortNumber(kLongestAdvance));
  }
  double left = *seconds;
  for (; left > kAtOnce && signalToStop() == 0; left -= kAtOnce) simulator.mac().advance(kAtOnce);
  if (signalToStop() != 0) return Outcome::notHeld("interrupted, " + shortNumber(left) + " s before the end");
  simulator.mac().advance(left);
  simulator.mac().turn();
  return {};
}

Outcome pressCode(Simulator& simulator, std::int64_t code) {
  const auto keyCode = static_cast<std::uint32_t>(code >> 8);
  const auto modifiers = static_cast<std::uint32_t>(code & 0xFF) << 8;
  if (!simulator.mac().pressKey(keyCode, modifiers)) {
    simulator.output().diagnostics << "note: nobody has registered that combination\n";
  }
  simulator.mac().turn();
  return {};
}

Outcome hotkey(Simulator& simulator, Arguments arguments) {
  const auto code = parseInteger(arguments[0]);
  if (!code || *code < 0 || *code > 0xFFFF)
    return Outcome::refused(quoted(arguments[0]) + " is no code from 0 to 0xFFFF");
  return pressCode(simulator, *code);
}

Outcome press(Simulator& simulator, Arguments arguments) {
  const auto code = shortcutFromText(arguments[0]);
  if (!code) return Outcome::refused(quoted(arguments[0]) + " is no shortcut such as cmd+opt+f11");
  return pressCode(simulator, *code);
}

Outcome mode(Simulator& simulator, Arguments arguments) {
  const auto wanted = parseMode(arguments[1]);
  if (!wanted) return Outcome::refused(quoted(arguments[1]) + " is no mode such as 1920x1080 or 1920x1080@60");
  return onDisplay(simulator, arguments[0], [&](const std::string& name) {
    return simulator.mac().setMode(name, wanted->width, wanted->height, wanted->refreshHz);
  });
}

Outcome move(Simulator& simulator, Arguments arguments) {
  const auto to = parsePoint(arguments[1]);
  if (!to) return Outcome::refused(quoted(arguments[1]) + " is no point such as -1920,0");
  return onDisplay(simulator, arguments[0],
                   [&](const std::string& name) { return simulator.mac().move(name, to->x, to->y); });
}

template <bool on>
Outcome enable(Simulator& simulator, Arguments arguments) {
  return onDisplay(simulator, arguments[0],
                   [&](const std::string& name) { return simulator.mac().setEnabled(name, on); });
}

Outcome plug(Simulator& simulator, Arguments arguments) {
  return onDisplay(simulator, arguments[0], [&](const std::string& name) { return simulator.mac().plug(name); });
}

Outcome unplug(Simulator& simulator, Arguments arguments) {
  return onDisplay(simulator, arguments[0], [&](const std::string& name) { return simulator.mac().unplug(name); });
}

constexpr std::array kCommands{
    Command{"advance", "SECONDS", 1, 1, "lets simulated time pass; nothing passes by itself", "advance 2", advance},
    Command{"press", "SHORTCUT", 1, 1, "presses a combination of keys", "press cmd+opt+f11", press},
    Command{"hotkey", "CODE", 1, 1, "presses the combination with that code: key code x 256 + modifiers",
            "hotkey 0x670D", hotkey},
    Command{"mode", "DISPLAY WIDTHxHEIGHT[@HZ]", 2, 2, "another program sets a display's mode", "mode Left 1024x768@60",
            mode},
    Command{"move", "DISPLAY X,Y", 2, 2, "another program moves a display", "move Left -1920,0", move},
    Command{"enable", "DISPLAY", 1, 1, "another program turns a display on", "enable Left", enable<true>},
    Command{"disable", "DISPLAY", 1, 1, "another program turns a display off", "disable Left", enable<false>},
    Command{"plug", "DISPLAY", 1, 1, "plugs a display in", "plug Left", plug},
    Command{"unplug", "DISPLAY", 1, 1, "pulls a display's cable", "unplug Left", unplug},
};

}  // namespace

std::span<const Command> machineCommands() { return kCommands; }

}  // namespace vlm::sim
