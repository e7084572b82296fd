#include "Simulator/Program/Completion.h"

#include <algorithm>
#include <sstream>

#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Scenario.h"
#include "Simulator/Program/Settings.h"
#include "Simulator/Program/Simulator.h"

namespace vlm::sim {

namespace {

using Words = std::vector<std::string>;

Words wordsOf(std::string_view text) {
  std::istringstream stream{std::string(text)};
  Words words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

bool beginWith(const Words& words, const Words& first) {
  return words.size() >= first.size() && std::equal(first.begin(), first.end(), words.begin());
}

Words namesOfDisplays(Simulator& simulator) {
  Words names;
  for (const auto& display : simulator.mac().windowServer().displays()) names.push_back(display->description.name);
  return names;
}

Words namesOfSets(Simulator& simulator) {
  Words names;
  Session* session = simulator.daemon();
  if (session == nullptr) return names;
  const Process::Scope inDaemon(session->process());
  for (const auto& set : VLMGlobals::sharedInstance().displaySetsArray) names.push_back(set->name.value_or(""));
  return names;
}

/// The modes of the display that the word before names.
Words modesOf(Simulator& simulator, const std::string& displayName) {
  const auto found = simulator.displayNamed(displayName);
  if (std::holds_alternative<std::string>(found)) return {};
  Words modes;
  for (const SimulatedMode& mode : std::get<SimulatedDisplay*>(found)->modes.modes) modes.push_back(modeText(mode));
  return modes;
}

/// The keys below the part of the path that is whole.
Words keyPaths(Simulator& simulator, const std::string& fragment) {
  const auto settings = simulator.settings();
  if (!settings) return {};
  const std::size_t dot = fragment.rfind('.');
  const std::string parent = dot == std::string::npos ? "" : fragment.substr(0, dot + 1);
  const plist::Value root(*settings);
  const plist::Value* value = parent.empty() ? &root : valueAt(*settings, fragment.substr(0, dot));
  Words paths;
  if (value == nullptr) return paths;
  if (const plist::Dictionary* dictionary = value->dictionary()) {
    for (const plist::Entry& entry : *dictionary) paths.push_back(parent + entry.key);
  }
  for (std::size_t i = 0; value->array() != nullptr && i < value->array()->size(); ++i) {
    paths.push_back(parent + std::to_string(i));
  }
  return paths;
}

Words firstWordsOfCommands() {
  Words words;
  for (const Command& command : allCommands()) words.push_back(wordsOf(command.name).front());
  return words;
}

/// Small letters stand for themselves in the help of arguments.
bool isLiteral(const std::string& word) {
  return !word.empty() &&
         std::all_of(word.begin(), word.end(), [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; });
}

/// What may stand for one word of a command's argument help.
Words choicesFor(Simulator& simulator, std::string token, const TypedLine& line) {
  std::erase_if(token, [](char c) { return c == '[' || c == ']' || c == '.'; });
  if (token == "DISPLAY") return namesOfDisplays(simulator);
  if (token == "SET") return namesOfSets(simulator);
  if (token == "KEYPATH") return keyPaths(simulator, line.fragment);
  if (token == "COMMAND") return firstWordsOfCommands();
  if (token == "MESSAGE") return simulator.knownMessages();
  if (token == "ANNOUNCEMENT") return {kAnnouncements.begin(), kAnnouncements.end()};
  Words choices;
  if (token.starts_with("WIDTHxHEIGHT")) choices = modesOf(simulator, line.words.back());
  std::replace(token.begin(), token.end(), '|', ' ');
  for (const std::string& choice : wordsOf(token)) {
    if (isLiteral(choice)) choices.push_back(choice);
  }
  return choices;
}

/// The words that may follow `name` and the arguments that stand behind it already.
Words argumentsFor(Simulator& simulator, const Command& command, const Words& name, const TypedLine& line) {
  Words choices;
  if (command.offersJson) choices.emplace_back(kJsonOption);
  const Words tokens = wordsOf(command.argumentHelp);
  std::size_t place = line.words.size() - name.size();
  const auto before = line.words.begin() + static_cast<std::ptrdiff_t>(name.size());
  if (command.offersJson) place -= static_cast<std::size_t>(std::count(before, line.words.end(), kJsonOption));
  if (tokens.empty() || place >= command.most) return choices;
  // "..." repeats the last one.
  const Words more = choicesFor(simulator, tokens[std::min(place, tokens.size() - 1)], line);
  if (place < tokens.size() || tokens.back().find("...") != std::string::npos) {
    choices.insert(choices.end(), more.begin(), more.end());
  }
  return choices;
}

/// Of UTF-8 texts, whole characters.
std::string_view commonBeginning(const Words& words) {
  std::string_view common = words.front();
  for (const std::string& word : words) {
    const auto end = std::mismatch(common.begin(), common.end(), word.begin(), word.end()).first;
    std::size_t length = static_cast<std::size_t>(end - common.begin());
    const auto isWithinCharacter = [&] { return (static_cast<unsigned char>(common[length]) & 0xC0U) == 0x80U; };
    while (length > 0 && length < common.size() && isWithinCharacter()) --length;
    common = common.substr(0, length);
  }
  return common;
}

bool needsQuotes(std::string_view word) { return word.empty() || word.find_first_of(" \t\"\\#") != word.npos; }

}  // namespace

TypedLine typedLine(std::string_view line) {
  TypedLine typed;
  std::string word;
  bool isInWord = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (!typed.inQuotes && (c == ' ' || c == '\t')) {
      if (isInWord) typed.words.push_back(std::exchange(word, {}));
      isInWord = false;
      continue;
    }
    if (!isInWord) typed.begin = i;
    isInWord = true;
    const bool escapes = typed.inQuotes && c == '\\' && i + 1 < line.size();
    if (c == '"') {
      typed.inQuotes = !typed.inQuotes;
    } else {
      word += escapes ? line[++i] : c;
    }
  }
  if (!isInWord) typed.begin = line.size();
  typed.fragment = std::move(word);
  return typed;
}

std::vector<std::string> completionsOf(Simulator& simulator, const TypedLine& line) {
  Words choices;
  for (const Command& command : allCommands()) {
    const Words name = wordsOf(command.name);
    if (name.size() > line.words.size()) {
      if (beginWith(name, line.words)) choices.push_back(name[line.words.size()]);
    } else if (beginWith(line.words, name)) {
      const Words more = argumentsFor(simulator, command, name, line);
      choices.insert(choices.end(), more.begin(), more.end());
    }
  }
  std::erase_if(choices, [&](const std::string& choice) { return !isBeginning(line.fragment, choice); });
  std::sort(choices.begin(), choices.end());
  choices.erase(std::unique(choices.begin(), choices.end()), choices.end());
  return choices;
}

Completed completedWord(Simulator& simulator, std::string_view line) {
  const TypedLine typed = typedLine(line);
  Completed completed{.choices = completionsOf(simulator, typed),
                      .from = typed.begin,
                      .word = std::string(line.substr(typed.begin)),
                      .wasInQuotes = typed.inQuotes};
  if (completed.choices.empty()) return completed;
  const std::string_view common = commonBeginning(completed.choices);
  const bool isOnlyOne = completed.choices.size() == 1;
  if (!isOnlyOne && common.size() <= typed.fragment.size()) return completed;
  completed.word = common;
  if (typed.inQuotes || needsQuotes(common)) completed.word = asWord(common);
  // Of several the word goes on, and so do its quotes.
  if (isOnlyOne) completed.word += ' ';
  if (!isOnlyOne && completed.word.size() != common.size()) completed.word.pop_back();
  return completed;
}

}  // namespace vlm::sim
