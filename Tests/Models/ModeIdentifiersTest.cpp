#include <gtest/gtest.h>

#include <set>

#include "Models/ModeFacts.h"
#include "Models/VLMGlobals.h"
#include "Tests/Support/TestProcess.h"

/// Identifiers of modes, and what a live display takes over from the saved record of the same monitor.
namespace vlm {
namespace {

using DisplayPtr = std::shared_ptr<VLMDisplay>;

struct ModeRow {
  std::uint32_t Nx = 1920, Ny = 1080;
  float Hz = 60;
  float definition = 1;
  bool interlaced = false;
  std::uint32_t isVRR = 0;
  bool isScaled = false;
  std::int64_t pixClock = 0;
  std::uint32_t sysFlags = kSysFlagValid | kSysFlagSafe;
};

constexpr ModeRow kFullHD{.pixClock = 148'500'000};
constexpr ModeRow kFullHDReduced{.pixClock = 138'500'000};
constexpr ModeRow kRetina{.Nx = 1440, .Ny = 900, .definition = 2, .isScaled = true};
constexpr ModeRow kSvga{.Nx = 800, .Ny = 600, .Hz = 75};

class ModeIdentifiers : public ::testing::Test {
 protected:
  /// A display as discovery leaves it before it is matched.
  DisplayPtr liveDisplay(const std::vector<ModeRow>& rows) {
    auto display = VLMDisplay::init();
    display->container = &document_;
    for (const ModeRow& row : rows) {
      const auto mode = VLMMode::init();
      mode->container = display.get();
      mode->Nx = row.Nx;
      mode->Ny = row.Ny;
      mode->Hz = row.Hz;
      mode->definition = row.definition;
      mode->interlaced = row.interlaced;
      mode->isVRR = row.isVRR;
      mode->isScaled = row.isScaled;
      mode->pixClock = row.pixClock;
      mode->sysFlags = row.sysFlags;
      mode->sysModeID[2] = static_cast<std::int32_t>(display->validDisplayModes.size()) + 1;
      mode->modeUniqueID = VLMMode::kNoUniqueID;
      mode->deskResID = -1;
      display->validDisplayModes.push_back(mode);
    }
    display->allDisplayModes = display->validDisplayModes;
    display->prepareValidModes();
    return display;
  }
  DisplayPtr newDisplay(const std::vector<ModeRow>& rows) {
    auto display = liveDisplay(rows);
    display->consolidateUniqueModesID();
    return display;
  }
  /// Through the settings file and discovery, as a restart does.
  DisplayPtr restarted(const DisplayPtr& display, const std::vector<ModeRow>& rows) {
    const auto saved = VLMDisplay::initAndDecodeReadableWith(display->encodeReadable(), &document_);
    auto live = liveDisplay(rows);
    live->copyDisplayFrom(*saved);
    return live;
  }
  static std::vector<std::uint32_t> identifiersOf(const VLMDisplay& display) {
    std::vector<std::uint32_t> identifiers;
    for (const auto& mode : display.validDisplayModes) identifiers.push_back(mode->modeUniqueID);
    return identifiers;
  }

