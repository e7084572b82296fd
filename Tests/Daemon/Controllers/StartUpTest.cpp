#include <gtest/gtest.h>

#include <csignal>

#include "Models/VLMDisplaySet.h"
#include "Tests/Support/DaemonOnMac.h"
#include "Tests/Support/Machines.h"

namespace vlm {
namespace {

using plist::Array;
using plist::Dictionary;

TEST(StartUp, LeavesOneSetWithAHotKeyOnTheFirstRunAlone) {
  test::DaemonOnMac on(test::laptopWith({"Left"}));
  on.launch();
  const Dictionary first = on.settings();
  ASSERT_EQ(first.array("displaySetsArray")->size(), 1U);
  const Dictionary& set = *first.array("displaySetsArray")->front().dictionary();
  EXPECT_EQ(set.sInt32("keyCode"), 26381);
  EXPECT_EQ(set.sInt32("uniqueID"), 1);
  EXPECT_FALSE(set.string("name").value_or("").empty());
  EXPECT_TRUE(first.boolean("VLMDaemonRunOnce"));
  EXPECT_EQ(first.dictionary("allDisplays")->count(), 2U);

  on.inside([](VLMGlobals& document) { document.quitDaemon({}); });
  on.mac.turn();
  on.launch();
  EXPECT_EQ(on.settings().array("displaySetsArray")->size(), 1U);
}

TEST(StartUp, TakesItsStepsInTheirOrder) {
  test::DaemonOnMac on(test::laptopWith({"Left"}));
  on.launch();
  std::vector<std::string> posts;
  for (const Notification& post : on.mac.distributedPosts()) posts.push_back(post.object.value_or(""));
  EXPECT_EQ(posts, (std::vector<std::string>{"daemonLaunched", "reloadPreferences"}));
  const auto logged = [&](const char* text) {
    return std::find_if(on.mac.log.begin(), on.mac.log.end(), [&](const auto& line) { return line.find(text) != line.npos; });
  };
  const char* const kInOrder[] = {"VLMDaemon - ", "VLMDaemonMainController init", "loadPrefsFromFile",
                                  "Matching memory displays to disk saved preferences", "will create new status item",
                                  "daemonInstallHotKeys"};
  for (std::size_t i = 0; i + 1 < std::size(kInOrder); ++i) {
    EXPECT_LT(logged(kInOrder[i]), logged(kInOrder[i + 1])) << kInOrder[i + 1];
  }
  // Its own announcement does not make it read what it has just written.
  on.mac.advance(3);
  EXPECT_EQ(std::count_if(on.mac.log.begin(), on.mac.log.end(),
                          [](const auto& line) { return line.find("loadPrefsFromFile") != line.npos; }),
            1);
}

TEST(StartUp, LeavesAtOnceWhenTranslated) {
  test::DaemonOnMac on(test::laptopWith({}));
  on.mac.processTranslated = 1;
  on.launch();
  EXPECT_TRUE(on.mac.log.empty());
  EXPECT_TRUE(on.settings().empty());
}

TEST(StartUp, ReadsAMachineWideFileAndWritesTheUsersOwn) {
  test::DaemonOnMac on(test::laptopWith({}));
  const std::string name = std::string("/Library/Preferences/") + test::kDaemonIdentifier + ".plist";
  const Dictionary administrators{{"VLMDaemonRunOnce", true},
                                  {"launchShortCut", 99},
                                  {"checkApplics", true},
                                  {"applicationSetsArray", Array{Dictionary{{"appName", "Paint"}}}},
                                  {"eventsArray", Array{Dictionary{{"type", 1}}}}};
  on.writeSettings(administrators);
  ASSERT_EQ(std::rename(on.settingsPath().c_str(), (on.mac.localFolder() + name).c_str()), 0);
  on.launch();
  const Dictionary own = on.settings();
  for (const plist::Entry& entry : administrators) EXPECT_EQ(*own.find(entry.key), entry.value) << entry.key;
  EXPECT_TRUE(on.settings().array("displaySetsArray")->empty());
}

TEST(StartUp, NeverMultipliesRecordsModesOrSets) {
  test::DaemonOnMac on(test::laptopWith({"Left", "Right"}));
  on.launch();
  on.inside([](VLMGlobals& document) { document.quitDaemon({}); });
  on.mac.turn();
  const Dictionary before = on.settings();
  for (int i = 0; i < 10; ++i) {
    on.launch();
    on.mac.advance(3);
    on.inside([](VLMGlobals& document) { document.quitDaemon({}); });
    on.mac.turn();
  }
  EXPECT_EQ(on.settings(), before);
}

TEST(Quitting, AnnouncesItselfOnEveryWayOut) {
  const struct {
    const char* name;
    void (*quit)(test::DaemonOnMac&);
  } kRows[] = {
      {.name = "command", .quit = [](test::DaemonOnMac& on) {
         on.mac.postDistributed({.name = test::kDaemonIdentifier, .object = "QuitVLMDaemon", .userInfo = {}});
       }},
      {.name = "interrupt", .quit = [](test::DaemonOnMac& on) { on.mac.signal(on.daemon(), SIGINT); }},
      {.name = "hot key", .quit = [](test::DaemonOnMac& on) { EXPECT_TRUE(on.mac.pressKey(0x35, 0x0C00)); }},
  };
  for (const auto& row : kRows) {
    test::DaemonOnMac on(test::laptopWith({}));
    const std::int32_t pid = on.launch().processIdentifier();
    row.quit(on);
    on.mac.turn();
    EXPECT_EQ(on.mac.sessionWithProcessIdentifier(pid), nullptr) << row.name;
    EXPECT_EQ(on.mac.distributedPosts().back().object.value_or(""), "daemonStopped") << row.name;
  }
}

TEST(SingleInstance, LeavesTheNewestCopyRunning) {
  struct Row {
    const char* name;
    std::vector<std::string> versions;  ///< in the order of their start
    std::vector<bool> running;
  };
  const Row kRows[] = {
      {.name = "same version", .versions = {"5.0", "5.0"}, .running = {true, false}},
      {.name = "newer", .versions = {"5.0", "5.0.1"}, .running = {false, true}},
      {.name = "older", .versions = {"5.0.1", "5.0"}, .running = {true, false}},
      {.name = "older, newer, between", .versions = {"4.0", "6.0", "5.0"}, .running = {false, true, false}},
      {.name = "no version", .versions = {"", "5.0"}, .running = {false, true}},
  };
  for (const Row& row : kRows) {
    test::DaemonOnMac on(test::laptopWith({}));
    std::vector<std::int32_t> pids;
    for (const std::string& version : row.versions) {
      pids.push_back(on.launch(version).processIdentifier());
      on.mac.advance(2);
    }
    for (std::size_t i = 0; i < pids.size(); ++i) {
      EXPECT_EQ(on.mac.sessionWithProcessIdentifier(pids[i]) != nullptr, row.running[i]) << row.name << " " << i;
    }
  }
}

TEST(StatusItem, IsKeptWhenHiddenAndRemovedOnOldSystems) {
  test::DaemonOnMac on(test::laptopWith({}));
  on.launch();
  ASSERT_EQ(on.mac.statusItems().size(), 1U);
  EXPECT_EQ(on.mac.statusItems()[0].imageName, "imageGray");
  const auto show = [&](test::DaemonOnMac& mac, const char* command) {
    mac.mac.postDistributed({.name = test::kDaemonIdentifier, .object = command, .userInfo = {}});
    mac.mac.turn();
  };
  const StatusItemRef reference = on.mac.statusItems()[0].reference;
  show(on, "doRemoveStatusItem");
  EXPECT_FALSE(on.mac.statusItems()[0].visible);
  show(on, "doAddStatusItem");
  EXPECT_TRUE(on.mac.statusItems()[0].visible);
  EXPECT_EQ(on.mac.statusItems()[0].reference, reference);

  auto old = test::laptopWith({});
  old.systemVersion = {.majorVersion = 10, .minorVersion = 11, .patchVersion = 6};
  test::DaemonOnMac onOld(std::move(old));
  onOld.launch();
  show(onOld, "doRemoveStatusItem");
  EXPECT_TRUE(onOld.mac.statusItems().empty());
}

}  // namespace
}  // namespace vlm
