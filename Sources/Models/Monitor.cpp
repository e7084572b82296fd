#include "Models/Monitor.h"

#include <set>

#include "Models/VLMApplicationObject.h"
#include "Models/VLMChangeRecorder.h"
#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Platform/RunLoop.h"
#include "Platform/SkyLight.h"
#include "Shared/Log.h"

namespace vlm {

namespace {

/// Added, removed, enabled and disabled: taken as having happened when the number of displays, or one's being on, shows
/// that something of the kind was missed.
constexpr CGDisplayChangeSummaryFlags kAnyComingOrGoing =
    kCGDisplayAddFlag | kCGDisplayRemoveFlag | kCGDisplayEnabledFlag | kCGDisplayDisabledFlag;
/// Changes behind which the records of the displays are made anew.
constexpr CGDisplayChangeSummaryFlags kWholeConfigurationChanged = kAnyComingOrGoing | 1U << 13;

/// Seconds until a turned display has settled, and one that came or went.
constexpr double kRotationDelay = 0.5, kComingOrGoingDelay = 2.0;

struct DirectNotification {
  CGDisplayChangeSummaryFlags flag;
  const char* name;
};
constexpr DirectNotification kDirectNotifications[] = {
    {.flag = kCGDisplayAddFlag, .name = "VelmoratixOneMonitorAdded"},
    {.flag = kCGDisplayRemoveFlag, .name = "VelmoratixOneMonitorRemoved"},
    {.flag = kCGDisplayEnabledFlag, .name = "VelmoratixOneMonitorActivated"},
    {.flag = kCGDisplayDisabledFlag, .name = "VelmoratixOneMonitorDisabled"},
};

/// Displays whose brightness the process is told about.
struct BrightnessNotifications {
  std::set<CGDirectDisplayID> displays;
};

void postAfterDelay(VLMGlobals& document, const char* name, double delay) {
  os().runLoop.performAfterDelay(delay, [&document, name] {
    if (document.applicationObject != nullptr) document.applicationObject->postDirectNotificationName(name);
  });
}

/// Flags for what the system's own left out.
CGDisplayChangeSummaryFlags missingFlags(const VLMGlobals& document) {
  CGDisplayChangeSummaryFlags missing = 0;
  if (static_cast<std::size_t>(document.getNumberOfDisplays()) != document.displayArray.size()) {
    VLMLog("added flags 1");
    missing = kAnyComingOrGoing;
  }
  for (const auto& record : document.displayArray) {
    if (record->previousEnabled == record->isEnabled) continue;
    VLMLog("added flags 2");
    missing = kAnyComingOrGoing;
  }
  return missing;
}

bool isRotation(const VLMDisplay& display, CGDisplayChangeSummaryFlags flags) {
  if ((flags & (kCGDisplayRemoveFlag | kCGDisplayDisabledFlag)) != 0) return false;
  if (display.getDisplayTansfType() == display.transfType) return false;
  VLMLog("Result: is a rotation");
  return true;
}

/// Fast user switching and the like bring other modes without a word.
void checkNumberOfModes(const VLMDisplay& display, VLMGlobals& document) {
  VLMLog("check FUS");
  std::int32_t count = 0;
  if (os().quartz.CGSGetNumberOfDisplayModes(display.cgID, count) != kCGErrorSuccess) return;
  if (count == display.numberOfModesInCG) return;
  VLMLog("needsUpdatingDisplays set");
  document.needsUpdatingDisplays = true;
}

void rememberPreviousMode(VLMDisplay& display) {
  // Woken up and not looked at yet: the mode remembered before is the better one.
  if (display.currentMode.get() == nullptr) return;
  display.previousMode = display.currentMode;
  display.previousDepth = display.currentDepth;
  VLMLog("-- disp->previousMode = %@ - disp->previousDepth = %d", lazily([&] {
           const auto mode = display.previousMode.get();
           return mode != nullptr ? std::optional(mode->description()) : std::nullopt;
         }),
         display.previousDepth);
}

}  // namespace

void Monitor_InstallNotification(VLMGlobals& document) {
  os().quartz.CGDisplayRegisterReconfigurationCallback(
      [&document](CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags) {
        Monitor_ConfigurationChange(display, flags, document);
      });
  Monitor_InstallBrightnessNotifications(document);
}

void Monitor_InstallBrightnessNotifications(VLMGlobals& document) {
  auto& installed = Process::current().state<BrightnessNotifications>().displays;
  for (const auto& record : document.displayArray) {
    if (!installed.insert(record->cgID).second) continue;
    os().skyLight.DisplayServicesRegisterForBrightnessChangeNotifications(
        record->cgID, [&document](CGDirectDisplayID display, const plist::Dictionary& information) {
          Monitor_BrightnessChange(display, information, document);
        });
  }
}

void Monitor_RemoveBrightnessNotifications(VLMGlobals& /*document*/) {
  auto& installed = Process::current().state<BrightnessNotifications>().displays;
  for (const CGDirectDisplayID display : installed) {
    os().skyLight.DisplayServicesUnregisterForBrightnessChangeNotifications(display);
  }
  installed.clear();
}

void Monitor_ConfigurationChange(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags, VLMGlobals& document) {
  const auto record = document.displayWithcgID(display);
  VLMLog("Monitor Configuration has changed -- Display ID = %lX (display %@) - flags = %u", display,
         lazily([&] { return record != nullptr ? std::optional(record->description()) : std::nullopt; }), flags);
  bool rotated = false;
  if ((flags & kCGDisplayBeginConfigurationFlag) != 0) {
    VLMLog("PRE config");
    if (record != nullptr) rememberPreviousMode(*record);
  } else {
    VLMLog("POST config: needs to Recheck Displays");
    document.needToRecheckDisplays = true;
    if (record != nullptr && (flags & kCGDisplayDesktopShapeChangedFlag) != 0) {
      VLMLog("kCGDisplayDesktopShapeChangedFlag");
      flags |= missingFlags(document);
    }
    // Whatever the shape: half a turn keeps it.
    if (record != nullptr) rotated = isRotation(*record, flags);
    if (record != nullptr && (flags & kCGDisplayRemoveFlag) == 0 && record->isActive()) {
      checkNumberOfModes(*record, document);
    }
  }
  if (rotated || (flags & kWholeConfigurationChanged) != 0) {
    VLMLog("WHOLE DISPLAY CONFIG CHANGED needs Updating Displays");
    document.needsUpdatingDisplays = true;
  }
  if (rotated) postAfterDelay(document, "VelmoratixOneMonitorRotation", kRotationDelay);
  for (const DirectNotification& notification : kDirectNotifications) {
    if ((flags & notification.flag) != 0) postAfterDelay(document, notification.name, kComingOrGoingDelay);
  }
}

void Monitor_BrightnessChange(CGDirectDisplayID display, const plist::Dictionary& information, VLMGlobals& document) {
  if (document.recorder == nullptr || !document.recorder->isRecordingOn() || document.isSetRecorded) return;
  const auto record = document.displayWithcgID(display);
  if (record == nullptr || !information.number("value")) return;
  const float value = information.real32("value");
  if (value == record->brightness) return;
  document.recorder->recordBrightnessFromDisp(*record, value);
  record->brightness = value;
}

}  // namespace vlm
