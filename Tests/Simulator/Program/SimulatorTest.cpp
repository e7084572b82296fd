#include "Simulator/Program/Simulator.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Program/Run.h"
#include "Simulator/Program/Settings.h"
#include "Simulator/Program/Tour.h"
#include "Tests/Simulator/Program/ProgramFixture.h"

namespace vlm::sim {
namespace {

TEST(Tour, HoldsOnEveryMachine) {
  for (const char* machine : {"laptop-and-two", "silicon-laptop-and-one", "three-identical", "desktop-single"}) {
    Desk desk(machine);
    const Outcome outcome = playScenario(desk.simulator, tourOf(desk.simulator), Echo::yes);
    EXPECT_TRUE(outcome.held()) << machine << ": " << outcome.reason;
    EXPECT_NE(desk.data.str().find("press cmd+opt+f11"), std::string::npos) << machine;
    EXPECT_NE(desk.data.str().find("⌥⌘F11"), std::string::npos) << machine;
  }
}

TEST(Tour, DoesNotHoldWhenTheHotKeyDoesNotBringTheModeBack) {
  Desk desk;
  const SimulatedDisplay& last = desk.simulator.mac().display("Right");
  desk.simulator.mac().windowServer().refuseMode(last, last.modeNumber);
  const Outcome outcome = playScenario(desk.simulator, tourOf(desk.simulator), Echo::no);
  EXPECT_EQ(outcome.status, Outcome::Status::notHeld);
  EXPECT_NE(outcome.reason.find("expect mode \"Right\" 1920x1080"), std::string::npos) << outcome.reason;
}

class Home : public testing::Test {
 protected:
  std::filesystem::path home_ =
      std::filesystem::path(testing::TempDir()) /
      (std::string("velmoratix-home-") + testing::UnitTest::GetInstance()->current_test_info()->name());
  std::ostringstream data_, diagnostics_;
  Output output_{.data = data_, .diagnostics = diagnostics_};

  void SetUp() override {
    std::filesystem::remove_all(home_);
    std::filesystem::create_directories(home_ / "Library/Preferences");
  }
  void TearDown() override { std::filesystem::remove_all(home_); }

