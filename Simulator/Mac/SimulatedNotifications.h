#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "Platform/Notifications.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// What other processes get of a distributed notification: no objects, and containers no deeper than in a file.
Notification asItTravels(const Notification& notification);

/// One process's observers at the three notification centres.
class SimulatedNotifications : public Notifications {
 public:
  SimulatedNotifications(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

  ObserverToken addObserver(NotificationCenter center, const std::string& name,
                            const std::optional<std::string>& object, SuspensionBehavior suspensionBehavior,
                            Handler handler) override;
  void removeObserver(NotificationCenter center, ObserverToken observer) override;
  void post(NotificationCenter center, const Notification& notification, std::uint32_t options) override;

  /// Calls the observers of the notification, in the order in which they registered, up to the token `last`. Who is
  /// removed meanwhile is not called any more; who registers meanwhile is not yet.
  void deliver(NotificationCenter center, const Notification& notification, ObserverToken last);
  void sessionEnded();
  /// The objects that notifications of a name are observed with.
  std::set<std::string> objectsObserved(NotificationCenter center, const std::string& name) const;

 private:
  struct Observer {
    NotificationCenter center = NotificationCenter::local;
    std::string name;
    std::optional<std::string> object;
    Handler handler;
    bool hears(NotificationCenter at, const Notification& notification) const;
  };

  SimulatedMac& mac_;
  Session& session_;
  /// Shared with the call that is under way: an observer may remove itself.
  std::map<ObserverToken, std::shared_ptr<const Observer>> observers_;
};

}  // namespace vlm::sim
