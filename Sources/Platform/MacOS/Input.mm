#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/GuardedCall.h"
#include "Platform/MacOS/PropertyListBridge.h"
#include "Platform/MacOS/ScreenSpace.h"

#include <array>
#include <list>
#include <map>
#include <memory>
#include <utility>

#import <AppKit/AppKit.h>
#import <Carbon/Carbon.h>

// A macro of the platform's; here it is the name of a port function.
#undef InstallApplicationEventHandler

namespace vlm::native {

namespace {

/// "The parameter is wrong", the platform's paramErr.
constexpr OSStatus kParameterError = -50;
/// Room for the text of one key, in UTF-16 units.
constexpr std::size_t kLongestKeyText = 256;

::EventHotKeyRef native(EventHotKeyRef reference) { return reinterpret_cast<::EventHotKeyRef>(reference); }

Point pointOf(CGPoint point) { return {.x = point.x, .y = point.y}; }

// --- Carbon events ---

struct InstalledHandler {
  Input::EventHandler handler;
  ::EventHandlerRef reference = nullptr;
};

/// Absent when the event does not carry the parameter.
template <class Parameter>
std::optional<Parameter> eventParameter(::EventRef event, ::EventParamName name, ::EventParamType type) {
  Parameter parameter = {};
  const OSStatus status = ::GetEventParameter(event, name, type, nullptr, sizeof parameter, nullptr, &parameter);
  if (status != noErr) return std::nullopt;
  return parameter;
}

CarbonEvent carbonEvent(::EventRef event) {
  CarbonEvent read;
  read.eventClass = ::GetEventClass(event);
  read.eventKind = ::GetEventKind(event);
  if (const auto hotKey = eventParameter<::EventHotKeyID>(event, ::kEventParamDirectObject, ::typeEventHotKeyID)) {
    read.directObject = EventHotKeyID{.signature = hotKey->signature, .id = hotKey->id};
  }
  if (const auto process =
          eventParameter<::ProcessSerialNumber>(event, ::kEventParamProcessID, ::typeProcessSerialNumber)) {
    read.processID =
        ProcessSerialNumber{.highLongOfPSN = process->highLongOfPSN, .lowLongOfPSN = process->lowLongOfPSN};
  }
  return read;
}

::OSStatus carbonEventReceived(::EventHandlerCallRef /*nextHandler*/, ::EventRef event, void* userData) {
  const auto& installed = *static_cast<const InstalledHandler*>(userData);
  OSStatus status = eventNotHandledErr;
  callGuarded([&] { status = installed.handler(carbonEvent(event)); });
  return status;
}

// --- Mouse events ---

/// Of a global monitor. The window is another application's, so that the location is one of the screen.
MouseEvent mouseEvent(NSEvent* event) {
  return {.type = static_cast<std::int32_t>(event.type),
          .location = pointOf(flipped(event.locationInWindow)),
          .modifierFlags = event.modifierFlags};
}

/// Of a tap. The flags of both kinds of event have the same bits.
MouseEvent mouseEvent(::CGEventType type, ::CGEventRef event) {
  MouseEvent seen{.type = static_cast<std::int32_t>(type), .location = {}, .modifierFlags = 0};
  if (seen.type < 0) return seen;  // the tap was switched off, and there is no event of the mouse
  seen.location = pointOf(::CGEventGetLocation(event));
  seen.modifierFlags = ::CGEventGetFlags(event);
  return seen;
}

/// Writes into the event what the callback made different in it.
void applyChanges(const MouseEvent& seen, const MouseEvent& passed, ::CGEventRef event) {
  if (seen.type < 0) return;
  if (passed.type != seen.type) ::CGEventSetType(event, static_cast<::CGEventType>(passed.type));
  if (passed.location != seen.location) {
    ::CGEventSetLocation(event, CGPointMake(passed.location.x, passed.location.y));
  }
  if (passed.modifierFlags != seen.modifierFlags) {
    ::CGEventSetFlags(event, static_cast<::CGEventFlags>(passed.modifierFlags));
  }
}

struct EventTap : std::enable_shared_from_this<EventTap> {
  Input::TapCallback callback;
  ScopedCF<CFMachPortRef> port;
  ScopedCF<CFRunLoopSourceRef> source;

