#include <gtest/gtest.h>

#include "Models/VLMDisplaySet.h"
#include "Tests/Support/DaemonOnMac.h"
#include "Tests/Support/Machines.h"

namespace vlm {
namespace {

/// A built-in panel, "Left" and "Right", and a set recorded from them; the journal begins empty.
class ApplyDisplaySet : public ::testing::Test {
 protected:
  ApplyDisplaySet() : on_(test::laptopWith({"Left", "Right"})) {
    on_.launch();
    on_.mac.advance(2);
    set_ = newSet();
    on_.mac.journal().clear();
  }

  std::shared_ptr<VLMDisplaySet> newSet() {
    return on_.inside([](VLMGlobals& document) {
      auto set = VLMDisplaySet::initWithDisplays(document.displayArray, document);
      set->uniqueID = document.findNextSetUniqueID();
      document.displaySetsArray.push_back(set);
      return set;
    });
  }
  void apply(const std::shared_ptr<VLMDisplaySet>& set) {
    on_.inside([&](VLMGlobals& document) { document.applyDisplaySet(set, true); });
  }
  /// Lets the daemon's next tick pass.
  void tick() { on_.mac.advance(1.5); }
  VLMMonitorInSet& monitorOf(const std::string& display) {
    return on_.inside([&](VLMGlobals& document) -> VLMMonitorInSet& {
      const auto record = document.displayWithcgID(on_.mac.display(display).id);
      return *set_->monitorWithID(record->monitorResID);
    });
  }
  sim::WindowServer& server() { return on_.mac.windowServer(); }
  std::ptrdiff_t transactions() { return on_.journalCount("CGCompleteDisplayConfiguration("); }

  test::DaemonOnMac on_;
  std::shared_ptr<VLMDisplaySet> set_;
};

TEST_F(ApplyDisplaySet, DoesNothingToTheDisplaysWhenItIsInForce) {
  apply(set_);
  EXPECT_EQ(transactions(), 0);
  EXPECT_TRUE(set_->lastExecutedDate);
}

TEST_F(ApplyDisplaySet, BringsAModeBackOnceASecond) {
  const auto wanted = on_.mac.display("Right").modeNumber;
  ASSERT_EQ(on_.mac.setMode("Right", 1280, 720), std::nullopt);
  tick();
  apply(set_);
  EXPECT_EQ(on_.mac.display("Right").modeNumber, wanted);
  tick();
  // Within the second after an application, a request is the same request.
  on_.inside([&](VLMGlobals& document) {
    for (const auto& display : document.displayArray) display->updateCurrentMode();
  });
  apply(set_);
  ASSERT_EQ(on_.mac.setMode("Right", 1280, 720), std::nullopt);
  on_.mac.turn();
  apply(set_);
  EXPECT_NE(on_.mac.display("Right").modeNumber, wanted);
  tick();
  apply(set_);
  EXPECT_EQ(on_.mac.display("Right").modeNumber, wanted);
}

TEST_F(ApplyDisplaySet, MovesAllDisplaysWithTheNewMainOne) {
  const Point leftOrigin = on_.mac.display("Left").origin, rightOrigin = on_.mac.display("Right").origin;
  for (const auto& monitor : set_->monitorArray) monitor->isMainDisplay = false;
  monitorOf("Right").isMainDisplay = true;
  apply(set_);
  EXPECT_EQ(on_.mac.windowServer().mainDisplay(), &on_.mac.display("Right"));
  EXPECT_EQ(on_.mac.display("Left").origin.x, leftOrigin.x - rightOrigin.x);
  EXPECT_EQ(on_.mac.display("Left").origin.y, leftOrigin.y - rightOrigin.y);
}

TEST_F(ApplyDisplaySet, TurnsDisplaysOffAndOnAgain) {
  monitorOf("Left").hasActivity = true, monitorOf("Left").isActive = false;
  apply(set_);
  EXPECT_FALSE(on_.mac.display("Left").isActive());
  EXPECT_TRUE(on_.mac.display("Right").isActive());
  tick();
  monitorOf("Left").isActive = true;
  apply(set_);
  EXPECT_TRUE(on_.mac.display("Left").isActive());
  EXPECT_EQ(on_.journalCount("IORequestIdle"), 1);
}

TEST_F(ApplyDisplaySet, LeavesOneDisplayOn) {
  for (const auto& monitor : set_->monitorArray) monitor->hasActivity = true, monitor->isActive = false;
  apply(set_);
  const auto& displays = server().displays();
  EXPECT_EQ(std::count_if(displays.begin(), displays.end(), [](const auto& display) { return display->isActive(); }), 1);
}

TEST_F(ApplyDisplaySet, EndsMirroringBeforeTurningADisplayOff) {
  sim::SimulatedDisplay &left = on_.mac.display("Left"), &right = on_.mac.display("Right");
  ASSERT_EQ(server().changeByAnother(
                {{.kind = sim::DisplayChange::Kind::mirror, .display = right.id, .master = left.id}}),
            std::nullopt);
  tick();
  monitorOf("Right").hasActivity = true, monitorOf("Right").isActive = false;
  on_.mac.journal().clear();
  apply(set_);
  EXPECT_FALSE(right.isActive());
  EXPECT_EQ(right.mirrors, kCGNullDirectDisplay);
  const auto& lines = on_.mac.journal().lines();
  const auto indexOf = [&](const std::string& text) {
    return std::find_if(lines.begin(), lines.end(), [&](const auto& line) { return line.find(text) != line.npos; });
  };
  EXPECT_LT(indexOf("CGConfigureDisplayMirrorOfDisplay(Right"), indexOf("CGSConfigureDisplayEnabled(Right"));
}

TEST_F(ApplyDisplaySet, DropsTheRequestWithWhichAChainComesBack) {
  const auto other = newSet();
  set_->setChainedDisplaySet(other);
  other->setChainedDisplaySet(set_);
  apply(set_);
  const auto first = set_->lastExecutedDate;
  on_.mac.turn();
  EXPECT_TRUE(other->lastExecutedDate);
  EXPECT_EQ(set_->lastExecutedDate, first);
}

TEST_F(ApplyDisplaySet, LetsTheOtherDisplaysHaveTheirsWhenOneIsGone) {
  ASSERT_EQ(on_.mac.unplug("Left"), std::nullopt);
  const auto wanted = on_.mac.display("Right").modeNumber;
  ASSERT_EQ(on_.mac.setMode("Right", 1280, 720), std::nullopt);
  tick();
  tick();
  apply(set_);
  EXPECT_EQ(on_.mac.display("Right").modeNumber, wanted);
}

}  // namespace
}  // namespace vlm
