#pragma once

#include <string>

#include "Simulator/Program/Command.h"

namespace vlm::sim {

/// Prints what a display's EDID says: as the running daemon reads it, or, of a display that it does not see, the
/// monitor's own.
Outcome showEdid(Simulator& simulator, const std::string& displayName);
/// Writes its bytes into a file.
Outcome saveEdid(Simulator& simulator, const std::string& displayName, const std::string& file);

}  // namespace vlm::sim
