#include <gtest/gtest.h>

#include "Models/VLMDisplay.h"

namespace vlm {
namespace {

using plist::Array;
using plist::Dictionary;

Dictionary modeDict(std::uint32_t uniqueID, std::uint32_t width = 1920, std::uint32_t aliasedModeID = 0) {
  auto mode = VLMMode::init();
  mode->modeUniqueID = uniqueID;
  mode->Nx = width;
  mode->definition = 1;
  mode->isValidAct = aliasedModeID == 0;
  Dictionary dict = mode->encodeReadable();
  dict.set("aliasedModeID", aliasedModeID);
  return dict;
}

Dictionary timingDict(std::uint32_t width) {
  return VLMOverrideResolution::initAndDecodeReadableWith({{"activeNx", width}, {"toInstall", false}})
      ->encodeReadable();
}

/// Every value differs from its default, but for what cannot come back (see below).
Dictionary wholeDisplay() {
  Dictionary display{{"sysMonitorName", "LG"},
                     {"driverLocationName", "IOService:/a/b"},
                     {"edidSerialString", "SN1"},
                     {"displayUUIDString", "37D8832A"},
                     {"cgID", 0xF0000001U},
                     {"serialNumber", 0},
                     {"connection", -2},
                     {"displayModes", Array{modeDict(1), modeDict(2, 1280, 1)}},
                     {"allDisplayModes", Array{modeDict(2, 1280, 1), modeDict(3), modeDict(1)}},
                     {"overridenModes", Array{timingDict(2560), timingDict(1440)}},
                     {"displayName", Dictionary{{"name", "Left"}, {"shouldOverride", true}}},
                     {"importedEDID", plist::Data{0, 255, 255}}};
  int number = 0;
  for (const char* key : {"currentMode", "monitorResID", "displayVendorID", "displayProductID", "manufactureYear",
                          "manufactureWeek", "currentDepth", "transfType", "canBrightness", "previousTransfType"}) {
    display.set(key, ++number);
  }
  for (const char* key : {"savedBrightness", "gammaDelay", "underscan"}) display.set(key, ++number + 0.25);
  for (const char* key : {"useBrightness", "canRotate", "isDigital", "canOverscan", "isDisabled", "canUnderscan",
                          "showFrequenciesSubMenu"}) {
    display.set(key, true);
  }
  for (const char* key : {"useGamma", "showNativeInBold", "showFrequenciesApart", "showFrequenciesGrouped",
                          "hasSupplementalCAFreq", "importedEDIDKeepsID"}) {
    display.set(key, false);
  }
  display.set("monitorTiming", Dictionary{{"minH", 30.5},
                                          {"maxH", 99.0},
                                          {"minV", 48},
                                          {"maxV", 144},
                                          {"minPClock", 25.0},
                                          {"maxPClock", 600.0},
                                          {"shouldOverride", true}});
  display.set("defaultResolution", Dictionary{{"Nx", 1920}, {"Ny", 1080}, {"Hz", 59.94}, {"shouldOverride", true}});
  display.set("displayPixelDimensions", Dictionary{{"Nx", 3840}, {"Ny", 2160}, {"shouldOverride", true}});
  display.set("displayFreqPolicy", Dictionary{{"settingInPreferences", true}});
  return display;
}

TEST(DisplayRecord, ComesBackFromItsEncodingUnchanged) {
  const auto display = VLMDisplay::initAndDecodeReadableWith(wholeDisplay(), nullptr);
  EXPECT_EQ(display->encodeReadable(), wholeDisplay());
  EXPECT_FALSE(display->isEnabled);
  EXPECT_EQ(display->displayedName(), "Left");
}

TEST(DisplayRecord, TakesEveryDefaultFromAnEmptyDictionary) {
  const auto display = VLMDisplay::initAndDecodeReadableWith({}, nullptr);
  EXPECT_TRUE(display->isEnabled && display->useGamma && display->showNativeInBold);
  EXPECT_TRUE(display->showFrequenciesApart && display->showFrequenciesGrouped && display->importedEDIDKeepsID);
  EXPECT_FALSE(display->showFrequenciesSubMenu || display->useBrightness || display->canRotate);
  EXPECT_EQ(display->gammaDelay, 5.0F);
  EXPECT_EQ(display->monitorResID, std::nullopt);
  EXPECT_EQ(display->displayName, nullptr);
  EXPECT_FALSE(display->encodeReadable().contains("sysMonitorName"));
}

TEST(DisplayRecord, KeepsTheTwoKeysThatDoNotMatch) {
  const auto display = VLMDisplay::initAndDecodeReadableWith(
      {{"serialNumber", 7}, {"hasSupplementalCAFreq", true}, {"showFrequenciesApart", false}}, nullptr);
  EXPECT_EQ(display->serialNumber, 0U);
  EXPECT_TRUE(display->hasSupplementalCAFreq);
  EXPECT_FALSE(display->encodeReadable().boolean("hasSupplementalCAFreq", true));
  EXPECT_EQ(VLMDisplay::initAndDecodeReadableWith({{"serialNumber:", 7}}, nullptr)->serialNumber, 7U);
}

TEST(DisplayRecord, HoldsTheSameModesInBothLists) {
  const auto display = VLMDisplay::initAndDecodeReadableWith(wholeDisplay(), nullptr);
  ASSERT_EQ(display->validDisplayModes.size(), 2U);
  ASSERT_EQ(display->allDisplayModes.size(), 3U);
  const auto first = display->validDisplayModes[0], second = display->validDisplayModes[1];
  EXPECT_EQ(display->allDisplayModes[0], second);
  EXPECT_EQ(display->allDisplayModes[2], first);
  EXPECT_EQ(display->currentMode.get(), first);
  EXPECT_TRUE(first->isCurrent());
  EXPECT_FALSE(display->allDisplayModes[1]->showInMenu());
  EXPECT_EQ(second->aliasedMode(), first);
  EXPECT_EQ(first->destinationOfAlias, 1);
  EXPECT_EQ(second->container, display.get());

  const auto withoutAll = VLMDisplay::initAndDecodeReadableWith(
      {{"displayModes", Array{modeDict(4), modeDict(4)}}, {"allDisplayModes", Array{}}}, nullptr);
  EXPECT_EQ(withoutAll->allDisplayModes, withoutAll->validDisplayModes);
  EXPECT_EQ(withoutAll->currentMode.get(), nullptr);
}

TEST(DisplayRecord, GivesModesWithOneIdentifierAPlaceEach) {
  const auto display = VLMDisplay::initAndDecodeReadableWith(
      {{"displayModes", Array{modeDict(4, 1), modeDict(4, 2), modeDict(9)}},
       {"allDisplayModes", Array{modeDict(4), modeDict(5), modeDict(4), modeDict(4)}}},
      nullptr);
  ASSERT_EQ(display->allDisplayModes.size(), 4U);
  EXPECT_EQ(display->allDisplayModes[0], display->validDisplayModes[0]);
  EXPECT_EQ(display->allDisplayModes[2], display->validDisplayModes[1]);
  EXPECT_EQ(display->validModeWithUniqueID(4), display->validDisplayModes[0]);
}

TEST(DisplayRecord, LosesOnlyWhatIsOfAWrongKind) {
  Dictionary damaged = wholeDisplay();
  damaged.set("sysMonitorName", 5);
  damaged.set("monitorResID", "1002");
  damaged.set("displayModes", Array{"mode", modeDict(1)});
  damaged.set("displayName", "Left");
  damaged.set("monitorTiming", 1);
  damaged.set("overridenModes", Array{"1920x1080", timingDict(1440)});
  damaged.set("importedEDID", "EDID");
  const auto display = VLMDisplay::initAndDecodeReadableWith(damaged, nullptr);
  EXPECT_EQ(display->sysMonitorName, std::nullopt);
  EXPECT_EQ(display->monitorResID, std::nullopt);
  EXPECT_EQ(display->validDisplayModes.size(), 1U);
  EXPECT_EQ(display->displayedName(), "");
  EXPECT_FALSE(display->importedEDID);
  EXPECT_EQ(display->monitorTiming, nullptr);
  EXPECT_EQ(display->overridenModes.size(), 1U);
  EXPECT_EQ(display->edidSerialString, "SN1");
}

TEST(DisplayRecord, DoesNotLetDamagedIdentifiersTakeModesAway) {
  Dictionary nameless = modeDict(0), narcissist = modeDict(6);
  nameless.remove("modeUniqueID");
  narcissist.set("aliasedModeID", 6);
  const auto display =
      VLMDisplay::initAndDecodeReadableWith({{"displayModes", Array{nameless, modeDict(1), narcissist}}}, nullptr);
  for (const auto& mode : display->validDisplayModes) EXPECT_TRUE(mode->isValidAct) << mode->modeUniqueID;
}

TEST(DisplayRecord, LetsGoOfModesThatOutliveIt) {
  std::shared_ptr<VLMMode> mode;
  {
    const auto display = VLMDisplay::initAndDecodeReadableWith(wholeDisplay(), nullptr);
    mode = display->currentMode.get();
  }
  EXPECT_EQ(mode->container, nullptr);
  EXPECT_FALSE(mode->isCurrent());
}

TEST(DisplayNameMerging, LetsTheSavedNameWinAndJoinsEqualOnes) {
  const struct {
    const char* name;
    const char* given;
    std::int16_t status;
    const char* expected;
    std::int16_t expectedStatus;
  } kRows[] = {
      {"equal", "A", 1, "A", 3},
      {"saved by the user", "B", 1, "B", 1},
      {"of the system", "B", 4, "A", 2},
      {"saved and of the system", "B", 5, "A", 2},
  };
  for (const auto& row : kRows) {
    const auto display = VLMDisplay::init();
    display->mergeDisplayName(VLMOverrideDisplayName::initWithString("A", kOverrideFoundInOverrideFile, false));
    display->displayName->original.reset();
    display->mergeDisplayName(nullptr);
    display->mergeDisplayName(VLMOverrideDisplayName::initWithString(row.given, row.status, false));
    EXPECT_EQ(display->displayedName(), row.expected) << row.name;
    EXPECT_EQ(display->displayName->status, row.expectedStatus) << row.name;
    // Only equal records hand on what was read.
    EXPECT_EQ(display->displayName->original != nullptr, row.expected == std::string(row.given)) << row.name;
  }
}

TEST(DisplayNameMerging, IsUndoneByRestoringTheOriginal) {
  const auto display = VLMDisplay::init();
  display->restoreOriginalSettings();
  display->mergeDisplayName(VLMOverrideDisplayName::initWithString("A", kOverrideFoundInOverrideFile, true));
  display->displayName->name = "B";
  display->displayName->shouldOverride = false;
  EXPECT_TRUE(display->displayName->isModified());
  display->restoreOriginalSettings();
  EXPECT_EQ(display->displayedName(), "A");
  EXPECT_EQ(display->displayName->status, kOverrideFoundInSettings);
  EXPECT_FALSE(display->displayName->isModified());
}

}  // namespace
}  // namespace vlm
