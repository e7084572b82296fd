#include "Simulator/Program/Commands.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <ostream>

#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Output.h"
#include "Simulator/Program/Simulator.h"

namespace vlm::sim {

namespace {

std::size_t wordsIn(std::string_view name) {
  return static_cast<std::size_t>(std::count(name.begin(), name.end(), ' ')) + 1;
}

/// The first `count` words with a blank between.
std::string joined(Arguments words, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text.append(i == 0 ? "" : " ").append(words[i]);
  return text;
}

/// Of those that the words begin with, the one with the longest name.
const Command* commandOf(Arguments words) {
  const Command* best = nullptr;
  for (const Command& command : allCommands()) {
    if (!command.name.starts_with(words.front())) continue;
    const std::size_t count = wordsIn(command.name);
    if (count > words.size() || joined(words, count) != command.name) continue;
    if (best == nullptr || count > wordsIn(best->name)) best = &command;
  }
  return best;
}

/// How many letters must be changed, added or dropped to make one word of the other; `most` when that many or more.
std::size_t distanceBetween(std::string_view a, std::string_view b, std::size_t most) {
  constexpr std::size_t kLongest = 31;
  if (b.size() > kLongest) return most;
  std::array<std::size_t, kLongest + 1> row{};
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (const char letter : a) {
    std::size_t diagonal = row[0]++;
    for (std::size_t i = 1; i <= b.size(); ++i) {
      const std::size_t replaced = diagonal + (letter == b[i - 1] ? 0 : 1);
      diagonal = row[i];
      row[i] = std::min({replaced, row[i] + 1, row[i - 1] + 1});
    }
    // It never gets less from one letter to the next.
    if (*std::min_element(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(b.size()) + 1) >= most) return most;
  }
  return std::min(row[b.size()], most);
}

/// The command that somebody who wrote `word` may have meant; empty when none is near.
std::string nearestTo(const std::string& word) {
  std::string best;
  // Two slips, and fewer than half of the letters: of short words nearly everything is near.
  std::size_t least = std::min<std::size_t>(3, (word.size() + 1) / 2);
  std::string_view before;  // commands of one first word stand together
  for (const Command& command : allCommands()) {
    const std::string_view first = command.name.substr(0, command.name.find(' '));
    if (first == before) continue;
    before = first;
    // Lengths that differ by as much need as many slips.
    const std::size_t longer = std::max(word.size(), first.size()), shorter = std::min(word.size(), first.size());
    if (longer - shorter >= least) continue;
    const std::size_t distance = isSameName(word, first) ? 0 : distanceBetween(word, first, least);
    if (distance >= least) continue;
    least = distance;
    best = first;
  }
  return best;
}

std::string noCommand(const std::string& asked, const std::string& firstWord) {
  const std::string nearest = nearestTo(firstWord);
  const std::string hint = nearest.empty() || nearest == firstWord ? "" : "; did you mean " + quoted(nearest) + "?";
  return "there is no command " + quoted(asked) + hint + (hint.empty() ? "; help lists them" : " help lists them");
}

/// "show: unknown "cats" (displays, log, …)" for a first word that has other words behind it.
std::string unknown(Arguments words) {
  std::string choices;
  const std::string first = words.front() + " ";
  for (const Command& command : allCommands()) {
    if (!command.name.starts_with(first)) continue;
    choices += (choices.empty() ? "" : ", ") + std::string(command.name.substr(first.size()));
  }
  if (choices.empty()) return noCommand(words.front(), words.front());
  if (words.size() == 1) return words.front() + ": what? (" + choices + ")";
  return words.front() + ": there is no " + quoted(words[1]) + " (" + choices + ")";
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
  if (commands.empty()) return Outcome::refused(noCommand(asked, joined(arguments, 1)));
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

std::string usage(const Command& command) {
  std::string text(command.name);
  if (!command.argumentHelp.empty()) text += " " + std::string(command.argumentHelp);
  if (command.offersJson) text += " [" + std::string(kJsonOption) + "]";
  return text;
}

const std::vector<Command>& allCommands() {
  static const std::vector<Command> kAll = [] {
    std::vector<Command> all;
    for (const auto theme : {showCommands(), setCommands(), setEditingCommands(), overrideCommands(), machineCommands(),
                             displayCommands(), monitorCommands(), inputCommands(), eventCommands(), daemonCommands(),
                             settingsCommands(), diskCommands(), fileCommands(), displayExpectations(),
                             overrideExpectations(), daemonExpectations(), std::span<const Command>(kHelpCommands)}) {
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
  if (command->offersJson && std::erase(call.arguments, kJsonOption) > 0) call.wantsJson = true;
  const std::size_t given = call.arguments.size();
  if (given < command->fewest) return "too few arguments: " + usage(*command);
  if (given > command->most) return "too many arguments: " + usage(*command);
  return call;
}

Outcome runCall(Simulator& simulator, const Call& call) {
  simulator.wantsJson = call.wantsJson;
  Outcome outcome = call.command->run(simulator, call.arguments);
  for (const std::string& line : simulator.newUnwrittenSettings()) {
    simulator.output().diagnostics << "note: " << printable(line) << "\n";
  }
  std::string faults;
  for (const std::string& fault : simulator.newFaults()) faults += (faults.empty() ? "" : "; ") + fault;
  if (outcome.held() && !faults.empty()) return Outcome::notHeld("fault on the machine: " + faults);
  outcome.reason = printable(outcome.reason);
  return outcome;
}

}  // namespace vlm::sim
