#include <gtest/gtest.h>

#include <cmath>

#include "Platform/UserInterface.h"
#include "Tests/Support/DisplaysOnMac.h"

/// The changes of one display: what is asked of the system, in which order, and what is not.
namespace vlm {
namespace {

using test::DisplaysOnMac;
using Lines = std::vector<std::string>;

constexpr const char* kBegin = "daemon: CGBeginDisplayConfiguration()";
constexpr const char* kComplete = "daemon: CGCompleteDisplayConfiguration(2) = 0";

std::string modeLine(const std::string& name, std::int32_t number) {
  return "daemon: CGSConfigureDisplayMode(" + name + ", " + std::to_string(number) + ")";
}

TEST(SetDisplayMode, ChoosesTheDepth) {
  const struct {
    const char* name;
    std::int32_t current;
    std::int32_t modeHas;
    std::optional<std::int64_t> asked;
    /// Slot of the mode number that is set; none when nothing happens.
    std::optional<std::size_t> slot;
  } rows[] = {
      {.name = "keeps the current one", .current = 16, .modeHas = 8 | 16 | 32, .asked = 0, .slot = 1},
      {.name = "deepest without the current one", .current = 16, .modeHas = 8 | 32, .asked = 0, .slot = 2},
      {.name = "deepest asked for", .current = 8, .modeHas = 8 | 16 | 32, .asked = 127, .slot = 2},
      {.name = "a certain one", .current = 32, .modeHas = 8 | 16 | 32, .asked = 8, .slot = 0},
      {.name = "none given", .current = 16, .modeHas = 8 | 16 | 32, .asked = {}, .slot = 1},
      {.name = "one that the mode lacks", .current = 32, .modeHas = 8 | 16 | 32, .asked = 256, .slot = {}},
      {.name = "nonsense", .current = 32, .modeHas = 8 | 16 | 32, .asked = -5, .slot = {}},
  };
  for (const auto& row : rows) {
    sim::MachineDescription machine = sim::desktopWith({"Left"});
    machine.displays[0].modeOptions.depths = {8, 16, 32};
    DisplaysOnMac displays(machine);
    const auto left = displays["Left"];
    const auto mode = displays.mode("Left", 1280, 720);
    left->currentDepth = row.current;
    mode->colorMask = row.modeHas;
    // Also of a depth that the mode lacks, so that a set with one never counts as in force.
    EXPECT_TRUE(left->willChangeModeAndDepth(mode, row.asked.value_or(0))) << row.name;
    left->setDisplayMode(mode, row.asked, false, false, nullptr, false);
    const Lines expected = row.slot ? Lines{modeLine("Left", mode->sysModeID[*row.slot])} : Lines{};
    EXPECT_EQ(displays.process.newJournalLines("CGSConfigureDisplayMode"), expected) << row.name;
    EXPECT_EQ(left->rezChangeOriginatedFromMe, row.slot.has_value()) << row.name;
  }
}

TEST(SetDisplayMode, LeavesWhatIsInForceUnlessForced) {
  DisplaysOnMac displays(sim::desktopWith({"Left"}));
  const auto left = displays["Left"];
  const auto current = left->currentMode.get();
  EXPECT_FALSE(left->willChangeModeAndDepth(current, 0));
  EXPECT_FALSE(left->willChangeModeAndDepth(nullptr, 0));
  left->setDisplayMode(current, 0, false, false, nullptr, false);
  left->setDisplayMode(nullptr, std::nullopt, true, false, nullptr, false);
  EXPECT_EQ(displays.process.newJournalLines(), Lines{});
  left->setDisplayMode(current, 0, true, false, nullptr, false);
  EXPECT_EQ(displays.process.newJournalLines(), (Lines{kBegin, modeLine("Left", current->sysModeID[2]), kComplete}));
}

TEST(SetDisplayMode, OfACopyMakesItThePrimaryDisplayFirst) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  displays.mirror("Left", "Built-in");
  const auto mode = displays.mode("Left", 1280, 720);
  displays["Left"]->setDisplayMode(mode, 0, false, false, nullptr, false);
  EXPECT_EQ(displays.process.newJournalLines(),
            (Lines{kBegin, "daemon: CGConfigureDisplayMirrorOfDisplay(Built-in, Left)", kComplete, kBegin,
                   modeLine("Left", mode->sysModeID[2]), kComplete}));
}

TEST(SetDisplayMode, AsksAboutAModeThatIsNotConfirmed) {
  const struct {
    const char* name;
    std::int32_t menuVal;
    std::optional<std::uint32_t> answer;
    std::size_t alerts;
    bool isKept;
    std::int32_t menuValAfterwards;
  } rows[] = {
      {"kept", 1, kCFUserNotificationOtherResponse, 1, true, 2},
      {"refused", 1, kCFUserNotificationDefaultResponse, 1, false, 1},
      {"nobody there", 1, {}, 1, false, 1},
      {"confirmed before", 2, {}, 0, true, 2},
  };
  for (const auto& row : rows) {
    DisplaysOnMac displays(sim::desktopWith({"Left"}));
    displays.mac().alertAnswer = row.answer;
    const auto mode = displays.mode("Left", 1280, 720);
    const std::uint32_t before = displays.mac().display("Left").modeNumber;
    mode->menuVal = row.menuVal;
    displays["Left"]->setDisplayMode(mode, 0, false, true, nullptr, false);
    EXPECT_EQ(displays.process.newJournalLines("CFUserNotificationDisplayAlert").size(), row.alerts) << row.name;
    EXPECT_EQ(displays.mac().display("Left").modeNumber == before, !row.isKept) << row.name;
    EXPECT_EQ(mode->menuVal, row.menuValAfterwards) << row.name;
  }
}

TEST(SetDisplayPosition, MovesOnlyWhatStandsElsewhere) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  const auto left = displays["Left"];
  const DisplayPosition here = left->displayPosition();
  EXPECT_EQ(here, (DisplayPosition{.v = 0, .h = 1440}));
  left->setDisplayPositionTo(here, nullptr);
  EXPECT_EQ(displays.process.newJournalLines(), Lines{});
  DisplayTransaction transaction;
  left->setDisplayPositionTo({.v = -1440, .h = 20}, &transaction);
  EXPECT_EQ(left->displayPosition(), here);
  transaction.complete();
  EXPECT_EQ(left->displayPosition(), (DisplayPosition{.v = -1440, .h = 20}));
  EXPECT_EQ(displays.process.newJournalLines(),
            (Lines{kBegin, "daemon: CGSConfigureDisplayOrigin(Left, 20, -1440)", kComplete}));
}

