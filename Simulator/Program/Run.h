#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Simulator/Program/Output.h"

namespace vlm::sim {

/// What the program was called with.
struct RunOptions {
  std::optional<std::string> machine = {};  ///< name or file; absent: the scenario's own, or `kUsualMachine`
  std::vector<std::string> displays = {};   ///< EDID files
  std::optional<std::string> home = {};     ///< absent: a temporary folder
  std::optional<std::string> script = {};   ///< file, or "-"
  std::string journal = {}, log = {};       ///< files; empty: none
  bool isInteractive = false;               ///< standard input is a terminal
};

/// Exit status of a call that is wrong in itself.
constexpr int kStatusOfWrongCall = 2;

constexpr const char* kUsualMachine = "laptop-and-two";

/// Of those that come with the program, in ascending order.
std::vector<std::string> namesOfMachines();

/// The program: makes the machine, starts the daemon, plays. The exit status.
int runSimulator(const RunOptions& options, Output& output);

}  // namespace vlm::sim
