#include "Models/VLMGlobals.h"

#include <gtest/gtest.h>

#include "Tests/Support/DaemonOnMac.h"
#include "Tests/Support/Machines.h"

namespace vlm {
namespace {

using plist::Array;
using plist::Dictionary;

/// A document in a process of its own, without any display known.
class Document : public ::testing::Test {
 protected:
  Document() : mac_(test::laptopWith({"Left"})), scope_(mac_.addSession({.name = "daemon"}).process()) {}

  VLMGlobals& document() { return VLMGlobals::sharedInstance(); }
  static Dictionary record(std::int64_t resID) { return {{"monitorResID", resID}, {"sysMonitorName", "M"}}; }
  static Dictionary setOf(std::int64_t uniqueID, const Array& monitorIDs = {}) {
    Array monitors;
    for (const auto& identifier : monitorIDs) monitors.push_back(Dictionary{{"monitorResID", identifier}});
    return {{"name", "S"}, {"uniqueID", uniqueID}, {"monitorArray", monitors}};
  }
  std::vector<std::int64_t> attachedNumbers() {
    std::vector<std::int64_t> numbers;
    for (const auto& display : document().displayArray) numbers.push_back(display->displayNumber);
    return numbers;
  }

  sim::SimulatedMac mac_;
  Process::Scope scope_;
};

TEST_F(Document, TakesEveryDefaultFromAnEmptyFile) {
  document().decodeReadableWith({}, SettingsGroup::all);
  const Dictionary statusMenu{{"sysShowRez", true},        {"sysShowColors", true},    {"sysShowRescanCmd", true},
                              {"sysShowSets", true},       {"sysShowMirror", true},    {"sysShowHierarch", false},
                              {"sysShowIconsCmd", false},  {"sysShowMainDisp", false}, {"sysShowOnlyClicked", false},
                              {"sysShowProfile", true},    {"sysShowPrefsCmd", true},  {"sysSetsHierarch", true},
                              {"sysShowGray", false},      {"sysShowRotate", true},    {"sysShowOverscan", false},
                              {"sysShowBrightness", true}, {"sysShowBadges", true},    {"sysShowEnable", true},
                              {"statusItemGray", true},    {"showMenuExtra", true}};
  const Dictionary contextMenu{
      {"cmShowRez", true},         {"cmShowColors", true},    {"cmShowRescanCmd", true}, {"cmShowSets", true},
      {"cmShowMirror", true},      {"cmShowHierarch", false}, {"cmShowIconsCmd", false}, {"cmShowMainDisp", false},
      {"cmShowOnlyClicked", true}, {"cmShowProfile", true},   {"cmShowPrefsCmd", false}, {"cmSetsHierarch", true},
      {"cmShowGray", false},       {"cmShowRotate", false},   {"cmShowOverscan", false}, {"cmShowBrightness", true},
      {"cmShowBadges", true},      {"cmShowEnable", true},    {"showContextMenu", true}};
  const Dictionary desktop{{"snapToGrid", true},     {"replaceAtRestart", false}, {"iconsGridH", 50},
                           {"iconsGridV", 64},       {"startDelay", 5},           {"saveAllAppWindows", false},
                           {"saveIcons", true},      {"saveWindows", true},       {"saveDesktopBySet", false},
                           {"iconsRelative", false}, {"saveAutoDesktop", false},  {"autoCreateSets", false}};
  const Dictionary allApplications{{"appName", "All Applications"},
                                   {"signature", 1447841107},
                                   {"soundLevel", 0.0F},
                                   {"changeRes", 0},
                                   {"soundLevelIsSet", false},
                                   {"notAtOSEvt", false},
                                   {"restoreAtQuit", true},
                                   {"hideDock", false},
                                   {"hideOthers", false}};
  const Dictionary expected{{"Version", 4150101},
                            {"VLMDaemonRunOnce", true},
                            {"quitShortCut", 13580},
                            {"launchShortCut", 28421},
                            {"checkUpdate", true},
                            {"canProbe", false},
                            {"inLoginItems", true},
                            {"onlyMeCanActivate", false},
                            {"quitDockAfterEnabling", false},
                            {"quitDockAfterDisabling", false},
                            {"monitorMousePosition", false},
                            {"forceSleepAfterDisable", false},
                            {"startupDoNothing", false},
                            {"startRestoreDelay", 0},
                            {"sysMenuFlags", statusMenu},
                            {"cmMenuFlags", contextMenu},
                            {"contextualMenuModifier", 1048576},
                            {"desktopFlags", desktop},
                            {"volatileDisplays", Array{}},
                            {"allDisplays", Dictionary{}},
                            {"displaySetsArray", Array{}},
                            {"checkApplics", false},
                            {"applicationSetsArray", Array{allApplications}},
                            {"eventsArray", Array{}}};
  EXPECT_EQ(document().encodeReadableInDict(nullptr, SettingsGroup::all), expected);
}

TEST_F(Document, FindsADamagedRecordUnderItsKey) {
  const Dictionary file{
      {"allDisplays", Dictionary{{"1005", Dictionary{{"sysMonitorName", "M"}}}, {"x", Dictionary{}}}}};
  document().decodeReadableWith(file, SettingsGroup::all);
  ASSERT_EQ(document().extraDisplayArray.size(), 1U);
  EXPECT_EQ(document().extraDisplayArray[0]->monitorResID, 1005);
  EXPECT_EQ(document().encodeReadableInDict(&file, SettingsGroup::all).dictionary("allDisplays")->count(), 2U);
}

TEST_F(Document, LeavesDisplaysThatAreOfflineOut) {
  mac_.windowServer().offlineInList = {77, 78};
  EXPECT_EQ(document().getNumberOfDisplays(), 2);
  document().initializeAllDisplaysFromSystemData();
  EXPECT_EQ(document().displayArray.size(), 2U);
}

TEST_F(Document, CountsHardMirroredDisplaysOnceUntilTheAttachedOnesChange) {
  document().initializeAllDisplaysFromSystemData();
  mac_.display("Left").alwaysMirrored = true;
  EXPECT_EQ(document().nDispHardMirrored(), 1);
  mac_.display("Left").enabled = false;
  EXPECT_EQ(document().nDispHardMirrored(), 1);
  document().decodeReadableWith(document().getPrefs(SettingsGroup::all), SettingsGroup::all);
  EXPECT_EQ(document().nDispHardMirrored(), 0);
}

TEST_F(Document, WritesBackWhatItReadAndKeepsWhatItDoesNotKnow) {
  const Dictionary file{
      {"Version", 5000000},
      {"quitShortCut", 7},
      {"startRestoreDelay", -3},
      {"someoneElses", Array{1, "two"}},
      {"checkApplics", true},
      {"eventsArray", Array{Dictionary{{"type", 9}}}},
      {"desktopFlags", Dictionary{{"iconsGridH", 0}, {"snapToGrid", false}}},
      {"sysMenuFlags", Dictionary{{"sysShowRez", false}, {"unknownInside", 1}}},
      {"contextualMenuModifier", 0},
      {"allDisplays", Dictionary{{"77", "not a record"}, {"1001", record(1001)}}},
      {"volatileDisplays", Array{1001}},
      {"displaySetsArray", Array{setOf(1, {1001}), "no set"}},
  };
  document().decodeReadableWith(file, SettingsGroup::all);
  const Dictionary written = document().encodeReadableInDict(&file, SettingsGroup::all);

  EXPECT_EQ(written.sInt32("Version"), 5000000);  // only ever grows
  EXPECT_TRUE(written.boolean("VLMDaemonRunOnce"));
  for (const char* untouched :
       {"quitShortCut", "startRestoreDelay", "someoneElses", "checkApplics", "eventsArray", "volatileDisplays"}) {
    EXPECT_EQ(*written.find(untouched), *file.find(untouched)) << untouched;
  }
  EXPECT_EQ(written.dictionary("desktopFlags")->sInt32("iconsGridH"), 50);
  EXPECT_FALSE(written.dictionary("desktopFlags")->boolean("snapToGrid", true));
  EXPECT_FALSE(written.dictionary("sysMenuFlags")->boolean("sysShowRez", true));
  EXPECT_FALSE(written.dictionary("sysMenuFlags")->contains("unknownInside"));  // replaced whole
  EXPECT_EQ(written.sInt64("contextualMenuModifier"), 1048576);
  EXPECT_EQ(*written.dictionary("allDisplays")->find("77"), plist::Value("not a record"));
  ASSERT_EQ(written.array("displaySetsArray")->size(), 1U);
  EXPECT_FALSE(written.contains("startupSet"));
}

TEST_F(Document, SavesOnlyTheGroupsAskedFor) {
  document().decodeReadableWith({}, SettingsGroup::all);
  const Dictionary records = document().encodeReadableInDict(nullptr, SettingsGroup::displayRecords);
  EXPECT_EQ(records, (Dictionary{{"Version", 4150101}, {"VLMDaemonRunOnce", true}, {"allDisplays", Dictionary{}}}));
  const Dictionary older{{"Version", 4000000}};
  EXPECT_EQ(document().encodeReadableInDict(&older, 0).sInt32("Version"), 4150101);
}

TEST_F(Document, LeavesTheFileAloneWhileItsContentIsForgotten) {
  const Dictionary file{{"startupSet", 1}, {"displaySetsArray", Array{setOf(1)}}, {"checkUpdate", false}};
  document().decodeReadableWith(file, SettingsGroup::all);
  document().forget();
  Dictionary written = document().encodeReadableInDict(&file, SettingsGroup::all);
  written.remove("Version");
  written.remove("VLMDaemonRunOnce");
  EXPECT_EQ(written, file);
}

TEST_F(Document, ReadsRecordsInTheOrderOfTheirKeysAsTexts) {
  document().decodeReadableWith({{"allDisplays", Dictionary{{"9", record(9)}, {"10", record(10)}}}},
                                SettingsGroup::all);
  ASSERT_EQ(document().extraDisplayArray.size(), 2U);
  EXPECT_EQ(document().extraDisplayArray[0]->monitorResID, 10);
  EXPECT_EQ(document().extraDisplayArray[1]->monitorResID, 9);
}

TEST_F(Document, NumbersAttachedDisplaysByHowManyTheFileLists) {
  const Dictionary all{{"1", record(1)}, {"2", record(2)}, {"3", record(3)}};
  document().decodeReadableWith({{"allDisplays", all}, {"volatileDisplays", Array{2}}}, SettingsGroup::all);
  EXPECT_EQ(attachedNumbers(), (std::vector<std::int64_t>{0}));
  document().decodeReadableWith({{"allDisplays", all}, {"volatileDisplays", Array{3, 99, "x", 1}}}, SettingsGroup::all);
  EXPECT_EQ(attachedNumbers(), (std::vector<std::int64_t>{1, 2}));
  EXPECT_EQ(document().displayAtIndex(0)->monitorResID, 3);
  EXPECT_EQ(document().displayAtIndex(2), nullptr);
}

TEST_F(Document, AlignsASetsMonitorsWithTheAttachedDisplays) {
  document().decodeReadableWith({{"allDisplays", Dictionary{{"1", record(1)}, {"2", record(2)}}},
                                 {"volatileDisplays", Array{1, 2}},
                                 {"displaySetsArray", Array{setOf(1, {2, 1, 7})}}},
                                SettingsGroup::all);
  const auto& set = document().displaySetsArray.front();
  EXPECT_EQ(set->indexOfMonitorWithID(1), 0);
  EXPECT_EQ(set->indexOfMonitorWithID(std::nullopt), -1);
  EXPECT_EQ(set->indexOfMonitorWithID(2), 1);
  EXPECT_TRUE(set->monitorWithID(1)->dispIsPresent && set->monitorWithID(2)->dispIsPresent);
  EXPECT_FALSE(set->monitorWithID(7)->dispIsPresent);
}

TEST_F(Document, ResolvesStartUpSetAndChainsAndCountsTheirUsers) {
  Dictionary a = setOf(1), b = setOf(2);
  a.set("chainedSetUID", 2);
  b.set("chainedSetUID", 1);
  const Dictionary file{{"startupSet", 2}, {"displaySetsArray", Array{a, b}}};
  document().decodeReadableWith(file, SettingsGroup::all);
  const auto first = document().displaySetsArray[0], second = document().displaySetsArray[1];
  EXPECT_EQ(document().startupSet(), second);
  EXPECT_EQ(first->chainedDisplaySet(), second);
  EXPECT_EQ(first->nbUsers, 1);
  EXPECT_EQ(second->nbUsers, 2);
  document().setStartupDisplaySet(first);
  EXPECT_EQ(second->nbUsers, 1);
  EXPECT_EQ(document().encodeReadableInDict(nullptr, SettingsGroup::all).sInt32("startupSet"), 1);
  document().decodeReadableWith({{"startupSet", 9}}, SettingsGroup::all);
  EXPECT_EQ(document().startupSet(), nullptr);
}

TEST_F(Document, GivesNewSetsTheNextIdentifier) {
  document().decodeReadableWith({}, SettingsGroup::all);
  EXPECT_EQ(document().findNextSetUniqueID(), 1);
  document().decodeReadableWith({{"displaySetsArray", Array{setOf(1), setOf(5), setOf(3)}}}, SettingsGroup::all);
  EXPECT_EQ(document().findNextSetUniqueID(), 6);
  document().resortDisplaySetsMenuOrder();
  EXPECT_EQ(document().displaySetsArray[2]->menuOrder, 3);
}

}  // namespace
}  // namespace vlm
