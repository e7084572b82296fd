#include <gtest/gtest.h>

#include "Models/VLMDisplaySet.h"
#include "Tests/Support/DaemonOnMac.h"
#include "Tests/Support/Machines.h"

namespace vlm {
namespace {

constexpr std::int16_t kNone = 0, kCheck = 1, kDash = 2, kDiamond = 3;

/// A built-in panel, "Left" beside it, and a set that was just recorded from them.
class CheckMark : public ::testing::Test {
 protected:
  CheckMark() : on_(test::laptopWith({"Left"})) {
    on_.launch();
    on_.inside([&](VLMGlobals& document) {
      set_ = VLMDisplaySet::initWithDisplays(document.displayArray, document);
      left_ = document.displayArray[1];
    });
  }

  std::int16_t mark() {
    return on_.inside([&](VLMGlobals& document) {
      for (const auto& display : document.displayArray) display->updateCurrentMode();
      return document.checkMarkForSet(*set_, &hasSetting_);
    });
  }
  VLMMonitorInSet& monitor(std::size_t index) { return *set_->monitorArray[index]; }
  /// Leaves nothing enforced of any monitor.
  void enforceNothing() {
    for (const auto& monitor : set_->monitorArray) {
      monitor->modeUniqueID = monitor->selDepth = VLMMonitorInSet::kNoSetting;
      monitor->isMainDisplay = false;
    }
  }

