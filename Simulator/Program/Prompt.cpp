#include "Simulator/Program/Prompt.h"

#include <editline/readline.h>

#include <cstdlib>
#include <memory>
#include <ostream>

#include "Simulator/Program/Commands.h"
#include "Simulator/Program/Scenario.h"
#include "Simulator/Program/Simulator.h"

namespace vlm::sim {

namespace {

struct FreeText {
  void operator()(char* text) const { std::free(text); }
};

Outcome play(Simulator& simulator, const std::string& line) {
  const auto words = splitWords(line);
  if (const auto* reason = std::get_if<std::string>(&words)) return Outcome::refused(*reason);
  if (std::get<std::vector<std::string>>(words).empty()) return {};
  const auto call = callFor(std::get<std::vector<std::string>>(words));
  if (const auto* reason = std::get_if<std::string>(&call)) return Outcome::refused(*reason);
  return runCall(simulator, std::get<Call>(call));
}

}  // namespace

void runPrompt(Simulator& simulator) {
  Output& output = simulator.output();
  output.data << "The daemon runs on " << simulator.mac().machine().name << ". help lists the commands, quit ends.\n";
  while (!simulator.hasQuit) {
    output.data.flush();
    const std::unique_ptr<char, FreeText> line(readline("velmoratix> "));
    if (line == nullptr) {
      output.data << "\n";
      return;
    }
    if (*line != '\0') add_history(line.get());
    const Outcome outcome = play(simulator, line.get());
    if (!outcome.held()) output.diagnostics << output.red(outcome.reason) << "\n";
  }
}

}  // namespace vlm::sim
