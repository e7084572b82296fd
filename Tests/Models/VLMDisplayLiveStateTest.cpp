#include <gtest/gtest.h>

#include "Platform/Notifications.h"
#include "Tests/Support/DisplaysOnMac.h"

namespace vlm {
namespace {

sim::MachineDescription machine() {
  auto machine = sim::laptopWith({"Left", "Right"});
  sim::DisplayDescription& left = machine.displays[1];
  left.canOverscan = left.canUnderscan = left.supportsHDR = true;
  left.ddcMaximum = 200;
  left.ddcCurrent = 50;
  return machine;
}

/// A laptop with two monitors, as its daemon sees them.
class LiveState : public ::testing::Test {
 protected:
  sim::SimulatedDisplay& left() { return displays_.mac().display("Left"); }

  test::DisplaysOnMac displays_{machine()};
  const std::shared_ptr<VLMDisplay> record_ = displays_["Left"];
};

TEST_F(LiveState, TellsWhatIsActiveAndWhereItStands) {
  EXPECT_TRUE(record_->isActive());
  EXPECT_FALSE(record_->isMainDisplay());
  EXPECT_EQ(record_->displayPosition(), (DisplayPosition{.v = 0, .h = 1440}));
  ASSERT_EQ(displays_.mac().setEnabled("Left", false), std::nullopt);
  EXPECT_FALSE(record_->isActive());
  // Asleep or offline it is as the record has it.
  left().asleep = true;
  EXPECT_TRUE(record_->isActive());
  record_->isEnabled = false;
  ASSERT_EQ(displays_.mac().unplug("Left"), std::nullopt);
  EXPECT_FALSE(record_->isActive());
  record_->isEnabled = true;
  EXPECT_TRUE(record_->isActive());
  EXPECT_EQ(record_->framebuffer(), 0U);
}

TEST_F(LiveState, SeesMirroringInBothDirectionsAndThroughAThird) {
  const auto builtIn = displays_["Built-in"], right = displays_["Right"];
  EXPECT_FALSE(builtIn->isMirroring(*record_));
  EXPECT_FALSE(builtIn->isMirroring(*VLMDisplay::init())) << "not attached";
  displays_.mirror("Left", "Built-in");
  EXPECT_TRUE(builtIn->isMirroring(*record_));
  EXPECT_TRUE(record_->isMirroring(*builtIn));
  EXPECT_FALSE(record_->isMirroring(*right));
  displays_.mirror("Right", "Built-in");
  EXPECT_TRUE(record_->isMirroring(*right));
  EXPECT_TRUE(record_->isActive());
}

TEST_F(LiveState, ReadsTheParametersOrTheirDefaults) {
  left().overscan = 1;
  left().underscan = 0.5F;
  left().hdr = true;
  EXPECT_TRUE(record_->isInOverscan() && record_->isInHDR());
  EXPECT_EQ(record_->underscanValue(), 0.5F);
  EXPECT_FALSE(displays_["Right"]->isInOverscan());
  EXPECT_EQ(displays_["Right"]->underscanValue(), 1.0F);
}

TEST_F(LiveState, ReadsTheBrightnessTheWayThatReachesIt) {
  record_->maxBrightness = 0;
  record_->savedLastSetBrightness = 0.3F;
  EXPECT_EQ(record_->readBrightness(), 0.3F) << "a monitor that never answered is not asked";
  record_->maxBrightness = 1;
  EXPECT_FLOAT_EQ(record_->readBrightness(), 0.25F);
  EXPECT_EQ(record_->maxBrightness, 200.0F);
  record_->canBrightness = 0;
  EXPECT_EQ(record_->readBrightness(), -1.0F);
}

TEST_F(LiveState, TakesTheGranularityFromAWholeTimingRangeOnly) {
  std::uint16_t active = 0, sync = 0;
  plist::Data range(312, 0);
  range[96] = 8;
  displays_.setProperty("Left", "IOFBTimingRange", plist::Data(range.begin(), range.end() - 1));
  record_->getGranularityActive(active, sync);
  EXPECT_EQ(active, 1);
  displays_.setProperty("Left", "IOFBTimingRange", range);
  record_->getGranularityActive(active, sync);
  EXPECT_EQ(active, 8);
}

TEST_F(LiveState, AnnouncesEveryCheckOfTheDirtyState) {
  using Announced = std::vector<std::pair<const void*, bool>>;
  Announced announced;
  const auto observer = os().notifications.addObserver(
      NotificationCenter::local, "VLMInternalDisplayDirtyStateChanged", std::nullopt, SuspensionBehavior::drop,
      [&](const Notification& n) { announced.emplace_back(n.sender, record_->isDirty()); });
  record_->setIsDirtyViewOptions(true);
  record_->setIsDirtyEDIDOptions(true);
  record_->setIsDirty(false);
  record_->setIsDirtyStandardMenu(false);
  // The options of a duplicate cannot be edited.
  record_->isDuplicate = true;
  record_->setIsDirtyViewOptions(true);
  record_->displayName->shouldOverride = true;
  record_->checkIsDirty();
  const void* const sender = record_.get();
  EXPECT_EQ(announced, (Announced{{sender, true}, {sender, true}, {sender, false}, {sender, false}, {sender, true}}));
  os().notifications.removeObserver(NotificationCenter::local, observer);
}

TEST_F(LiveState, GroupsModesThatDifferInRateAlone) {
  VLMDisplay::Modes& modes = record_->validDisplayModes;
  modes.clear();
  const auto add = [&](std::uint32_t width, float hz, float definition, bool interlaced) {
    modes.push_back(VLMMode::init());
    modes.back()->Nx = width;
    modes.back()->Hz = hz;
    modes.back()->definition = definition;
    modes.back()->interlaced = interlaced;
  };
  add(1920, 60, 1, false);
  add(1920, 60, 2, false);
  add(1920, 50, 1, false);
  add(1920, 60, 1, true);
  add(1280, 60, 1, false);
  record_->gatherModesInFrequencySets();
  ASSERT_EQ(record_->setsOfModesByFreq.size(), 4U);
  EXPECT_EQ(record_->setsOfModesByFreq[0], (VLMDisplay::Modes{modes[0], modes[2]}));
}

}  // namespace
}  // namespace vlm