TEST(ChangeTests, AnswerEachInItsOwnSense) {
  sim::MachineDescription machine = sim::laptopWith({"Left", "Right"});
  machine.displays[1].canOverscan = machine.displays[1].canUnderscan = machine.displays[1].supportsHDR = true;
  DisplaysOnMac displays(machine);
  const auto left = displays["Left"], right = displays["Right"];
  displays.mac().display("Left").underscan = 0.5F;
  // What they answer to the state in force, and to another one: not alike, and the sets count on it.
  const struct {
    const char* name;
    bool ofSame, ofOther;
    bool isWhetherEqual;
  } rows[] = {
      {"overscan", left->willChangeOverscanIn(false), left->willChangeOverscanIn(true), true},
      {"underscan", left->willChangeUnderscanIn(0.509F), left->willChangeUnderscanIn(0.511F), true},
      {"HDR", left->willChangeHDRIn(false), left->willChangeHDRIn(true), true},
      {"mirroring", left->willSetMirroringWith(*right, false), left->willSetMirroringWith(*right, true), true},
      {"orientation", left->willChangeOrientationIn(0), left->willChangeOrientationIn(90), false},
      {"activity", left->willChangeActiveIn(true), left->willChangeActiveIn(false), false},
      {"brightness", left->willSetBrightness(0.75F), left->willSetBrightness(0.5F), false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.ofSame, row.isWhetherEqual) << row.name;
    EXPECT_EQ(row.ofOther, !row.isWhetherEqual) << row.name;
  }
  EXPECT_FALSE(right->willChangeHDRIn(false));
  EXPECT_FALSE(displays["Built-in"]->willChangeOrientationIn(90));
  EXPECT_TRUE(left->willSetBrightness(NAN));
  EXPECT_FALSE(VLMDisplay::init()->willSetBrightness(1)) << "out of reach";
}

