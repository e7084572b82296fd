#include <algorithm>
#include <array>
#include <iostream>
#include <sstream>

#include "Fuzz/FuzzInput.h"
#include "Fuzz/FuzzMac.h"
#include "Models/VLMGlobals.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/Scenario.h"
#include "Simulator/Program/SetEditing.h"
#include "Simulator/Program/Settings.h"
#include "Simulator/Program/Simulator.h"

/// Scenario files: their lines, words, arguments, and of the commands those that only look at the machine.
namespace vlm::fuzz {
namespace {

using Words = std::vector<std::string>;

/// Commands that change nothing, and take their time neither from files nor from the daemon.
constexpr auto kLooking = std::to_array<std::string_view>(
    {"help", "show displays", "show display", "show modes", "show sets", "show machine", "show picture", "expect mode",
     "expect main", "expect origin", "expect display", "expect set", "expect sets", "expect cursor", "expect running",
     "expect posted", "expect no posted"});
constexpr int kMostPlayed = 3;
/// Of a scenario, so that an input takes no longer than it is worth.
constexpr std::size_t kMostLines = 8;
/// No command's name, so that a scenario which ends with it is looked through and never played.
constexpr const char* kWrongLine = "nobody-knows-this";

/// A simulator with a daemon on it.
struct Stage {
  Stage() : simulator(FuzzMac::withFewModes(FuzzMac::machineNamed("laptop-and-two")), {}, output) {
    simulator.mac().logEnabled = false;
    simulator.launchDaemons({sim::kVersion});
    simulator.mac().advance(2);
    simulator.mac().forgetHistory();
  }

  std::ostringstream data, diagnostics;
  sim::Output output{.data = data, .diagnostics = diagnostics};
  sim::Simulator simulator;
};

sim::Scenario scenarioIn(Bytes bytes) {
  std::istringstream text(std::string(bytes.begin(), bytes.end()));
  std::streambuf* const before = std::cin.rdbuf(text.rdbuf());
  auto scenario = sim::readScenario("-");
  std::cin.rdbuf(before);
  std::cin.clear();
  check(std::holds_alternative<sim::Scenario>(scenario), "every text is a scenario");
  return std::get<sim::Scenario>(std::move(scenario));
}

void readArgument(const std::string& word) {
  const auto quoted = sim::splitWords(sim::asWord(word));
  check(std::holds_alternative<Words>(quoted) && std::get<Words>(quoted) == Words{word}, "a quoted word is itself");
  if (const auto mode = sim::parseMode(word)) {
    check(mode->matches(mode->width, mode->height, mode->refreshHz.value_or(60)), "a mode is itself");
  }
  if (const auto point = sim::parsePoint(word)) {
    const auto again = sim::parsePoint(std::to_string(point->x) + "," + std::to_string(point->y));
    check(again && again->x == point->x && again->y == point->y, "a point is itself");
  }
  if (const auto number = sim::parseInteger(word)) {
    check(sim::parseInteger(std::to_string(*number)) == number, "a number is itself");
  }
  sim::parseReal(word);
  sim::parseSwitch(word);
  if (sim::isWritableText(word)) {
    const plist::Value value(word);
    check(sim::readComposedPropertyList(sim::composePropertyList(value)) == value, "writable text comes back");
  }
  sim::columnsOf(sim::printable(word));
}

/// "allDisplays.1001.name" and a value, as the control application edits the settings.
void changeSetting(const std::string& keyPath, const std::string& text) {
  plist::Value root(plist::Dictionary{{"list", plist::Array{1, plist::Dictionary{{"key", "text"}}}}, {"number", 1}});
  const plist::Value value = sim::valueFrom(text);
  if (!sim::setValueAt(root, keyPath, value)) return;
  const plist::Value* const found = sim::valueAt(*root.dictionary(), keyPath);
  check(found != nullptr && isSame(*found, value), "what was put at a path stands there");
  const std::string shown = sim::wholeText(value);
  // A bare text may look like a number.
  if (value.string() != nullptr) return check(shown == *value.string(), "a text's text is itself");
  check(sim::wholeText(sim::valueFrom(shown)) == shown, "a value's text is that value's");
}

void changeSet(Stage& stage, const Words& words) {
  sim::Session* const daemon = stage.simulator.daemon();
  const Process::Scope inDaemon(daemon->process());
  const VLMGlobals& document = VLMGlobals::sharedInstance();
  const auto record = document.displayArray.front();
  plist::Dictionary set = document.displaySetsArray.front()->encodeReadable();
  const sim::EditedDisplay display{.name = "Left", .monitorResID = *record->monitorResID, .record = record};
  if (sim::enforce(set, display, words[0], words[1])) return;
  const plist::Dictionary once = VLMDisplaySet::initAndDecodeReadableWith(set)->encodeReadable();
  const plist::Dictionary twice = VLMDisplaySet::initAndDecodeReadableWith(once)->encodeReadable();
  checkSame(once, twice, "an edited set is read back as it was written");
}

void playLine(Stage& stage, const Words& words, int& played) {
  const auto call = sim::callFor(words);
  if (const auto* reason = std::get_if<std::string>(&call)) {
    check(!reason->empty(), "a refusal says why");
    return;
  }
  const auto& found = std::get<sim::Call>(call);
  if (std::find(kLooking.begin(), kLooking.end(), found.command->name) == kLooking.end()) return;
  if (played++ >= kMostPlayed) return;
  const sim::Outcome outcome = sim::runCall(stage.simulator, found);
  check(outcome.held() == outcome.reason.empty(), "who does not hold says why, who holds does not");
}

}  // namespace
}  // namespace vlm::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vlm::fuzz;
  namespace sim = vlm::sim;
  static Stage stage;
  sim::Scenario scenario = scenarioIn({data, size});
  stage.data.str({});
  stage.diagnostics.str({});
  scenario.machine();
  if (scenario.lines.size() > kMostLines) scenario.lines.resize(kMostLines);
  int played = 0;
  for (const std::string& line : scenario.lines) {
    const auto split = sim::splitWords(line);
    const auto* const words = std::get_if<Words>(&split);
    if (words == nullptr || words->empty()) continue;
    for (const std::string& word : *words) readArgument(word);
    if (words->size() == 2 && size % 2 == 0) {
      changeSetting((*words)[0], (*words)[1]);
      changeSet(stage, *words);
    }
    if (size % 4 == 1) playLine(stage, *words, played);
  }
  // Looking through it takes as long as all of the above.
  if (size % 4 != 3) return 0;
  scenario.lines.emplace_back(kWrongLine);
  const sim::Outcome outcome = sim::playScenario(stage.simulator, scenario, sim::Echo::no);
  check(outcome.status == sim::Outcome::Status::refused, "a scenario with a wrong line is refused");
  return 0;
}
