#include <gtest/gtest.h>

#include <limits>

#include "Daemon/Controllers/VLMDaemonMainController.h"
#include "Simulator/Mac/MachineEvents.h"
#include "Tests/Support/DaemonOnMac.h"

/// What the looks at the displays, once a second, find and undo.
namespace vlm {
namespace {

class CheckLoop : public ::testing::Test {
 protected:
  explicit CheckLoop(std::vector<std::string> externals = {"Left", "Right"}) : on_(machineWith(externals)) {
    on_.launch();
    on_.mac.advance(2);
  }
  static sim::MachineDescription machineWith(const std::vector<std::string>& externals) {
    auto machine = test::laptopWith(externals);
    for (auto& display : machine.displays) {
      display.canOverscan = display.canUnderscan = display.supportsHDR = true;
      display.presets = {"Day", "Night"};
    }
    return machine;
  }
  /// Lets another program's changes be looked at, and answers how often the settings were saved for them.
  std::ptrdiff_t savesAfter(double seconds = 1) {
    on_.mac.journal().clear();
    on_.mac.log.clear();
    on_.mac.advance(seconds);
    return on_.journalCount("writeToURLAtomically");
  }

  test::DaemonOnMac on_;
};

TEST_F(CheckLoop, SwitchesOffWhatSomebodyElseSwitchedOnWhenOnlyTheDaemonMay) {
  on_.inside([](VLMGlobals& document) { document.onlyMeCanActivate = true; });
  for (const char* name : {"Left", "Right"}) ASSERT_EQ(on_.mac.setEnabled(name, false), std::nullopt);
  on_.inside([](VLMGlobals& document) { document.savePrefs(SettingsGroup::all); });
  on_.mac.advance(3);
  // Both at once: undoing one must not make the other look like the daemon's own.
  for (const char* name : {"Left", "Right"}) ASSERT_EQ(on_.mac.setEnabled(name, true), std::nullopt);
  on_.mac.advance(1.5);
  EXPECT_FALSE(on_.mac.display("Left").isActive());
  EXPECT_FALSE(on_.mac.display("Right").isActive());
  // The same at once again, and without a callback.
  ASSERT_EQ(on_.mac.setEnabled("Left", true), std::nullopt);
  on_.mac.advance(1);
  EXPECT_FALSE(on_.mac.display("Left").isActive());
  on_.mac.advance(2);
  on_.mac.display("Left").enabled = true;
  on_.mac.advance(1);
  EXPECT_FALSE(on_.mac.display("Left").isActive());
  on_.mac.advance(2);
  ASSERT_EQ(on_.mac.setEnabled("Left", true), std::nullopt);
  on_.inside([](VLMGlobals& document) { document.applicationObject->reloadPrefsFromFile(); });
  on_.mac.advance(2);
  EXPECT_FALSE(on_.mac.display("Left").isActive());
  on_.inside([](VLMGlobals& document) {
    for (const auto& display : document.displayArray) display->setIsActive(true, nullptr);
  });
  on_.mac.advance(5);
  EXPECT_TRUE(on_.mac.display("Left").isActive());
  EXPECT_TRUE(on_.mac.display("Right").isActive());
}

TEST_F(CheckLoop, NeverGoesToAndFroBetweenModesThatAreNotForUse) {
  const auto mode = [&](std::uint32_t width) {
    return on_.inside([&](VLMGlobals& document) {
      const auto& modes = document.displayWithcgID(on_.mac.display("Left").id)->validDisplayModes;
      return *std::find_if(modes.begin(), modes.end(), [&](const auto& one) { return one->Nx == width; });
    });
  };
  mode(2560)->isValidAct = mode(1024)->isValidAct = false;
  on_.mac.journal().clear();
  ASSERT_EQ(on_.mac.setMode("Left", 1024, 768), std::nullopt);
  ASSERT_EQ(on_.mac.move("Left", 1440, 100), std::nullopt);
  on_.mac.advance(10);
  EXPECT_EQ(on_.journalCount("daemon: CGSConfigureDisplayMode"), 0);
  EXPECT_TRUE(on_.hasLogged("Mode Changed for disp"));
  EXPECT_TRUE(on_.hasLogged("Position Changed for disp"));
  // There and back again: what a mode stands for is not for use itself.
  mode(1280)->setAliasedMode(mode(1024));
  ASSERT_EQ(on_.mac.setMode("Left", 1280, 720), std::nullopt);
  on_.mac.advance(10);
  EXPECT_EQ(on_.journalCount("daemon: CGSConfigureDisplayMode"), 1);
}

TEST_F(CheckLoop, LeavesTheLastDisplayOnWhenOnlyTheDaemonMaySwitchOneOn) {
  on_.inside([](VLMGlobals& document) { document.onlyMeCanActivate = true; });
  for (const char* name : {"Built-in", "Right"}) ASSERT_EQ(on_.mac.setEnabled(name, false), std::nullopt);
  on_.inside([](VLMGlobals& document) { document.savePrefs(SettingsGroup::all); });
  on_.mac.advance(3);
  on_.mac.journal().clear();
  // The system itself lights another one.
  ASSERT_EQ(on_.mac.unplug("Left"), std::nullopt);
  on_.mac.advance(3);
  EXPECT_EQ(on_.journalCount("CGSConfigureDisplayEnabled"), 0);
  EXPECT_TRUE(on_.mac.display("Built-in").isActive() || on_.mac.display("Right").isActive());
}

TEST_F(CheckLoop, RecordsWhatHasNoCallbackOnce) {
  auto& left = on_.mac.display("Left");
  left.overscan = 1;
  left.underscan = 0.5F;
  left.hdr = true;
  left.activePreset = 1;
  on_.mac.grayscale = true;
  EXPECT_EQ(savesAfter(), 1);
  for (const char* line : {"Grays Changed", "Overscan Changed for disp", "Underscan Changed for disp", "to 0.5",
                           "HDR Changed for disp", "Color preset Changed for disp"}) {
    EXPECT_TRUE(on_.hasLogged(line)) << line;
  }
  EXPECT_EQ(savesAfter(3), 0);
}

TEST_F(CheckLoop, TakesAnUnderscanThatIsNoNumberForAChangeEveryTime) {
  on_.mac.display("Left").underscan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(savesAfter(3), 3);
}

TEST_F(CheckLoop, NoticesADisplayThatCameOrWentByCoreAnimationAlone) {
  auto& controller = *static_cast<VLMDaemonMainController*>(
      on_.inside([](VLMGlobals& document) { return document.applicationObject; }));
  const auto needsUpdate = [&] {
    return on_.inside([&](VLMGlobals& document) {
      document.needsUpdatingDisplays = false;
      controller.checkLoop5Sec();
      return document.needsUpdatingDisplays;
    });
  };
  needsUpdate();
  EXPECT_FALSE(needsUpdate());
  // From one size to another has callbacks of its own.
  ASSERT_EQ(on_.mac.setMode("Left", 1280, 720), std::nullopt);
  EXPECT_FALSE(needsUpdate());
  ASSERT_EQ(on_.mac.unplug("Left"), std::nullopt);
  EXPECT_TRUE(needsUpdate());
  EXPECT_FALSE(needsUpdate());
}

}  // namespace
}  // namespace vlm
