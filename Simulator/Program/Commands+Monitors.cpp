#include <array>

#include "Simulator/Mac/DdcMonitor.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/OnDisplay.h"

/// How monitors answer on their wires.
namespace vlm::sim {

namespace {

Outcome ddc(Simulator& simulator, Arguments arguments) {
  const auto behaviour = ddcBehaviourNamed(arguments[1]);
  if (!behaviour) return Outcome::refused(quoted(arguments[1]) + " is not among " + namesOfDdcBehaviours());
  return onDisplay(simulator, arguments[0], &MachineEvents::setDdcBehaviour, *behaviour);
}

constexpr std::array kCommands{
    Command{"ddc", "DISPLAY healthy|slow|deaf|garbled|wrong-code|intermittent|none", 2, 2,
            "how a monitor answers on its wire from now on", "ddc Left deaf", ddc},
};

}  // namespace

std::span<const Command> monitorCommands() { return kCommands; }

}  // namespace vlm::sim
