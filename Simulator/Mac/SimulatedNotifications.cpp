#include "Simulator/Mac/SimulatedNotifications.h"

#include <utility>
#include <vector>

#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

bool SimulatedNotifications::Observer::hears(NotificationCenter at, const Notification& notification) const {
  return center == at && name == notification.name && (!object || object == notification.object);
}

ObserverToken SimulatedNotifications::addObserver(NotificationCenter center, const std::string& name,
                                                  const std::optional<std::string>& object,
                                                  SuspensionBehavior /*suspensionBehavior*/, Handler handler) {
  const std::string filter = object ? ", " + quoted(*object) : "";
  session_.record("addObserver(" + centerText(center) + ", " + name + filter + ")");
  const ObserverToken token = mac_.nextReference();
  observers_[token] = std::make_shared<Observer>(
      Observer{.center = center, .name = name, .object = object, .handler = std::move(handler)});
  return token;
}

void SimulatedNotifications::removeObserver(NotificationCenter center, ObserverToken observer) {
  const auto found = observers_.find(observer);
  if (found == observers_.end() || found->second->center != center) return;
  const auto removed = observers_.extract(found);
  const Observer& gone = *removed.mapped();
  const std::string filter = gone.object ? ", " + quoted(*gone.object) : "";
  session_.record("removeObserver(" + centerText(center) + ", " + gone.name + filter + ")");
}

void SimulatedNotifications::post(NotificationCenter center, const Notification& notification,
                                  std::uint32_t /*options*/) {
  session_.record("post(" + centerText(center) + ", " + notificationText(notification) + ")");
  if (center == NotificationCenter::distributed) {
    mac_.postDistributed(notification);
  } else {
    deliver(center, notification, mac_.lastReference());
  }
}

void SimulatedNotifications::deliver(NotificationCenter center, const Notification& notification, ObserverToken last) {
  std::vector<ObserverToken> hearers;
  for (const auto& [token, observer] : observers_) {
    if (token <= last && observer->hears(center, notification)) hearers.push_back(token);
  }
  for (const ObserverToken token : hearers) {
    const auto found = observers_.find(token);
    if (found == observers_.end()) continue;
    const std::shared_ptr<const Observer> observer = found->second;
    observer->handler(notification);
  }
}

void SimulatedNotifications::sessionEnded() { std::exchange(observers_, {}).clear(); }

}  // namespace vlm::sim