TEST(SetIsActive, RefusesWhatCannotBe) {
  const struct {
    const char* name;
    std::vector<std::string> attached;
    void (*change)(DisplaysOnMac& displays);
    bool willChange;
  } rows[] = {
      {"the only one", {"Left"}, [](DisplaysOnMac&) {}, false},
      {"mirrored", {"Left", "Right"}, [](DisplaysOnMac& displays) { displays.mirror("Left", "Right"); }, false},
      {"mirrored by another",
       {"Left", "Right"},
       [](DisplaysOnMac& displays) { displays.mirror("Right", "Left"); },
       false},
      {"one of two links to a panel",
       {"Left", "Right"},
       [](DisplaysOnMac& displays) { displays.mac().display("Left").alwaysMirrored = true; },
       true},
  };
  for (const auto& row : rows) {
    DisplaysOnMac displays(sim::desktopWith(row.attached));
    row.change(displays);
    EXPECT_EQ(displays["Left"]->willChangeActiveIn(false), row.willChange) << row.name;
    EXPECT_FALSE(displays["Left"]->setIsActive(false, nullptr)) << row.name;
    EXPECT_FALSE(displays["Left"]->setIsActive(true, nullptr)) << row.name;
    EXPECT_EQ(displays.process.newJournalLines(), Lines{}) << row.name;
  }
}

TEST(SetIsActive, DoesNotTurnTheLastDisplayOffWithinOneTransaction) {
  DisplaysOnMac displays(sim::desktopWith({"Left", "Right"}));
  DisplayTransaction transaction;
  EXPECT_TRUE(displays["Left"]->setIsActive(false, &transaction));
  EXPECT_FALSE(displays["Left"]->setIsActive(false, &transaction));
  EXPECT_FALSE(displays["Right"]->setIsActive(false, &transaction));
  // A change of mind leaves both on.
  EXPECT_TRUE(displays["Left"]->willChangeActiveIn(true));
  EXPECT_TRUE(displays["Left"]->setIsActive(true, &transaction));
  transaction.complete();
  EXPECT_TRUE(displays.mac().display("Left").enabled && displays.mac().display("Right").enabled);
}

TEST(SetIsActive, IsTheDaemonsOwnChangeAndTakesTheCursorAlong) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  VLMGlobals& document = displays.document();
  document.forceSleepAfterDisable = true;
  EXPECT_TRUE(displays["Left"]->setIsActive(false, nullptr));
  EXPECT_TRUE(document.activityChangeOriginatedFromMe);
  EXPECT_FALSE(displays["Left"]->isEnabled || displays["Left"]->isActive());
  EXPECT_EQ(displays.process.newJournalLines(),
            (Lines{kBegin, "daemon: CGSConfigureDisplayEnabled(Left, false)", "daemon: CGDisplayShowCursor(0)",
                   "daemon: IORegistryEntrySetCFProperty(IODisplayWrangler, IORequestIdle, true)", kComplete}));
}

TEST(SetIsActive, BeginsTheDockAnewASecondLaterWhereAsked) {
  const struct {
    const char* name;
    bool afterDisabling, afterEnabling;
    bool isGiven;
  } rows[] = {{"neither", false, false, false},
              {"disabling", true, false, false},
              {"enabling", false, true, false},
              {"whoever gave the transaction sees to it", true, true, true}};
  for (const auto& row : rows) {
    DisplaysOnMac displays(sim::laptopWith({"Left"}));
    displays.document().quitDockAfterDisabling = row.afterDisabling;
    displays.document().quitDockAfterEnabling = row.afterEnabling;
    for (const bool active : {false, true}) {
      DisplayTransaction given;
      EXPECT_TRUE(displays["Left"]->setIsActive(active, row.isGiven ? &given : nullptr));
      given.complete();
      displays.mac().advance(0.9);
      EXPECT_EQ(displays.process.newJournalLines("executeAppleScript"), Lines{}) << row.name;
      displays.mac().advance(0.2);
      const bool isAsked = !row.isGiven && (active ? row.afterEnabling : row.afterDisabling);
      EXPECT_EQ(displays.process.newJournalLines("executeAppleScript").size(), isAsked ? 1U : 0U) << row.name << active;
    }
  }
}

