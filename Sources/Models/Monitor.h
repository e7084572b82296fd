#pragma once

#include "Platform/PropertyList.h"
#include "Platform/Quartz.h"

/// What the system tells about displays that change: the reconfiguration and the brightness callbacks.
namespace vlm {

class VLMGlobals;

/// Registers both kinds of callback; the document outlives the process's callbacks.
void Monitor_InstallNotification(VLMGlobals& document);
/// For the displays attached now.
void Monitor_InstallBrightnessNotifications(VLMGlobals& document);
/// For those that were installed, also when their display is gone by now.
void Monitor_RemoveBrightnessNotifications(VLMGlobals& document);

/// Flags what the check loop has to do, and posts the daemon's own notifications. The records are not rebuilt here.
void Monitor_ConfigurationChange(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags, VLMGlobals& document);
/// `information` carries the new brightness as "value".
void Monitor_BrightnessChange(CGDirectDisplayID display, const plist::Dictionary& information, VLMGlobals& document);

}  // namespace vlm
