#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "Platform/PropertyList.h"

namespace vlm {

/// The centres through which notifications travel.
enum class NotificationCenter {
  local,        ///< this process; delivered while posting
  workspace,    ///< from the system to this process; delivered while posting
  distributed,  ///< every process of the session; delivered on a later turn of each one's run loop, the sender's too
};

struct Notification {
  std::string name;
  /// The distributed centre's filter text; for the others whatever text the sender gives.
  std::optional<std::string> object;
  /// The object that posted, on the local centre; compared, never followed. Natively it takes the place of `object`: a
  /// notification has one of them.
  const void* sender = nullptr;
  std::optional<plist::Dictionary> userInfo;
};

/// What becomes of distributed notifications while the application is in the background.
enum class SuspensionBehavior : std::uint32_t { drop = 1, coalesce = 2, hold = 3, deliverImmediately = 4 };

constexpr std::uint32_t kNSNotificationDeliverImmediately = 1;

/// An observer's registration. 0 is none.
using ObserverToken = std::uint64_t;

/// The notification centres of the process. Observers may be removed while they are being called.
class Notifications {
 public:
  using Handler = std::function<void(const Notification&)>;

  virtual ~Notifications() = default;

  /// Calls back for every notification of that name and, when one is given, that object. Distributed observers pass
  /// their suspension behaviour; elsewhere it means nothing.
  virtual ObserverToken addObserver(NotificationCenter center, const std::string& name,
                                    const std::optional<std::string>& object, SuspensionBehavior suspensionBehavior,
                                    Handler handler) = 0;
  virtual void removeObserver(NotificationCenter center, ObserverToken observer) = 0;
  /// `options`: kNSNotificationDeliverImmediately on the distributed centre, 0 elsewhere.
  virtual void post(NotificationCenter center, const Notification& notification, std::uint32_t options) = 0;
};

}  // namespace vlm