  ~EventTap() { end(); }
  /// Invalidates the source, too, and takes it out of the run loop.
  void end() {
    if (port) ::CFMachPortInvalidate(port.get());
  }
};

/// The event stays the platform's, whether it goes on or null is returned to swallow it.
::CGEventRef eventTapped(::CGEventTapProxy /*proxy*/, ::CGEventType type, ::CGEventRef event, void* userInfo) {
  const auto tap = static_cast<EventTap*>(userInfo)->shared_from_this();  // may end while it is called
  const MouseEvent seen = mouseEvent(type, event);
  std::optional<MouseEvent> passed = seen;
  callGuarded([&] { passed = tap->callback(seen); });
  if (!passed) return nullptr;
  applyChanges(seen, *passed, event);
  return event;
}

class NativeInput final : public Input {
 public:
  ~NativeInput() override {
    for (const auto& installed : handlers_) ::RemoveEventHandler(installed.reference);
    for (const auto& [reference, monitor] : monitors_) [NSEvent removeMonitor:monitor];
    for (const auto& [reference, tap] : taps_) tap->end();
  }

  OSStatus RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers, const EventHotKeyID& hotKeyID,
                               std::uint32_t options, EventHotKeyRef& reference) override {
    ::EventHotKeyRef registered = nullptr;
    const OSStatus status =
        ::RegisterEventHotKey(keyCode, modifiers, {.signature = hotKeyID.signature, .id = hotKeyID.id},
                              ::GetApplicationEventTarget(), options, &registered);
    reference = status == noErr ? reinterpret_cast<EventHotKeyRef>(registered) : 0;
    return status;
  }
  OSStatus UnregisterEventHotKey(EventHotKeyRef reference) override {
    // What the platform does with null is written nowhere.
    return reference == 0 ? kParameterError : ::UnregisterEventHotKey(native(reference));
  }
  OSStatus InstallApplicationEventHandler(const std::vector<EventTypeSpec>& types, EventHandler handler) override {
    std::vector<::EventTypeSpec> records;
    for (const EventTypeSpec& type : types) {
      records.push_back({.eventClass = type.eventClass, .eventKind = type.eventKind});
    }
    InstalledHandler& installed = handlers_.emplace_back();
    installed.handler = std::move(handler);
    const OSStatus status = ::InstallEventHandler(::GetApplicationEventTarget(), carbonEventReceived, records.size(),
                                                  records.data(), &installed, &installed.reference);
    if (status != noErr) handlers_.pop_back();
    return status;
  }

  std::optional<std::string> UCKeyTranslate(std::uint16_t virtualKeyCode, std::uint32_t keyboardType) override {
    const ScopedCF<::TISInputSourceRef> source(::TISCopyCurrentKeyboardLayoutInputSource());
    if (!source) return std::nullopt;
    const auto layout =
        static_cast<CFDataRef>(::TISGetInputSourceProperty(source.get(), ::kTISPropertyUnicodeKeyLayoutData));
    if (layout == nullptr) return std::nullopt;
    ::UInt32 deadKeyState = 0;
    ::UniCharCount length = 0;
    std::array<::UniChar, kLongestKeyText> characters = {};
    const OSStatus status = ::UCKeyTranslate(
        reinterpret_cast<const ::UCKeyboardLayout*>(::CFDataGetBytePtr(layout)), virtualKeyCode, ::kUCKeyActionDisplay,
        0, keyboardType, ::kUCKeyTranslateNoDeadKeysMask, &deadKeyState, characters.size(), &length, characters.data());
    // No characters is how the platform says that the layout gives the key none.
    if (status != noErr || length == 0) return std::nullopt;
    const ScopedCF<CFStringRef> text(
        ::CFStringCreateWithCharacters(kCFAllocatorDefault, characters.data(), static_cast<CFIndex>(length)));
    return textFromCF(text.get());
  }
  std::uint8_t LMGetKbdType() override { return ::LMGetKbdType(); }
  std::uint32_t GetCurrentKeyModifiers() override { return ::GetCurrentKeyModifiers(); }

  bool AXIsProcessTrusted() override { return ::AXIsProcessTrusted() != 0; }
  EventMonitorRef addGlobalMonitorForEventsMatchingMask(std::uint64_t mask, MouseHandler handler) override {
    const auto shared = std::make_shared<const MouseHandler>(std::move(handler));
    void (^const block)(NSEvent*) = ^(NSEvent* event) {
      const auto called = shared;  // may remove its own monitor, and with it this block
      callGuarded(*called, mouseEvent(event));
    };
    const id monitor = [NSEvent addGlobalMonitorForEventsMatchingMask:mask handler:block];
    if (monitor == nil) return 0;
    monitors_[++lastReference_] = monitor;
    return lastReference_;
  }
  void removeMonitor(EventMonitorRef monitor) override {
    const auto found = monitors_.find(monitor);
    if (found == monitors_.end()) return;
    [NSEvent removeMonitor:found->second];
    monitors_.erase(found);
  }

