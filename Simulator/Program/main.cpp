#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>

#include "Simulator/Program/Run.h"
#include "Simulator/Program/Simulator.h"

namespace {

constexpr const char* kAbout =
    "A simulated Mac with the Velmoratix daemon on it.\n"
    "Without --script: a prompt at a terminal (its command help lists the others), otherwise a guided tour.";
constexpr const char* kStatuses =
    "Status 0: it ran, and every expectation held; 1: one did not hold; 2: a wrong call, machine, EDID or line.";

}  // namespace

int main(int argc, char** argv) {
  vlm::sim::RunOptions options;
  CLI::App app(kAbout, "velmoratix-simulator");
  app.footer(kStatuses);
  app.set_version_flag("--version", std::string("velmoratix-simulator ") + vlm::sim::kVersion);
  app.add_option("--machine", options.machine, "the machine: a name (see Simulator/Machines) or a file")
      ->type_name("NAME|FILE");
  app.add_option("--display", options.displays, "plugs in one more display, made from a raw EDID file; may be repeated")
      ->type_name("EDIDFILE")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_option("--home", options.home, "the user's home folder; without it a temporary one that goes afterwards")
      ->type_name("FOLDER");
  app.add_option("--script", options.script, "plays a scenario, \"-\" from standard input")->type_name("FILE|-");
  app.add_option("--journal", options.journal, "writes every call that changed something on the machine there")
      ->type_name("FILE");
  app.add_option("--log", options.log, "writes what the daemon logs there")->type_name("FILE");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : vlm::sim::kStatusOfWrongCall;
  }
  options.isInteractive = isatty(STDIN_FILENO) == 1;
  vlm::sim::Output output = vlm::sim::Output::standard();
  return vlm::sim::runSimulator(options, output);
}
