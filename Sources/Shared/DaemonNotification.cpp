#include "Shared/DaemonNotification.h"

#include <utility>

#include "Platform/Notifications.h"
#include "Platform/Process.h"

namespace vlm {

void postDaemonNotification(const std::string& object, std::optional<plist::Dictionary> userInfo) {
  os().notifications.post(
      NotificationCenter::distributed,
      {.name = kDaemonNotificationName, .object = object, .sender = nullptr, .userInfo = std::move(userInfo)},
      kNSNotificationDeliverImmediately);
}

}  // namespace vlm
