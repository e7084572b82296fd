#include "Simulator/Program/Prompt.h"

#include <editline/readline.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <ostream>

#include "Simulator/Program/Commands.h"
#include "Simulator/Program/Completion.h"
#include "Simulator/Program/Scenario.h"
#include "Simulator/Program/Simulator.h"

namespace vlm::sim {

namespace {

constexpr int kLinesOfHistory = 1000;

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

// --- History ---

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

/// Lines typed earlier, also in earlier runs. Without a place to keep them there are only those of this run.
class History {
 public:
  History() {
    using_history();
    stifle_history(kLinesOfHistory);
    path_ = historyPath();
    if (!path_.empty()) read_history(path_.c_str());
  }
  ~History() {
    if (!path_.empty()) write_history(path_.c_str());
  }
  History(const History&) = delete;
  History& operator=(const History&) = delete;

  void add(const std::string& line) {
    if (line.empty() || line == last_) return;
    last_ = line;
    add_history(line.c_str());
  }

 private:
  std::string path_, last_;
};

// --- Completion ---

/// The one that is prompted for; libedit's functions take no argument of ours.
Simulator* prompted = nullptr;

TypedLine lineBeforeCursor(int end) {
  return typedLine(std::string_view(rl_line_buffer, static_cast<std::size_t>(end)));
}

/// Where words part: at blanks, and within quotes at the quote alone.
char* wordBreaks() {
  static char blanks[] = " \t";
  static char quotes[] = "\"";
  return lineBeforeCursor(rl_point).inQuotes ? quotes : blanks;
}

char* copied(std::string_view text) {
  char* copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (copy == nullptr) return nullptr;
  std::copy(text.begin(), text.end(), copy);
  copy[text.size()] = '\0';
  return copy;
}

std::string_view commonBeginning(const std::vector<std::string>& words) {
  std::string_view common = words.front();
  for (const std::string& word : words) {
    const auto end = std::mismatch(common.begin(), common.end(), word.begin(), word.end()).first;
    common = common.substr(0, static_cast<std::size_t>(end - common.begin()));
  }
  return common;
}

/// What libedit frees: first that which all have in common, then each, then null.
char** matchesOf(const std::vector<std::string>& words) {
  auto** matches = static_cast<char**>(std::calloc(words.size() + 2, sizeof(char*)));
  if (matches == nullptr) return nullptr;
  matches[0] = copied(commonBeginning(words));
  for (std::size_t i = 0; i < words.size(); ++i) matches[i + 1] = copied(words[i]);
  return matches;
}

bool needsQuotes(const std::string& word) { return word.find_first_of(" \t\"\\#") != std::string::npos; }

char** complete(const char* /*text*/, int /*start*/, int end) {
  // Names of files are never meant.
  rl_attempted_completion_over = 1;
  const TypedLine line = lineBeforeCursor(end);
  std::vector<std::string> words = completionsOf(*prompted, line);
  if (words.empty()) return nullptr;
  for (std::string& word : words) {
    // A name with blanks is put into quotes, unless its first one stands there already.
    if (!line.inQuotes && needsQuotes(word)) word = asWord(word);
  }
  rl_completion_append_character = line.inQuotes ? '"' : ' ';
  return matchesOf(words);
}

/// Lets the prompt complete for a simulator, as long as it lives.
class Completing {
 public:
  explicit Completing(Simulator& simulator) {
    prompted = &simulator;
    rl_attempted_completion_function = complete;
    rl_completion_word_break_hook = wordBreaks;
  }
  ~Completing() {
    rl_attempted_completion_function = nullptr;
    rl_completion_word_break_hook = nullptr;
    prompted = nullptr;
  }
  Completing(const Completing&) = delete;
  Completing& operator=(const Completing&) = delete;
};

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
  History history;
  const Completing completing(simulator);
  output.data << "The daemon runs on " << simulator.mac().machine().name << ". help lists the commands, quit ends.\n";
  while (!simulator.hasQuit) {
    output.data.flush();
    const std::unique_ptr<char, FreeText> line(readline("velmoratix> "));
    if (line == nullptr) {
      output.data << "\n";
      return;
    }
    history.add(line.get());
    const Outcome outcome = play(simulator, line.get());
    if (!outcome.held()) output.diagnostics << output.red(outcome.reason) << "\n";
  }
}

}  // namespace vlm::sim
