#include "Benchmarks/RunningDaemon.h"

#include <cstdlib>
#include <iostream>
#include <string>
#include <utility>
#include <variant>

#include "Daemon/Controllers/DaemonMain.h"

namespace vlm::bench {

sim::MachineDescription laptopAndTwo() {
  auto machine = sim::readMachine(std::string(VELMORATIX_MACHINES_FOLDER) + "/laptop-and-two.plist");
  if (const auto* reason = std::get_if<std::string>(&machine)) {
    std::cerr << *reason << "\n";
    std::abort();
  }
  return std::get<sim::MachineDescription>(std::move(machine));
}

RunningDaemon::RunningDaemon(sim::MachineDescription machine) : mac(std::move(machine)) {
  mac.logEnabled = false;
  daemonSession =
      &mac.launch({.bundleIdentifier = "org.kelvane.velmoratix.daemon", .name = "daemon", .version = "4.15.1"},
                  [](sim::Session& session) {
                    const std::string name = "VLMDaemonMainController";
                    session.defineClass(name, *applicationClassNamed(name));
                    return VLMDaemonMain();
                  });
  mac.turn();
  mac.advance(60);
}

}  // namespace vlm::bench