  EventTapRef CGEventTapCreate(std::uint32_t location, std::uint32_t placement, std::uint32_t options,
                               std::uint64_t mask, TapCallback callback) override {
    // The platform's header speaks of trust for the events of the keyboard alone.
    if (!::AXIsProcessTrusted()) return 0;
    const auto tap = std::make_shared<EventTap>();
    tap->callback = std::move(callback);
    tap->port = ScopedCF<CFMachPortRef>(
        ::CGEventTapCreate(static_cast<::CGEventTapLocation>(location), static_cast<::CGEventTapPlacement>(placement),
                           static_cast<::CGEventTapOptions>(options), mask, eventTapped, tap.get()));
    if (!tap->port) return 0;
    // The platform makes a tap enabled, and holds up the events until somebody answers.
    ::CGEventTapEnable(tap->port.get(), false);
    taps_[++lastReference_] = tap;
    return lastReference_;
  }
  void CFRunLoopAddEventTap(EventTapRef tap) override {
    const auto found = taps_.find(tap);
    if (found == taps_.end()) return;
    EventTap& added = *found->second;
    added.source =
        ScopedCF<CFRunLoopSourceRef>(::CFMachPortCreateRunLoopSource(kCFAllocatorDefault, added.port.get(), 0));
    if (added.source) ::CFRunLoopAddSource(::CFRunLoopGetMain(), added.source.get(), kCFRunLoopCommonModes);
  }
  void CGEventTapEnable(EventTapRef tap, bool enable) override {
    const auto found = taps_.find(tap);
    if (found == taps_.end()) return;
    // One that nobody reads would hold up every click of the session.
    if (enable && !found->second->source) return;
    ::CGEventTapEnable(found->second->port.get(), enable);
  }
  void CFReleaseEventTap(EventTapRef tap) override {
    const auto found = taps_.find(tap);
    if (found == taps_.end()) return;
    found->second->end();
    taps_.erase(found);
  }

  Point CGEventGetLocation() override {
    const ScopedCF<::CGEventRef> event(::CGEventCreate(nullptr));
    return pointOf(::CGEventGetLocation(event.get()));
  }
  std::int64_t windowNumberAtPoint(Point point, std::int64_t belowWindowWithWindowNumber) override {
    return [NSWindow windowNumberAtPoint:flipped(CGPointMake(point.x, point.y))
             belowWindowWithWindowNumber:belowWindowWithWindowNumber];
  }
  std::vector<plist::Dictionary> CGWindowListCreateDescriptionFromArray(
      const std::vector<std::int64_t>& windowNumbers) override {
    // The array is to hold the bare numbers in the place of pointers, and so has no callbacks that would retain them.
    std::vector<const void*> numbers;
    for (const std::int64_t number : windowNumbers) numbers.push_back(reinterpret_cast<const void*>(number));
    const ScopedCF<CFArrayRef> windows(
        ::CFArrayCreate(kCFAllocatorDefault, numbers.data(), static_cast<CFIndex>(numbers.size()), nullptr));
    const ScopedCF<CFArrayRef> described(::CGWindowListCreateDescriptionFromArray(windows.get()));
    std::vector<plist::Dictionary> descriptions;
    const CFIndex count = described ? ::CFArrayGetCount(described.get()) : 0;
    for (CFIndex index = 0; index < count; ++index) {
      auto description = dictionaryFromCF(::CFArrayGetValueAtIndex(described.get(), index));
      if (description) descriptions.push_back(std::move(*description));
    }
    return descriptions;
  }

 private:
  /// The platform keeps the address of each.
  std::list<InstalledHandler> handlers_;
  std::uint64_t lastReference_ = 0;
  std::map<EventMonitorRef, id> monitors_;
  std::map<EventTapRef, std::shared_ptr<EventTap>> taps_;
};

}  // namespace

std::unique_ptr<Input> makeNativeInput() { return std::make_unique<NativeInput>(); }

}  // namespace vlm::native
