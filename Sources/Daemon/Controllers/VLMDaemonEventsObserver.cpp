#include "Daemon/Controllers/VLMDaemonEventsObserver.h"

namespace vlm {

void VLMDaemonEventsObserver::daemonInstallEventsObservers() {
  // Subscribes once for every notification that a rule names, once the rules are read.
}

void VLMDaemonEventsObserver::daemonRemoveEventsObservers() {
  // Takes the subscriptions back.
}

void VLMDaemonEventsObserver::eventHasOccured(const Notification& /*notification*/) {
  // Applies the set of every rule for the notification.
}

}  // namespace vlm
