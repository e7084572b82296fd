#pragma once

namespace vlm::sim {

class Simulator;

/// Reads commands from the terminal until `quit` or the end of input. A command that fails is reported, no more.
void runPrompt(Simulator& simulator);

}  // namespace vlm::sim
