#include <gtest/gtest.h>

#include <sstream>

#include "Platform/RunLoop.h"
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

}  // namespace
}  // namespace vlm::sim