  test::DaemonOnMac on_;
  std::shared_ptr<VLMDisplaySet> set_;
  std::shared_ptr<VLMDisplay> left_;
  bool hasSetting_ = false;
};

TEST_F(CheckMark, StandsBesideASetThatWasJustRecorded) {
  EXPECT_EQ(mark(), kCheck);
  EXPECT_TRUE(hasSetting_);
}

TEST_F(CheckMark, GoesWithEveryAspectThatDiffers) {
  const struct {
    const char* name;
    void (*change)(VLMMonitorInSet&);
  } kRows[] = {
      {.name = "mode", .change = [](VLMMonitorInSet& m) { ++m.modeUniqueID; }},
      {.name = "depth", .change = [](VLMMonitorInSet& m) { m.selDepth = 512; }},
      {.name = "origin", .change = [](VLMMonitorInSet& m) { m.hasOrigin = true, m.origin ^= 1; }},
      {.name = "orientation", .change = [](VLMMonitorInSet& m) { m.hasOrientation = true, m.orientation = 90; }},
      {.name = "off", .change = [](VLMMonitorInSet& m) { m.hasActivity = true, m.isActive = false; }},
  };
  for (const auto& row : kRows) {
    const auto before = set_->monitorArray[1];
    set_->monitorArray[1] = before->deepCopy();
    row.change(monitor(1));
    EXPECT_EQ(mark(), kNone) << row.name;
    set_->monitorArray[1] = before;
  }
  EXPECT_EQ(mark(), kCheck);
}

TEST_F(CheckMark, IsADiamondWhenSomeDisplayIsNotDescribed) {
  monitor(1).modeUniqueID = monitor(1).selDepth = VLMMonitorInSet::kNoSetting;
  monitor(1).isMainDisplay = false;
  EXPECT_EQ(mark(), kDiamond);
  set_->hasGray = true;  // speaks of every display
  EXPECT_EQ(mark(), kCheck);
}

TEST_F(CheckMark, IsADashWhenADisplayIsMissingOrOff) {
  set_->monitorArray[1]->dispIsPresent = false;
  EXPECT_EQ(mark(), kDash);
  set_->monitorArray[1]->dispIsPresent = true;
  ASSERT_EQ(on_.mac.setEnabled("Left", false), std::nullopt);
  on_.mac.turn();
  EXPECT_EQ(mark(), kDash);
  monitor(1).hasActivity = true, monitor(1).isActive = false;
  EXPECT_EQ(mark(), kCheck);
}

TEST_F(CheckMark, LetsASetOfActivityAloneBeApplied) {
  enforceNothing();
  monitor(1).hasActivity = true, monitor(1).isActive = false;
  EXPECT_EQ(mark(), kNone);
  ASSERT_EQ(on_.mac.setEnabled("Left", false), std::nullopt);
  on_.mac.turn();
  EXPECT_NE(mark(), kNone);
  monitor(1).isActive = true;
  EXPECT_EQ(mark(), kNone);
}

TEST_F(CheckMark, SeesThatTheMainDisplayIsAnother) {
  enforceNothing();
  monitor(0).hasActivity = monitor(1).hasActivity = true;
  monitor(0).isMainDisplay = true;
  EXPECT_EQ(mark(), kCheck);
  monitor(0).isMainDisplay = false, monitor(1).isMainDisplay = true;
  EXPECT_EQ(mark(), kNone);
}

TEST_F(CheckMark, ComparesPictureOptionsOnlyWhereTheDisplayHasThem) {
  sim::SimulatedDisplay& left = on_.mac.display("Left");
  const struct {
    const char* name;
    void (*enforce)(VLMMonitorInSet&);
    bool VLMDisplay::*capability;
  } kRows[] = {
      {.name = "overscan",
       .enforce = [](VLMMonitorInSet& m) { m.hasOverscan = m.inOverscan = true; },
       .capability = &VLMDisplay::canOverscan},
      {.name = "underscan",
       .enforce = [](VLMMonitorInSet& m) { m.hasUnderscan = true, m.underscan = 0.5F; },
       .capability = &VLMDisplay::canUnderscan},
  };
  for (const auto& row : kRows) {
    const auto before = set_->monitorArray[1];
    set_->monitorArray[1] = before->deepCopy();
    row.enforce(monitor(1));
    EXPECT_EQ(mark(), kCheck) << row.name;
    (*left_).*(row.capability) = true;
    EXPECT_EQ(mark(), kNone) << row.name;
    (*left_).*(row.capability) = false;
    set_->monitorArray[1] = before;
  }
  monitor(1).hasHDR = monitor(1).isInHDR = true;
  EXPECT_EQ(mark(), kCheck);
  left.description.supportsHDR = true;
  EXPECT_EQ(mark(), kNone);
  left.hdr = true;
  EXPECT_EQ(mark(), kCheck);
}

TEST_F(CheckMark, IsADashWhenTheMainDisplayIsOff) {
  enforceNothing();
  monitor(1).isMainDisplay = true;
  ASSERT_EQ(on_.mac.setEnabled("Left", false), std::nullopt);
  on_.mac.turn();
  EXPECT_EQ(mark(), kDash);
  EXPECT_TRUE(hasSetting_);
  monitor(1).isMainDisplay = false;
  EXPECT_EQ(mark(), kDiamond);
  EXPECT_FALSE(hasSetting_);
}

TEST_F(CheckMark, ComparesMirroringAndGrey) {
  set_->hasMirroring = set_->inMirroring = true;
  EXPECT_EQ(mark(), kNone);
  set_->inMirroring = false;
  EXPECT_EQ(mark(), kCheck);
  set_->complexMirroringSet.add({*monitor(0).monitorResID, *monitor(1).monitorResID});
  EXPECT_EQ(mark(), kNone);
  sim::SimulatedDisplay &panel = on_.mac.display("Built-in"), &left = on_.mac.display("Left");
  monitor(0).isMainDisplay = false;
  const auto mirror = [&](CGDirectDisplayID master) {
    ASSERT_EQ(on_.mac.windowServer().changeByAnother(
                  {{.kind = sim::DisplayChange::Kind::mirror, .display = left.id, .master = master}}),
              std::nullopt);
    on_.mac.turn();
  };
  mirror(panel.id);
  EXPECT_EQ(mark(), kCheck);
  mirror(kCGNullDirectDisplay);
  set_->complexMirroringSet.clear();
  set_->hasGray = set_->inGray = true;
  EXPECT_EQ(mark(), kNone);
  on_.mac.grayscale = true;
  EXPECT_EQ(mark(), kCheck);
}

}  // namespace
}  // namespace vlm
