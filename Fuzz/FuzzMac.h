#pragma once

#include <cstdlib>
#include <string>
#include <utility>
#include <variant>

#include "Models/VLMDisplay.h"
#include "Platform/Process.h"
#include "Simulator/Mac/Machine.h"
#include "Simulator/Mac/SessionPorts.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::fuzz {

/// A record as a settings file has it once it was read from one: the first time some fields are left out on purpose.
inline plist::Dictionary readBack(const plist::Dictionary& record) {
  return VLMDisplay::initAndDecodeReadableWith(record, nullptr)->encodeReadable();
}

/// A simulated Mac that all executions of a target share: making one takes too long. Each execution makes a Process of
/// its own over `session`'s ports, so that nothing of the daemon's lasts; and whatever changes the machine itself, a
/// target leaves out.
struct FuzzMac {
  /// By the name of one of Simulator/Machines; its displays have a few modes, for the hundreds cost most of the time.
  explicit FuzzMac(const std::string& machine)
      : mac(withFewModes(machineNamed(machine))),
        session(mac.addSession({.bundleIdentifier = "org.kelvane.velmoratix.daemon", .name = "daemon"})) {
    mac.logEnabled = false;
  }

  static sim::MachineDescription machineNamed(const std::string& name) {
    auto machine = sim::readMachine(std::string(VELMORATIX_MACHINES_FOLDER) + "/" + name + ".plist");
    if (std::holds_alternative<std::string>(machine)) std::abort();
    return std::get<sim::MachineDescription>(std::move(machine));
  }

  static sim::MachineDescription withFewModes(sim::MachineDescription machine) {
    for (sim::DisplayDescription& display : machine.displays) {
      display.mode.clear();
      display.listedModes = {{.width = 1920, .height = 1080},
                             {.width = 960, .height = 540, .scale = 2.0F},
                             {.width = 1280, .height = 720, .refreshHz = 50}};
    }
    return machine;
  }

  sim::SimulatedMac mac;
  sim::Session& session;
};

}  // namespace vlm::fuzz
