#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "Shared/Prefs.h"
#include "Tests/Support/DaemonOnMac.h"
#include "Tests/Support/Machines.h"

namespace vlm {
namespace {

using plist::Array;
using plist::Dictionary;
using Keys = std::set<std::string>;

constexpr int kEverything = 0x3FFF;

Keys operator+(Keys left, const Keys& right) {
  left.insert(right.begin(), right.end());
  return left;
}

// --- Of a running daemon ---

TEST(SettingsFile, IsBroughtUpToDateByTheFirstSaveThatSucceedsAgain) {
  test::DaemonOnMac on(test::laptopWith({"Left", "Right"}));
  on.launch();
  on.mac.advance(2);
  const Dictionary before = on.settings();
  on.mac.diskFault = sim::DiskFault::full;
  ASSERT_EQ(on.mac.setMode("Left", 1280, 720), std::nullopt);
  on.mac.advance(5);
  EXPECT_EQ(on.settings(), before);

  on.mac.diskFault = sim::DiskFault::none;
  ASSERT_EQ(on.mac.setMode("Right", 1280, 720), std::nullopt);
  on.mac.advance(5);
  const Dictionary after = on.settings();
  for (const char* const name : {"Left", "Right"}) {
    SCOPED_TRACE(name);
    on.inside([&](VLMGlobals& document) {
      const auto display = document.displayWithcgID(on.mac.display(name).id);
      EXPECT_EQ(display->currentMode.get()->Nx, 1280U);
      const Dictionary* record = after.dictionary("allDisplays")->dictionary(std::to_string(*display->monitorResID));
      ASSERT_NE(record, nullptr);
      EXPECT_EQ(record->uInt32("currentMode"), display->currentMode.get()->modeUniqueID);
    });
  }
}

// --- Of a document alone ---

class DocumentFile : public ::testing::Test {
 protected:
  DocumentFile() : mac_(test::laptopWith({})), scope_(mac_.addSession({.name = "daemon"}).process()) {}

  VLMGlobals& document() { return VLMGlobals::sharedInstance(); }
  static bool write(const Dictionary& settings, const std::string& path) {
    return !os().files.writeToURLAtomically(settings, path);
  }
  static std::optional<Dictionary> read(const std::string& path) {
    return os().files.dictionaryWithContentsOfURL(path);
  }

  /// Something of every group that differs from its default.
  const Dictionary everyGroup_{
      {"launchShortCut", 99},
      {"startupSet", 1},
      {"cmMenuFlags", Dictionary{{"showContextMenu", false}}},
      {"contextualMenuModifier", 7},
      {"sysMenuFlags", Dictionary{{"statusItemGray", false}}},
      {"desktopFlags", Dictionary{{"startDelay", 9}}},
      {"allDisplays", Dictionary{{"1001", Dictionary{{"monitorResID", 1001}, {"sysMonitorName", "M"}}}}},
      {"volatileDisplays", Array{1001}},
      {"displaySetsArray", Array{Dictionary{{"name", "S"}, {"uniqueID", 1}}}},
      {"checkApplics", true},
      {"applicationSetsArray", Array{Dictionary{{"soundLevel", 0.5}}}},
      {"eventsArray", Array{Dictionary{{"type", 2}}}}};

