#pragma once

#include "Benchmarks/GeneratedSettings.h"

namespace vlm::bench {

/// The machine "laptop-and-two" of the simulator.
sim::MachineDescription laptopAndTwo();

/// A Mac with the daemon running on it: started, and a minute old. Nobody reads the log.
struct RunningDaemon {
  explicit RunningDaemon(sim::MachineDescription machine);

  sim::SimulatedMac mac;
  sim::Session* daemonSession = nullptr;  ///< the daemon's; the Mac's own
};

}  // namespace vlm::bench
