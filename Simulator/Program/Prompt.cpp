#include "Simulator/Program/Prompt.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <ostream>

#include "Simulator/Mac/MachineEvents.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/LineEditor.h"
#include "Simulator/Program/Scenario.h"
#include "Simulator/Program/Signals.h"
#include "Simulator/Program/Simulator.h"

namespace vlm::sim {

namespace {

/// What people type at other prompts.
std::string inOwnWords(const std::string& word) { return word == "exit" ? "quit" : word == "?" ? "help" : word; }

Outcome play(Simulator& simulator, const std::string& line) {
  auto split = splitWords(line);
  if (const auto* reason = std::get_if<std::string>(&split)) return Outcome::refused(*reason);
  auto& words = std::get<std::vector<std::string>>(split);
  if (words.empty()) return {};
  words.front() = inOwnWords(words.front());
  const auto call = callFor(words);
  if (const auto* reason = std::get_if<std::string>(&call)) return Outcome::refused(*reason);
  // A daemon that sleeps hears nothing; who wants to leave may leave.
  if (words.front() == "quit" && simulator.mac().events().isAsleep()) {
    simulator.hasQuit = true;
    return {};
  }
  return runCall(simulator, std::get<Call>(call));
}

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

}  // namespace

std::string historyPath() {
  // The base folders' standard has relative paths ignored.
  std::string state = environment("XDG_STATE_HOME");
  if (!state.starts_with('/')) {
    const std::string home = environment("HOME");
    if (!home.starts_with('/')) return {};
    state = home + "/.local/state";
  }
  const std::string folder = state + "/velmoratix-simulator";
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  return error ? std::string() : folder + "/history";
}

void runPrompt(Simulator& simulator) {
  Output& output = simulator.output();
  LineEditor editor(simulator, historyPath());
  output.data << "The daemon runs on " << simulator.mac().machine().name << ". help lists the commands, quit ends.\n";
  while (!simulator.hasQuit) {
    output.data.flush();
    forgetInterrupt();
    const auto line = editor.read();
    if (!line) {
      output.data << "\n";
      if (signalToStop() == SIGINT) continue;
      return;
    }
    const Outcome outcome = play(simulator, *line);
    if (!outcome.held()) output.diagnostics << output.red(printable(outcome.reason)) << "\n";
    if (signalToStop() != 0 && signalToStop() != SIGINT) return;
  }
}

}  // namespace vlm::sim
