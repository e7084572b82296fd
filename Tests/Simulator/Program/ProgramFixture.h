#pragma once

#include <memory>
#include <sstream>
#include <string>

#include "Simulator/Program/Output.h"
#include "Simulator/Program/Scenario.h"
#include "Simulator/Program/Simulator.h"

namespace vlm::sim {

/// One of the machines that come with the program.
inline MachineDescription machineNamed(const std::string& name) {
  auto machine = readMachine(std::string(VELMORATIX_MACHINES_FOLDER) + "/" + name + ".plist");
  if (const auto* reason = std::get_if<std::string>(&machine)) throw std::runtime_error(*reason);
  return std::get<MachineDescription>(std::move(machine));
}

/// The simulator with what it writes, on a machine with a started daemon.
struct Desk {
  std::ostringstream data, diagnostics;
  Output output{.data = data, .diagnostics = diagnostics};
  Simulator simulator;

  explicit Desk(const std::string& machine = "laptop-and-two", const std::string& home = {})
      : simulator(machineNamed(machine), home, output) {
    simulator.launchDaemons({kVersion});
  }

  Outcome play(std::vector<std::string> lines) {
    return playScenario(simulator, {.name = "test.scenario", .lines = std::move(lines)}, Echo::no);
  }
};

}  // namespace vlm::sim
