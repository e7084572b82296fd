#pragma once

#include <string>

namespace vlm::sim {

class Simulator;

/// Reads commands from the terminal until `quit` or the end of input. A command that fails is reported, no more. Lines
/// are remembered over runs, and completed.
void runPrompt(Simulator& simulator);

/// Where the lines of earlier runs are kept, in a folder that is made: below XDG_STATE_HOME, or ~/.local/state. Empty
/// when there is no such place.
std::string historyPath();

}  // namespace vlm::sim
