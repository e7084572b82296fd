#include <gtest/gtest.h>

#include <csignal>

#include "Models/VLMApplicationObject.h"
#include "Platform/Input.h"
#include "Simulator/Mac/MachineEvents.h"
#include "Tests/Support/DaemonOnMac.h"

/// What the start brings back of the settings file, and the end of the start.
namespace vlm {
namespace {

constexpr const char* kSomethingWillChange = "After preferences, something will change";

class SavedSettings : public ::testing::Test {
 protected:
  /// The settings file says 1280 × 720 for the left display, and a program has changed that meanwhile.
  SavedSettings() : on_(test::laptopWith({"Left", "Right"})) {
    run();
    EXPECT_EQ(on_.mac.setMode("Left", 1280, 720), std::nullopt);
    on_.mac.advance(3);
    quit();
    EXPECT_EQ(on_.mac.setMode("Left", 1024, 768), std::nullopt);
    on_.mac.journal().clear();
    on_.mac.log.clear();
  }
  void run() {
    on_.launch();
    on_.mac.advance(1.5);
  }
  void quit() {
    on_.inside([](VLMGlobals& document) { document.quitDaemon({}); });
    on_.mac.turn();
  }
  void setSetting(const char* key, const plist::Value& value) {
    plist::Dictionary settings = on_.settings();
    settings.set(key, value);
    on_.writeSettings(settings);
    on_.mac.journal().clear();
  }
  std::uint32_t widthOfLeft() { return on_.mac.display("Left").mode().width; }
  std::ptrdiff_t transactions() { return on_.journalCount("CGCompleteDisplayConfiguration"); }

  test::DaemonOnMac on_;
};

TEST_F(SavedSettings, ComeBackOnceInOneTransactionAfterTheDelay) {
  setSetting("startRestoreDelay", 3);
  run();
  EXPECT_EQ(widthOfLeft(), 1024U);
  on_.mac.advance(3);
  EXPECT_EQ(widthOfLeft(), 1280U);
  EXPECT_EQ(transactions(), 1);
  EXPECT_TRUE(on_.hasLogged(kSomethingWillChange));
  // Not again by a reload, nor by waking up.
  ASSERT_EQ(on_.mac.setMode("Left", 1024, 768), std::nullopt);
  on_.mac.postWorkspace({.name = "NSWorkspaceDidWakeNotification", .object = {}, .userInfo = {}});
  on_.inside([](VLMGlobals& document) { document.applicationObject->reloadPrefsFromFile(); });
  on_.mac.advance(5);
  EXPECT_EQ(widthOfLeft(), 1024U);
}

TEST_F(SavedSettings, OpenNoTransactionWhenEverythingIsInForce) {
  ASSERT_EQ(on_.mac.setMode("Left", 1280, 720), std::nullopt);
  run();
  EXPECT_EQ(on_.journalCount("CGBeginDisplayConfiguration"), 0);
  EXPECT_FALSE(on_.hasLogged(kSomethingWillChange));
}

TEST_F(SavedSettings, AreLeftAloneWhileControlIsHeldAlsoByASetForTheStart) {
  setSetting("startupSet", 1);
  // The right one counts as well.
  on_.mac.modifiersHeld = rightControlKey;
  run();
  EXPECT_EQ(transactions(), 0);
  EXPECT_EQ(widthOfLeft(), 1024U);
}

TEST_F(SavedSettings, GiveWayToASetForTheStart) {
  setSetting("startupSet", 1);
  run();
  EXPECT_EQ(widthOfLeft(), 2560U);
  EXPECT_FALSE(on_.hasLogged("In saved preferences"));
}

TEST_F(SavedSettings, AreLeftAloneWhenTheUserWantsNothingDone) {
  setSetting("startupDoNothing", true);
  run();
  EXPECT_EQ(widthOfLeft(), 1024U);
}

TEST_F(SavedSettings, LeaveTheFirstDisplayOnWhenAllAreSavedOff) {
  plist::Dictionary settings = on_.settings();
  plist::Dictionary records = *settings.dictionary("allDisplays");
  for (const auto& entry : *settings.dictionary("allDisplays")) {
    plist::Dictionary record = *entry.value.dictionary();
    record.set("isDisabled", true);
    records.set(entry.key, record);
  }
  setSetting("allDisplays", records);
  run();
  EXPECT_TRUE(on_.mac.display("Built-in").isActive());
  EXPECT_FALSE(on_.mac.display("Left").isActive());
  EXPECT_FALSE(on_.mac.display("Right").isActive());
}

TEST_F(SavedSettings, BringBackADisplayThatIsToGoOffForAnotherOne) {
  plist::Dictionary settings = on_.settings();
  plist::Dictionary records = *settings.dictionary("allDisplays");
  plist::Dictionary panel = *records.dictionary("1001");
  panel.set("isDisabled", true);
  records.set("1001", panel);
  setSetting("allDisplays", records);
  for (const char* name : {"Left", "Right"}) ASSERT_EQ(on_.mac.setEnabled(name, false), std::nullopt);
  run();
  EXPECT_FALSE(on_.mac.display("Built-in").isActive());
  EXPECT_TRUE(on_.mac.display("Left").isActive());
  EXPECT_TRUE(on_.mac.display("Right").isActive());
  EXPECT_EQ(transactions(), 1);
}

TEST_F(SavedSettings, OfADisplayThatWentWhileTheMachineSleptAreKept) {
  run();
  ASSERT_EQ(on_.mac.events().sleep(), std::nullopt);
  ASSERT_EQ(on_.mac.unplug("Left"), std::nullopt);
  on_.mac.advance(3600);
  ASSERT_EQ(on_.mac.events().wake(), std::nullopt);
  on_.mac.advance(3);
  quit();
  ASSERT_EQ(on_.mac.plug("Left"), std::nullopt);
  ASSERT_EQ(on_.mac.setMode("Left", 1024, 768), std::nullopt);
  run();
  EXPECT_EQ(widthOfLeft(), 1280U);
  // Ended before the first look behind a wake.
  ASSERT_EQ(on_.mac.events().sleep(), std::nullopt);
  ASSERT_EQ(on_.mac.events().wake(), std::nullopt);
  on_.mac.signal(on_.daemon(), SIGINT);
  on_.mac.turn();
  ASSERT_EQ(on_.mac.setMode("Left", 1024, 768), std::nullopt);
  run();
  EXPECT_EQ(widthOfLeft(), 1280U);
}

}  // namespace
}  // namespace vlm
