#include <gtest/gtest.h>

#include "Shared/Dlog.h"
#include "Shared/SystemVersion.h"
#include "Shared/VersionChecker.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm {
namespace {

TEST(Version, IsOneIntegerForComparing) {
  struct Row {
    std::string text;
    std::int32_t version;
  };
  const Row rows[] = {{"5.2.1", 5 * 65536 + 2 * 256 + 1},
                      {"5", 5 * 65536},
                      {"5.2b3.4", 5 * 65536 + 2 * 256 + 4},
                      {"5.2.1.9", 5 * 65536 + 2 * 256 + 1},
                      {".7", 7 * 256},
                      {"", 0},
                      {"v5", 0},
                      {"-5.1", 256},
                      {"99999999999999999999.1", 0x7FFFFFFF}};
  const VersionChecker checker;
  for (const Row& row : rows) EXPECT_EQ(checker.getVersionFromString(row.text), row.version) << row.text;
}

TEST(Version, OfSystemAndProgramAreThoseOfTheProcess) {
  sim::MachineDescription machine;
  machine.systemVersion = {.majorVersion = 10, .minorVersion = 15, .patchVersion = 7};
  sim::SimulatedMac mac(machine);
  Process::Scope scope(mac.addSession({.name = "daemon", .version = "5.1"}).process());
  EXPECT_EQ(systemVersion(), 659207);
  EXPECT_GE(systemVersion(), kSystem10_15);
  EXPECT_EQ(VersionChecker::sharedInstance().currentPackageVersionInteger(), 5 * 65536 + 256);
  EXPECT_EQ(VersionChecker::sharedInstance().longVersionString(), "5.1 (5.1)");
  EXPECT_FALSE(Common_AmIRunningRosetta2());
}

TEST(UserNotices, TakeTheirTextsFromTheTable) {
  sim::SimulatedMac mac{sim::MachineDescription{}};
  Process::Scope scope(mac.addSession({.name = "daemon"}).process());
  mac.journal().clear();
  Dlog_DaemonNotifWithExpl(1, "why");
  const double before = mac.now();
  EXPECT_EQ(Dlog_ConfirmNewRes(), kCFUserNotificationCancelResponse);
  EXPECT_EQ(mac.now() - before, 5.0);
  mac.alertAnswer = kCFUserNotificationOtherResponse;
  EXPECT_EQ(Dlog_ConfirmNewRes(), kCFUserNotificationOtherResponse);
  const std::string alert =
      "daemon: CFUserNotificationDisplayAlert(5, 2, \"Keep this resolution?\", \"Without an answer, the previous "
      "resolution comes back in 5 seconds.\", \"Put Back\", \"Cancel\", \"Keep\")";
  EXPECT_EQ(
      mac.journal().lines(),
      (std::vector<std::string>{
          "daemon: CFUserNotificationDisplayNotice(0, 1, \"Velmoratix could not be opened\", \"why\")", alert, alert}));
}

}  // namespace
}  // namespace vlm
