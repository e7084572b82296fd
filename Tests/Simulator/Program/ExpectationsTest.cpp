#include <gtest/gtest.h>

#include "Tests/Simulator/Program/ProgramFixture.h"

namespace vlm::sim {
namespace {

struct Row {
  const char* holds;
  const char* fails;
  const char* found;  ///< the end of the reason
};

/// On the laptop, Right unplugged, Left spoiled and a second daemon that lost.
const Row kRows[] = {
    {"expect mode Left 1024x768", "expect mode Left 2560x1440", "\"Left\" shows 1024x768@60"},
    {"expect mode Left 1024x768@60", "expect mode Left 1024x768@75", "\"Left\" shows 1024x768@60"},
    {"expect origin Built-in 0,0", "expect origin Built-in 1,0", "\"Built-in\" is at (0, 0)"},
    {"expect main Built-in", "expect main Left", "\"Built-in\" is the main display"},
    {"expect display Left on", "expect display Left off", "\"Left\" is on"},
    {"expect display Right gone", "expect mode Right 1920x1080", "\"Right\" is gone"},
    {"expect display Left brightness 0.60", "expect display Left rotation 90", "the rotation of Left is 0"},
    {"expect display Right profile factory", "expect display Left preset Warm", "the preset of Left is Standard"},
    {"expect offer Left 1024x768", "expect no offer Left 1024x768", "the display offers it"},
    {"expect no offer Left 1234x567", "expect offer Left 1234x567", "the display does not offer it"},
    {"expect override Left policy off", "expect override Left policy on", "the policy is off"},
    {"expect no override file Left dspc", "expect override file Left dspc", "the override file has no dspc"},
    {"expect fails \"no mode\" mode Left 1234x567", "expect fails \"no mode\" advance 0", "it did not fail"},
    {"expect machine volume 0.5", "expect machine dock hide", "the dock of the machine is show"},
    {"expect sets 1", "expect sets 2", "there is 1 set"},
    {"expect set \"as found\" mark none", "expect set \"As found at first start\" mark check", "the mark is none"},
    {"expect set As mark none", "expect set Work mark none", "there are \"As found at first start\""},
    {"expect running 1", "expect running 0", "there is 1 copy of the daemon"},
    {"expect daemon 4.15.1 running", "expect daemon 4.15.1 gone", "daemon 4.15.1 runs"},
    {"expect daemon 4.1 gone", "expect daemon 4.1 running", "daemon 4.1 is gone"},
    {"expect posted daemonLaunched", "expect posted daemonStopped", "no daemon has announced it"},
    {"expect no posted daemonStopped", "expect no posted daemonLaunched", "a daemon has announced it"},
    {"expect records 3", "expect records 2", "the settings file holds 3 records"},
    {"expect setting VLMDaemonRunOnce true", "expect setting VLMDaemonRunOnce 1", "VLMDaemonRunOnce is true"},
    {"expect setting displaySetsArray.0.keyCode 26381", "expect setting displaySetsArray.1.keyCode 26381",
     "the settings file has no displaySetsArray.1.keyCode"},
    {"expect no setting startupSet", "expect no setting Version", "Version is 4150101"},
    {"expect unchanged displaySetsArray", "expect unchanged volatileDisplays",
     "volatileDisplays has 2 entries, 3 before"},
    {"expect no journal nonsense", "expect no journal CGBeginDisplayConfiguration()",
     "CGBeginDisplayConfiguration()\""},
    {"expect log checkLoop", "expect no log checkLoop", "checkLoop\""},
};

TEST(Expectations, HoldOrSayWhatWasFound) {
  Desk desk;
  ASSERT_TRUE(desk.play({"remember displaySetsArray", "remember volatileDisplays", "launch-daemon 4.1", "unplug Right",
                         "mode Left 1024x768@60", "advance 3"})
                  .held());
  desk.simulator.mac().log.push_back("daemon: checkLoop");
  desk.simulator.mac().journal().add("daemon: CGBeginDisplayConfiguration()");
  for (const Row& row : kRows) {
    const Outcome holds = desk.play({row.holds});
    EXPECT_TRUE(holds.held()) << holds.reason;
    const Outcome fails = desk.play({row.fails});
    EXPECT_EQ(fails.status, Outcome::Status::notHeld) << row.fails;
    EXPECT_TRUE(fails.reason.ends_with(row.found)) << fails.reason;
  }
}

TEST(Expectations, SeeWhatHappenedSinceClear) {
  Desk desk;
  EXPECT_TRUE(desk.play({"expect posted daemonLaunched", "clear", "expect no posted daemonLaunched", "expect no log a",
                         "expect no journal a", "restart", "expect posted daemonLaunched"})
                  .held());
}

TEST(Expectations, DoNotTakeTheControlApplicationsMessageForTheDaemons) {
  Desk desk;
  EXPECT_TRUE(desk.play({"clear", "post reloadPreferences", "expect no posted reloadPreferences"}).held());
}

TEST(Expectations, ThatCouldNotFailAreRefused) {
  Desk desk;
  for (const char* line :
       {"remember nothing.there", "expect journal \"\"", "expect no log \"\"", "expect no posted monitorsChange",
        "expect unchanged Version", "expect display Left rotation 45", "expect display Left hdr 1",
        "expect display Left mirrors Nobody", "expect display Left on off", "expect machine gray none",
        "expect machine volume 2"}) {
    EXPECT_EQ(desk.play({line}).status, Outcome::Status::refused) << line;
  }
}

TEST(Expectations, AreNotMetWithoutADaemon) {
  Desk desk;
  EXPECT_TRUE(desk.play({"quit", "expect running 0"}).held());
  EXPECT_EQ(desk.play({"expect sets 1"}).reason, "test.scenario:1: expect sets 1: no daemon runs");
  EXPECT_EQ(desk.play({"restart"}).status, Outcome::Status::refused);
  // A version that never ran is a slip of the pen, not a copy that has gone.
  EXPECT_EQ(desk.play({"expect daemon 9 gone"}).status, Outcome::Status::refused);
}

}  // namespace
}  // namespace vlm::sim