  sim::SimulatedMac mac_;
  Process::Scope scope_;
};

TEST_F(DocumentFile, WritesAndReadsTheGroupsThatItsBitsName) {
  const Keys general{"quitShortCut",
                     "launchShortCut",
                     "checkUpdate",
                     "canProbe",
                     "inLoginItems",
                     "onlyMeCanActivate",
                     "monitorMousePosition",
                     "quitDockAfterEnabling",
                     "quitDockAfterDisabling",
                     "startupDoNothing",
                     "forceSleepAfterDisable",
                     "startRestoreDelay"};
  const Keys startupSet{"startupSet"}, attached{"volatileDisplays"}, records{"allDisplays"}, sets{"displaySetsArray"},
      statusMenu{"sysMenuFlags"}, contextMenu{"cmMenuFlags", "contextualMenuModifier"}, desktop{"desktopFlags"},
      rules{"checkApplics", "applicationSetsArray"}, events{"eventsArray"}, shortCut{"launchShortCut"};
  const struct {
    int flags;
    Keys written;
    /// Of everyGroup_, over a document of defaults: a start-up set is one of the sets, an attached display has a
    /// record.
    Keys changed;
  } rows[] = {
      {.flags = 0x1, .written = general + startupSet, .changed = shortCut},
      {.flags = 0x2, .written = {}, .changed = {}},
      {.flags = 0x4, .written = contextMenu, .changed = contextMenu},
      {.flags = 0x8, .written = statusMenu, .changed = statusMenu},
      {.flags = 0x10, .written = sets, .changed = sets},
      {.flags = 0x20, .written = rules, .changed = rules},
      {.flags = 0x400, .written = events, .changed = events},
      {.flags = 0x80, .written = attached, .changed = {}},
      {.flags = 0x100, .written = desktop, .changed = desktop},
      {.flags = 0x200, .written = records, .changed = records},
      {.flags = 0x281, .written = general + startupSet + attached + records, .changed = shortCut + attached + records},
      {.flags = 0x399,
       .written = general + startupSet + statusMenu + sets + attached + desktop + records,
       .changed = shortCut + startupSet + statusMenu + sets + attached + desktop + records},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.flags);
    document().decodeReadableWith(everyGroup_, kEverything);
    Keys written;
    for (const auto& entry : document().encodeReadableInDict(nullptr, row.flags)) written.insert(entry.key);
    EXPECT_EQ(written, row.written + Keys({"Version", "VLMDaemonRunOnce"}));

    document().decodeReadableWith({}, kEverything);
    const Dictionary defaults = document().encodeReadableInDict(nullptr, kEverything);
    document().decodeReadableWith(everyGroup_, row.flags);
    Keys changed;
    for (const auto& entry : document().encodeReadableInDict(nullptr, kEverything)) {
      const plist::Value* const byDefault = defaults.find(entry.key);
      if (byDefault == nullptr || *byDefault != entry.value) changed.insert(entry.key);
    }
    EXPECT_EQ(changed, row.changed);
  }
}

TEST_F(DocumentFile, KeepsContextualMenuOptionsOverTheMenusReload) {
  document().decodeReadableWith(everyGroup_, kEverything);
  document().decodeReadableWith({}, 0x399);
  EXPECT_FALSE(document().showContextMenu);
  EXPECT_EQ(document().contextualMenuModifier, 7);
  EXPECT_TRUE(document().statusItemGray);
  EXPECT_TRUE(document().displaySetsArray.empty());
}

TEST_F(DocumentFile, KeepsTheLastVersionThatWasRead) {
  for (const Dictionary& file : {Dictionary{{"Version", 4000000}}, Dictionary{}, Dictionary{{"Version", 0}}}) {
    document().decodeReadableWith(file, kEverything);
    EXPECT_EQ(document().savedPrefsVersion, 4000000);
  }
}

TEST_F(DocumentFile, KeepsItsSetsAndOptionsWhenRecordsAloneAreSaved) {
  const std::string path = *Prefs_GetVLM4PrefsURL(true);
  document().decodeReadableWith(everyGroup_, kEverything);
  Dictionary file{{"launchShortCut", 5},
                  {"startupSet", 2},
                  {"displaySetsArray", Array{Dictionary{{"uniqueID", 2}}}},
                  {"sysMenuFlags", Dictionary{{"unknownInside", 1}}},
                  {"volatileDisplays", Array{3}}};
  ASSERT_TRUE(write(file, path));
  document().savePrefs(0x200);
  auto written = read(path);
  ASSERT_TRUE(written);
  EXPECT_TRUE(written->dictionary("allDisplays")->contains("1001"));
  for (const char* const key : {"allDisplays", "Version", "VLMDaemonRunOnce"}) written->remove(key);
  EXPECT_EQ(*written, file);
}

TEST_F(DocumentFile, IsWrittenAtTheEndWhenASaveIsPendingAndOnlyThen) {
  const std::string path = *Prefs_GetVLM4PrefsURL(true);
  document().decodeReadableWith(everyGroup_, kEverything);
  document().saveWhatIsPending();
  EXPECT_EQ(read(path), std::nullopt);
  mac_.diskFault = sim::DiskFault::full;
  document().savePrefs(SettingsGroup::displaySets);
  mac_.diskFault = sim::DiskFault::none;
  document().saveWhatIsPending();
  ASSERT_TRUE(read(path));
  EXPECT_EQ(read(path)->array("displaySetsArray")->size(), 1U);
  EXPECT_FALSE(read(path)->contains("launchShortCut"));
}

TEST_F(DocumentFile, IsHandedOutFromWhereItIsReadAndNotWritten) {
  const std::string own = *Prefs_GetVLM4PrefsURL(true);
  const std::string name = own.substr(own.rfind('/'));
  ASSERT_TRUE(
      write({{"someoneElses", Array{1}}}, *os().files.libraryDirectory(Files::Domain::local) + "/Preferences" + name));
  document().decodeReadableWith(everyGroup_, kEverything);
  const auto journal = mac_.journal().lines();
  const Dictionary given = document().getPrefs(kEverything);
  EXPECT_TRUE(given.contains("someoneElses"));
  EXPECT_EQ(given.sInt32("launchShortCut"), 99);
  EXPECT_EQ(mac_.journal().lines(), journal);
  EXPECT_EQ(read(own), std::nullopt);
}

TEST_F(DocumentFile, IsNeitherReadNorWrittenNorMissedWithoutALibraryFolder) {
  const std::string path = *Prefs_GetVLM4PrefsURL(true);
  ASSERT_TRUE(write(everyGroup_, path));
  const auto journal = mac_.journal().lines();
  document().decodeReadableWith({}, kEverything);
  const Dictionary defaults = document().encodeReadableInDict(nullptr, kEverything);

  mac_.hasLibraryFolders = false;
  EXPECT_EQ(Prefs_GetVLM4PrefsURL(false), std::nullopt);
  EXPECT_EQ(Prefs_GetVLM4PrefsURL(true), std::nullopt);
  document().decodeReadableWith(everyGroup_, kEverything);
  document().loadPrefs(kEverything);
  EXPECT_EQ(document().getPrefs(kEverything), defaults);
  mac_.log.clear();
  document().savePrefs(kEverything);
  EXPECT_EQ(mac_.log, std::vector<std::string>());
  EXPECT_EQ(mac_.journal().lines(), journal);
  mac_.hasLibraryFolders = true;
  EXPECT_EQ(read(path), everyGroup_);
}

}  // namespace
}  // namespace vlm