  sim::TestProcess process_{sim::desktopWith({})};
  VLMGlobals& document_ = VLMGlobals::sharedInstance();
};

TEST_F(ModeIdentifiers, AreKnownNumbersForKnownFacts) {
  const struct {
    const char* name;
    ModeRow mode;
    std::uint32_t identifier;
  } rows[] = {
      {.name = "full HD", .mode = kFullHD, .identifier = 1815060293},
      {.name = "HiDPI",
       .mode = {.Nx = 1440, .Ny = 900, .Hz = 59.94F, .definition = 2, .isScaled = true},
       .identifier = 1608409169},
      {.name = "interlaced", .mode = {.interlaced = true}, .identifier = 936647940},
      {.name = "variable rate", .mode = {.Nx = 3840, .Ny = 2160, .Hz = 120, .isVRR = 2}, .identifier = 1385805924},
  };
  for (const auto& row : rows) EXPECT_EQ(identifiersOf(*newDisplay({row.mode})).front(), row.identifier) << row.name;
  // Of two alike the second timing takes the next number, in whichever order the system lists them.
  EXPECT_EQ(identifiersOf(*newDisplay({kFullHDReduced, kFullHD})), (std::vector<std::uint32_t>{1815060293, 469983284}));
  EXPECT_EQ(identifiersOf(*newDisplay({kFullHD, kFullHDReduced})), (std::vector<std::uint32_t>{469983284, 1815060293}));
}

TEST_F(ModeIdentifiers, AreUniqueAlsoAmongTwinsAndStayTheSameOverTenRestarts) {
  std::vector<ModeRow> rows(40, kSvga);
  rows.insert(rows.end(), {kFullHD, kFullHDReduced, kRetina});
  const auto first = newDisplay(rows);
  auto display = first;
  for (int restart = 0; restart < 10; ++restart) display = restarted(display, rows);
  EXPECT_EQ(identifiersOf(*display), identifiersOf(*first));
  EXPECT_EQ(display->allDisplayModes.size(), rows.size());
  std::set<std::uint32_t> identifiers;
  std::set<std::int32_t> desktops;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const VLMMode& mode = *display->validDisplayModes[i];
    EXPECT_TRUE(mode.modeUniqueID >= 1 && mode.modeUniqueID <= kLargestModeIdentifier) << mode.modeUniqueID;
    EXPECT_EQ(mode.deskResID, first->validDisplayModes[i]->deskResID) << i;
    EXPECT_TRUE(identifiers.insert(mode.modeUniqueID).second && desktops.insert(mode.deskResID).second) << i;
  }
}

TEST_F(ModeIdentifiers, ComeBackWithAModeThatWasGoneForAWhile) {
  auto display = newDisplay({kFullHD, kSvga, kRetina});
  const auto svga = display->validDisplayModes[1]->modeUniqueID;
  const auto desktop = display->validDisplayModes[1]->deskResID;
  display->validDisplayModes[1]->setModeName("Old games");
  display = restarted(display, {kRetina, kFullHD});
  display = restarted(display, {kRetina, kFullHD});
  EXPECT_EQ(display->validModeWithUniqueID(svga), nullptr);
  ASSERT_EQ(display->allDisplayModes.size(), 3U);
  // Its old numbers of the system belong to other modes by now.
  EXPECT_EQ(display->anyModeWithUniqueID(svga)->sysModeID[2], -1);

  display = restarted(display, {kSvga, kFullHD, kRetina});
  const auto back = display->validModeWithUniqueID(svga);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->Nx, 800U);
  EXPECT_EQ(back->deskResID, desktop);
  EXPECT_EQ(back->modeName(), "Old games");
  EXPECT_EQ(back->sysModeID[2], 1);
  EXPECT_EQ(display->allDisplayModes.size(), 3U);
}

TEST_F(ModeIdentifiers, OfModesThatAreGoneAreForgottenWhenThereAreTooMany) {
  std::vector<ModeRow> rows;
  for (std::uint32_t width = 1000; width < 1400; ++width) rows.push_back({.Nx = width});
  const auto display = restarted(newDisplay(rows), {kFullHD});
  EXPECT_EQ(display->allDisplayModes.size(), 257U);
  EXPECT_EQ(display->validDisplayModes.size(), 1U);
}

TEST_F(ModeIdentifiers, OfADamagedFileAreMendedWithoutTouchingTheOthers) {
  const auto display = newDisplay({kFullHD, kRetina, kSvga});
  const auto good = display->validDisplayModes[0]->modeUniqueID;
  display->validDisplayModes[1]->modeUniqueID = good;
  display->validDisplayModes[2]->modeUniqueID = 0x80000000;
  display->validDisplayModes[2]->deskResID = display->validDisplayModes[1]->deskResID;
  const auto live = liveDisplay({kFullHD, kRetina, kSvga});
  live->copyDisplayFrom(*display);
  const auto identifiers = identifiersOf(*live);
  EXPECT_EQ(identifiers[0], good);
  EXPECT_EQ(std::set(identifiers.begin(), identifiers.end()).size(), 3U);
  EXPECT_LE(identifiers[2], kLargestModeIdentifier);
  EXPECT_NE(live->validDisplayModes[2]->deskResID, live->validDisplayModes[1]->deskResID);
}

