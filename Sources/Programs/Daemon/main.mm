#include "Daemon/Controllers/DaemonMain.h"
#include "Platform/MacOS/Adapters.h"
#include "Platform/Process.h"
#include "Programs/Daemon/LoginItem.h"

#import <Foundation/Foundation.h>

namespace vlm::native {

namespace {

/// The ports of the Mac that the program runs on.
struct NativePorts {
  const std::unique_ptr<AppleEvents> appleEvents = makeNativeAppleEvents();
  const std::unique_ptr<Application> application = makeNativeApplication();
  const std::unique_ptr<Bundle> bundle = makeNativeBundle();
  const std::unique_ptr<ColorSync> colorSync = makeNativeColorSync();
  const std::unique_ptr<Files> files = makeNativeFiles();
  const std::unique_ptr<Input> input = makeNativeInput();
  /// Before the monitor bus, which goes back through it.
  const std::unique_ptr<IORegistry> registry = makeNativeIORegistry();
  const std::unique_ptr<MonitorBus> monitorBus = makeNativeMonitorBus(*registry);
  const std::unique_ptr<Notifications> notifications = makeNativeNotifications();
  const std::unique_ptr<PowerSources> powerSources = makeNativePowerSources();
  const std::unique_ptr<Preferences> preferences = makeNativePreferences();
  const std::unique_ptr<Quartz> quartz = makeNativeQuartz();
  const std::unique_ptr<RunLoop> runLoop = makeNativeRunLoop();
  const std::unique_ptr<SkyLight> skyLight = makeNativeSkyLight();
  const std::unique_ptr<System> system = makeNativeSystem();
  const std::unique_ptr<UserInterface> userInterface = makeNativeUserInterface();
  const std::unique_ptr<Workspace> workspace = makeNativeWorkspace();

  Ports ports() const {
    return {.appleEvents = *appleEvents,
            .application = *application,
            .bundle = *bundle,
            .colorSync = *colorSync,
            .files = *files,
            .input = *input,
            .registry = *registry,
            .monitorBus = *monitorBus,
            .notifications = *notifications,
            .powerSources = *powerSources,
            .preferences = *preferences,
            .quartz = *quartz,
            .runLoop = *runLoop,
            .skyLight = *skyLight,
            .system = *system,
            .userInterface = *userInterface,
            .workspace = *workspace};
  }
};

}  // namespace

}  // namespace vlm::native

int main(int argc, const char* argv[]) {
  @autoreleasepool {
    if (argc == 2) {
      if (const auto status = vlm::native::answerLoginItemRequest(argv[1])) return *status;
    }
    // Left as they are, however the program ends: a terminated one ends inside of its loop, and when the loop was
    // stopped the application is gone before, without which windows and status items cannot be taken down.
    const auto& native = *new vlm::native::NativePorts;
    vlm::Process process(native.ports());
    return vlm::VLMDaemonMain();
  }
}
