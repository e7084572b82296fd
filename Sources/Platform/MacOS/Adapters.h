#pragma once

// The native ports. A source file of this folder includes this before any header of the platform: there, some of the
// names that the ports give to constants (kIOReturnSuccess, kCGNullDirectDisplay) are macros.

#include <memory>

#include "Platform/IORegistry.h"
#include "Platform/MonitorBus.h"
#include "Platform/Quartz.h"
#include "Platform/RunLoop.h"

namespace vlm::native {

// Each is made once, on the main thread, and outlives the process object that is given it.

std::unique_ptr<IORegistry> makeNativeIORegistry();
/// The interface services that the bus hands out go back through the registry port, which must outlive them.
std::unique_ptr<MonitorBus> makeNativeMonitorBus(IORegistry& registry);
std::unique_ptr<Quartz> makeNativeQuartz();
std::unique_ptr<RunLoop> makeNativeRunLoop();

}  // namespace vlm::native
