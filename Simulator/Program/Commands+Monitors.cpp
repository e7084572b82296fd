#include <array>

#include "Simulator/Mac/DdcMonitor.h"
#include "Simulator/Mac/SimulatedMonitorBus.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Simulator.h"

/// How monitors answer on their wires.
namespace vlm::sim {

namespace {

Outcome ddc(Simulator& simulator, Arguments arguments) {
  const auto found = simulator.displayNamed(arguments[0]);
  if (const auto* reason = std::get_if<std::string>(&found)) return Outcome::refused(*reason);
  const auto behaviour = ddcBehaviourNamed(arguments[1]);
  if (!behaviour) return Outcome::refused(quoted(arguments[1]) + " is not among " + namesOfDdcBehaviours());
  SimulatedDisplay& display = *std::get<SimulatedDisplay*>(found);
  simulator.mac().journal().add("user: ddc(" + display.description.name + ", " + arguments[1] + ")");
  setDdcBehaviour(simulator.mac(), display, *behaviour);
  return {};
}

constexpr std::array kCommands{
    Command{"ddc", "DISPLAY healthy|slow|deaf|garbled|wrong-code|intermittent|none", 2, 2,
            "how a monitor answers on its wire from now on", "ddc Left deaf", ddc},
};

}  // namespace

std::span<const Command> monitorCommands() { return kCommands; }

}  // namespace vlm::sim
