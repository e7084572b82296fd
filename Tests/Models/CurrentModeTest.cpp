#include <gtest/gtest.h>

#include "Tests/Support/DisplaysOnMac.h"

namespace vlm {
namespace {

using test::DisplaysOnMac;

sim::MachineDescription deepMonitor() {
  sim::MachineDescription machine = sim::desktopWith({"Left"});
  machine.displays[0].modeOptions.depths = {16, 32};
  return machine;
}

TEST(UpdateCurrentMode, FindsTheModeByWhatIsLeftOfIt) {
  const struct {
    const char* name;
    void (*change)(VLMMode& mode);
    bool isFound;
    const char* logged;
  } rows[] = {
      {"its number", [](VLMMode&) {}, true, "Found the new mode in validDisplayModes with ID check"},
      {"size, rate and scale", [](VLMMode& mode) { mode.sysModeID.fill(-1); }, true,
       "Found the new mode in validDisplayModes with Nx/Ny/Hz/Def check"},
      {"the size", [](VLMMode& mode) { mode.sysModeID.fill(-1), mode.Hz = 75; }, true,
       "Found the new mode in validDisplayModes with Nx/Ny check"},
      {"a size at another depth", [](VLMMode& mode) { mode.sysModeID.fill(-1), mode.colorMask = 8; }, false,
       "didn't find the new mode with Nx/Ny check - this is a new mode !"},
      {"a number with another size", [](VLMMode& mode) { mode.Nx += 1; }, false,
       "didn't find the new mode with Nx/Ny check - this is a new mode !"},
  };
  for (const auto& row : rows) {
    DisplaysOnMac displays(deepMonitor());
    const auto left = displays["Left"];
    const auto mode = displays.mode("Left", 1280, 720);
    ASSERT_NE(mode, nullptr);
    ASSERT_EQ(displays.mac().setMode("Left", 1280, 720), std::nullopt);
    row.change(*mode);
    left->updateCurrentMode();
    EXPECT_EQ(left->currentMode.get(), row.isFound ? mode : nullptr) << row.name;
    EXPECT_TRUE(displays.hasLogged(row.logged)) << row.name;
  }
}

TEST(UpdateCurrentMode, LearnsTheDepthFromTheNumber) {
  DisplaysOnMac displays(deepMonitor());
  const auto left = displays["Left"];
  EXPECT_EQ(left->currentDepth, 32);
  const auto mode = left->currentMode.get();
  ASSERT_NE(mode, nullptr);
  left->setDisplayMode(nullptr, 16, false, false, nullptr, false);
  left->updateCurrentMode();
  EXPECT_EQ(left->currentMode.get(), mode);
  EXPECT_EQ(left->currentDepth, 16);
  // Asked again, nothing has changed.
  displays.mac().log.clear();
  left->updateCurrentMode();
  EXPECT_TRUE(displays.hasLogged("No change in current mode"));
  EXPECT_FALSE(displays.hasLogged("FIRST CHECK"));
}

}  // namespace
}  // namespace vlm