  std::string settingsPath() const { return home_ / "Library/Preferences/org.kelvane.velmoratix.daemon.plist"; }
  void writeText(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }
  std::string file(const char* name) const { return home_ / name; }
};

TEST_F(Home, KeepsUnknownKeysAndRecordsOfAbsentDisplaysOverASession) {
  const plist::Value unknown =
      plist::Dictionary{{"list", plist::Array{1, "two", true}}, {"bytes", plist::Data{0, 255}}};
  const plist::Value absent =
      plist::Dictionary{{"monitorResID", 4711}, {"serialNumber", 5}, {"newer", plist::Array{1}}};
  writeText(settingsPath(), composePropertyList(plist::Dictionary{
                                {"controlPanelWindow", unknown},
                                {"Version", 5000000},
                                {"allDisplays", plist::Dictionary{{"4711", absent}}},
                            }));
  Desk desk("laptop-and-two", home_);
  EXPECT_TRUE(desk.simulator.hadSettings);
  ASSERT_TRUE(desk.play({"remember allDisplays.4711", "mode Left 1024x768", "advance 3", "unplug Right", "advance 3",
                         "plug Right", "advance 3", "post reloadPreferences", "advance 3", "restart", "advance 3",
                         "interrupt", "expect running 0", "expect unchanged allDisplays.4711", "expect records 4"})
                  .held());
  const plist::Dictionary now = *desk.simulator.settings();
  EXPECT_EQ(*now.find("controlPanelWindow"), unknown);
  EXPECT_EQ(now.sInt32("Version"), 5000000);
  EXPECT_EQ(*valueAt(now, "allDisplays.4711"), absent);
}

TEST_F(Home, RunsAScenarioOnItsMachineAndWritesWhatWasAskedFor) {
  writeText(file("a.scenario"), "# machine: desktop-single\nexpect records 1\nshow displays\n");
  const RunOptions options{.home = home_, .script = file("a.scenario"), .journal = file("journal"), .log = file("log")};
  EXPECT_EQ(runSimulator(options, output_), 0) << diagnostics_.str();
  EXPECT_EQ(data_.str().substr(0, 7), "DISPLAY");
  EXPECT_EQ(diagnostics_.str(), "");
  std::string reason;
  EXPECT_NE(readFile(file("journal"), 1 << 20, reason)->find("daemon: "), std::string::npos);
  EXPECT_NE(readFile(file("log"), 1 << 20, reason)->find("daemon: "), std::string::npos);
}

TEST_F(Home, RefusesAWrongCallWithStatus2AndTheReason) {
  writeText(file("bad.scenario"), "# machine: desktop-single\nadvance soon\n");
  writeText(file("wrong.scenario"), "expect records 7\n");
  writeText(file("beside.scenario"), "# machine: beside.plist\n");
  writeText(file("beside.plist"), "no property list");
  writeText(file("large.bin"), std::string(kLongestEdid + 1, '\0'));
  writeText(file("short.bin"), "no EDID");
  const std::string script = "/dev/null";
  struct Row {
    RunOptions options;
    int status;
    std::string reason;
  };
  const Row rows[] = {
      {{.machine = "abacus", .script = script}, 2, "there is no machine \"abacus\"; there are desktop-single, "},
      {{.machine = file("none.plist"), .script = script}, 2, file("none.plist") + ": "},
      {{.displays = {file("large.bin")}, .script = script}, 2, file("large.bin") + ": "},
      {{.displays = {file("short.bin")}, .script = script}, 2, file("short.bin") + ": "},
      {{.home = "", .script = script}, 2, "--home: the name of the folder is empty"},
      {{.home = file("short.bin"), .script = script}, 2, "the home folder cannot be used: "},
      {{.script = file("none.scenario")}, 2, file("none.scenario") + ": cannot be opened"},
      {{.script = file("bad.scenario")}, 2, "bad.scenario:2: advance soon: \"soon\" is no number of seconds"},
      {{.script = file("beside.scenario")},
       2,
       "beside.scenario:1: " + file("beside.plist") + ": it is no property list"},
      {{.script = file("wrong.scenario")}, 1, "wrong.scenario:1: expect records 7: the settings file holds 3 records"},
      {{.script = script, .journal = file("no/folder")}, 2, "no/folder: cannot be written"},
  };
  for (const Row& row : rows) {
    diagnostics_.str("");
    EXPECT_EQ(runSimulator(row.options, output_), row.status) << row.reason;
    EXPECT_NE(diagnostics_.str().find(row.reason), std::string::npos) << diagnostics_.str();
  }
}

TEST(Display, OfAnyEdidFileWorksOrIsRefusedWithFileAndReason) {
  const char* folder = std::getenv("VELMORATIX_EDIDS");
  if (folder == nullptr) GTEST_SKIP() << "VELMORATIX_EDIDS names no folder of EDID files";
  int working = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".bin") continue;
    const std::string path = entry.path();
    auto read = readDisplay(path, "Any");
    if (const auto* reason = std::get_if<std::string>(&read)) {
      EXPECT_TRUE(reason->starts_with(path + ": ")) << *reason;
      continue;
    }
    MachineDescription machine;
    addDisplay(machine, std::get<DisplayDescription>(std::move(read)));
    std::ostringstream text;
    Output output{.data = text, .diagnostics = text};
    Simulator simulator(std::move(machine), {}, output);
    simulator.launchDaemons({kVersion});
    // Monitors whose first timing is too small for the daemon begin in a mode that it does not list.
    const SimulatedMode& mode = simulator.mac().display("Any").mode();
    const std::string mark = mode.width < 800 && mode.height < 600 ? "diamond" : "check";
    const Outcome outcome = playScenario(
        simulator,
        {.name = path,
         .lines = {"expect records 1", "expect sets 1", "show modes Any", "advance 2", "expect set As mark " + mark}},
        Echo::no);
    EXPECT_TRUE(outcome.held()) << outcome.reason << "\n" << text.str();
    ++working;
  }
  EXPECT_GT(working, 0);
}

}  // namespace
}  // namespace vlm::sim
