#include <gtest/gtest.h>

#include "Platform/Workspace.h"
#include "Shared/Find.h"
#include "Tests/Support/DaemonOnMac.h"

/// Commands that reach beyond the displays: the control application, notices, probing.
namespace vlm {
namespace {

class Messages : public ::testing::Test {
 protected:
  void start(OperatingSystemVersion version, bool isInstalled) {
    auto machine = test::laptopWith({"Left", "Right"});
    machine.systemVersion = version;
    machine.displays[1].probeOptions = 5;
    machine.displays[2].probeOptions = 0;
    if (isInstalled) {
      machine.applications.push_back({.bundleIdentifier = kControlAppBundleIdentifier,
                                      .name = "Velmoratix",
                                      .bundlePath = "/Applications/Velmoratix.app"});
    }
    on_ = std::make_unique<test::DaemonOnMac>(std::move(machine));
    on_->launch();
    on_->mac.advance(2);
    on_->mac.journal().clear();
  }
  void command(const char* object) {
    on_->mac.postDistributed({.name = test::kDaemonIdentifier, .object = object, .userInfo = {}});
    on_->mac.turn();
  }

  std::unique_ptr<test::DaemonOnMac> on_;
};

TEST_F(Messages, LaunchTheControlApplicationOrBringItToTheFront) {
  for (const std::int64_t minor : {14, 15}) {
    start({.majorVersion = 10, .minorVersion = minor, .patchVersion = 0}, true);
    command("openCDEV");
    EXPECT_EQ(on_->journalCount("openApplicationAtURL"), minor == 15 ? 1 : 0);
    EXPECT_EQ(on_->journalCount("launchApplicationAtURL"), minor == 15 ? 0 : 1);
    on_->mac.turn();
    command("openCDEV");
    EXPECT_EQ(on_->journalCount("activateWithOptions"), 1);
    EXPECT_EQ(on_->mac.distributedPosts().back().object, "reopenCDEV");
  }
}

TEST_F(Messages, TellTheUserThatThereIsNoControlApplication) {
  start({.majorVersion = 12, .minorVersion = 6, .patchVersion = 0}, false);
  command("openCDEV");
  EXPECT_EQ(on_->journalCount("CFUserNotificationDisplayNotice"), 1);
}

TEST_F(Messages, ShowTheUpdateBehindAClickedNotice) {
  start({.majorVersion = 10, .minorVersion = 12, .patchVersion = 6}, true);
  on_->mac.activateUserNotification("update");
  on_->mac.turn();
  EXPECT_EQ(on_->journalCount("removeDeliveredNotification"), 1);
  EXPECT_EQ(on_->journalCount("openURL"), 1);
  start({.majorVersion = 10, .minorVersion = 13, .patchVersion = 0}, true);
  on_->mac.activateUserNotification("update");
  on_->mac.turn();
  EXPECT_EQ(on_->journalCount("LSOpenFromURLSpec"), 1);
}

TEST_F(Messages, ProbeTheFrameBuffersThatCanBeProbed) {
  start({.majorVersion = 12, .minorVersion = 6, .patchVersion = 0}, false);
  command("ScanDisp");
  EXPECT_EQ(on_->journalCount("IOServiceRequestProbe"), 1);
  EXPECT_EQ(on_->journalCount("IOServiceRequestProbe(Left, 0x1)"), 1);
  command("openSysPref");
  EXPECT_EQ(on_->journalCount("openFile(/System/Library/PreferencePanes/Displays.prefPane)"), 1);
}

TEST_F(Messages, ComeFromTheBundleThatTheDaemonLiesInBeforeAnyOther) {
  start({.majorVersion = 12, .minorVersion = 6, .patchVersion = 0}, true);
  auto& inside = on_->mac.addSession(
      {.bundleIdentifier = "test", .name = "inside", .bundlePath = "/Users/me/Velmoratix.app/A/B/C/Daemon.app"});
  const Process::Scope scope(inside.process());
  std::string path;
  std::int32_t processIdentifier = 0;
  bool alreadyRunning = true;
  EXPECT_EQ(Find_ControlAppFromDaemon(path, processIdentifier, alreadyRunning), 0);
  EXPECT_EQ(path, "/Users/me/Velmoratix.app");
  EXPECT_FALSE(alreadyRunning);
  // No creator, and any, mean the name.
  EXPECT_EQ(Find_FindAppURL(kAnyCreator, "", "Velmoratix", path), 0);
  EXPECT_EQ(path, "/Applications/Velmoratix.app");
  EXPECT_EQ(Find_FindAppURL(0, std::nullopt, "Nothing", path), fnfErr);
}

}  // namespace
}  // namespace vlm
