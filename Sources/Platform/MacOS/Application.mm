#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/GuardedCall.h"
#include "Platform/MacOS/NativeApplication.h"
#include "Platform/MacOS/PropertyListBridge.h"

@implementation VLMNativeApplication

+ (vlm::ApplicationClass)portableClass {
  return {};
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  if (self.portableDelegate == nullptr) return;
  vlm::native::callGuarded([delegate = self.portableDelegate] { delegate->applicationDidFinishLaunching(); });
}

@end

namespace vlm::native {

namespace {

class NativeApplication final : public Application {
 public:
  std::optional<ApplicationClass> NSClassFromString(const std::string& name) override {
    const ScopedCF<CFStringRef> text = makeCFString(name);
    const Class named = text ? ::NSClassFromString((__bridge NSString*)text.get()) : Nil;
    if (![named isSubclassOfClass:VLMNativeApplication.class]) return std::nullopt;
    face_ = named;
    return [named portableClass];
  }

  void sharedApplication(const std::optional<ApplicationClass>& applicationClass) override {
    if (NSApp != nil) return;
    if (!applicationClass || !*applicationClass) {
      [NSApplication sharedApplication];
      return;
    }
    // First, as it is what the portable object becomes the delegate of while it is made.
    [face_ sharedApplication];
    object_ = (*applicationClass)();
  }

  void setDelegate(ApplicationObject* delegate) override {
    if (![NSApp isKindOfClass:VLMNativeApplication.class]) return;
    VLMNativeApplication* const face = NSApp;
    face.portableDelegate = delegate;
    face.delegate = delegate != nullptr ? face : nil;
  }

  void run(std::function<void()> afterwards) override {
    [NSApp run];
    if (afterwards) afterwards();
  }

  void stop() override {
    [NSApp stop:nil];
    // The loop looks whether it was stopped after an event of the window server alone. This one is none's: without it,
    // a stop out of a timer or a notification would wait until the user does something.
    NSEvent* const wakeUp = [NSEvent otherEventWithType:NSEventTypeApplicationDefined
                                               location:NSZeroPoint
                                          modifierFlags:0
                                              timestamp:0
                                           windowNumber:0
                                                context:nil
                                                subtype:0
                                                  data1:0
                                                  data2:0];
    [NSApp postEvent:wakeUp atStart:YES];
  }

  void terminate() override { [NSApp terminate:nil]; }

  void releaseSharedApplication() override {
    setDelegate(nullptr);
    object_.reset();
    // The object itself stays: status items and monitors still know it, and the process ends next.
    static_cast<void>(CFBridgingRetain(NSApp));
    NSApp = nil;
  }

 private:
  /// The class that was found last; the application object is of it.
  Class face_ = VLMNativeApplication.class;
  std::unique_ptr<ApplicationObject> object_;
};

}  // namespace

std::unique_ptr<Application> makeNativeApplication() { return std::make_unique<NativeApplication>(); }

}  // namespace vlm::native
