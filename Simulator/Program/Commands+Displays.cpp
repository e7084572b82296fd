#include <array>

#include "Platform/Numbers.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/OnDisplay.h"
#include "Simulator/Program/Simulator.h"

/// What other programs do to a display beside its mode and place, and to volume and Dock.
namespace vlm::sim {

namespace {

std::optional<float> parseShare(const std::string& text) {
  const auto number = parseReal(text);
  if (!number || !(*number >= 0) || *number > 1) return std::nullopt;
  return static_cast<float>(*number);
}

Outcome noShare(const std::string& text) { return Outcome::refused(quoted(text) + " is no number from 0 to 1"); }

Outcome rotate(Simulator& simulator, Arguments arguments) {
  const auto angle = parseInteger(arguments[1]);
  if (!angle) return Outcome::refused(quoted(arguments[1]) + " is no angle such as 90");
  return onDisplay(simulator, arguments[0], &MachineEvents::rotate, *angle);
}

Outcome mirror(Simulator& simulator, Arguments arguments) {
  if (arguments[1] == "off") return onDisplay(simulator, arguments[0], &MachineEvents::mirror, nullptr);
  const auto master = simulator.displayNamed(arguments[1]);
  if (const auto* reason = std::get_if<std::string>(&master)) return Outcome::refused(*reason);
  return onDisplay(simulator, arguments[0], &MachineEvents::mirror, std::get<SimulatedDisplay*>(master));
}

template <MachineEvents::Refusal (MachineEvents::*kFunction)(const std::string&, float)>
Outcome setShare(Simulator& simulator, Arguments arguments) {
  const auto share = parseShare(arguments[1]);
  return share ? onDisplay(simulator, arguments[0], kFunction, *share) : noShare(arguments[1]);
}

template <MachineEvents::Refusal (MachineEvents::*kFunction)(const std::string&, bool)>
Outcome setSwitch(Simulator& simulator, Arguments arguments) {
  const auto on = parseSwitch(arguments[1]);
  return on ? onDisplay(simulator, arguments[0], kFunction, *on) : Outcome::refused(notASwitch(arguments[1]));
}

Outcome gray(Simulator& simulator, Arguments arguments) {
  const auto on = parseSwitch(arguments[0]);
  return on ? settled(simulator, simulator.mac().events().setGray(*on)) : Outcome::refused(notASwitch(arguments[0]));
}

Outcome volume(Simulator& simulator, Arguments arguments) {
  const auto share = parseShare(arguments[0]);
  if (!share && arguments[0] != "none") {
    return Outcome::refused(quoted(arguments[0]) + " is neither a number from 0 to 1 nor none");
  }
  return settled(simulator, simulator.mac().events().setVolume(share));
}

Outcome dock(Simulator& simulator, Arguments arguments) {
  const auto hides = parseSwitch(arguments[0], "hide", "show");
  if (!hides) return Outcome::refused(notASwitch(arguments[0], "hide", "show"));
  return settled(simulator, simulator.mac().events().setDockAutoHides(*hides));
}

constexpr std::array kCommands{
    Command{"rotate", "DISPLAY ANGLE", 2, 2,
            "another program turns a display by 0, 90, 180, 270, or flips it: -1 to -4 as in settings",
            "rotate Left 90", rotate},
    Command{"mirror", "DISPLAY MASTER|off", 2, 2, "another program lets a display show MASTER's picture",
            "mirror Left Built-in", mirror},
    Command{"brightness", "DISPLAY VALUE", 2, 2, "the brightness of a panel, or a monitor's own knob, from 0 to 1",
            "brightness Left 0.5", setShare<&MachineEvents::setBrightness>},
    Command{"hdr", "DISPLAY on|off", 2, 2, "another program switches HDR", "hdr Left on",
            setSwitch<&MachineEvents::setHDR>},
    Command{"gray", "on|off", 1, 1, "another program switches the grey scale", "gray on", gray},
    Command{"overscan", "DISPLAY on|off", 2, 2, "another program switches overscan", "overscan Left on",
            setSwitch<&MachineEvents::setOverscan>},
    Command{"underscan", "DISPLAY VALUE", 2, 2, "another program sets underscan, from 0 to 1", "underscan Left 0.9",
            setShare<&MachineEvents::setUnderscan>},
    Command{"volume", "VALUE|none", 1, 1, "the volume from 0 to 1, or no output device any more", "volume 0.3", volume},
    Command{"dock", "hide|show", 1, 1, "whether the Dock hides itself from now", "dock hide", dock},
};

}  // namespace

std::span<const Command> displayCommands() { return kCommands; }

}  // namespace vlm::sim
