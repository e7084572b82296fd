#include <gtest/gtest.h>

#include <utility>

#include "Models/VLMDisplaySet.h"
#include "Simulator/Mac/MachineEvents.h"
#include "Tests/Support/DaemonOnMac.h"
#include "Tests/Support/Machines.h"

namespace vlm {
namespace {

sim::MachineDescription machineWithEverything() {
  auto machine = test::laptopWith({"Left", "Right"});
  machine.displays[1].canOverscan = machine.displays[1].canUnderscan = machine.displays[1].supportsHDR = true;
  return machine;
}

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

TEST_F(ApplyDisplaySet, BringsAModeBackOnceASecond) {
  const auto wanted = on_.mac.display("Right").modeNumber;
  const auto spoilAndApplyAfter = [&](double seconds) {
    EXPECT_EQ(on_.mac.setMode("Right", 1280, 720), std::nullopt);
    on_.mac.advance(seconds);
    apply(set_);
    return on_.mac.display("Right").modeNumber == wanted;
  };
  EXPECT_TRUE(spoilAndApplyAfter(0.1));
  // Within the second after an application, a request is the same request.
  EXPECT_FALSE(spoilAndApplyAfter(0.9));
  EXPECT_TRUE(spoilAndApplyAfter(0.2));
}

TEST_F(ApplyDisplaySet, MovesAllDisplaysWithTheNewMainOneButThoseWithAnOrigin) {
  for (const auto& monitor : set_->monitorArray) monitor->isMainDisplay = false;
  monitorOf("Built-in").isMainDisplay = true;  // the last one flagged counts
  monitorOf("Right").isMainDisplay = true;
  monitorOf("Left").hasOrigin = true;
  monitorOf("Left").origin = DisplayPosition{.v = 10, .h = -2560}.packed();
  apply(set_);
  EXPECT_EQ(on_.mac.windowServer().mainDisplay(), &on_.mac.display("Right"));
  for (const char* line : {"CGSConfigureDisplayOrigin(Built-in, -4000, 0)",
                           "CGSConfigureDisplayOrigin(Left, -2560, 10)", "CGSConfigureDisplayOrigin(Right, 0, 0)"}) {
    EXPECT_EQ(on_.journalCount(line), 1) << line;
  }
}

TEST_F(ApplyDisplaySet, PlacesThoseThatStandWellWhenOthersMoveIntoTheirWay) {
  for (const auto& monitor : set_->monitorArray) monitor->hasOrigin = true;
  monitorOf("Built-in").isMainDisplay = false;
  monitorOf("Left").isMainDisplay = true;
  monitorOf("Left").origin = 0;
  monitorOf("Built-in").origin = DisplayPosition{.v = 0, .h = 2560}.packed();
  apply(set_);
  EXPECT_EQ(server().bounds(on_.mac.display("Right")).origin, (Point{.x = 4000, .y = 0}));
  EXPECT_EQ(server().bounds(on_.mac.display("Built-in")).origin, (Point{.x = 2560, .y = 0}));
}

TEST_F(ApplyDisplaySet, TakesItsStepsInTheirOrder) {
  sim::SimulatedDisplay &left = on_.mac.display("Left"), &right = on_.mac.display("Right");
  ASSERT_EQ(on_.mac.setEnabled("Left", false), std::nullopt);
  ASSERT_EQ(
      server().changeByAnother(
          {{.kind = sim::DisplayChange::Kind::mirror, .display = right.id, .master = on_.mac.display("Built-in").id}}),
      std::nullopt);
  tick();
  tick();
  on_.inside([](VLMGlobals& document) { document.quitDockAfterEnabling = document.quitDockAfterDisabling = true; });
  monitorOf("Left").hasActivity = true;
  monitorOf("Left").hasOrigin = true, monitorOf("Left").origin = DisplayPosition{.v = 0, .h = -2560}.packed();
  monitorOf("Right").hasActivity = true, monitorOf("Right").isActive = false, monitorOf("Right").hasOrigin = true;
  on_.mac.journal().clear();
  apply(set_);
  std::vector<std::string> calls;
  for (const std::string& line : on_.mac.journal().lines()) {
    // Notices of what comes and goes are posted two seconds later.
    if (line.find("performAfterDelay(2)") == line.npos) calls.push_back(line.substr(line.find(": ") + 2));
  }
  const std::vector<std::string> expected{
      "CGBeginDisplayConfiguration()",
      "IORegistryEntrySetCFProperty(IODisplayWrangler, IORequestIdle, false)",
      "CGSConfigureDisplayEnabled(Left, true)",
      "CGCompleteDisplayConfiguration(2) = 0",
      "CGBeginDisplayConfiguration()",
      "performAfterDelay(1)",  // the Dock, after enabling
      "CGConfigureDisplayMirrorOfDisplay(Built-in, none)",
      "CGConfigureDisplayMirrorOfDisplay(Left, none)",
      "CGConfigureDisplayMirrorOfDisplay(Right, none)",
      "CGCompleteDisplayConfiguration(2) = 0",
      "CGBeginDisplayConfiguration()",
      "CGSConfigureDisplayEnabled(Right, false)",
      "CGDisplayShowCursor(0)",
      "CGCompleteDisplayConfiguration(2) = 0",
      "CGBeginDisplayConfiguration()",
      "performAfterDelay(1)",  // the Dock, after disabling
      // Positions end mirroring once more; the display that is off is not placed.
      "CGConfigureDisplayMirrorOfDisplay(Built-in, none)",
      "CGConfigureDisplayMirrorOfDisplay(Left, none)",
      "CGConfigureDisplayMirrorOfDisplay(Right, none)",
      "CGCompleteDisplayConfiguration(2) = 0",
      "CGBeginDisplayConfiguration()",
      "CGSConfigureDisplayOrigin(Left, -2560, 0)",
      "CGCompleteDisplayConfiguration(2) = 0",
  };
  EXPECT_EQ(calls, expected);
  EXPECT_TRUE(left.isActive() && !right.isActive());
}

TEST_F(ApplyDisplaySet, MirrorsByPairsAndAllTogether) {
  sim::SimulatedDisplay &panel = on_.mac.display("Built-in"), &left = on_.mac.display("Left"),
                        &right = on_.mac.display("Right");
  set_->hasMirroring = true;
  set_->complexMirroringSet.add({*monitorOf("Left").monitorResID, *monitorOf("Right").monitorResID});
  apply(set_);
  EXPECT_EQ(right.mirrors, left.id);
  EXPECT_EQ(panel.mirrors, kCGNullDirectDisplay);
  tick();
  // A set recorded now says who shows whom, and once more applied leaves it so.
  const auto recorded = newSet();
  ASSERT_TRUE(recorded->hasMirroring && !recorded->inMirroring);
  EXPECT_EQ(recorded->complexMirroringSet.begin()->second, *monitorOf("Right").monitorResID);
  EXPECT_EQ(std::distance(recorded->complexMirroringSet.begin(), recorded->complexMirroringSet.end()), 1);
  set_->monitorArray[0]->modeUniqueID = 1;
  apply(set_);
  EXPECT_EQ(right.mirrors, left.id);
  tick();
  set_->complexMirroringSet.clear();
  set_->inMirroring = true;
  apply(set_);
  EXPECT_TRUE(left.mirrors == panel.id && right.mirrors == panel.id);
  tick();
  EXPECT_TRUE(newSet()->inMirroring);
}

TEST_F(ApplyDisplaySet, TakesTheTransactionsThatItsAspectsAskFor) {
  struct Desk {
    test::DaemonOnMac& mac;
    VLMDisplaySet& set;
    VLMMonitorInSet &panel, &left, &right;
  };
  const auto mirrorRight = [](Desk& desk) {
    EXPECT_EQ(desk.mac.mac.events().mirror("Right", &desk.mac.mac.display("Built-in")), std::nullopt);
  };
  const struct {
    const char* name;
    void (*before)(Desk&);
    void (*ask)(Desk&);
    int transactions;
  } rows[] = {
      {"a mode", [](Desk& d) { EXPECT_EQ(d.mac.mac.setMode("Left", 1280, 720), std::nullopt); }, [](Desk&) {}, 1},
      {"another main display", nullptr, [](Desk& d) { d.panel.isMainDisplay = false, d.right.isMainDisplay = true; },
       1},
      {"places", nullptr,
       [](Desk& d) {
         d.left.hasOrigin = d.right.hasOrigin = true;
         d.left.origin = DisplayPosition{.v = -1440, .h = 0}.packed();
         d.right.origin = DisplayPosition{.v = 0, .h = 1440}.packed();
       },
       1},
      {"rotation", nullptr, [](Desk& d) { d.left.hasOrientation = true, d.left.orientation = 90; }, 1},
      {"a display on", [](Desk& d) { EXPECT_EQ(d.mac.mac.setEnabled("Left", false), std::nullopt); },
       [](Desk& d) { d.left.hasActivity = true; }, 2},
      {"a display off", nullptr, [](Desk& d) { d.left.hasActivity = true, d.left.isActive = false; }, 2},
      {"a mirrored display off", mirrorRight,
       [](Desk& d) { d.panel.isMainDisplay = false, d.right.hasActivity = true, d.right.isActive = false; }, 3},
      {"mirroring", nullptr, [](Desk& d) { d.set.hasMirroring = d.set.inMirroring = true; }, 1},
      {"no mirroring, and who is main", mirrorRight, [](Desk& d) { d.set.hasMirroring = true; }, 3},
      {"picture and grey scale", nullptr,
       [](Desk& d) {
         d.set.hasGray = d.set.inGray = true;
         d.left.hasOverscan = d.left.inOverscan = d.left.hasHDR = d.left.isInHDR = true;
         d.left.hasUnderscan = true, d.left.underscan = 0.5F;
       },
       1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    test::DaemonOnMac on(machineWithEverything());
    on.launch();
    on.mac.advance(2);
    const auto set = on.inside(
        [](VLMGlobals& document) { return VLMDisplaySet::initWithDisplays(document.displayArray, document); });
    Desk desk{on, *set, *set->monitorArray[0], *set->monitorArray[1], *set->monitorArray[2]};
    if (row.before != nullptr) row.before(desk);
    on.mac.advance(2);
    row.ask(desk);
    on.mac.journal().clear();
    on.inside([&](VLMGlobals& document) { document.applyDisplaySet(set, true); });
    EXPECT_EQ(on.journalCount("CGCompleteDisplayConfiguration(2) = 0"), row.transactions);
    on.mac.advance(2);
    on.inside([&](VLMGlobals& document) { EXPECT_EQ(document.checkMarkForSet(*set, nullptr), 1); });
  }
}

TEST_F(ApplyDisplaySet, DropsTheRequestWithWhichAChainComesBackAlsoOverReloads) {
  const auto other = newSet();
  set_->setChainedDisplaySet(other);
  other->setChainedDisplaySet(set_);
  // Every reload makes the sets anew; when they were applied is known all the same.
  const auto reload = [&] {
    on_.inside([](VLMGlobals& document) {
      document.savePrefs(SettingsGroup::displaySets);
      document.loadPrefs(SettingsGroup::all);
    });
  };
  apply(set_);
  reload();
  on_.mac.turn();
  reload();
  on_.mac.turn();
  on_.inside([&](VLMGlobals& document) {
    for (const auto& set : {set_, other}) {
      EXPECT_TRUE(findSetByUniqueID(document.displaySetsArray, set->uniqueID)->lastExecutedDate);
    }
  });
  // Each asked for the next one once; the third request was dropped.
  EXPECT_EQ(on_.journalCount("performAfterDelay(0)"), 2);
}

TEST_F(ApplyDisplaySet, JudgesAChainedSetByWhatTheFirstOneLeft) {
  const auto other = newSet();
  on_.inside([&](VLMGlobals& document) {
    const auto right = document.displayWithcgID(on_.mac.display("Right").id);
    for (const auto& mode : right->validDisplayModes) {
      if (mode->Nx == 1280 && mode->Ny == 720) monitorOf("Right").modeUniqueID = mode->modeUniqueID;
    }
  });
  set_->setChainedDisplaySet(other);
  apply(set_);
  EXPECT_EQ(on_.mac.display("Right").mode().width, 1280U);
  on_.mac.turn();
  EXPECT_EQ(on_.mac.display("Right").mode().width, 1920U);
}

TEST_F(ApplyDisplaySet, GoesOnWithTheOthersWhenOneIsPulledOutInTheMiddle) {
  const auto wanted = on_.mac.display("Right").modeNumber;
  ASSERT_EQ(on_.mac.setMode("Right", 1280, 720), std::nullopt);
  ASSERT_EQ(on_.mac.setEnabled("Left", false), std::nullopt);
  tick();
  monitorOf("Left").hasActivity = true;
  monitorOf("Left").modeUniqueID = 1;
  // Turning one on calls back, and that is when its cable goes.
  bool isPulled = false;
  on_.inside([&](VLMGlobals&) {
    os().quartz.CGDisplayRegisterReconfigurationCallback([&](CGDirectDisplayID, CGDisplayChangeSummaryFlags flags) {
      if (std::exchange(isPulled, true)) return;
      EXPECT_EQ(on_.mac.unplug("Left"), std::nullopt) << flags;
    });
  });
  apply(set_);
  EXPECT_TRUE(isPulled);
  EXPECT_EQ(on_.mac.display("Right").modeNumber, wanted);
}

TEST_F(ApplyDisplaySet, LosesOnlyWhatIsRefused) {
  const auto wanted = on_.mac.display("Left").modeNumber;
  server().refuseMode(on_.mac.display("Right"), on_.mac.display("Right").modeNumber);
  for (const char* name : {"Left", "Right"}) ASSERT_EQ(on_.mac.setMode(name, 1280, 720), std::nullopt);
  monitorOf("Built-in").isMainDisplay = false;
  monitorOf("Right").isMainDisplay = true;
  tick();
  apply(set_);
  EXPECT_EQ(on_.mac.display("Right").mode().width, 1280U);
  EXPECT_EQ(on_.mac.display("Left").modeNumber, wanted);
  EXPECT_EQ(server().mainDisplay(), &on_.mac.display("Right"));
}

TEST_F(ApplyDisplaySet, OfModesAloneLeavesMirroringAsItWas) {
  for (const char* name : {"Left", "Right"}) {
    ASSERT_EQ(on_.mac.events().mirror(name, &on_.mac.display("Built-in")), std::nullopt);
  }
  tick();
  const auto recorded = newSet();
  recorded->hasMirroring = false;
  // A main display asks for places, and those for the end of mirroring.
  recorded->monitorArray[0]->isMainDisplay = false;
  recorded->monitorArray[0]->modeUniqueID = recorded->monitorArray[0]->selDepth = VLMMonitorInSet::kNoSetting;
  ASSERT_EQ(on_.mac.setMode("Right", 1280, 720), std::nullopt);
  tick();
  apply(recorded);
  EXPECT_EQ(on_.mac.display("Right").mode().width, 1920U);
  for (const char* name : {"Left", "Right"}) EXPECT_EQ(on_.mac.display(name).mirrors, on_.mac.display("Built-in").id);
}

TEST_F(ApplyDisplaySet, WaitsForTheEndOfTheOneUnderWay) {
  const auto other = newSet();
  ASSERT_EQ(on_.mac.setMode("Right", 1280, 720), std::nullopt);
  tick();
  on_.mac.journal().clear();
  bool isAsked = false;
  on_.inside([&](VLMGlobals& document) {
    os().quartz.CGDisplayRegisterReconfigurationCallback([&](CGDirectDisplayID, CGDisplayChangeSummaryFlags) {
      if (std::exchange(isAsked, true)) return;
      for (const auto& set : {other, set_}) document.applyDisplaySet(set, false);
      EXPECT_FALSE(other->lastExecutedDate);
    });
  });
  apply(set_);
  ASSERT_TRUE(isAsked);
  EXPECT_EQ(transactions(), 1);
  on_.mac.turn();
  EXPECT_TRUE(other->lastExecutedDate);
  EXPECT_EQ(transactions(), 1);
}

}  // namespace
}  // namespace vlm
