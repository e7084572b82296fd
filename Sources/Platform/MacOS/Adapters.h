#pragma once

// The native ports. A source file of this folder includes this before any header of the platform: there, some of the
// names that the ports give to constants (kIOReturnSuccess, kCGNullDirectDisplay) are macros.

#include <memory>

#include "Platform/AppleEvents.h"
#include "Platform/Application.h"
#include "Platform/Bundle.h"
#include "Platform/ColorSync.h"
#include "Platform/Files.h"
#include "Platform/IORegistry.h"
#include "Platform/Input.h"
#include "Platform/MonitorBus.h"
#include "Platform/Notifications.h"
#include "Platform/PowerSources.h"
#include "Platform/Preferences.h"
#include "Platform/Quartz.h"
#include "Platform/RunLoop.h"
#include "Platform/SkyLight.h"
#include "Platform/System.h"
#include "Platform/UserInterface.h"
#include "Platform/Workspace.h"

namespace vlm::native {

// Each is made once, on the main thread, and outlives the process object that is given it.

std::unique_ptr<AppleEvents> makeNativeAppleEvents();
std::unique_ptr<Application> makeNativeApplication();
std::unique_ptr<Bundle> makeNativeBundle();
std::unique_ptr<ColorSync> makeNativeColorSync();
std::unique_ptr<Files> makeNativeFiles();
std::unique_ptr<Input> makeNativeInput();
std::unique_ptr<IORegistry> makeNativeIORegistry();
/// The interface services that the bus hands out go back through the registry port, which must outlive them.
std::unique_ptr<MonitorBus> makeNativeMonitorBus(IORegistry& registry);
std::unique_ptr<Notifications> makeNativeNotifications();
std::unique_ptr<PowerSources> makeNativePowerSources();
std::unique_ptr<Preferences> makeNativePreferences();
std::unique_ptr<Quartz> makeNativeQuartz();
std::unique_ptr<RunLoop> makeNativeRunLoop();
std::unique_ptr<SkyLight> makeNativeSkyLight();
std::unique_ptr<System> makeNativeSystem();
std::unique_ptr<UserInterface> makeNativeUserInterface();
std::unique_ptr<Workspace> makeNativeWorkspace();

}  // namespace vlm::native
