#include <gtest/gtest.h>

#include <csignal>

#include "Models/VLMDisplaySet.h"
#include "Platform/Input.h"
#include "Tests/Support/DaemonOnMac.h"
#include "Tests/Support/Machines.h"

namespace vlm {
namespace {

using plist::Array;
using plist::Dictionary;

TEST(StartUp, TakesItsStepsInTheirOrder) {
  test::DaemonOnMac on(sim::desktopWith({"Left"}));
  on.writeSettings({{"VLMDaemonRunOnce", true}, {"startRestoreDelay", -3}, {"launchShortCut", -1}});
  on.mac.journal().clear();
  on.launch();
  std::vector<std::string> steps;
  for (const std::string& line : on.mac.journal().lines()) {
    // The commands' own observers stand in a test of messages.
    if (line.find("addObserver(distributed, org.kelvane") == line.npos)
      steps.push_back(line.substr(line.find(": ") + 2));
  }
  const std::vector<std::string> expected{
      "sharedApplication()",
      "setDelegate()",
      "run()",
      "IOI2CSendRequest(Left, 51 82 01 10 ac)",
      "IOI2CSendRequest(Left, 51 82 01 10 ac)",
      "writeToURLAtomically(~/Library/Preferences/org.kelvane.velmoratix.daemon.plist)",
      "statusItemWithLength(-1)",
      "setHighlightMode(yes)",
      "setMenu(\"\")",
      "setVisible(yes)",
      "setImage(imageGray)",
      "addObserver(local, NSScreenColorSpaceDidChangeNotification)",
      "addObserver(workspace, NSWorkspaceSessionDidBecomeActiveNotification)",
      "post(distributed, org.kelvane.velmoratix.daemon, \"daemonLaunched\")",
      "CGDisplayRegisterReconfigurationCallback()",
      "addObserver(distributed, AppleInterfaceThemeChangedNotification)",
      "setUserNotificationCenterDelegate()",
      "setEventHandler(aevt, oapp)",
      "setEventHandler(aevt, odoc)",
      "setEventHandler(aevt, pdoc)",
      "setEventHandler(aevt, quit)",
      "setSignalHandler(2)",
      "InstallApplicationEventHandler(keyb 5, appl 6)",
      "addObserver(workspace, NSWorkspaceWillLaunchApplicationNotification)",
      "addObserver(workspace, NSWorkspaceDidActivateApplicationNotification)",
      "addObserver(workspace, NSWorkspaceDidWakeNotification)",
      "RegisterEventHotKey(opt+0x35, VLMs 65534)",
      "addGlobalMonitorForEventsMatchingMask(10)",
      "scheduledTimerWithTimeInterval(1, repeats)",
      "writeToURLAtomically(~/Library/Preferences/org.kelvane.velmoratix.daemon.plist)",
      "post(distributed, org.kelvane.velmoratix.daemon, \"reloadPreferences\")",
      "performAfterDelay(-3)",
  };
  EXPECT_EQ(steps, expected);
  // Its own announcement does not make it read what it has just written.
  on.mac.advance(3);
  EXPECT_EQ(std::count_if(on.mac.log.begin(), on.mac.log.end(),
                          [](const auto& line) { return line.find("loadPrefsFromFile") != line.npos; }),
            1);
}

TEST(StartUp, CountsAFileThatTheDaemonHasNeverWrittenAsTheFirstRun) {
  test::DaemonOnMac on(test::laptopWith({}));
  on.writeSettings({{"launchShortCut", 99}});
  on.launch();
  EXPECT_EQ(on.settings().array("displaySetsArray")->size(), 1U);
  EXPECT_EQ(on.settings().sInt32("launchShortCut"), 99);
}

TEST(StartUp, CapturesTheConfigurationInForce) {
  test::DaemonOnMac on(test::laptopWith({"Left"}));
  on.launch();
  on.inside([](VLMGlobals& document) {
    EXPECT_EQ(document.previousMainDisplay, document.displayArray[0]->monitorResID);
    for (const auto& display : document.displayArray) {
      EXPECT_TRUE(display->previousEnabled && display->isEnabled);
      EXPECT_NE(display->previousMode.get(), nullptr);
      EXPECT_EQ(display->previousMode.get(), display->currentMode.get());
      EXPECT_EQ(display->previousDepth, display->currentDepth);
      EXPECT_EQ(display->previousPos, display->displayPosition());
    }
  });
}

TEST(StartUp, LeavesAtOnceWhenTranslated) {
  test::DaemonOnMac on(test::laptopWith({}));
  on.mac.processTranslated = 1;
  on.launch();
  EXPECT_TRUE(on.mac.log.empty());
  EXPECT_TRUE(on.settings().empty());
}

TEST(Quitting, AnnouncesItselfOnEveryWayOut) {
  const struct {
    const char* name;
    void (*quit)(test::DaemonOnMac&);
  } kRows[] = {
      {.name = "command",
       .quit =
           [](test::DaemonOnMac& on) {
             on.mac.postDistributed({.name = test::kDaemonIdentifier, .object = "QuitVLMDaemon", .userInfo = {}});
           }},
      {.name = "interrupt", .quit = [](test::DaemonOnMac& on) { on.mac.signal(on.daemon(), SIGINT); }},
      {.name = "Apple event",
       .quit =
           [](test::DaemonOnMac& on) {
             for (const auto event : {fourCharCode("oapp"), fourCharCode("odoc"), fourCharCode("pdoc")}) {
               on.mac.sendAppleEvent(on.daemon(), fourCharCode("aevt"), event);
             }
             on.mac.turn();
             EXPECT_TRUE(on.daemon().isRunning());
             on.mac.sendAppleEvent(on.daemon(), fourCharCode("aevt"), fourCharCode("quit"));
           }},
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

TEST(Quitting, SavesOnInterruptWhatTheDaemonItselfChanges) {
  test::DaemonOnMac on(test::laptopWith({}));
  on.launch();
  on.inside([](VLMGlobals& document) { document.checkUpdate = document.showStatusItem = false; });
  on.mac.signal(on.daemon(), SIGINT);
  on.mac.turn();
  EXPECT_FALSE(on.settings().boolean("checkUpdate", true));
  EXPECT_TRUE(on.settings().dictionary("sysMenuFlags")->boolean("showMenuExtra"));
}

TEST(SingleInstance, NeverEndsACopyBehindOneThatIsAsNew) {
  const struct {
    const char* name;
    std::vector<std::string> others;
    std::vector<std::string> expected;
  } kRows[] = {
      {.name = "newer first", .others = {"6.0", "4.0"}, .expected = {"stop()", "stop()"}},
      {.name = "older first", .others = {"4.0", "6.0"}, .expected = {"forceTerminate(501)", "stop()"}},
  };
  for (const auto& row : kRows) {
    test::DaemonOnMac on(test::laptopWith({}));
    for (const std::string& version : row.others) {
      on.mac.addSession({.bundleIdentifier = test::kDaemonIdentifier,
                         .name = "daemon " + version,
                         .bundlePath = "/Applications/" + version + ".app",
                         .version = version});
    }
    on.launch("5.0");
    std::vector<std::string> acts;
    for (const std::string& line : on.mac.journal().lines()) {
      if (line.find("stop()") != line.npos || line.find("forceTerminate") != line.npos) {
        acts.push_back(line.substr(line.find(": ") + 2));
      }
    }
    EXPECT_EQ(acts, row.expected) << row.name;
  }
}

TEST(StatusItem, FollowsTheAppearanceATurnLater) {
  const struct {
    const char* name;
    bool gray, dark;
    const char* image;
  } kRows[] = {{.name = "light", .gray = false, .dark = false, .image = "imageBlue"},
               {.name = "light and grey", .gray = true, .dark = false, .image = "imageGray"},
               {.name = "dark", .gray = false, .dark = true, .image = "imageGray"}};
  for (const auto& row : kRows) {
    test::DaemonOnMac on(test::laptopWith({}));
    on.mac.darkAppearance = !row.dark;
    on.launch();
    on.inside([&](VLMGlobals& document) { document.statusItemGray = row.gray; });
    on.mac.darkAppearance = row.dark;
    on.mac.postDistributed({.name = "AppleInterfaceThemeChangedNotification", .object = {}, .userInfo = {}});
    on.mac.turn();
    EXPECT_EQ(on.mac.statusItems()[0].imageName, row.image) << row.name;
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
