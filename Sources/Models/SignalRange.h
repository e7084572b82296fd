#pragma once

#include <string>

namespace vlm {

/// What a monitor, or the system for it, says that it can take. A figure of 0 is not said.
struct SignalRange {
  std::string source;                   ///< "the EDID's range", for the findings
  double minH = 0, maxH = 0;            ///< kHz
  double minV = 0, maxV = 0;            ///< Hz
  double minPClock = 0, maxPClock = 0;  ///< MHz
};

}  // namespace vlm
