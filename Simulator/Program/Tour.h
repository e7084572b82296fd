#pragma once

#include "Simulator/Program/Scenario.h"

namespace vlm::sim {

/// What a newcomer is shown: the daemon's main job on this machine, told step by step, each step checked. The daemon
/// must be running.
Scenario tourOf(Simulator& simulator);

}  // namespace vlm::sim
