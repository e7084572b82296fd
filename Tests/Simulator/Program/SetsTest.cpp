#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/Json.h"
#include "Simulator/Program/Settings.h"
#include "Simulator/Program/Views.h"
#include "Tests/Simulator/Program/ProgramFixture.h"

namespace vlm::sim {
namespace {

/// What a command answers in JSON.
plist::Dictionary answer(Desk& desk, const std::string& line) {
  desk.data.str("");
  const Outcome outcome = desk.play({line + " --json"});
  EXPECT_TRUE(outcome.held()) << outcome.reason;
  const auto value = valueFromJson(desk.data.str());
  if (!value || value->dictionary() == nullptr) {
    ADD_FAILURE() << line << ": no JSON object: " << desk.data.str();
    return {};
  }
  return *value->dictionary();
}

std::string textAt(const plist::Dictionary& view, std::string_view path) {
  const plist::Value* value = valueAt(view, path);
  return value == nullptr ? "nothing" : viewText(value);
}

void enforceOrigins(Desk& desk) {
  const Process::Scope inDaemon(desk.simulator.daemon()->process());
  for (const auto& monitor : VLMGlobals::sharedInstance().displaySetsArray.at(0)->monitorArray) {
    monitor->hasOrigin = true;
  }
}

TEST(Explain, NamesEveryDifferenceWithWhatIsWantedAndFound) {
  struct Row {
    const char* name;
    std::vector<std::string> lines = {};
    bool enforcesOrigins = false;
    std::map<std::string, std::string> found = {};  ///< by path of keys
  };
  const Row rows[] = {
      {.name = "in force", .found = {{"mark", "check"}, {"monitors.1.state", "matches"}}},
      {.name = "a mode, and where it pushed a neighbour",
       .lines = {"mode Left 1024x768"},
       .enforcesOrigins = true,
       .found = {{"mark", "none"},
                 {"monitors.0.state", "matches"},
                 {"monitors.1.state", "differs"},
                 {"monitors.1.differences.0.aspect", "mode"},
                 {"monitors.1.differences.0.wanted", "2560 × 1440, 60 Hz"},
                 {"monitors.1.differences.0.found", "1024 × 768, 60 Hz"},
                 {"monitors.2.state", "differs"},
                 {"monitors.2.differences.0.aspect", "origin"},
                 {"monitors.2.differences.0.wanted", "(4000, 0)"}}},
      {.name = "a display that is gone",
       .lines = {"unplug Left"},
       .found = {{"mark", "dash"}, {"monitors.2.state", "notAttached"}}},
      {.name = "a display that is off",
       .lines = {"disable Left"},
       .found = {{"mark", "dash"}, {"monitors.1.state", "off"}}},
  };
  for (const Row& row : rows) {
    Desk desk;
    if (row.enforcesOrigins) enforceOrigins(desk);
    ASSERT_TRUE(desk.play(row.lines).held()) << row.name;
    ASSERT_TRUE(desk.play({"advance 3"}).held()) << row.name;
    const std::size_t logged = desk.simulator.mac().log.size();
    const plist::Dictionary explained = answer(desk, "explain As");
    for (const auto& [path, text] : row.found) EXPECT_EQ(textAt(explained, path), text) << row.name << ": " << path;
    EXPECT_EQ(desk.simulator.mac().log.size(), logged) << row.name;
    EXPECT_TRUE(desk.play({"expect set As mark " + textAt(explained, "mark")}).held()) << row.name;
  }
}

/// Every file below a folder, with its content and the moment of its last change.
std::map<std::string, std::pair<std::string, std::filesystem::file_time_type>> filesBelow(const std::string& folder) {
  std::map<std::string, std::pair<std::string, std::filesystem::file_time_type>> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    files[entry.path()] = {content, entry.last_write_time()};
  }
  return files;
}

TEST(Plan, TellsWhatApplyingBringsAndChangesNothing) {
  Desk desk;
  ASSERT_TRUE(desk.play({"mode Left 1024x768", "disable Right", "advance 3"}).held());
  SimulatedMac& mac = desk.simulator.mac();
  const auto files = filesBelow(mac.homeFolder());
  const plist::Array displays = displaysView(mac);
  const auto journal = mac.journal().lines();
  const auto log = mac.log;
  const double now = mac.now();
  const plist::Dictionary plan = answer(desk, "plan As");
  EXPECT_EQ(filesBelow(mac.homeFolder()), files);
  EXPECT_EQ(displaysView(mac), displays);
  EXPECT_EQ(mac.journal().lines(), journal);
  EXPECT_EQ(mac.log, log);
  EXPECT_EQ(mac.now(), now);
  EXPECT_EQ(mac.diskFault, DiskFault::none);

  // What really comes of it is what was foretold.
  ASSERT_TRUE(desk.play({"clear", "press cmd+opt+f11"}).held());
  const plist::Array calls = linesView(desk.simulator.journal(), "call");
  const plist::Array& foretold = *plan.array("calls");
  ASSERT_GE(foretold.size(), calls.size());
  EXPECT_TRUE(std::equal(calls.begin(), calls.end(), foretold.begin())) << desk.data.str();
  for (const plist::Value& value : *plan.array("changes")) {
    const plist::Dictionary& change = *value.dictionary();
    for (const plist::Value& display : displaysView(mac)) {
      if (display.dictionary()->string("name") != change.string("display")) continue;
      EXPECT_EQ(viewText(display.dictionary()->find(*change.string("aspect"))), viewText(change.find("after")));
    }
  }
  EXPECT_EQ(textAt(plan, "changes.0.display"), "Left");
  EXPECT_EQ(textAt(plan, "changes.0.aspect"), "mode");
}

TEST(Plan, SaysThatNothingWouldChange) {
  Desk desk;
  ASSERT_TRUE(desk.play({"plan As"}).held());
  EXPECT_NE(desk.data.str().find("counts as in force (mark check)"), std::string::npos) << desk.data.str();
  EXPECT_NE(desk.data.str().find("would change nothing"), std::string::npos) << desk.data.str();
}

TEST(Json, IsWhatEveryShowOffers) {
  Desk desk;
  for (const Command& command : allCommands()) {
    if (!command.name.starts_with("show ")) continue;
    desk.data.str("");
    ASSERT_TRUE(command.offersJson) << command.name;
    const Outcome outcome = desk.play({std::string(command.example) + " --json"});
    EXPECT_TRUE(outcome.held()) << outcome.reason;
    EXPECT_TRUE(valueFromJson(desk.data.str())) << command.name << ": " << desk.data.str();
  }
}

TEST(Json, KeepsNumbersAndReplacesWhatItCannotSay) {
  const plist::Value value = plist::Dictionary{{"big", std::uint64_t{0xFFFFFFFFFFFFFFFF}},
                                               {"small", std::int64_t{-9007199254740993}},
                                               {"text", "\"\\\n\xFF"},
                                               {"nothing", std::numeric_limits<double>::quiet_NaN()},
                                               {"data", plist::Data{0, 0xAB}}};
  EXPECT_EQ(valueFromJson(jsonText(value)),
            (std::optional<plist::Value>(plist::Dictionary{{"big", std::uint64_t{0xFFFFFFFFFFFFFFFF}},
                                                           {"small", std::int64_t{-9007199254740993}},
                                                           {"text", "\"\\\n\xEF\xBF\xBD"},
                                                           {"data", "00ab"}})));
}

TEST(SetEditing, RefusesWithTheReasonAndWritesNothing) {
  struct Row {
    const char* line;
    const char* reason;  ///< a part of it
  };
  constexpr Row kRows[] = {
      {"set add \"as found at first start\" empty", "already"},
      {"set Work key none", "there is no set \"Work\"; there are \"As found at first start\""},
      {"set As Left enforce color red",
       "(mode, depth, origin, orientation, activity, overscan, underscan, hdr, preset"},
      {"set As Left enforce mode 123x456", "has no mode 123x456"},
      {"set As Left enforce origin 40000,0", "no point"},
      {"set As Left enforce preset Nonsense", "no colour preset"},
      {"set As Left enforce hdr yes", "neither on nor off"},
      {"set As Left enforce profile \"\"", "no full path"},
      {"set As Left enforce profile factory", "a profile's file"},
      {"set As Left enforce profile ~/Library", "it is a folder"},
      {"set As Right enforce preset Warm", "is not attached"},
      {"set As Left paint red", "set SET DISPLAY enforce"},
      {"set As Left enforce", "too few words: set SET DISPLAY enforce"},
      {"set As enforce mirroring Left>Left", "one display"},
      {"set As enforce mirroring Left>Built-in,Built-in>Left", "cannot be shown"},
      {"set As enforce mirroring Left>Built-in,Right>Built-in", "shows the picture of \"Left\" already"},
      {"set As rename \"a\x1b\"", "is no name"},
      {"set add \"\xC0\xAF\" empty", "is no name"},
      {"set remove As", "whole name"},
      {"apply \"\"", "there is no set"},
      {"set As key cmd+opt", "no hot key"},
      {"set As chain on off", "set SET chain"},
      {"file remove ~/../a", "no path"},
  };
  Desk desk;
  ASSERT_TRUE(desk.play({"unplug Right", "advance 2"}).held());
  const auto before = desk.simulator.settings();
  for (const Row& row : kRows) {
    const Outcome outcome = desk.play({row.line});
    EXPECT_EQ(outcome.status, Outcome::Status::refused) << row.line;
    EXPECT_NE(outcome.reason.find(row.reason), std::string::npos) << row.line << ": " << outcome.reason;
  }
  EXPECT_EQ(desk.simulator.settings(), before);
}

TEST(SetEditing, AddsNothingBeyondTheHighestIdentifier) {
  Desk desk;
  ASSERT_TRUE(
      desk.play({"settings open", "settings set displaySetsArray.0.uniqueID 9223372036854775807", "settings save"})
          .held());
  const Outcome outcome = desk.play({"set add Work empty"});
  EXPECT_EQ(outcome.status, Outcome::Status::refused);
  EXPECT_NE(outcome.reason.find("highest uniqueID"), std::string::npos) << outcome.reason;
}

TEST(SetEditing, OfPresetAndProfileEnforcesTheOneThatWasAskedFor) {
  Desk desk;
  const auto monitor = [&] {
    return *valueAt(*desk.simulator.settings(), "displaySetsArray.0.monitorArray.2")->dictionary();
  };
  ASSERT_TRUE(monitor().contains("colorProfile"));  // recorded
  ASSERT_TRUE(
      desk.play({"unplug Right", "advance 2", "set As Right enforce preset 11111111-2222-3333-4444-555555555555"})
          .held());
  EXPECT_TRUE(monitor().boolean("hasColorProfile"));
  EXPECT_FALSE(monitor().contains("colorProfile"));
  ASSERT_TRUE(desk.play({"set As Right enforce profile \"/System/Library/ColorSync/Profiles/sRGB Profile.icc\"",
                         "set As Right ignore preset"})
                  .held());
  EXPECT_TRUE(monitor().boolean("hasColorProfile"));
  EXPECT_FALSE(monitor().contains("colorPreset"));
  ASSERT_TRUE(desk.play({"set As Right ignore profile"}).held());
  EXPECT_FALSE(monitor().boolean("hasColorProfile"));
}

}  // namespace
}  // namespace vlm::sim
