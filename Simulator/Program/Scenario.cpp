#include "Simulator/Program/Scenario.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iostream>

#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Signals.h"
#include "Simulator/Program/Simulator.h"

namespace vlm::sim {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

/// What stands behind "# machine:", in whatever case and with whatever blanks; absent in any other line.
std::optional<std::string_view> machineIn(std::string_view line) {
  constexpr std::string_view kKey = "machine:";
  if (!line.starts_with('#')) return std::nullopt;
  line.remove_prefix(std::min(line.find_first_not_of("# \t"), line.size()));
  return isBeginning(kKey, line) ? std::optional(line.substr(kKey.size())) : std::nullopt;
}

/// The text up to `kLargestScenario`; absent when there is more.
std::optional<std::string> readAll(std::istream& stream) {
  std::string text;
  std::array<char, 4096> piece{};
  do {
    stream.read(piece.data(), piece.size());
    text.append(piece.data(), static_cast<std::size_t>(stream.gcount()));
  } while (stream && text.size() <= kLargestScenario);
  return text.size() > kLargestScenario ? std::nullopt : std::optional(std::move(text));
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  // Some editors mark a file as UTF-8 by three bytes.
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  for (std::size_t begin = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0; begin < text.size();) {
    std::size_t end = text.find('\n', begin);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(begin, end - begin);
    if (line.ends_with('\r')) line.pop_back();
    lines.push_back(std::move(line));
    begin = end + 1;
  }
  return lines;
}

/// Reads the quoted part that begins behind `at` into `word`; false when it has no end.
bool readQuoted(std::string_view line, std::size_t& at, std::string& word) {
  for (; at < line.size(); ++at) {
    if (line[at] == '"') {
      ++at;
      return true;
    }
    const bool escapes = line[at] == '\\' && at + 1 < line.size() && (line[at + 1] == '"' || line[at + 1] == '\\');
    if (escapes) ++at;
    word += line[at];
  }
  return false;
}

struct Step {
  std::size_t line = 0;  ///< 1-based
  std::string text;
  Call call;
};

std::string place(const Scenario& scenario, std::size_t line) {
  return scenario.name + ":" + std::to_string(line) + ": ";
}

/// A line as a call, nothing when it says nothing, or the reason why it is wrong.
std::variant<std::optional<Call>, std::string> callIn(const Scenario& scenario, std::size_t index) {
  const std::string& line = scenario.lines[index];
  if (const auto machine = machineIn(line)) {
    if (index > 0) return std::string("the machine is chosen in the first line, or by --machine");
    if (!scenario.machine()) return std::string("behind \"machine:\" stands a machine's name or file");
  }
  const auto words = splitWords(line);
  if (const auto* reason = std::get_if<std::string>(&words)) return *reason;
  if (std::get<std::vector<std::string>>(words).empty()) return std::nullopt;
  auto call = callFor(std::get<std::vector<std::string>>(words));
  if (const auto* reason = std::get_if<std::string>(&call)) return *reason;
  return std::get<Call>(std::move(call));
}

/// The lines as calls, without those that say nothing; the reasons, a line each, when some are wrong.
std::variant<std::vector<Step>, std::string> stepsOf(const Scenario& scenario) {
  std::vector<Step> steps;
  std::string reasons;
  for (std::size_t i = 0; i < scenario.lines.size(); ++i) {
    auto call = callIn(scenario, i);
    if (const auto* reason = std::get_if<std::string>(&call)) {
      reasons += (reasons.empty() ? "" : "\n") + place(scenario, i + 1) + *reason;
    } else if (auto& found = std::get<std::optional<Call>>(call)) {
      steps.push_back({.line = i + 1, .text = scenario.lines[i], .call = *std::move(found)});
    }
  }
  if (!reasons.empty()) return reasons;
  return steps;
}

constexpr std::string_view kPrompt = "velmoratix> ";

bool isExpectation(const Step& step) { return step.call.command->name.starts_with("expect "); }

void echoBefore(Output& output, const Step& step) {
  const std::string_view name = step.call.command->name;
  if (isExpectation(step) || name == "say" || name == "clear") return;
  output.data << output.faint(kPrompt) << output.bold(step.text) << "\n";
}

void echoAfter(Output& output, const Step& step) {
  if (isExpectation(step)) output.data << "  " << output.green("holds: ") << step.text.substr(7) << "\n";
}

}  // namespace

std::optional<std::string> Scenario::machine() const {
  const auto named = lines.empty() ? std::nullopt : machineIn(lines.front());
  if (!named) return std::nullopt;
  const auto words = splitWords(*named);
  const auto* found = std::get_if<std::vector<std::string>>(&words);
  if (found == nullptr || found->empty()) return std::nullopt;
  return found->front();
}

std::variant<Scenario, std::string> readScenario(const std::string& path) {
  const bool isStandardInput = path == "-";
  const std::string name = isStandardInput ? "standard input" : path;
  std::ifstream file;
  if (!isStandardInput) file.open(path, std::ios::binary);
  if (!isStandardInput && !file) return name + ": cannot be opened";
  const auto text = readAll(isStandardInput ? std::cin : file);
  // A folder opens, and fails at reading.
  if (!isStandardInput && file.bad()) return name + ": cannot be read";
  if (!text) return name + ": is longer than " + std::to_string(kLargestScenario) + " bytes";
  return Scenario{.name = name, .lines = linesOf(*text)};
}

std::variant<std::vector<std::string>, std::string> splitWords(std::string_view line) {
  std::vector<std::string> words;
  std::size_t at = 0;
  while (true) {
    while (at < line.size() && isBlank(line[at])) ++at;
    if (at == line.size() || line[at] == '#') return words;
    std::string word;
    while (at < line.size() && !isBlank(line[at])) {
      if (line[at] != '"') {
        word += line[at++];
      } else if (!readQuoted(line, ++at, word)) {
        return std::string("a quote stands open");
      }
    }
    words.push_back(std::move(word));
  }
}

std::string asWord(std::string_view text) {
  std::string word = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') word += '\\';
    word += c;
  }
  return word + "\"";
}

Outcome playScenario(Simulator& simulator, const Scenario& scenario, Echo echo) {
  const auto steps = stepsOf(scenario);
  if (const auto* reason = std::get_if<std::string>(&steps)) return Outcome::refused(printable(*reason));
  for (const Step& step : std::get<std::vector<Step>>(steps)) {
    if (signalToStop() != 0) return Outcome::notHeld(place(scenario, step.line) + "interrupted");
    if (echo == Echo::yes) echoBefore(simulator.output(), step);
    Outcome outcome = runCall(simulator, step.call);
    if (!outcome.held()) {
      outcome.reason = place(scenario, step.line) + printable(step.text) + ": " + outcome.reason;
      return outcome;
    }
    if (echo == Echo::yes) echoAfter(simulator.output(), step);
  }
  return {};
}

}  // namespace vlm::sim
