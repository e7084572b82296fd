#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <iostream>

#include "Simulator/Program/Documents.h"
#include "Simulator/Program/ProgramOptions.h"
#include "Simulator/Program/Run.h"
#include "Simulator/Program/Signals.h"
#include "Simulator/Program/Simulator.h"

namespace {

using vlm::sim::ProgramOption;

std::string footer() {
  std::string text;
  for (const auto& status : vlm::sim::kExitStatuses) {
    text += (text.empty() ? "Status " : "\n       ") + std::to_string(status.number) + ": ";
    text += status.meaning;
  }
  return text;
}

template <class Target>
CLI::Option* add(CLI::App& app, const ProgramOption& option, Target& target) {
  return app.add_option(std::string(option.name), target, std::string(option.help))
      ->type_name(std::string(option.argumentHelp));
}

void addOptions(CLI::App& app, vlm::sim::RunOptions& options) {
  app.set_help_flag("-h," + std::string(vlm::sim::kHelpOption.name), std::string(vlm::sim::kHelpOption.help));
  app.set_version_flag(std::string(vlm::sim::kVersionOption.name),
                       std::string("velmoratix-simulator ") + vlm::sim::kVersion,
                       std::string(vlm::sim::kVersionOption.help));
  add(app, vlm::sim::kMachineOption, options.machine);
  add(app, vlm::sim::kDisplayOption, options.displays)
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  add(app, vlm::sim::kHomeOption, options.home);
  add(app, vlm::sim::kScriptOption, options.script);
  add(app, vlm::sim::kJournalOption, options.journal);
  add(app, vlm::sim::kLogOption, options.log);
}

/// Prints a document instead of running.
int print(const std::string& kind) {
  const auto document = vlm::sim::documentOf(kind);
  if (!document) {
    std::cerr << "velmoratix-simulator: --print " << kind << ": is none of man, bash, zsh, fish, machines\n";
    return vlm::sim::kStatusOfWrongCall;
  }
  std::cout << *document;
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  vlm::sim::RunOptions options;
  std::optional<std::string> printed;
  CLI::App app(std::string(vlm::sim::kProgramAbout), "velmoratix-simulator");
  app.footer(footer());
  addOptions(app, options);
  // For those who install and complete; kept out of the help.
  app.add_option("--print", printed)->group("");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : vlm::sim::kStatusOfWrongCall;
  }
  if (printed) return print(*printed);
  options.isInteractive = isatty(STDIN_FILENO) == 1;
  vlm::sim::Output output = vlm::sim::Output::standard();
  const int status = vlm::sim::runSimulator(options, output);
  output.data.flush();
  // Everything is put away; who started the program shall see what ended it.
  if (const int signal = vlm::sim::signalToStop(); signal != 0) std::raise(signal);
  return status;
}