TEST(SetIsActive, KeepsTheBrightnessWhileADisplayIsOff) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  const auto panel = displays["Built-in"];
  panel->useBrightness = true;
  panel->setBrightness(0.4F);
  EXPECT_TRUE(panel->setIsActive(false, nullptr));
  EXPECT_FLOAT_EQ(panel->savedBrightness, 1.4F);
  EXPECT_EQ(displays.mac().display("Built-in").brightness, 0.0F);
  EXPECT_TRUE(panel->setIsActive(true, nullptr));
  EXPECT_NEAR(displays.mac().display("Built-in").brightness, 0.4F, 1e-6);
  // Without a stored one it is left alone.
  panel->savedBrightness = 0;
  displays.mac().display("Built-in").enabled = false;
  displays.process.newJournalLines();
  EXPECT_TRUE(panel->setIsActive(true, nullptr));
  EXPECT_EQ(displays.process.newJournalLines("DisplayServicesSetBrightness"), Lines{});
}

TEST(SetIsActive, DarkensLaterAndNotWhenTheDisplayIsOnAgain) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  const auto left = displays["Left"];
  auto& gamma = displays.mac().display("Left").gamma;
  left->useGamma = true;
  left->gammaDelay = 5;
  gamma.redMax = 0.5F;
  EXPECT_TRUE(left->setIsActive(false, nullptr));
  displays.mac().advance(4.9);
  EXPECT_EQ(gamma.redMax, 0.5F);
  displays.mac().advance(0.2);
  EXPECT_TRUE(gamma.redMax == 0 && gamma.greenMax == 0 && gamma.blueMax == 0);
  EXPECT_TRUE(left->setIsActive(true, nullptr));
  EXPECT_TRUE(gamma.redMax == 0.5F && gamma.greenMax == 1);
  EXPECT_TRUE(left->setIsActive(false, nullptr));
  displays.mac().advance(1);
  EXPECT_TRUE(left->setIsActive(true, nullptr));
  displays.mac().advance(10);
  EXPECT_EQ(gamma.redMax, 0.5F);
  // Also when somebody else has lit it, and there is nothing to turn on.
  EXPECT_TRUE(left->setIsActive(false, nullptr));
  EXPECT_EQ(displays.mac().setEnabled("Left", true), std::nullopt);
  EXPECT_FALSE(left->setIsActive(true, nullptr));
  displays.mac().advance(10);
  EXPECT_EQ(gamma.redMax, 0.5F);
}

TEST(SetGamma, TakesTheIdentityUntilAFormulaWasKept) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  auto& gamma = displays.mac().display("Left").gamma;
  gamma = {.redMin = 0.1F, .redMax = 0.8F, .redGamma = 2};
  DisplayTransaction transaction;
  const CGDisplayConfigRef before = transaction.config();
  displays["Left"]->setGamma(0.5F, &transaction);
  EXPECT_NE(transaction.config(), before);
  EXPECT_EQ(gamma, (DisplayTransferFormula{.redMax = 0.5F, .greenMax = 0.5F, .blueMax = 0.5F}));
  gamma = {.redMin = 0.1F, .redMax = 0.8F, .redGamma = 2};
  displays["Left"]->keepGamma();
  displays["Left"]->setGamma(0.5F, nullptr);
  EXPECT_EQ(gamma,
            (DisplayTransferFormula{.redMin = 0.1F, .redMax = 0.4F, .redGamma = 2, .greenMax = 0.5F, .blueMax = 0.5F}));
}

