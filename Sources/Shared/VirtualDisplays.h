#pragma once

#include "Platform/Quartz.h"

/// Displays that are no monitors, told by their vendor and model numbers.
namespace vlm {

/// The stand-in of a Mac without a monitor.
bool Common_CGIsVirtual(CGDirectDisplayID display);
/// The same, or a picture that is sent to a television set or a tablet.
bool Common_CGIsVirtualOrIPad(CGDirectDisplayID display);
/// The display of a system that runs in a virtual machine.
bool Common_CGIsInVirtualMachine(CGDirectDisplayID display);

}  // namespace vlm
