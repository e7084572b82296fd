#include "Simulator/Program/Commands.h"

#include <gtest/gtest.h>

#include "Simulator/Program/Arguments.h"
#include "Tests/Simulator/Program/ProgramFixture.h"

namespace vlm::sim {
namespace {

TEST(Commands, HaveExamplesThatCallThem) {
  for (const Command& command : allCommands()) {
    const auto call = callFor(std::get<std::vector<std::string>>(splitWords(command.example)));
    ASSERT_TRUE(std::holds_alternative<Call>(call)) << command.name << ": " << std::get<std::string>(call);
    EXPECT_EQ(std::get<Call>(call).command->name, command.name);
  }
}

TEST(Commands, RefuseWhatTheyDoNotUnderstandAndSayWhy) {
  struct Row {
    const char* line;
    const char* reason;
  };
  const Row rows[] = {
      {"fly", "there is no command \"fly\"; help lists them"},
      {"Advance 1", "there is no command \"Advance\"; did you mean \"advance\"? help lists them"},
      {"exepct records 3", "there is no command \"exepct\"; did you mean \"expect\"? help lists them"},
      {"drug", "there is no command \"drug\"; help lists them"},
      {"\x1b[2J", "there is no command \"\\x1b[2J\"; help lists them"},
      {"show cats",
       "show: there is no \"cats\" (displays, display, machine, picture, modes, profiles, presets, sets, settings, "
       "journal, log)"},
      {"remember", "too few arguments: remember KEYPATH"},
      {"show log --xml", "too many arguments: show log [--json]"},
      {"expect records many", "\"many\" is no count"},
      {"restart --json", "too many arguments: restart"},
      {"explain Work", "there is no set \"Work\"; there are \"As found at first start\""},
      {"restart now", "too many arguments: restart"},
      {"advance -1", "\"-1\" is no number of seconds from 0 to 604800"},
      {"advance 1e3", "\"1e3\" is no number of seconds from 0 to 604800"},
      {"advance nan", "\"nan\" is no number of seconds from 0 to 604800"},
      {"hotkey 0x10000", "\"0x10000\" is no code from 0 to 0xFFFF"},
      {"press cmd+elephant", "\"cmd+elephant\" is no shortcut such as cmd+opt+f11"},
      {"mode Left 0x768", "\"0x768\" is no mode such as 1920x1080 or 1920x1080@60"},
      {"mode Left 1024x768@", "\"1024x768@\" is no mode such as 1920x1080 or 1920x1080@60"},
      {"mode Left 1234x567", "display \"Left\" has no mode of 1234x567"},
      {"move Left 1,2,3", "\"1,2,3\" is no point such as -1920,0"},
      {"plug Centre", "there is no display \"Centre\"; there are \"Built-in\", \"Left\", \"Right\""},
      {"plug \"\"", "there is no display \"\"; there are \"Built-in\", \"Left\", \"Right\""},
      {"launch-daemon new", "\"new\" is no version such as 4.15.1"},
      {"post kVLMUseThisMode 1001 many", "\"many\" is no whole number"},
      {"show settings \"\"", "\"\" is no key of the settings file; show settings lists them"},
      {"show settings nothing.there", "the settings file has no nothing.there"},
      {"profile Left \"\"", "\"\" is no path"},
      {"preset Left \"\"", "Left has no preset \"\""},
      {"help advance 1", "there is no command \"advance 1\"; help lists them"},
  };
  Desk desk;
  for (const Row& row : rows) {
    const Outcome outcome = desk.play({row.line});
    EXPECT_EQ(outcome.status, Outcome::Status::refused) << row.line;
    const std::string reason = outcome.reason.substr(outcome.reason.size() - std::string(row.reason).size());
    EXPECT_EQ(reason, row.reason) << outcome.reason;
  }
}

TEST(Commands, TakeTheBeginningOfADisplaysNameInAnyCase) {
  Desk desk;
  EXPECT_TRUE(desk.play({"unplug rIG", "expect display Right gone", "plug RIGHT", "expect display right on"}).held());
}

TEST(Commands, CompareRatesAsExactlyAsTheyAreWritten) {
  struct Row {
    const char* mode;
    double hz;
    bool matches;
  };
  const Row rows[] = {{"8x6", 0, true},          {"8x6@60", 60.0, true},     {"8x6@60", 59.94, false},
                      {"8x6@60", 59.97, true},   {"8x6@59.94", 59.94, true}, {"8x6@59.94", 59.95, false},
                      {"8x6@59.9", 59.94, true}, {"8x6@59.9", 59.96, false}, {"9x6", 60, false}};
  for (const Row& row : rows) {
    const auto mode = parseMode(row.mode);
    ASSERT_TRUE(mode) << row.mode;
    EXPECT_EQ(mode->matches(8, 6, row.hz), row.matches) << row.mode << " " << row.hz;
  }
}

TEST(Commands, SendParametersAsNumbersWhereTheyAreSome) {
  Desk desk;
  EXPECT_TRUE(desk.play({"post someCommand text 7", "post other 0x10"}).held());
  const auto& posts = desk.simulator.mac().distributedPosts();
  ASSERT_GE(posts.size(), 2U);
  EXPECT_EQ(posts[posts.size() - 2].userInfo, (plist::Dictionary{{"parameter1", "text"}, {"parameter2", 7}}));
  EXPECT_EQ(posts.back().userInfo, (plist::Dictionary{{"parameter1", 16}}));
}

TEST(Commands, LetNobodyQuitADaemonThatSleepsAndDisplaysSleepThatAreJustPluggedIn) {
  Desk desk;
  EXPECT_TRUE(desk.play({"unplug Left", "sleep", "plug Left"}).held());
  EXPECT_TRUE(desk.simulator.mac().display("Left").asleep);
  EXPECT_EQ(desk.play({"restart"}).reason, "test.scenario:1: restart: the machine sleeps; wake it first");
  EXPECT_TRUE(desk.play({"wake", "restart", "expect display Left on"}).held());
}

TEST(Commands, ReportAFaultOfTheMachineOnce) {
  Desk desk;
  desk.simulator.mac().windowServer().addFault("a stale transaction");
  const Outcome outcome = desk.play({"advance 1"});
  EXPECT_EQ(outcome.status, Outcome::Status::notHeld);
  EXPECT_EQ(outcome.reason, "test.scenario:1: advance 1: fault on the machine: a stale transaction");
  EXPECT_TRUE(desk.play({"advance 1"}).held());
}

}  // namespace
}  // namespace vlm::sim
