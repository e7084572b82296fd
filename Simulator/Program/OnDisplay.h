#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <variant>

#include "Simulator/Mac/MachineEvents.h"
#include "Simulator/Program/Command.h"
#include "Simulator/Program/Simulator.h"

/// What commands bring about on the machine at this moment is played with them.
namespace vlm::sim {

inline Outcome settled(Simulator& simulator, const MachineEvents::Refusal& refusal) {
  if (refusal) return Outcome::refused(*refusal);
  simulator.mac().turn();
  return {};
}

/// Does something that may be refused with a display that is named by its beginning; the action gets its whole name.
template <std::invocable<const std::string&> Action>
Outcome onDisplay(Simulator& simulator, const std::string& name, Action action) {
  const auto found = simulator.displayNamed(name);
  if (const auto* reason = std::get_if<std::string>(&found)) return Outcome::refused(*reason);
  return settled(simulator, action(std::get<SimulatedDisplay*>(found)->description.name));
}

/// Calls a function of the machine's events for it.
template <class... Parameters, class... Values>
Outcome onDisplay(Simulator& simulator, const std::string& name,
                  MachineEvents::Refusal (MachineEvents::*function)(const std::string&, Parameters...),
                  const Values&... values) {
  return onDisplay(simulator, name, [&](const std::string& display) {
    return (simulator.mac().events().*function)(display, values...);
  });
}

}  // namespace vlm::sim
