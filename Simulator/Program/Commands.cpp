#include "Simulator/Program/Commands.h"

#include <algorithm>
#include <array>
#include <ostream>

#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Simulator.h"

namespace vlm::sim {

namespace {

std::size_t wordsIn(std::string_view name) {
  return static_cast<std::size_t>(std::count(name.begin(), name.end(), ' ')) + 1;
}

/// The first `count` words with a blank between.
std::string joined(Arguments words, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += (i == 0 ? "" : " ") + words[i];
  return text;
}

/// Of those that the words begin with, the one with the longest name.
const Command* commandOf(Arguments words) {
  const Command* best = nullptr;
  for (const Command& command : allCommands()) {
    const std::size_t count = wordsIn(command.name);
    if (count > words.size() || joined(words, count) != command.name) continue;
    if (best == nullptr || count > wordsIn(best->name)) best = &command;
  }
  return best;
}

/// "show: unknown "cats" (displays, log, …)" for a first word that has other words behind it.
std::string unknown(Arguments words) {
  std::string choices;
  const std::string first = words.front() + " ";
  for (const Command& command : allCommands()) {
    if (!command.name.starts_with(first)) continue;
    choices += (choices.empty() ? "" : ", ") + std::string(command.name.substr(first.size()));
  }
  if (choices.empty()) return "there is no command " + quoted(words.front()) + "; help lists them";
  if (words.size() == 1) return words.front() + ": what? (" + choices + ")";
  return words.front() + ": there is no " + quoted(words[1]) + " (" + choices + ")";
}

std::string usage(const Command& command) {
  std::string text(command.name);
  if (!command.argumentHelp.empty()) text += " " + std::string(command.argumentHelp);
  return text;
}

void listCommands(Output& output, const std::vector<const Command*>& commands) {
  std::vector<std::vector<std::string>> rows;
  for (const Command* command : commands) rows.push_back({"  " + usage(*command), std::string(command->help)});
  output.data << tableOf(rows);
}

Outcome help(Simulator& simulator, Arguments arguments) {
  Output& output = simulator.output();
  std::vector<const Command*> commands;
  const std::string asked = joined(arguments, arguments.size());
  for (const Command& command : allCommands()) {
    if (asked.empty() || command.name == asked || command.name.starts_with(asked + " ")) commands.push_back(&command);
  }
  if (commands.empty()) return Outcome::refused("there is no command " + quoted(asked) + "; help lists them");
  listCommands(output, commands);
  if (!asked.empty()) output.data << "\nFor example:\n";
  for (const Command* command : commands) {
    if (!asked.empty()) output.data << "  " << command->example << "\n";
  }
  return {};
}

constexpr std::array kHelpCommands{
    Command{"help", "[COMMAND]", 0, 3, "these lines, or those of one command with an example", "help expect mode",
            help},
};

}  // namespace

const std::vector<Command>& allCommands() {
  static const std::vector<Command> kAll = [] {
    std::vector<Command> all;
    for (const auto theme : {showCommands(), machineCommands(), daemonCommands(), settingsCommands(),
                             displayExpectations(), daemonExpectations(), std::span<const Command>(kHelpCommands)}) {
      all.insert(all.end(), theme.begin(), theme.end());
    }
    return all;
  }();
  return kAll;
}

std::variant<Call, std::string> callFor(const std::vector<std::string>& words) {
  const Command* command = commandOf(words);
  if (command == nullptr) return unknown(words);
  Call call{.command = command, .arguments = {}};
  call.arguments.assign(words.begin() + static_cast<std::ptrdiff_t>(wordsIn(command->name)), words.end());
  const std::size_t given = call.arguments.size();
  if (given < command->fewest) return "too few arguments: " + usage(*command);
  if (given > command->most) return "too many arguments: " + usage(*command);
  return call;
}

Outcome runCall(Simulator& simulator, const Call& call) {
  Outcome outcome = call.command->run(simulator, call.arguments);
  std::string faults;
  for (const std::string& fault : simulator.newFaults()) faults += (faults.empty() ? "" : "; ") + fault;
  if (outcome.held() && !faults.empty()) return Outcome::notHeld("fault on the machine: " + faults);
  return outcome;
}

}  // namespace vlm::sim
