#pragma once

#include <optional>
#include <string>
#include <variant>

#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Simulator/Program/SetEditing.h"
#include "Simulator/Program/Simulator.h"

/// What the control application does with the running daemon's document, of which the daemon's process has the one
/// copy.
namespace vlm::sim {

/// Does something with the document, within the daemon's process.
template <class Action>
Refusal withDocument(Simulator& simulator, Action action) {
  Session* const session = simulator.daemon();
  if (session == nullptr) return "no daemon runs; launch-daemon starts one";
  const Process::Scope inDaemon(session->process());
  return action(VLMGlobals::sharedInstance());
}

/// The daemon's record of a display. One that is not plugged in is known by what the daemon remembers of it. The reason
/// when there is none. To be called within the daemon's process.
std::variant<EditedDisplay, std::string> displayIn(const VLMGlobals& document, Simulator& simulator,
                                                   const std::string& text);

}  // namespace vlm::sim
