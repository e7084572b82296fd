#include <gtest/gtest.h>

#include "Models/VLMDisplay.h"
#include "Platform/Notifications.h"
#include "Simulator/Mac/Registry.h"
#include "Tests/Support/TestProcess.h"

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

/// Records of the displays of a laptop with two monitors, as its daemon has them.
class LiveState : public ::testing::Test {
 protected:
  sim::SimulatedMac& mac() { return process_.mac(); }
  sim::SimulatedDisplay& left() { return process_.display("Left"); }
  std::shared_ptr<VLMDisplay> recordOf(const std::string& name) {
    auto record = VLMDisplay::init();
    record->cgID = process_.display(name).id;
    return record;
  }
  void mirror(const std::string& name, const std::string& master) {
    EXPECT_EQ(mac().windowServer().changeByAnother({{.kind = sim::DisplayChange::Kind::mirror,
                                                     .display = process_.display(name).id,
                                                     .master = process_.display(master).id}}),
              std::nullopt);
  }

  sim::TestProcess process_{machine()};
};

TEST_F(LiveState, TellsWhatIsActiveAndWhereItStands) {
  const auto record = recordOf("Left");
  EXPECT_TRUE(record->isActive());
  EXPECT_FALSE(record->isMainDisplay());
  const Rect bounds = mac().windowServer().bounds(left());
  EXPECT_EQ(record->displayPosition(), (DisplayPosition{.v = static_cast<std::int16_t>(bounds.origin.y),
                                                        .h = static_cast<std::int16_t>(bounds.origin.x)}));
  ASSERT_EQ(mac().setEnabled("Left", false), std::nullopt);
  record->isEnabled = true;
  EXPECT_FALSE(record->isActive());
  // Asleep or offline it is as the record has it.
  left().asleep = true;
  EXPECT_TRUE(record->isActive());
  record->isEnabled = false;
  ASSERT_EQ(mac().unplug("Left"), std::nullopt);
  EXPECT_FALSE(record->isActive());
  record->isEnabled = true;
  EXPECT_TRUE(record->isActive());
  EXPECT_EQ(record->framebuffer(), 0U);
  EXPECT_EQ(record->contentOfIODisplayRegDictionary(), std::nullopt);
}

TEST_F(LiveState, SeesMirroringInBothDirectionsAndThroughAThird) {
  const auto builtIn = recordOf("Built-in"), leftRecord = recordOf("Left"), right = recordOf("Right");
  EXPECT_FALSE(builtIn->isMirroring(*leftRecord));
  EXPECT_FALSE(builtIn->isMirroring(*VLMDisplay::init())) << "not attached";
  mirror("Left", "Built-in");
  EXPECT_TRUE(builtIn->isMirroring(*leftRecord));
  EXPECT_TRUE(leftRecord->isMirroring(*builtIn));
  EXPECT_FALSE(leftRecord->isMirroring(*right));
  mirror("Right", "Built-in");
  EXPECT_TRUE(leftRecord->isMirroring(*right));
  EXPECT_TRUE(leftRecord->isActive());
}

TEST_F(LiveState, ReadsTheParametersOrTheirDefaults) {
  const auto record = recordOf("Left"), right = recordOf("Right");
  left().overscan = 1;
  left().underscan = 0.5F;
  left().hdr = true;
  EXPECT_TRUE(record->isInOverscan());
  EXPECT_EQ(record->underscanValue(), 0.5F);
  EXPECT_TRUE(record->isInHDR());
  EXPECT_FALSE(right->isInOverscan());
  EXPECT_EQ(right->underscanValue(), 1.0F);
  EXPECT_TRUE(record->getDetailedModesArray());
  ASSERT_TRUE(record->contentOfIODisplayRegDictionary());
  EXPECT_TRUE(record->contentOfIODisplayRegDictionary()->contains("IODisplayEDID"));
}

TEST_F(LiveState, ReadsTheBrightnessTheWayThatReachesIt) {
  const auto record = recordOf("Left");
  EXPECT_EQ(record->readBrightness(), -1.0F);
  record->canBrightness = 1;
  record->savedLastSetBrightness = 0.3F;
  EXPECT_EQ(record->readBrightness(), 0.3F) << "a monitor that never answered is not asked";
  record->maxBrightness = 1;
  EXPECT_FLOAT_EQ(record->readBrightness(), 0.25F);
  EXPECT_EQ(record->maxBrightness, 200.0F);
  const auto builtIn = recordOf("Built-in");
  builtIn->canBrightness = 2;
  EXPECT_FLOAT_EQ(builtIn->readBrightness(), 0.75F);
}

TEST_F(LiveState, TakesTheGranularityFromAWholeTimingRangeOnly) {
  const auto record = recordOf("Left");
  std::uint16_t active = 0, sync = 0;
  plist::Data range(312, 0);
  range[96] = 8;
  range[97] = range[98] = range[108] = 6;
  mac().windowServer().registry().setProperty(left().frameBuffer, "IOFBTimingRange",
                                              plist::Data(range.begin(), range.end() - 1));
  record->getGranularityActive(active, sync);
  EXPECT_EQ(active, 1);
  mac().windowServer().registry().setProperty(left().frameBuffer, "IOFBTimingRange", range);
  record->getGranularityActive(active, sync);
  EXPECT_EQ(active, 8);
}

TEST_F(LiveState, AnnouncesEveryCheckOfTheDirtyState) {
  const auto record = recordOf("Left");
  std::vector<std::pair<const void*, bool>> announced;
  const auto observer = os().notifications.addObserver(
      NotificationCenter::local, "VLMInternalDisplayDirtyStateChanged", std::nullopt, SuspensionBehavior::drop,
      [&](const Notification& n) { announced.emplace_back(n.sender, record->isDirty()); });
  record->setIsDirtyViewOptions(true);
  record->setIsDirtyEDIDOptions(true);
  record->setIsDirty(false);
  record->setIsDirtyStandardMenu(false);
  // The options of a duplicate cannot be edited.
  record->isDuplicate = true;
  record->setIsDirtyViewOptions(true);
  record->displayName = VLMOverrideDisplayName::initAndDecodeReadableWith({{"name", "A"}, {"shouldOverride", true}});
  record->checkIsDirty();
  using Announced = std::vector<std::pair<const void*, bool>>;
  const void* const sender = record.get();
  EXPECT_EQ(announced, (Announced{{sender, true}, {sender, true}, {sender, false}, {sender, false}, {sender, true}}));
  os().notifications.removeObserver(NotificationCenter::local, observer);
}

TEST_F(LiveState, GroupsModesThatDifferInRateAlone) {
  const auto record = recordOf("Left");
  const auto add = [&](std::uint32_t width, float hz, float definition, bool interlaced) {
    const auto mode = VLMMode::init();
    mode->Nx = width;
    mode->Hz = hz;
    mode->definition = definition;
    mode->interlaced = interlaced;
    record->validDisplayModes.push_back(mode);
  };
  add(1920, 60, 1, false);
  add(1920, 60, 2, false);
  add(1920, 50, 1, false);
  add(1920, 60, 1, true);
  add(1280, 60, 1, false);
  record->gatherModesInFrequencySets();
  record->gatherModesInFrequencySets();
  ASSERT_EQ(record->setsOfModesByFreq.size(), 4U);
  EXPECT_EQ(record->setsOfModesByFreq[0],
            (VLMDisplay::Modes{record->validDisplayModes[0], record->validDisplayModes[2]}));
}

}  // namespace
}  // namespace vlm
