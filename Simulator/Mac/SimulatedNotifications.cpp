#include "Simulator/Mac/SimulatedNotifications.h"

#include <utility>
#include <vector>

#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/PropertyListGuard.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

namespace {

/// Containers that have too many others around them stay behind, their neighbours come along.
plist::Dictionary withoutDeepParts(const plist::Dictionary& dictionary, std::size_t depth);

plist::Array withoutDeepParts(const plist::Array& array, std::size_t depth);

std::optional<plist::Value> withoutDeepParts(const plist::Value& value, std::size_t depth) {
  const bool isContainer = value.array() != nullptr || value.dictionary() != nullptr;
  if (!isContainer) return value;
  if (depth >= kDeepestPropertyList) return std::nullopt;
  if (value.array() != nullptr) return withoutDeepParts(*value.array(), depth + 1);
  return withoutDeepParts(*value.dictionary(), depth + 1);
}

plist::Array withoutDeepParts(const plist::Array& array, std::size_t depth) {
  plist::Array kept;
  for (const plist::Value& value : array) {
    if (auto part = withoutDeepParts(value, depth)) kept.push_back(std::move(*part));
  }
  return kept;
}

plist::Dictionary withoutDeepParts(const plist::Dictionary& dictionary, std::size_t depth) {
  std::vector<plist::Entry> kept;
  for (const plist::Entry& entry : dictionary) {
    if (auto part = withoutDeepParts(entry.value, depth)) kept.push_back({entry.key, std::move(*part)});
  }
  return plist::Dictionary(std::move(kept));
}

}  // namespace

Notification asItTravels(const Notification& notification) {
  Notification travelling{.name = notification.name, .object = notification.object, .sender = nullptr, .userInfo = {}};
  if (notification.userInfo) travelling.userInfo = withoutDeepParts(*notification.userInfo, 1);
  return travelling;
}

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

std::set<std::string> SimulatedNotifications::objectsObserved(NotificationCenter center,
                                                              const std::string& name) const {
  std::set<std::string> objects;
  for (const auto& [token, observer] : observers_) {
    if (observer->center == center && observer->name == name && observer->object) objects.insert(*observer->object);
  }
  return objects;
}

void SimulatedNotifications::sessionEnded() { std::exchange(observers_, {}).clear(); }

}  // namespace vlm::sim
