#include "Tests/Contracts/PortsUnderTest.h"

#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/NativeText.h"
#include "Platform/MacOS/PropertyListBridge.h"

#include <filesystem>

#include <mach/mach.h>
#include <unistd.h>

#import <AppKit/AppKit.h>

namespace vlm::contracts {

namespace {

template <class... Made>
Ports portsOf(Made*... made) {
  return {*made...};
}

/// Made once for all tests and left as they are, as in the daemon.
const Ports& nativePorts() {
  using namespace native;
  static auto* const registry = makeNativeIORegistry().release();
  static const Ports ports =
      portsOf(makeNativeAppleEvents().release(), makeNativeApplication().release(), makeNativeBundle().release(),
              makeNativeColorSync().release(), makeNativeFiles().release(), makeNativeInput().release(), registry,
              makeNativeMonitorBus(*registry).release(), makeNativeNotifications().release(),
              makeNativePowerSources().release(), makeNativePreferences().release(), makeNativeQuartz().release(),
              makeNativeRunLoop().release(), makeNativeSkyLight().release(), makeNativeSystem().release(),
              makeNativeUserInterface().release(), makeNativeWorkspace().release());
  return ports;
}

}  // namespace

struct PortsUnderTest::Side {
  Process process{nativePorts()};
  const std::string folder =
      (std::filesystem::temp_directory_path() / ("velmoratix-contracts-" + std::to_string(getpid()))).string();
};

PortsUnderTest::PortsUnderTest() : side_(std::make_unique<Side>()) {
  // The system lists a process among the applications once it has an application object; it is never run. A program
  // without a bundle gets no icon in the Dock by it.
  [NSApplication sharedApplication];
  std::filesystem::create_directory(side_->folder);
}
PortsUnderTest::~PortsUnderTest() { std::filesystem::remove_all(side_->folder); }
std::string PortsUnderTest::scratch(const std::string& name) const { return side_->folder + "/" + name; }
void PortsUnderTest::runLoopFor(double seconds) {
  @autoreleasepool {
    NSDate* const end = [NSDate dateWithTimeIntervalSinceNow:seconds];
    while (end.timeIntervalSinceNow > 0) CFRunLoopRunInMode(kCFRunLoopDefaultMode, end.timeIntervalSinceNow, false);
  }
}
bool PortsUnderTest::mayChangeDisplays() { return false; }
void PortsUnderTest::cancel(CGDisplayConfigRef config) {
  ::CGCancelDisplayConfiguration(reinterpret_cast<::CGDisplayConfigRef>(config));
}
plist::Data PortsUnderTest::bookmarkOf(const std::string& path) {
  NSURL* const url = native::fileURL(path);
  NSData* const data = [url bookmarkDataWithOptions:0 includingResourceValuesForKeys:nil relativeToURL:nil error:nil];
  return native::dataFromCF((__bridge CFDataRef)data).value_or(plist::Data());
}
std::size_t PortsUnderTest::heldReferences(io_service_t object) const {
  // It is a right to send to the object's Mach port, and the kernel counts the references of a task to it.
  mach_port_urefs_t references = 0;
  mach_port_get_refs(mach_task_self(), object, MACH_PORT_RIGHT_SEND, &references);
  return references;
}

}  // namespace vlm::contracts
