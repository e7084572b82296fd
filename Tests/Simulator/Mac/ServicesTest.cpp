#include <gtest/gtest.h>

#include "Platform/AppleEvents.h"
#include "Platform/Bundle.h"
#include "Platform/Input.h"
#include "Platform/Notifications.h"
#include "Platform/System.h"
#include "Platform/UserInterface.h"
#include "Platform/Workspace.h"
#include "Tests/Support/TestProcess.h"

namespace vlm::sim {
namespace {

using Lines = std::vector<std::string>;

Notification named(const std::string& name, const std::optional<std::string>& object = {}) {
  Notification notification;
  notification.name = name;
  notification.object = object;
  return notification;
}

/// A process whose observers write into a list.
struct Observing {
  TestProcess process;
  Notifications& center = os().notifications;
  Lines heard;

  ObserverToken observe(NotificationCenter at, const std::string& name, const std::optional<std::string>& object,
                        const std::string& note, std::function<void()> also = {}) {
    return center.addObserver(at, name, object, SuspensionBehavior::deliverImmediately,
                              [this, note, also = std::move(also)](const Notification&) {
                                heard.push_back(note);
                                if (also) also();
                              });
  }
};

TEST(Notifications, ReachWhoeverAskedForNameAndObjectInTheOrderOfAsking) {
  Observing test;
  test.observe(NotificationCenter::local, "n", std::nullopt, "any object");
  test.observe(NotificationCenter::local, "n", "a", "object a");
  test.observe(NotificationCenter::local, "n", "b", "object b");
  test.observe(NotificationCenter::local, "m", std::nullopt, "other name");
  test.observe(NotificationCenter::workspace, "n", std::nullopt, "other centre");
  test.center.post(NotificationCenter::local, named("n", "a"), 0);
  EXPECT_EQ(test.heard, (Lines{"any object", "object a"}));
  test.heard.clear();
  test.process.mac().postWorkspace(named("n"));
  EXPECT_EQ(test.heard, (Lines{"other centre"}));
}

TEST(Notifications, ObserversMayComeAndGoWhileTheyAreCalled) {
  Observing test;
  ObserverToken own = 0, third = 0;
  test.observe(NotificationCenter::local, "n", std::nullopt, "adds",
               [&] { test.observe(NotificationCenter::local, "n", std::nullopt, "added"); });
  own = test.observe(NotificationCenter::local, "n", std::nullopt, "removes", [&] {
    test.center.removeObserver(NotificationCenter::local, own);
    test.center.removeObserver(NotificationCenter::local, third);
  });
  third = test.observe(NotificationCenter::local, "n", std::nullopt, "removed");
  test.center.post(NotificationCenter::local, named("n"), 0);
  EXPECT_EQ(test.heard, (Lines{"adds", "removes"}));
  test.heard.clear();
  test.center.post(NotificationCenter::local, named("n"), 0);
  EXPECT_EQ(test.heard, (Lines{"adds", "added"}));
}

TEST(Notifications, DistributedOnesTravelToEveryProcessOnALaterTurn) {
  Observing test;
  Session& other =
      test.process.mac().addSession({.bundleIdentifier = "other", .name = "other", .bundlePath = "", .version = ""});
  test.observe(NotificationCenter::distributed, "n", std::nullopt, "own");
  other.ports().notifications.addObserver(
      NotificationCenter::distributed, "n", std::nullopt, SuspensionBehavior::deliverImmediately,
      [&](const Notification& notification) {
        EXPECT_EQ(notification.sender, nullptr);
        test.heard.push_back("other, as process " + std::to_string(os().workspace.processIdentifier()));
      });
  Notification sent = named("n", "first");
  sent.sender = &test;
  sent.userInfo = plist::Dictionary{{"parameter1", 1}};
  test.center.post(NotificationCenter::distributed, sent, kNSNotificationDeliverImmediately);
  test.observe(NotificationCenter::distributed, "n", std::nullopt, "registered too late");
  EXPECT_TRUE(test.heard.empty());
  test.process.mac().turn();
  EXPECT_EQ(test.heard, (Lines{"own", "other, as process " + std::to_string(other.processIdentifier())}));
  ASSERT_EQ(test.process.mac().distributedPosts().size(), 1U);
  EXPECT_EQ(test.process.mac().distributedPosts()[0].object, "first");
  EXPECT_EQ(test.process.newJournalLines("post"), Lines{"daemon: post(distributed, n, \"first\", {parameter1 = 1})"});
}

TEST(Notifications, AnEndedProcessHearsNothingMore) {
  Observing test;
  Session& other = test.process.mac().addSession(daemonDescription());
  for (const auto center : {NotificationCenter::distributed, NotificationCenter::workspace}) {
    other.ports().notifications.addObserver(center, "n", std::nullopt, SuspensionBehavior::drop,
                                            [&](const Notification&) { test.heard.emplace_back("other"); });
  }
  test.process.mac().postDistributed(named("n"));
  other.end();
  test.process.mac().postWorkspace(named("n"));
  test.process.mac().turn();
  EXPECT_TRUE(test.heard.empty());
}

TEST(Input, AHotKeyReachesEveryProcessThatRegisteredIt) {
  TestProcess process;
  Input& input = os().input;
  Input& others = process.mac().addSession(daemonDescription()).ports().input;
  EventHotKeyRef first = 0, second = 99, ofOther = 0;
  EXPECT_EQ(input.RegisterEventHotKey(0x67, cmdKey | optionKey, {.signature = 1, .id = 7}, 0, first), noErr);
  EXPECT_EQ(input.RegisterEventHotKey(0x67, cmdKey | optionKey, {.signature = 1, .id = 8}, 0, second),
            eventHotKeyExistsErr);
  EXPECT_EQ(second, 0U);
  EXPECT_EQ(others.RegisterEventHotKey(0x67, cmdKey | optionKey, {.signature = 1, .id = 9}, 0, ofOther), noErr);

  std::vector<std::uint32_t> pressed;
  const auto handler = [&](const CarbonEvent& event) {
    pressed.push_back(event.directObject->id);
    return eventNotHandledErr;
  };
  input.InstallApplicationEventHandler({{kEventClassKeyboard, kEventHotKeyPressed}}, handler);
  others.InstallApplicationEventHandler({{kEventClassKeyboard, kEventHotKeyPressed}}, handler);
  EXPECT_TRUE(process.mac().pressKey(0x67, cmdKey | optionKey | alphaLock));
  EXPECT_FALSE(process.mac().pressKey(0x67, cmdKey));
  EXPECT_TRUE(pressed.empty());
  process.mac().turn();
  EXPECT_EQ(pressed, (std::vector<std::uint32_t>{7, 9}));

  EXPECT_EQ(input.UnregisterEventHotKey(first), noErr);
  EXPECT_NE(input.UnregisterEventHotKey(0), noErr);
  process.mac().pressKey(0x67, cmdKey | optionKey);
  process.mac().turn();
  EXPECT_EQ(pressed, (std::vector<std::uint32_t>{7, 9, 9}));
}

TEST(Input, TheLastInstalledHandlerIsAskedFirstUntilOneTakesTheEvent) {
  TestProcess process;
  Lines asked;
  const auto install = [&](const std::string& name, OSStatus answer, std::uint32_t kind) {
    os().input.InstallApplicationEventHandler({{kEventClassApplication, 1}, {kEventClassKeyboard, kind}},
                                              [&asked, name, answer](const CarbonEvent&) {
                                                asked.push_back(name);
                                                return answer;
                                              });
  };
  install("never reached", noErr, kEventHotKeyPressed);
  install("takes it", -1, kEventHotKeyPressed);
  install("other kind", noErr, 6);
  install("passes it on", eventNotHandledErr, kEventHotKeyPressed);
  EventHotKeyRef reference = 0;
  os().input.RegisterEventHotKey(1, cmdKey, {}, 0, reference);
  process.mac().pressKey(1, cmdKey);
  process.mac().turn();
  EXPECT_EQ(asked, (Lines{"passes it on", "takes it"}));
}

TEST(Input, TranslatesTheKeysOfAUSKeyboard) {
  TestProcess process;
  const struct {
    const char* name;
    std::uint16_t code;
    std::optional<std::string> text;
  } rows[] = {
      {.name = "first letter", .code = 0x00, .text = "a"}, {.name = "digit", .code = 0x1d, .text = "0"},
      {.name = "sign", .code = 0x2a, .text = "\\"},        {.name = "last typing key", .code = 0x32, .text = "`"},
      {.name = "return", .code = 0x24, .text = "\r"},      {.name = "space", .code = 0x31, .text = " "},
      {.name = "keypad 9", .code = 0x5c, .text = "9"},     {.name = "F11", .code = 0x67, .text = "\x10"},
      {.name = "arrow up", .code = 0x7e, .text = "\x1e"},  {.name = "a modifier", .code = 0x37, .text = {}},
      {.name = "no such key", .code = 0xffff, .text = {}},
  };
  for (const auto& row : rows)
    EXPECT_EQ(os().input.UCKeyTranslate(row.code, os().input.LMGetKbdType()), row.text) << row.name;
}

TEST(UserInterface, AnAlertTakesTheAnswerOrTheTimeOut) {
  TestProcess process;
  const auto ask = [](double timeout) {
    return os().userInterface.CFUserNotificationDisplayAlert(timeout, kCFUserNotificationCautionAlertLevel, "New",
                                                             "Keep it?", "Yes", "No", "");
  };
  const double before = process.mac().now();
  EXPECT_EQ(ask(5), kCFUserNotificationCancelResponse);
  EXPECT_EQ(process.mac().now(), before + 5);
  process.mac().alertAnswer = kCFUserNotificationAlternateResponse;
  EXPECT_EQ(ask(5), kCFUserNotificationAlternateResponse);
  EXPECT_EQ(process.mac().now(), before + 5);
  process.mac().alertAnswer.reset();
  ask(0);
  EXPECT_EQ(process.takeFaults().size(), 1U);
  EXPECT_EQ(process.newJournalLines()[0],
            R"(daemon: CFUserNotificationDisplayAlert(5, 2, "New", "Keep it?", "Yes", "No", ""))");
}

TEST(UserInterface, StatusItemsAreTheirProcesssOwnAndGoWithIt) {
  TestProcess process;
  UserInterface& own = os().userInterface;
  Session& other = process.mac().addSession(daemonDescription());
  const StatusItemRef item = own.statusItemWithLength(kNSVariableStatusItemLength);
  const StatusItemRef others = other.ports().userInterface.statusItemWithLength(1);
  own.setImage(item, "imageBlue");
  own.setVisible(item, false);
  own.setImage(others, "not mine");
  ASSERT_EQ(process.mac().statusItems().size(), 2U);
  EXPECT_EQ(process.mac().statusItems()[0].imageName, "imageBlue");
  EXPECT_FALSE(process.mac().statusItems()[0].visible);
  EXPECT_EQ(process.mac().statusItems()[1].imageName, "");
  other.end();
  EXPECT_EQ(process.mac().statusItems().size(), 1U);
  own.removeStatusItem(item);
  EXPECT_TRUE(process.mac().statusItems().empty());
}

TEST(AppleEvents, AHandlerMayEndItsProcess) {
  SimulatedMac mac(desktopWith({"Left"}));
  Session& session = mac.addSession(daemonDescription());
  constexpr std::uint32_t kCore = fourCharCode("aevt"), kQuit = fourCharCode("quit");
  int calls = 0;
  session.ports().appleEvents.setEventHandler(kCore, kQuit, [&session, &calls] {
    ++calls;
    session.end();
  });
  mac.sendAppleEvent(session, kCore, fourCharCode("oapp"));
  mac.sendAppleEvent(session, kCore, kQuit);
  mac.sendAppleEvent(session, kCore, kQuit);
  mac.turn();
  EXPECT_EQ(calls, 1);
  EXPECT_FALSE(session.isRunning());
}

TEST(Bundle, TheDaemonsNamesItsApplicationClass) {
  TestProcess process;
  EXPECT_EQ(os().bundle.objectForInfoDictionaryKey("NSPrincipalClass"), plist::Value("VLMDaemonMainController"));
  EXPECT_EQ(os().bundle.objectForInfoDictionaryKey("CFBundleVersion"), plist::Value("4.15.1"));
  EXPECT_EQ(os().bundle.objectForInfoDictionaryKey("Other"), std::nullopt);
  EXPECT_EQ(os().bundle.localizedString("No such table", "1"), std::nullopt);
}

TEST(System, LogsWithTheProcesssNameWhileSomebodyReads) {
  TestProcess process;
  os().system.log("one");
  process.mac().logEnabled = false;
  EXPECT_FALSE(os().system.isLogEnabled());
  os().system.log("two");
  EXPECT_EQ(process.mac().log, Lines{"daemon: one"});
  EXPECT_EQ(os().system.sysctlbyname("sysctl.proc_translated"), std::nullopt);
  process.mac().processTranslated = 1;
  EXPECT_EQ(os().system.sysctlbyname("sysctl.proc_translated"), 1);
  EXPECT_EQ(os().system.sysctlbyname("hw.ncpu"), std::nullopt);
}

}  // namespace
}  // namespace vlm::sim
