#include <gtest/gtest.h>

#include "Platform/Input.h"
#include "Platform/Notifications.h"
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

/// A process, and another one, whose observers write into a list.
class Notices : public testing::Test {
 protected:
  ObserverToken observe(NotificationCenter at, const std::optional<std::string>& object, const std::string& note,
                        std::function<void()> also = {}, Session* by = nullptr) {
    Notifications& center = by == nullptr ? os().notifications : by->ports().notifications;
    return center.addObserver(at, "n", object, SuspensionBehavior::deliverImmediately,
                              [this, note, also = std::move(also)](const Notification&) {
                                heard.push_back(note);
                                if (also) also();
                              });
  }
  /// What the observers of the own process's centre heard of it.
  Lines post(const Notification& notification) {
    heard.clear();
    os().notifications.post(NotificationCenter::local, notification, 0);
    return heard;
  }

  TestProcess process;
  Session& other = process.mac().addSession(daemonDescription());
  Lines heard;
};

TEST_F(Notices, ReachObserversThatComeAndGoMeanwhile) {
  ObserverToken own = 0, third = 0;
  observe(NotificationCenter::local, {}, "adds", [&] { observe(NotificationCenter::local, {}, "added"); });
  own = observe(NotificationCenter::local, {}, "removes", [&] {
    for (const ObserverToken token : {own, third}) os().notifications.removeObserver(NotificationCenter::local, token);
  });
  third = observe(NotificationCenter::local, {}, "removed");
  EXPECT_EQ(post(named("n")), (Lines{"adds", "removes"}));
  EXPECT_EQ(post(named("n")), (Lines{"adds", "added"}));
}

TEST_F(Notices, TravelToEveryProcessOnALaterTurnWhileItRuns) {
  std::int32_t current = 0;
  observe(NotificationCenter::distributed, {}, "own");
  observe(
      NotificationCenter::distributed, {}, "other", [&] { current = os().workspace.processIdentifier(); }, &other);
  Notification sent = named("n", "first");
  sent.userInfo = plist::Dictionary{{"parameter1", 1}};
  os().notifications.post(NotificationCenter::distributed, sent, kNSNotificationDeliverImmediately);
  observe(NotificationCenter::distributed, {}, "registered too late");
  EXPECT_EQ(heard, Lines{});
  process.mac().turn();
  EXPECT_EQ(heard, (Lines{"own", "other"}));
  EXPECT_EQ(current, other.processIdentifier());
  EXPECT_EQ(process.newJournalLines("post"), Lines{"daemon: post(distributed, n, \"first\", {parameter1 = 1})"});
  heard.clear();
  process.mac().postDistributed(named("n"));
  other.end();
  process.mac().turn();
  EXPECT_EQ(heard, (Lines{"own", "registered too late"}));
}

}  // namespace
}  // namespace vlm::sim
