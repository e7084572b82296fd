#include <algorithm>
#include <array>
#include <filesystem>

#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Settings.h"
#include "Simulator/Program/Simulator.h"

/// Expectations of the settings file on disk, and of what was written to journal, log and the distributed centre.
namespace vlm::sim {

namespace {

std::optional<plist::Value> settingAt(Simulator& simulator, const std::string& keyPath) {
  const auto settings = simulator.settings();
  const plist::Value* value = settings ? valueAt(*settings, keyPath) : nullptr;
  return value == nullptr ? std::nullopt : std::optional(*value);
}

/// Whole dictionaries would hide the reason.
std::string foundText(const plist::Value& value) {
  constexpr std::size_t kLongest = 200;
  return cutToColumns(plainText(value), kLongest);
}

Outcome noSettings(Simulator& simulator) {
  return Outcome::notHeld("there is no settings file that can be read: " + simulator.settingsPath());
}

Outcome expectSetting(Simulator& simulator, Arguments arguments) {
  if (!simulator.settings()) return noSettings(simulator);
  const auto value = settingAt(simulator, arguments[0]);
  if (!value) return Outcome::notHeld("the settings file has no " + arguments[0]);
  if (plainText(*value) == arguments[1]) return {};
  return Outcome::notHeld(arguments[0] + " is " + foundText(*value));
}

Outcome expectNoSetting(Simulator& simulator, Arguments arguments) {
  const auto value = settingAt(simulator, arguments[0]);
  return value ? Outcome::notHeld(arguments[0] + " is " + foundText(*value)) : Outcome{};
}

Outcome expectRecords(Simulator& simulator, Arguments arguments) {
  const auto wanted = parseInteger(arguments[0]);
  if (!wanted || *wanted < 0) return Outcome::refused(quoted(arguments[0]) + " is no count");
  const auto settings = simulator.settings();
  if (!settings) return noSettings(simulator);
  const plist::Dictionary* records = settings->dictionary("allDisplays");
  const std::size_t found = records == nullptr ? 0 : records->count();
  if (static_cast<std::size_t>(*wanted) == found) return {};
  return Outcome::notHeld("the settings file holds " + std::to_string(found) + (found == 1 ? " record" : " records"));
}

Outcome expectUnreadable(Simulator& simulator, Arguments arguments) {
  namespace fs = std::filesystem;
  const fs::path path = simulator.settingsPath();
  const std::string beginning = path.filename().string() + ".unreadable";
  std::error_code error;
  const fs::directory_iterator files(path.parent_path(), error);
  const auto found = std::to_string(std::count_if(begin(files), end(files), [&](const fs::directory_entry& file) {
    return file.path().filename().string().starts_with(beginning);
  }));
  return found == arguments[0] ? Outcome{} : Outcome::notHeld("the number of them is " + found);
}

Outcome rememberSetting(Simulator& simulator, Arguments arguments) {
  if (!simulator.settings()) return Outcome::refused("there is no settings file to remember anything of");
  const auto value = settingAt(simulator, arguments[0]);
  if (!value) return Outcome::refused("the settings file has no " + arguments[0]);
  simulator.remembered.insert_or_assign(arguments[0], *value);
  return {};
}

Outcome expectUnchanged(Simulator& simulator, Arguments arguments) {
  const auto before = simulator.remembered.find(arguments[0]);
  if (before == simulator.remembered.end()) return Outcome::refused(arguments[0] + " was not remembered before");
  const auto now = settingAt(simulator, arguments[0]);
  if (!now) return Outcome::notHeld(arguments[0] + " is gone");
  const auto difference = firstDifference(before->second, *now, arguments[0]);
  return difference ? Outcome::notHeld(*difference) : Outcome{};
}

Outcome clear(Simulator& simulator, Arguments) {
  simulator.clear();
  return {};
}

// --- Journal, log, posts ---

const std::string* lineWith(const std::vector<std::string>& lines, const std::string& text) {
  for (const std::string& line : lines) {
    if (line.find(text) != std::string::npos) return &line;
  }
  return nullptr;
}

/// An empty text is in every line.
Outcome emptyText() { return Outcome::refused("an empty text says nothing"); }

Outcome expectLine(const char* what, const std::vector<std::string>& lines, const std::string& text) {
  if (text.empty()) return emptyText();
  if (lineWith(lines, text) != nullptr) return {};
  const std::string last = lines.empty() ? "" : "; the last one is " + quoted(lines.back());
  return Outcome::notHeld("none of the " + std::to_string(lines.size()) + " lines of the " + what + " has it" + last);
}

Outcome expectNoLine(const char* what, const std::vector<std::string>& lines, const std::string& text) {
  if (text.empty()) return emptyText();
  const std::string* line = lineWith(lines, text);
  return line == nullptr ? Outcome{} : Outcome::notHeld(std::string("the ") + what + " has " + quoted(*line));
}

Outcome expectJournal(Simulator& simulator, Arguments arguments) {
  return expectLine("journal", simulator.journal(), arguments[0]);
}
Outcome expectNoJournal(Simulator& simulator, Arguments arguments) {
  return expectNoLine("journal", simulator.journal(), arguments[0]);
}
Outcome expectLog(Simulator& simulator, Arguments arguments) {
  return expectLine("log", simulator.log(), arguments[0]);
}
Outcome expectNoLog(Simulator& simulator, Arguments arguments) {
  return expectNoLine("log", simulator.log(), arguments[0]);
}

Outcome noAnnouncement(const std::string& name) {
  std::string names;
  for (const std::string_view known : kAnnouncements) names += (names.empty() ? "" : ", ") + std::string(known);
  return Outcome::refused("the daemon never announces " + quoted(name) + "; it does " + names);
}

bool isAnnouncement(const std::string& name) {
  return std::find(kAnnouncements.begin(), kAnnouncements.end(), name) != kAnnouncements.end();
}

Outcome expectPosted(Simulator& simulator, Arguments arguments) {
  if (!isAnnouncement(arguments[0])) return noAnnouncement(arguments[0]);
  return simulator.wasPosted(arguments[0]) ? Outcome{} : Outcome::notHeld("no daemon has announced it");
}
Outcome expectNotPosted(Simulator& simulator, Arguments arguments) {
  if (!isAnnouncement(arguments[0])) return noAnnouncement(arguments[0]);
  return simulator.wasPosted(arguments[0]) ? Outcome::notHeld("a daemon has announced it") : Outcome{};
}

Outcome expectFails(Simulator& simulator, Arguments arguments) {
  if (arguments[0].empty()) return emptyText();
  const auto call = callFor({arguments.begin() + 1, arguments.end()});
  if (const auto* reason = std::get_if<std::string>(&call)) return Outcome::refused(*reason);
  const Outcome outcome = runCall(simulator, std::get<Call>(call));
  if (outcome.held()) return Outcome::notHeld("it did not fail");
  if (outcome.reason.find(arguments[0]) != std::string::npos) return {};
  return Outcome::notHeld("it failed for another reason: " + outcome.reason);
}

constexpr std::array kCommands{
    Command{"remember", "KEYPATH", 1, 1, "keeps a value of the settings file for expect unchanged",
            "remember allDisplays", rememberSetting},
    Command{"clear", "", 0, 0, "lets show and expect see what journal, log and posts hold from here on", "clear",
            clear},
    Command{"expect setting", "KEYPATH VALUE", 2, 2, "a value in the settings file on disk",
            "expect setting displaySetsArray.0.keyCode 26381", expectSetting},
    Command{"expect no setting", "KEYPATH", 1, 1, "the settings file has no such key", "expect no setting startupSet",
            expectNoSetting},
    Command{"expect unchanged", "KEYPATH", 1, 1, "a value is as it was at remember", "expect unchanged allDisplays",
            expectUnchanged},
    Command{"expect records", "N", 1, 1, "the settings file holds N records of displays", "expect records 3",
            expectRecords},
    Command{"expect unreadable", "N", 1, 1, "N copies of unreadable settings files lie beside the file",
            "expect unreadable 1", expectUnreadable},
    Command{"expect journal", "TEXT", 1, 1, "a line of the journal has the text",
            "expect journal CGSConfigureDisplayMode", expectJournal},
    Command{"expect no journal", "TEXT", 1, 1, "no line of the journal has it",
            "expect no journal CGSConfigureDisplayMode", expectNoJournal},
    Command{"expect log", "TEXT", 1, 1, "a line of the log has the text", "expect log \"Got hotkey event\"", expectLog},
    Command{"expect no log", "TEXT", 1, 1, "no line of the log has it", "expect no log \"Got hotkey event\"",
            expectNoLog},
    Command{"expect posted", "ANNOUNCEMENT", 1, 1, "a daemon has announced it", "expect posted daemonStopped",
            expectPosted},
    Command{"expect no posted", "ANNOUNCEMENT", 1, 1, "no daemon has announced it", "expect no posted daemonStopped",
            expectNotPosted},
    Command{"expect fails", "TEXT COMMAND...", 2, 20, "the command fails, and the reason has the text",
            "expect fails \"no mode\" mode Left huge", expectFails},
};

}  // namespace

std::span<const Command> settingsCommands() { return kCommands; }

}  // namespace vlm::sim
