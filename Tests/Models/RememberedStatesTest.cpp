#include <gtest/gtest.h>

#include "Tests/Support/DisplaysOnMac.h"

/// What the settings file held when the daemon started and what it found then, for the start's and the end's restoring.
namespace vlm {
namespace {

using test::DisplaysOnMac;

sim::MachineDescription deskWithAPlaceForAnother() {
  sim::MachineDescription machine = sim::laptopWith({"Left", "Right"});
  for (sim::DisplayDescription& display : machine.displays) display.modeOptions.depths = {16, 32};
  machine.displays[2].plugged = false;
  return machine;
}

/// As the daemon does, again and again.
void saveAndReloadTwice(DisplaysOnMac& displays) {
  for (int i = 0; i < 2; ++i) {
    displays.document().savePrefs(SettingsGroup::allForced);
    displays.reload();
  }
}

TEST(RememberedStates, AreTheFilesAndTheFoundOneOverEveryReload) {
  const auto machine = deskWithAPlaceForAnother();
  const auto settings = test::settingsAfter(machine, [](DisplaysOnMac& displays) {
    displays["Left"]->currentMode = displays.mode("Left", 1280, 720);
    displays["Left"]->currentDepth = 16;
    displays["Left"]->isEnabled = false;
  });
  DisplaysOnMac displays(machine, settings);
  EXPECT_EQ(displays.mac().setMode("Left", 1024, 768), std::nullopt);
  saveAndReloadTwice(displays);
  const auto left = displays["Left"];
  EXPECT_EQ(left->currentMode.get(), displays.mode("Left", 1024, 768));
  // Modes of the record that there is now, not of the one that they were first seen in.
  EXPECT_EQ(left->shutdownMode.get(), displays.mode("Left", 1280, 720));
  EXPECT_TRUE(left->shutdownDepth == 16 && !left->shutdownEnabled);
  EXPECT_EQ(left->initialMode.get(), displays.mode("Left", 2560, 1440));
  EXPECT_TRUE(left->initialDepth == 32 && left->initialEnabled);
}

TEST(RememberedStates, OfAMonitorThatComesLaterAreBothTheFoundOne) {
  DisplaysOnMac displays(deskWithAPlaceForAnother());
  EXPECT_EQ(displays.mac().plug("Right"), std::nullopt);
  displays.reload();
  EXPECT_EQ(displays.mac().setMode("Right", 1280, 720), std::nullopt);
  EXPECT_EQ(displays.mac().setEnabled("Right", false), std::nullopt);
  saveAndReloadTwice(displays);
  const auto right = displays["Right"];
  EXPECT_EQ(right->initialMode.get(), displays.mode("Right", 1920, 1080));
  EXPECT_EQ(right->shutdownMode.get(), displays.mode("Right", 1920, 1080));
  EXPECT_TRUE(right->initialEnabled && right->shutdownEnabled && right->initialDepth == 32 &&
              right->shutdownDepth == 32);
}

}  // namespace
}  // namespace vlm
