#pragma once

#include "Platform/Notifications.h"

namespace vlm {

/// Applies display sets when the notifications arrive that the user's rules name.
class VLMDaemonEventsObserver {
 public:
  /// Subscribes to what the rules name.
  void daemonInstallEventsObservers();
  void daemonRemoveEventsObservers();
  void eventHasOccured(const Notification& notification);
};

}  // namespace vlm
