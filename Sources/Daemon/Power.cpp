#include "Daemon/Power.h"

#include "Models/VLMApplicationObject.h"
#include "Models/VLMGlobals.h"
#include "Platform/PowerSources.h"
#include "Platform/Process.h"
#include "Platform/RunLoop.h"

namespace vlm {

namespace {

/// Seconds in which a charger that is being plugged in makes contact.
constexpr double kPowerEventDelay = 0.5;

struct PowerEvent {
  const char* source;
  const char* notification;
};
constexpr PowerEvent kPowerEvents[] = {
    {.source = "AC Power", .notification = "VelmoratixPowerOnACChanged"},
    {.source = "Battery Power", .notification = "VelmoratixPowerOnBatteryChanged"},
    {.source = "Off Line", .notification = "VelmoratixPowerOnUPSChanged"},
    // What macOS says here; the name above is its word for the state of a single source.
    {.source = "UPS Power", .notification = "VelmoratixPowerOnUPSChanged"},
};

struct PowerNotification {
  PowerSourceRunLoopSource source = 0;
};

}  // namespace

void Power_InstallNotification() {
  PowerSourceRunLoopSource& source = Process::current().state<PowerNotification>().source;
  if (source == 0) {
    source = os().powerSources.IOPSNotificationCreateRunLoopSource(
        [] { PowerSourceChangedCallback(VLMGlobals::sharedInstance()); });
  }
  if (source != 0) os().powerSources.CFRunLoopAddSource(source);
}

void Power_RemoveNotification() {
  const PowerSourceRunLoopSource source = Process::current().state<PowerNotification>().source;
  if (source != 0) os().powerSources.CFRunLoopRemoveSource(source);
}

void PowerSourceChangedCallback(VLMGlobals& context) {
  const auto type = os().powerSources.IOPSGetProvidingPowerSourceType();
  for (const PowerEvent& event : kPowerEvents) {
    if (type != event.source) continue;
    os().runLoop.performAfterDelay(kPowerEventDelay, [&context, name = event.notification] {
      if (context.applicationObject != nullptr) context.applicationObject->postDirectNotificationName(name);
    });
  }
}

}  // namespace vlm
