#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

#include "Platform/ColorSync.h"
#include "Platform/Files.h"
#include "Platform/IORegistry.h"
#include "Platform/Input.h"
#include "Platform/Notifications.h"
#include "Platform/Preferences.h"
#include "Platform/RunLoop.h"
#include "Platform/System.h"
#include "Platform/Workspace.h"
#include "Tests/Contracts/PortsUnderTest.h"

namespace vlm::contracts {
namespace {

namespace fs = std::filesystem;

using PortsContract = PortsUnderTest;

/// Numbers of one value and different kinds stand beside each other: none may become the other.
plist::Value everyKindOfValue() {
  constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
  constexpr auto kMost = std::numeric_limits<std::uint64_t>::max();
  const plist::Array array{true, 1, 1.0, false, 0, 0.0, 1.0 / 3, kLeast, kMost, "Grüße & <\"日本\">\n", ""};
  const plist::Date date{.secondsSinceReferenceDate = 788'918'400};
  return plist::Dictionary{{"Größe", array}, {"data", plist::Data{0, 0x7f, 0xff}}, {"date", date}};
}

TEST_F(PortsContract, AWriteReplacesTheFileWholeOrNotAtAll) {
  const plist::Dictionary values{{"values", everyKindOfValue()}};
  std::ofstream(scratch("file")) << "the old file";
  std::ifstream opened(scratch("file"));
  ASSERT_EQ(os().files.writeToURLAtomically(values, scratch("file")), std::nullopt);
  EXPECT_EQ((std::ostringstream() << opened.rdbuf()).str(), "the old file") << "for whoever had it open";
  EXPECT_EQ(os().files.dictionaryWithContentsOfURL(scratch("file")), values);
  fs::create_directories(scratch("taken/by a folder"));
  EXPECT_TRUE(os().files.writeToURLAtomically({}, scratch("taken")) && fs::exists(scratch("taken/by a folder")));
  EXPECT_TRUE(os().files.writeToURLAtomically({}, scratch("no folder/file")) && !fs::exists(scratch("no folder")));
}

TEST_F(PortsContract, ACopyIsByteForByteAndOnlyToAFreePlace) {
  std::ofstream(scratch("from"), std::ios::binary) << std::string("\0\xff\r\n", 4);
  EXPECT_EQ(os().files.copyItem(scratch("from"), scratch("to")), std::nullopt);
  std::ofstream(scratch("from")) << "other";
  EXPECT_TRUE(os().files.copyItem(scratch("from"), scratch("to")));
  EXPECT_EQ(os().files.dataWithContentsOfURL(scratch("to")), (plist::Data{0, 0xff, '\r', '\n'}));
}

TEST_F(PortsContract, ALinkToNothingCountsAsNothingAndIsWrittenThrough) {
  const std::string link = scratch("link");
  fs::create_symlink("file", link);
  EXPECT_FALSE(os().files.checkResourceIsReachable(link) || os().files.dataWithContentsOfURL(link));
  os().files.writeToURLAtomically({}, link);
  EXPECT_TRUE(fs::is_symlink(link) && os().files.checkResourceIsReachable(scratch("file")));
}

TEST_F(PortsContract, ABookmarkFollowsItsFileAndLeadsNowhereWithoutIt) {
  std::ofstream(scratch("script")) << "content";
  const plist::Data bookmark = bookmarkOf(scratch("script"));
  fs::rename(scratch("script"), scratch("renamed"));
  const auto resolved = os().files.URLByResolvingBookmarkData(bookmark);
  EXPECT_TRUE(resolved && fs::equivalent(*resolved, scratch("renamed")));
  fs::remove(scratch("renamed"));
  EXPECT_FALSE(os().files.URLByResolvingBookmarkData(bookmark) || os().files.URLByResolvingBookmarkData({1, 2, 3}));
}

TEST_F(PortsContract, APreferenceComesBackAsItWasSetUntilNoValueRemovesIt) {
  const std::string domain = "org.kelvane.velmoratix.contracts";
  for (const auto& value : {std::optional(everyKindOfValue()), std::optional<plist::Value>()}) {
    os().preferences.CFPreferencesSetValue("values", value, domain);
    EXPECT_TRUE(os().preferences.CFPreferencesSynchronize(domain));
    EXPECT_EQ(os().preferences.CFPreferencesCopyValue("values", domain), value);
  }
}

// On a real Mac these seconds pass; where an order matters, a busy one has a quarter of a second.
TEST_F(PortsContract, DelayedPerformsComeInTheirOrderAndNeverAtOnceUnlessCancelled) {
  std::string calls;
  const auto perform = [&](double delay, const char* call) {
    return os().runLoop.performAfterDelay(delay, [&calls, call] { calls += call; });
  };
  perform(0.5, "last");
  const RunLoopToken cancelled = perform(0.25, "cancelled ");
  RunLoopToken cancelledByAnother = 0;
  os().runLoop.performAfterDelay(0.25, [&] { os().runLoop.cancelPerform(cancelledByAnother); });
  perform(0.25, "one ");
  cancelledByAnother = perform(0.25, "cancelled by another ");
  perform(0.25, "two ");
  os().runLoop.performAfterDelay(0, [&] {
    perform(-1, "next ");
    calls += "first ";
  });
  for (const RunLoopToken token : {cancelled, cancelled, RunLoopToken{0}}) os().runLoop.cancelPerform(token);
  EXPECT_EQ(calls, "");
  runLoopFor(0.75);
  EXPECT_EQ(calls, "first next one two last");
}

TEST_F(PortsContract, ATimerRepeatsUntilItIsInvalidatedAndItsMissedTurnsComeOnce) {
  int calls = 0;
  RunLoopToken timer = 0;
  timer = os().runLoop.scheduledTimerWithTimeInterval(0.5, true, [&] {
    if (++calls == 3) os().runLoop.invalidateTimer(timer);
  });
  os().runLoop.cancelPerform(timer);  // which it is not
  os().runLoop.sleep(1.7);
  EXPECT_EQ(calls, 0);
  runLoopFor(0.05);
  EXPECT_EQ(calls, 1);
  runLoopFor(1.75);
  EXPECT_EQ(calls, 3);
  os().runLoop.invalidateTimer(timer);
}

TEST_F(PortsContract, ALocalNotificationIsDeliveredWhileItIsPostedToWhoeverStillObserves) {
  const Notification posted{"VLMContract", {}, &posted, plist::Dictionary{{"number", 1}, {"flag", true}}};
  std::vector<Notification> heard;
  ObserverToken observers[2] = {};
  const auto remove = [&](int i) { os().notifications.removeObserver(NotificationCenter::local, observers[i]); };
  for (const int i : {0, 1}) {
    const auto hear = [&, i](const Notification& received) {
      heard.push_back(received);
      remove(1 - i);
    };
    observers[i] =
        os().notifications.addObserver(NotificationCenter::local, posted.name, {}, SuspensionBehavior::drop, hear);
  }
  os().notifications.post(NotificationCenter::local, posted, 0);
  ASSERT_EQ(heard.size(), 1U) << "whichever came first has removed the other";
  EXPECT_TRUE(heard[0].name == posted.name && heard[0].sender == &posted && heard[0].userInfo == posted.userInfo);
  for (const int i : {0, 1}) remove(i);
  os().notifications.post(NotificationCenter::local, posted, 0);
  EXPECT_EQ(heard.size(), 1U);
}

/// With several, not the main one, whose origin no move can change.
CGDirectDisplayID lastDisplay() {
  std::vector<CGDirectDisplayID> displays(64);
  std::uint32_t count = 0;
  EXPECT_EQ(os().quartz.CGSGetDisplayList(64, displays, count), kCGErrorSuccess);
  while (count > 1 && !os().quartz.CGDisplayIsOnline(displays[count - 1])) --count;
  return displays.at(count - 1);
}

TEST_F(PortsContract, ATransactionChangesNothingBeforeItIsCompleted) {
  const CGDirectDisplayID display = lastDisplay();
  const Rect before = os().quartz.CGDisplayBounds(display);
  const CGDisplayConfigRef config = os().quartz.CGBeginDisplayConfiguration();
  EXPECT_EQ(os().quartz.CGSConfigureDisplayOrigin(config, display, 0, -5000), kCGErrorSuccess);
  EXPECT_EQ(os().quartz.CGDisplayBounds(display), before);
  cancel(config);
}

TEST_F(PortsContract, ACompletedTransactionIsAnnouncedBeforeAndAfter) {
  if (!mayChangeDisplays()) GTEST_SKIP() << "it would move the displays of whoever sits at this Mac";
  std::vector<CGDisplayChangeSummaryFlags> announced;
  os().quartz.CGDisplayRegisterReconfigurationCallback([&, display = lastDisplay()](CGDirectDisplayID id, auto flags) {
    if (id == display) announced.push_back(flags & (kCGDisplayBeginConfigurationFlag | kCGDisplayMovedFlag));
  });
  const CGDisplayConfigRef config = os().quartz.CGBeginDisplayConfiguration();
  os().quartz.CGSConfigureDisplayOrigin(config, lastDisplay(), 0, -5000);
  os().quartz.CGCompleteDisplayConfiguration(config, kCGConfigurePermanently);
  EXPECT_EQ(announced, (std::vector{kCGDisplayBeginConfigurationFlag, kCGDisplayMovedFlag}));
}

TEST_F(PortsContract, RegistryObjectsGoBackAndAnIteratorCanBeginAgain) {
  const IOObject root = os().registry.IORegistryEntryFromPath("IOService:/");
  const IOObject iterator = os().registry.IORegistryEntryCreateIterator(root.get(), "IOService", 0);
  const IOObject first = os().registry.IOIteratorNext(iterator);
  ASSERT_TRUE(first);
  const std::size_t held = heldReferences(first.get());
  while (os().registry.IOIteratorNext(iterator)) continue;
  os().registry.IOIteratorReset(iterator);
  EXPECT_EQ(os().registry.IOIteratorNext(iterator).get(), first.get());
  IOObject retained = os().registry.IOObjectRetain(first.get());
  EXPECT_EQ(heldReferences(first.get()), held + 1);
  retained = IOObject();
  EXPECT_EQ(heldReferences(first.get()), held);
  EXPECT_FALSE(os().registry.IORegistryEntryFromPath("IOService:/VLMNoSuchEntry"));
}

TEST_F(PortsContract, WhatIsThereIsFoundAndWhatIsNotIsAbsent) {
  EXPECT_GE(os().system.operatingSystemVersion().value().majorVersion, 10);
  EXPECT_FALSE(os().system.sysctlbyname("vlm.no_such_name") || os().system.sysctlbyname("hw.memsize"));
  EXPECT_TRUE(os().workspace.runningApplicationWithProcessIdentifier(os().workspace.processIdentifier()));
  EXPECT_FALSE(os().colorSync.CGDisplayCreateUUIDFromDisplayID(0x7ffffff1));
  EXPECT_FALSE(os().colorSync.ColorSyncDeviceCopyDeviceInfo("mntr", "5AB3C7E0-0000-4000-8000-000000000000"));
}

TEST_F(PortsContract, AHotKeyIsRegisteredOnceAtATimeAndTheNullReferenceIsHarmless) {
  const auto registerKey = [](EventHotKeyRef& reference) {  // with F19
    return os().input.RegisterEventHotKey(0x50, cmdKey | optionKey | controlKey, {1, 1}, 0, reference);
  };
  EventHotKeyRef first = 0, second = 1;
  EXPECT_EQ(registerKey(first), noErr);
  os().input.UnregisterEventHotKey(0);
  EXPECT_TRUE(registerKey(second) != noErr && second == 0);
  os().input.UnregisterEventHotKey(first);
  EXPECT_EQ(registerKey(second), noErr);
  os().input.UnregisterEventHotKey(second);
}

}  // namespace
}  // namespace vlm::contracts
