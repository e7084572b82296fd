#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Models/VLMDisplay.h"
#include "Platform/PropertyList.h"
#include "Simulator/Mac/SimulatedMac.h"

/// What the benchmarks are run on: a large settings file, and machines of any size.
namespace vlm::bench {

/// 20 displays with 150 modes in both lists, 50 sets of 4 monitors.
plist::Dictionary generatedSettings();

/// A machine with monitors "Monitor 0", "Monitor 1" … that list as many modes each, in three depths.
sim::MachineDescription machineWith(int displays, int modes);

/// A Mac and a process on it, with a settings file in its place; nobody reads the log.
struct ProcessOnMac {
  explicit ProcessOnMac(sim::MachineDescription machine);

  std::string settingsPath() const;
  /// Replaces the settings file; its text.
  std::string writeSettings(const plist::Dictionary& settings) const;

  sim::SimulatedMac mac;
  sim::Session& session;
};

}  // namespace vlm::bench
