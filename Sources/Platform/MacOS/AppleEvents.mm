#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/GuardedCall.h"
#include "Platform/MacOS/NativeText.h"
#include "Platform/MacOS/PropertyListBridge.h"

#include <map>
#include <utility>

#import <Foundation/Foundation.h>

/// What the platform's table of Apple events calls. The table does not keep it.
@interface VLMAppleEventTarget : NSObject
- (instancetype)initWithHandler:(vlm::AppleEvents::Handler)handler;
- (void)handleEvent:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)replyEvent;
@end

@implementation VLMAppleEventTarget {
  vlm::AppleEvents::Handler _handler;
}

- (instancetype)initWithHandler:(vlm::AppleEvents::Handler)handler {
  self = [super init];
  if (self != nil) _handler = std::move(handler);
  return self;
}

- (void)handleEvent:(NSAppleEventDescriptor*)__unused event
     withReplyEvent:(NSAppleEventDescriptor*)__unused replyEvent {
  const auto handler = _handler;  // may end the adapter, and with it this object
  vlm::native::callGuarded(handler);
}

@end

namespace vlm::native {

namespace {

/// Null is no script.
bool execute(NSAppleScript* script) {
  NSDictionary<NSString*, id>* error = nil;
  return [script executeAndReturnError:&error] != nil;
}

class NativeAppleEvents final : public AppleEvents {
 public:
  ~NativeAppleEvents() override {
    for (const auto& [event, target] : targets_) {
      [NSAppleEventManager.sharedAppleEventManager removeEventHandlerForEventClass:event.first andEventID:event.second];
    }
  }

  void setEventHandler(std::uint32_t eventClass, std::uint32_t eventID, Handler handler) override {
    VLMAppleEventTarget* target = [[VLMAppleEventTarget alloc] initWithHandler:std::move(handler)];
    [NSAppleEventManager.sharedAppleEventManager setEventHandler:target
                                                     andSelector:@selector(handleEvent:withReplyEvent:)
                                                   forEventClass:eventClass
                                                      andEventID:eventID];
    targets_[{eventClass, eventID}] = target;
  }
  bool executeAppleScript(const std::string& source) override {
    NSString* text = native(source);
    return text != nil && execute([[NSAppleScript alloc] initWithSource:text]);
  }
  bool executeAppleScriptAtURL(const std::string& path) override {
    NSURL* url = fileURL(path);
    NSDictionary<NSString*, id>* error = nil;
    return url != nil && execute([[NSAppleScript alloc] initWithContentsOfURL:url error:&error]);
  }

 private:
  /// By class and identifier.
  std::map<std::pair<std::uint32_t, std::uint32_t>, VLMAppleEventTarget*> targets_;
};

}  // namespace

std::unique_ptr<AppleEvents> makeNativeAppleEvents() { return std::make_unique<NativeAppleEvents>(); }

}  // namespace vlm::native
