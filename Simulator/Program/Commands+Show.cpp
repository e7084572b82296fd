#include <array>
#include <limits>
#include <ostream>

#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DaemonView.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Json.h"
#include "Simulator/Program/Picture.h"
#include "Simulator/Program/Settings.h"
#include "Simulator/Program/Simulator.h"
#include "Simulator/Program/Views.h"

/// What can be looked at.
namespace vlm::sim {

namespace {

constexpr std::size_t kTextColumns = 98;
/// Values of the settings file are cut to this in the overview.
constexpr std::size_t kValueColumns = 60;

void print(Output& output, const std::vector<std::vector<std::string>>& rows) {
  const std::string table = tableOf(rows);
  const std::size_t headerEnd = table.find('\n');
  output.data << output.bold(table.substr(0, headerEnd)) << table.substr(headerEnd);
}

Outcome printJson(Simulator& simulator, const plist::Value& view) {
  simulator.output().data << jsonText(view) << "\n";
  return {};
}

std::string displayNotes(Simulator& simulator, const SimulatedDisplay& display) {
  WindowServer& windowServer = simulator.mac().windowServer();
  std::string notes;
  const auto add = [&](const std::string& note) { notes += (notes.empty() ? "" : ", ") + note; };
  if (windowServer.mainDisplay() == &display) add("main");
  if (display.description.builtIn) add("built-in");
  if (display.mirrors != 0) {
    const SimulatedDisplay* master = windowServer.displayWithID(display.mirrors);
    add("mirrors " + (master == nullptr ? std::string("nothing") : master->description.name));
  }
  if (display.isArranged() && display.mode().scale > 1) add(shortNumber(display.mode().scale) + " pixels a point");
  if (display.turn != Turn{}) add(turnText(display.turn));
  if (display.hdr) add("HDR");
  if (display.overscan != 0) add("overscan");
  if (display.underscan != 1) add("underscan " + shortNumber(double(display.underscan)));
  return notes;
}

/// Adds what the daemon calls the displays, when one runs.
plist::Array withDaemonsIdentifiers(Simulator& simulator, plist::Array displays) {
  Session* session = simulator.daemon();
  if (session == nullptr) return displays;
  const Process::Scope inDaemon(session->process());
  addDaemonsIdentifiers(displays, VLMGlobals::sharedInstance());
  return displays;
}

std::string identifierText(const plist::Dictionary* view, const char* key) {
  return view != nullptr && view->contains(key) ? std::to_string(view->sInt64(key)) : "-";
}

void printDisplayTable(Simulator& simulator) {
  std::vector<std::vector<std::string>> rows{
      {"DISPLAY", "STATE", "MODE", "RATE", "ORIGIN", "MONITOR ID", "MODE ID", "NOTES"}};
  const plist::Array views = withDaemonsIdentifiers(simulator, displaysView(simulator.mac()));
  const auto& displays = simulator.mac().windowServer().displays();
  for (std::size_t i = 0; i < displays.size(); ++i) {
    const auto& display = displays[i];
    std::vector<std::string> row{display->description.name, stateText(*display), "-", "-", "-"};
    if (display->isArranged()) {
      row[2] = sizeText(display->mode());
      row[3] = rateText(display->mode());
      row[4] = pointText(simulator.mac().windowServer().bounds(*display).origin);
    }
    const plist::Dictionary& view = *views[i].dictionary();
    row.push_back(identifierText(&view, "monitorResID"));
    row.push_back(identifierText(view.dictionary("mode"), "modeUniqueID"));
    row.push_back(displayNotes(simulator, *display));
    rows.push_back(std::move(row));
  }
  print(simulator.output(), rows);
}

void printPicture(Simulator& simulator) {
  Output& output = simulator.output();
  output.data << drawPicture(boxesOf(simulator.mac().windowServer()), output.isUtf8, {.columns = output.columns()});
}

Outcome showPicture(Simulator& simulator, Arguments) {
  if (simulator.wantsJson) return printJson(simulator, pictureView(simulator.mac()));
  printPicture(simulator);
  return {};
}

Outcome showDisplay(Simulator& simulator, Arguments arguments) {
  const auto found = simulator.displayNamed(arguments[0]);
  if (const auto* reason = std::get_if<std::string>(&found)) return Outcome::refused(*reason);
  const plist::Array one{displayView(simulator.mac(), *std::get<SimulatedDisplay*>(found))};
  const plist::Array views = withDaemonsIdentifiers(simulator, one);
  if (simulator.wantsJson) return printJson(simulator, views.front());
  std::vector<std::vector<std::string>> rows{{"ASPECT", "VALUE"}};
  for (const plist::Entry& entry : *views.front().dictionary()) {
    rows.push_back({entry.key, viewText(&entry.value)});
    if (entry.key == "mode") {
      rows.push_back({"modeUniqueID", identifierText(entry.value.dictionary(), "modeUniqueID")});
    }
  }
  print(simulator.output(), rows);
  return {};
}

Outcome showMachine(Simulator& simulator, Arguments) {
  const plist::Dictionary view = machineView(simulator.mac());
  if (simulator.wantsJson) return printJson(simulator, view);
  print(simulator.output(), {{"GREY SCALE", "DOCK", "VOLUME", "POWER"},
                             {viewText(view.find("grayscale")), view.boolean("dockAutoHides") ? "hides" : "stays",
                              viewText(view.find("volume")), viewText(view.find("powerSource"))}});
  return {};
}

Outcome showDisplays(Simulator& simulator, Arguments) {
  if (simulator.wantsJson) {
    return printJson(simulator, withDaemonsIdentifiers(simulator, displaysView(simulator.mac())));
  }
  if (simulator.output().isTerminal) printPicture(simulator);
  printDisplayTable(simulator);
  return {};
}

/// Prints from the running daemon's document.
template <class Print>
Outcome fromDocument(Simulator& simulator, Print printFrom) {
  Session* session = simulator.daemon();
  if (session == nullptr) return Outcome::refused("no daemon runs; launch-daemon starts one");
  const Process::Scope inDaemon(session->process());
  return printFrom(VLMGlobals::sharedInstance());
}

Outcome showModes(Simulator& simulator, Arguments arguments) {
  const auto found = simulator.displayNamed(arguments[0]);
  if (const auto* reason = std::get_if<std::string>(&found)) return Outcome::refused(*reason);
  const SimulatedDisplay& display = *std::get<SimulatedDisplay*>(found);
  std::size_t most = std::numeric_limits<std::size_t>::max();
  if (arguments.size() > 1) {
    const auto count = parseInteger(arguments[1]);
    if (!count || *count < 1) return Outcome::refused(quoted(arguments[1]) + " is no number of modes");
    most = static_cast<std::size_t>(*count);
  }
  return fromDocument(simulator, [&](const VLMGlobals& document) {
    const auto record = display.id == 0 ? nullptr : document.displayWithcgID(display.id);
    if (!record) return Outcome::refused("the daemon does not see " + quoted(display.description.name));
    if (simulator.wantsJson) return printJson(simulator, modesView(*record, most));
    const std::size_t count = record->validDisplayModes.size();
    Output& output = simulator.output();
    const std::string shownName = record->displayedName();
    output.data << output.bold(display.description.name) << ": "
                << (shownName == display.description.name ? "" : quoted(shownName) + ", ") << count << " modes"
                << (most < count ? ", the largest " + std::to_string(most) : std::string()) << "\n";
    print(output, modeRows(*record, most));
    return Outcome{};
  });
}

/// A list of the daemon's about one display: with its head, and the views' values under the keys.
Outcome showListOf(Simulator& simulator, const std::string& displayName, plist::Array (*viewOf)(VLMDisplay&),
                   std::vector<std::string> head, std::initializer_list<const char*> keys) {
  const auto found = simulator.displayNamed(displayName);
  if (const auto* reason = std::get_if<std::string>(&found)) return Outcome::refused(*reason);
  const SimulatedDisplay& display = *std::get<SimulatedDisplay*>(found);
  return fromDocument(simulator, [&](const VLMGlobals& document) {
    const auto record = display.id == 0 ? nullptr : document.displayWithcgID(display.id);
    if (!record) return Outcome::refused("the daemon does not see " + quoted(display.description.name));
    const plist::Array view = viewOf(*record);
    if (simulator.wantsJson) return printJson(simulator, view);
    if (view.empty()) {
      simulator.output().data << quoted(display.description.name) << " has none.\n";
      return Outcome{};
    }
    std::vector<std::vector<std::string>> rows{std::move(head)};
    for (const plist::Value& one : view) {
      rows.emplace_back();
      for (const char* const key : keys) {
        const plist::Value& value = *one.dictionary()->find(key);
        const bool isQuestion = value.kind() == plist::Value::Kind::boolean;
        rows.back().push_back(!isQuestion ? viewText(&value) : value.boolean() ? "yes" : "-");
      }
    }
    print(simulator.output(), rows);
    return Outcome{};
  });
}

Outcome showProfiles(Simulator& simulator, Arguments arguments) {
  return showListOf(simulator, arguments[0], profilesView, {"PROFILE", "MADE FOR IT", "IN USE", "LOCATION"},
                    {"name", "dedicated", "current", "location"});
}

Outcome showPresets(Simulator& simulator, Arguments arguments) {
  return showListOf(simulator, arguments[0], presetsView, {"PRESET", "INDEX", "IN USE", "UUID"},
                    {"name", "index", "current", "uuid"});
}

Outcome showSets(Simulator& simulator, Arguments) {
  return fromDocument(simulator, [&](VLMGlobals& document) {
    if (simulator.wantsJson) return printJson(simulator, setsView(simulator.mac(), document));
    print(simulator.output(), setRows(simulator.mac(), document));
    return Outcome{};
  });
}

Outcome showSettings(Simulator& simulator, Arguments arguments) {
  const auto settings = simulator.settings();
  if (!settings) return Outcome::refused("there is no settings file that can be read: " + simulator.settingsPath());
  Output& output = simulator.output();
  if (!arguments.empty()) {
    if (arguments[0].empty()) return Outcome::refused("\"\" is no key of the settings file; show settings lists them");
    const plist::Value* value = valueAt(*settings, arguments[0]);
    if (value == nullptr) return Outcome::refused("the settings file has no " + arguments[0]);
    if (simulator.wantsJson) return printJson(simulator, *value);
    output.data << plainText(*value) << "\n";
    return {};
  }
  if (simulator.wantsJson) return printJson(simulator, *settings);
  output.data << simulator.settingsPath() << "\n";
  std::vector<std::vector<std::string>> rows{{"KEY", "VALUE"}};
  for (const plist::Entry& entry : *settings) {
    rows.push_back({entry.key, cutToColumns(plainText(entry.value), kValueColumns)});
  }
  print(output, rows);
  return {};
}

Outcome printLines(Simulator& simulator, const std::vector<std::string>& lines, const std::vector<double>& times,
                   const std::string& key) {
  if (simulator.wantsJson) return printJson(simulator, linesView(lines, key, times));
  for (const std::string& line : lines) simulator.output().data << line << "\n";
  return {};
}

Outcome showJournal(Simulator& simulator, Arguments) {
  return printLines(simulator, simulator.journal(), simulator.journalTimes(), "call");
}
Outcome showLog(Simulator& simulator, Arguments) {
  return printLines(simulator, simulator.log(), simulator.logTimes(), "text");
}

Outcome say(Simulator& simulator, Arguments arguments) {
  std::string text;
  for (const std::string& word : arguments) text += word + " ";
  simulator.output().data << "\n";
  for (const std::string& line : wrapped(text, kTextColumns)) simulator.output().data << line << "\n";
  return {};
}

constexpr std::array kCommands{
    Command{"show displays", "", 0, 0, "the displays: a picture at a terminal, and a table", "show displays",
            showDisplays, true},
    Command{"show display", "DISPLAY", 1, 1, "all that there is of one display", "show display Left", showDisplay,
            true},
    Command{"show machine", "", 0, 0, "grey scale, Dock, volume and power source", "show machine", showMachine, true},
    Command{"show picture", "", 0, 0, "how they stand on the desktop, to scale", "show picture", showPicture, true},
    Command{"show modes", "DISPLAY [N]", 1, 2, "the modes that the daemon found for a display, or the largest N",
            "show modes Left 10", showModes, true},
    Command{"show profiles", "DISPLAY", 1, 1, "the colour profiles that suit a display, those made for it first",
            "show profiles Left", showProfiles, true},
    Command{"show presets", "DISPLAY", 1, 1, "the colour presets that a display offers", "show presets Left",
            showPresets, true},
    Command{"show sets", "", 0, 0, "the display sets, their marks and hot keys", "show sets", showSets, true},
    Command{"show settings", "[KEYPATH]", 0, 1, "the settings file on disk, or one value of it",
            "show settings displaySetsArray.0.name", showSettings, true},
    Command{"show journal", "", 0, 0, "every call that changed something on the machine", "show journal", showJournal,
            true},
    Command{"show log", "", 0, 0, "what the daemon logged", "show log", showLog, true},
    Command{"say", "TEXT...", 1, 200, "prints a paragraph", "say \"Now the cable is pulled.\"", say},
};

}  // namespace

std::span<const Command> showCommands() { return kCommands; }

}  // namespace vlm::sim