TEST_F(ModeIdentifiers, CarryTheUsersChoicesAsFarAsTheSystemLetsThem) {
  const std::uint32_t safe = kSysFlagValid | kSysFlagSafe;
  constexpr std::uint32_t kUnsafe = kSysFlagValid, kForbidden = kSysFlagNotForUse;
  const struct {
    const char* name;
    std::uint32_t flagsThen, flagsNow;
    bool validThen;
    std::int32_t menuThen;
    bool validNow;
    std::int32_t menuNow;
  } rows[] = {
      {"hidden", safe, safe, true, 0, true, 0},
      {"switched off", safe, safe, false, 2, false, 2},
      {"confirmed", kUnsafe, kUnsafe, true, 2, true, 2},
      {"safe by now", kUnsafe, safe, true, 1, true, 2},
      {"forbidden by now", safe, kForbidden, true, 2, false, 0},
      {"forbidden then", kForbidden, safe, false, 0, true, 2},
  };
  for (const auto& row : rows) {
    const auto before = newDisplay({{.sysFlags = row.flagsThen}});
    before->validDisplayModes[0]->isValidAct = row.validThen;
    before->validDisplayModes[0]->menuVal = row.menuThen;
    const auto mode = restarted(before, {{.sysFlags = row.flagsNow}})->validDisplayModes[0];
    EXPECT_EQ(mode->isValidAct, row.validNow) << row.name;
    EXPECT_EQ(mode->menuVal, row.menuNow) << row.name;
  }
}

TEST_F(ModeIdentifiers, LinkAliasesAgain) {
  auto display = newDisplay({kFullHD, kFullHDReduced, kSvga});
  display->validDisplayModes[0]->setAliasedMode(display->validDisplayModes[1]);
  display = restarted(display, {kSvga, kFullHDReduced, kFullHD});
  EXPECT_EQ(display->validDisplayModes[2]->aliasedMode(), display->validDisplayModes[1]);
  // Also when both have been gone for a while.
  for (int i = 0; i < 3; ++i) display = restarted(display, {kSvga});
  display = restarted(display, {kSvga, kFullHDReduced, kFullHD});
  EXPECT_EQ(display->validDisplayModes[2]->aliasedMode(), display->validDisplayModes[1]);
  EXPECT_FALSE(display->validDisplayModes[2]->isValidAct);
  // Without its target a mode can be chosen by itself.
  display = restarted(display, {kSvga, kFullHD});
  EXPECT_EQ(display->validDisplayModes[1]->aliasedMode(), nullptr);
  EXPECT_TRUE(display->validDisplayModes[1]->isValidAct);
}

TEST_F(ModeIdentifiers, CopyWhatTheUserOwnsAndKeepWhatTheSystemSays) {
  const auto saved = newDisplay({kFullHD});
  saved->monitorResID = 1007;
  saved->displayName = VLMOverrideDisplayName::initWithString("Mine", kOverrideFoundInSettings, true);
  saved->useBrightness = saved->useGamma = true;
  saved->savedBrightness = 1.4F;
  saved->gammaDelay = 3;
  saved->maxBrightness = 80;
  saved->showFrequenciesApart = false;
  saved->importedEDID = plist::Data{1, 2};
  saved->overridenModes = {VLMOverrideResolution::initAndDecodeReadableWith({})};
  saved->connection = 5;
  saved->canBrightness = 1;
  saved->driverLocationName = "elsewhere";

  const auto live = liveDisplay({kFullHD});
  live->displayName = VLMOverrideDisplayName::initWithString("New", kOverrideFoundInSystem, false);
  live->maxBrightness = 100;
  live->canBrightness = 2;
  live->driverLocationName = "here";
  live->copyDisplayFrom(*saved);

  EXPECT_EQ(live->monitorResID, 1007);
  EXPECT_EQ(live->displayedName(), "Mine");
  EXPECT_TRUE(live->useBrightness && live->useGamma && !live->showFrequenciesApart);
  EXPECT_TRUE(live->savedBrightness == 1.4F && live->gammaDelay == 3);
  EXPECT_EQ(live->importedEDID, saved->importedEDID);
  EXPECT_EQ(live->overridenModes, saved->overridenModes);
  EXPECT_TRUE(live->maxBrightness == 100 && live->connection == 0 && live->canBrightness == 2);
  EXPECT_EQ(live->driverLocationName, "here");
}

}  // namespace
}  // namespace vlm