TEST(SetBrightness, SendsWhatTheWayToItTakes) {
  DisplaysOnMac displays(sim::laptopWith({"Left", "Right"}));
  const struct {
    const char* name;
    const char* display;
    float maximum, value;
    Lines sent;
    bool isDone = true;
  } rows[] = {
      {"panel", "Built-in", 0, 0.25F, {"daemon: DisplayServicesSetBrightness(Built-in, 0.25)"}},
      {"too much for a panel", "Built-in", 0, 3, {}},
      {"no number", "Built-in", 0, NAN, {}},
      {"negative", "Built-in", 0, -0.5F, {}, false},
      {"as it is", "Built-in", 0, 0.25F, {}, false},
      {"monitor", "Left", 1, 0.5F, {"daemon: IOI2CSendRequest(Left, 51 84 03 10 00 32 9a)"}},
      {"maximum never told", "Left", 0, 0.209F, {"daemon: IOI2CSendRequest(Left, 51 84 03 10 00 14 bc)"}},
      {"monitor that is silent", "Right", 0, 0.3F, {}},
  };
  test::BrightnessRecorder recorder;
  for (const auto& row : rows) {
    const auto display = displays[row.display];
    display->maxBrightness = row.maximum;
    display->brightness = 0.125F;
    recorder.recorded.clear();
    display->setBrightness(row.value);
    Lines sent = displays.process.newJournalLines();
    // The questions what the brightness is do not count.
    std::erase_if(sent, [](const std::string& line) {
      return line.find("sleep(") != std::string::npos || line.find("51 82 01") != std::string::npos;
    });
    EXPECT_EQ(sent, row.sent) << row.name;
    EXPECT_EQ(recorder.recorded.size(), row.isDone ? 1U : 0U) << row.name;
    // What is no number is as good as any other value.
    const float expected = row.isDone ? row.value : 0.125F;
    EXPECT_TRUE(std::isnan(expected) ? std::isnan(display->brightness) : display->brightness == expected) << row.name;
  }
  EXPECT_EQ(displays["Left"]->savedLastSetBrightness, 0.209F);
}

TEST(SetToggleMirroring, MakesAndEndsACopy) {
  DisplaysOnMac displays(sim::laptopWith({"Left", "Right"}));
  const auto left = displays["Left"], right = displays["Right"];
  const sim::SimulatedDisplay& copy = displays.mac().display("Right");
  left->setToggleMirroringWith(*right, nullptr);
  EXPECT_EQ(copy.mirrors, displays.mac().display("Left").id);
  left->setToggleMirroringWith(*right, nullptr);
  EXPECT_EQ(copy.mirrors, kCGNullDirectDisplay);
}

TEST(SetIsMirroringEnabled, TurnsOnWhatIsOffWhenToldTo) {
  DisplaysOnMac displays(sim::laptopWith({"Left", "Right"}));
  ASSERT_EQ(displays.mac().setEnabled("Right", false), std::nullopt);
  displays.document().quitDockAfterEnabling = true;
  displays.process.newJournalLines();
  displays.document().setIsMirroringEnabled(true, nullptr, true);
  EXPECT_EQ(displays.process.newJournalLines("CGSConfigureDisplayEnabled").size(), 1U);
  EXPECT_TRUE(displays.mac().display("Right").isActive());
  EXPECT_EQ(displays.mac().display("Left").mirrors, displays.mac().display("Built-in").id);
  displays.mac().advance(1.5);
  EXPECT_EQ(displays.process.newJournalLines("executeAppleScript").size(), 1U);
}

TEST(DisplayTransactions, EndOnceAndKnowOfAllThatAreOpen) {
  DisplaysOnMac displays(sim::desktopWith({"Left", "Right"}));
  const CGDirectDisplayID left = displays["Left"]->cgID;
  DisplayTransaction outer;
  outer.willTurnOff(left);
  {
    JoinedTransaction joined(&outer);
    JoinedTransaction own(nullptr);
    EXPECT_TRUE(own.isOwn() && !joined.isOwn() && own->config() != outer.config());
    EXPECT_TRUE(DisplayTransaction::isGoingOff(left));
    joined.completeWhenOwn();
    own.completeWhenOwn();
  }
  EXPECT_EQ(displays.process.newJournalLines(), (Lines{kBegin, kBegin, kComplete}));
  outer.restart();
  EXPECT_FALSE(DisplayTransaction::isGoingOff(left));
  outer.complete();
  outer.willTurnOff(left);
  EXPECT_FALSE(DisplayTransaction::isGoingOff(left));
}

}  // namespace
}  // namespace vlm
