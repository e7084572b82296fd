#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/GuardedCall.h"
#include "Platform/MacOS/PropertyListBridge.h"

#include <cstring>
#include <map>
#include <memory>
#include <utility>

#import <AppKit/AppKit.h>

namespace vlm::native {

namespace {

// The port's numbers go through as they are.
static_assert(static_cast<NSUInteger>(SuspensionBehavior::drop) == NSNotificationSuspensionBehaviorDrop);
static_assert(static_cast<NSUInteger>(SuspensionBehavior::coalesce) == NSNotificationSuspensionBehaviorCoalesce);
static_assert(static_cast<NSUInteger>(SuspensionBehavior::hold) == NSNotificationSuspensionBehaviorHold);
static_assert(static_cast<NSUInteger>(SuspensionBehavior::deliverImmediately) ==
              NSNotificationSuspensionBehaviorDeliverImmediately);
static_assert(kNSNotificationDeliverImmediately == NSDistributedNotificationDeliverImmediately);

/// A sender of the daemon travels as a pointer object; the platform's own senders are nobody that it knows.
const void* senderFromObject(id object) {
  if (![object isKindOfClass:NSValue.class]) return nullptr;
  return std::strcmp([object objCType], @encode(void*)) == 0 ? [object pointerValue] : nullptr;
}

Notification portable(NSNotification* notification) {
  const id object = notification.object;
  Notification portable;
  portable.name = textFromCF((__bridge CFStringRef)notification.name).value_or("");
  if ([object isKindOfClass:NSString.class]) portable.object = textFromCF((__bridge CFStringRef)object);
  portable.sender = senderFromObject(object);
  portable.userInfo = dictionaryFromCF((__bridge CFDictionaryRef)notification.userInfo);
  return portable;
}

}  // namespace

}  // namespace vlm::native

/// Registered with a centre, stands there for one observer of the port.
@interface VLMNotificationReceiver : NSObject
- (instancetype)initWithObject:(std::optional<std::string>)object handler:(vlm::Notifications::Handler)handler;
- (void)receive:(NSNotification*)notification;
/// Nothing is received any more, not even what is being posted at this moment.
- (void)stop;
@end

@implementation VLMNotificationReceiver {
  std::optional<std::string> _object;
  std::shared_ptr<const vlm::Notifications::Handler> _handler;
}

- (instancetype)initWithObject:(std::optional<std::string>)object handler:(vlm::Notifications::Handler)handler {
  if ((self = [super init]) != nil) {
    _object = std::move(object);
    _handler = std::make_shared<const vlm::Notifications::Handler>(std::move(handler));
  }
  return self;
}

- (void)receive:(NSNotification*)notification {
  if (!NSThread.isMainThread) {
    dispatch_async(dispatch_get_main_queue(), ^{
      [self receive:notification];
    });
    return;
  }
  const auto handler = _handler;  // may stop this receiver
  if (handler == nullptr) return;
  vlm::native::callGuarded([&] {
    const vlm::Notification received = vlm::native::portable(notification);
    if (!_object || _object == received.object) (*handler)(received);
  });
}

- (void)stop {
  _handler.reset();
}

@end

namespace vlm::native {

namespace {

NSNotificationCenter* native(NotificationCenter center) {
  switch (center) {
    case NotificationCenter::local:
      return NSNotificationCenter.defaultCenter;
    case NotificationCenter::workspace:
      return NSWorkspace.sharedWorkspace.notificationCenter;
    case NotificationCenter::distributed:
      return [NSDistributedNotificationCenter defaultCenter];
  }
  return nil;
}

class NativeNotifications final : public Notifications {
 public:
  ~NativeNotifications() override {
    for (const auto& [token, observer] : std::exchange(observers_, {})) end(observer);
  }

  ObserverToken addObserver(NotificationCenter center, const std::string& name,
                            const std::optional<std::string>& object, SuspensionBehavior suspensionBehavior,
                            Handler handler) override {
    const auto nativeName = makeCFString(name);
    const auto nativeObject = makeCFString(object.value_or(""));
    if (!nativeName || !nativeObject) return 0;
    auto* const receiver = [[VLMNotificationReceiver alloc] initWithObject:object handler:std::move(handler)];
    if (center == NotificationCenter::distributed) {
      [[NSDistributedNotificationCenter defaultCenter]
                 addObserver:receiver
                    selector:@selector(receive:)
                        name:(__bridge NSString*)nativeName.get()
                      object:object ? (__bridge NSString*)nativeObject.get() : nil
          suspensionBehavior:static_cast<NSNotificationSuspensionBehavior>(suspensionBehavior)];
    } else {
      // These centres tell objects apart by address; the receiver compares the text.
      [native(center) addObserver:receiver
                         selector:@selector(receive:)
                             name:(__bridge NSString*)nativeName.get()
                           object:nil];
    }
    observers_[++lastToken_] = {center, receiver};
    return lastToken_;
  }
  void removeObserver(NotificationCenter center, ObserverToken observer) override {
    const auto found = observers_.find(observer);
    if (found == observers_.end() || found->second.center != center) return;
    end(observers_.extract(found).mapped());
  }
  void post(NotificationCenter center, const Notification& notification, std::uint32_t options) override {
    const auto name = makeCFString(notification.name);
    const auto text = makeCFString(notification.object.value_or(""));
    if (!name || !text) return;
    NSString* const object = notification.object ? (__bridge NSString*)text.get() : nil;
    NSDictionary* const userInfo =
        notification.userInfo ? CFBridgingRelease(makeCFDictionary(*notification.userInfo).release()) : nil;
    if (center == NotificationCenter::distributed) {
      [[NSDistributedNotificationCenter defaultCenter] postNotificationName:(__bridge NSString*)name.get()
                                                                     object:object
                                                                   userInfo:userInfo
                                                                    options:options];
    } else {
      // There is room for one object: who sends goes before what text.
      const id sender = notification.sender != nullptr ? [NSValue valueWithPointer:notification.sender] : object;
      [native(center) postNotificationName:(__bridge NSString*)name.get() object:sender userInfo:userInfo];
    }
  }

 private:
  struct Observer {
    NotificationCenter center = NotificationCenter::local;
    VLMNotificationReceiver* receiver = nil;
  };

  static void end(const Observer& observer) {
    [observer.receiver stop];
    [native(observer.center) removeObserver:observer.receiver name:nil object:nil];
  }

  ObserverToken lastToken_ = 0;
  /// The centres do not own whom they call.
  std::map<ObserverToken, Observer> observers_;
};

}  // namespace

std::unique_ptr<Notifications> makeNativeNotifications() { return std::make_unique<NativeNotifications>(); }

}  // namespace vlm::native
