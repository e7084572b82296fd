#include <gtest/gtest.h>

#include <sstream>

#include "Platform/ColorSync.h"
#include "Platform/PowerSources.h"
#include "Platform/RunLoop.h"
#include "Platform/Workspace.h"
#include "Simulator/Mac/MachineEvents.h"
#include "Simulator/Mac/SessionPorts.h"
#include "Tests/Simulator/Mac/SmallMachines.h"

namespace vlm::sim {
namespace {

class Events : public ::testing::Test {
 protected:
  SimulatedMac mac_{smallMachine(2)};
  Session& process_ = addProcess(mac_, "watcher");
  std::vector<CGDisplayChangeSummaryFlags> heardOfB_;

  void listenToB() {
    process_.ports().quartz.CGDisplayRegisterReconfigurationCallback(
        [this](CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags) {
          if (display == mac_.display("B").id) heardOfB_.push_back(flags);
        });
  }
};

TEST_F(Events, ASleepingMachineDeliversNothingAndARepeatingTimerThatMissedFiresOnce) {
  std::string heard;
  process_.ports().runLoop.scheduledTimerWithTimeInterval(1, true, [&] { heard += "tick "; });
  process_.ports().runLoop.performAfterDelay(5, [&] { heard += "later "; });
  process_.ports().notifications.addObserver(NotificationCenter::workspace, "NSWorkspaceDidWakeNotification",
                                             std::nullopt, SuspensionBehavior::deliverImmediately,
                                             [&](const Notification&) { heard += "wake "; });
  Session& other = addProcess(mac_, "other");
  other.ports().runLoop.scheduledTimerWithTimeInterval(1, true, [&] { heard += "ended "; });
  EXPECT_EQ(mac_.events().sleep(), std::nullopt);
  EXPECT_TRUE(process_.ports().quartz.CGDisplayIsAsleep(mac_.display("A").id));
  mac_.advance(100);
  mac_.turn();
  EXPECT_EQ(heard, "");
  other.end();
  EXPECT_EQ(mac_.events().wake(), std::nullopt);
  mac_.turn();
  EXPECT_EQ(heard, "wake tick later ");
  mac_.advance(2);
  EXPECT_EQ(heard, "wake tick later tick tick ");
  EXPECT_FALSE(process_.ports().quartz.CGDisplayIsAsleep(mac_.display("A").id));
}

TEST_F(Events, TheLidTakesThePanelAwayOrLetsTheMachineSleep) {
  EXPECT_EQ(mac_.events().closeLid(), std::nullopt);
  EXPECT_FALSE(mac_.display("Panel").isOnline());
  EXPECT_EQ(mac_.events().openLid(), std::nullopt);
  mac_.unplug("A");
  mac_.unplug("B");
  EXPECT_EQ(mac_.events().closeLid(), std::nullopt);
  EXPECT_TRUE(mac_.events().isAsleep());
  EXPECT_EQ(mac_.events().wake(), "the lid is closed");
  EXPECT_EQ(mac_.events().openLid(), std::nullopt);
  EXPECT_EQ(arrangementOf(mac_), "Panel 0,0");
}

TEST_F(Events, MonitorsWithoutSerialNumbersBecomeEachOtherWhenTheySwapPorts) {
  changeByAnother(mac_, "A mode 3, A at 0 800");
  mac_.turn();
  const std::string before = arrangementOf(mac_), uuidOfA = mac_.display("A").uuid;
  EXPECT_EQ(mac_.events().setPort("A", mac_.display("B").description.port), std::nullopt);
  EXPECT_EQ(mac_.display("B").uuid, uuidOfA);
  EXPECT_EQ(mac_.display("B").mode().width, 600U);
  EXPECT_EQ(mac_.display("A").mode().width, 1000U);
  EXPECT_EQ(mac_.events().setPort("Panel", 9), "Panel has no cable");
  EXPECT_EQ(mac_.events().setPort("A", 0), "port 0 is the built-in panel's");
  EXPECT_EQ(mac_.events().setPort("A", 1), std::nullopt);
  EXPECT_EQ(arrangementOf(mac_), before);
}

TEST_F(Events, WhatHappensWhileAnotherUserIsInFrontIsToldOnTheWayBackAtOnce) {
  listenToB();
  EXPECT_EQ(mac_.events().switchAway(), std::nullopt);
  changeByAnother(mac_, "B mode 2");
  mac_.advance(1);
  changeByAnother(mac_, "B mode 3");
  mac_.advance(1);
  EXPECT_EQ(heardOfB_.size(), 0U);
  EXPECT_EQ(mac_.events().switchBack(), std::nullopt);
  mac_.turn();
  ASSERT_EQ(heardOfB_.size(), 2U);
  EXPECT_NE(heardOfB_[1] & kCGDisplaySetModeFlag, 0U);
}

TEST_F(Events, AStormIsInOrderOutOfOrderAndLate) {
  listenToB();
  EXPECT_EQ(mac_.events().storm("B", 3, kCGDisplayAddFlag), std::nullopt);
  mac_.turn();
  EXPECT_EQ(heardOfB_, (std::vector<CGDisplayChangeSummaryFlags>{1, 0x10, 0x10, 1}));
  process_.end();
  mac_.advance(2);
  EXPECT_EQ(heardOfB_.size(), 4U);
}

TEST_F(Events, CoreAnimationKeepsTheWidthsOfDisplaysThatCameOrWentUntilItForgetsThem) {
  SkyLight& skyLight = process_.ports().skyLight;
  const auto widths = [&](bool invalidated) {
    std::ostringstream text;
    const auto listed = skyLight.CADisplays().value();
    for (const std::uint32_t display : listed) {
      if (invalidated) skyLight.CADisplayInvalidate(display);
      text << skyLight.CADisplayFrameWidth(display) << " ";
    }
    return text.str();
  };
  EXPECT_EQ(widths(false), "1000 1000 1000 ");
  mac_.unplug("B");
  EXPECT_EQ(widths(false), "1000 1000 1000 ");
  EXPECT_EQ(widths(true), "1000 1000 0 ");
  EXPECT_EQ(widths(false), "1000 1000 ");
  mac_.plug("B");
  EXPECT_EQ(widths(false), "1000 1000 0 ");
  EXPECT_EQ(widths(true), "1000 1000 1000 ");
}

TEST(Applications, AreFoundLaunchedAndReopenedOrRefused) {
  MachineDescription machine = smallMachine(0);
  machine.applications = {{.bundleIdentifier = "test.paint", .name = "Paint"}};
  SimulatedMac mac(machine);
  Workspace& workspace = addProcess(mac, "opener").ports().workspace;
  std::string path;
  EXPECT_EQ(workspace.LSFindApplicationForInfo(kLSUnknownCreator, "test.draw", std::nullopt, path), fnfErr);
  EXPECT_EQ(workspace.LSFindApplicationForInfo(kLSUnknownCreator, "test.paint", std::nullopt, path), 0);
  EXPECT_EQ(path, "/Applications/Paint.app");
  EXPECT_TRUE(workspace.runningApplicationsWithBundleIdentifier("test.paint").empty());
  EXPECT_EQ(workspace.LSOpenFromURLSpec("/Applications/Draw.app", kLSLaunchDefaults, 0), fnfErr);
  EXPECT_FALSE(workspace.launchApplicationAtURL("/Applications/Draw.app", 0, {}));
  EXPECT_TRUE(workspace.launchApplicationAtURL(path, 0, {}));
  EXPECT_EQ(workspace.LSOpenFromURLSpec(path, kLSLaunchDefaults, 0), 0);
  const auto running = workspace.runningApplicationsWithBundleIdentifier("test.paint");
  ASSERT_EQ(running.size(), 1U);
  EXPECT_TRUE(workspace.activateWithOptions(running.front().processIdentifier, kActivateIgnoringOtherApps));
  EXPECT_TRUE(workspace.forceTerminate(running.front().processIdentifier));
  EXPECT_FALSE(workspace.activateWithOptions(running.front().processIdentifier, kActivateIgnoringOtherApps));
  EXPECT_FALSE(workspace.openFile(mac.homeFolder() + "/no such file"));
}

}  // namespace
}  // namespace vlm::sim
