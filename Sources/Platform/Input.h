#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Geometry.h"
#include "Platform/PropertyList.h"

namespace vlm {

using OSStatus = std::int32_t;
constexpr OSStatus noErr = 0;
constexpr OSStatus eventNotHandledErr = -9874;
constexpr OSStatus eventHotKeyExistsErr = -9878;

/// Four characters packed in 32 bits, first one high: fourCharCode("keyb").
constexpr std::uint32_t fourCharCode(const char (&text)[5]) {
  std::uint32_t code = 0;
  for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<std::uint8_t>(text[i]);
  return code;
}

constexpr std::uint32_t kEventClassKeyboard = fourCharCode("keyb");
constexpr std::uint32_t kEventClassApplication = fourCharCode("appl");
constexpr std::uint32_t kEventHotKeyPressed = 5;
constexpr std::uint32_t kEventAppTerminated = 6;

/// Carbon modifier bits.
constexpr std::uint32_t cmdKey = 0x0100, shiftKey = 0x0200, alphaLock = 0x0400, optionKey = 0x0800, controlKey = 0x1000,
                        rightControlKey = 0x8000;

struct EventHotKeyID {
  std::uint32_t signature = 0;
  std::uint32_t id = 0;
  friend bool operator==(const EventHotKeyID&, const EventHotKeyID&) = default;
};

/// A registered hot key; 0 is the platform's null reference.
using EventHotKeyRef = std::uint64_t;

struct ProcessSerialNumber {
  std::uint32_t highLongOfPSN = 0;
  std::uint32_t lowLongOfPSN = 0;
  friend bool operator==(const ProcessSerialNumber&, const ProcessSerialNumber&) = default;
};

struct EventTypeSpec {
  std::uint32_t eventClass = 0;
  std::uint32_t eventKind = 0;
};

/// A Carbon event with the parameters that the daemon reads; absent when the event does not carry them.
struct CarbonEvent {
  std::uint32_t eventClass = 0;
  std::uint32_t eventKind = 0;
  std::optional<EventHotKeyID> directObject;     ///< kEventParamDirectObject of type typeEventHotKeyID
  std::optional<ProcessSerialNumber> processID;  ///< kEventParamProcessID
};

/// Modifier flags of mouse events (NSEvent).
constexpr std::uint64_t kModifierFlagShift = 1ULL << 17, kModifierFlagControl = 1ULL << 18,
                        kModifierFlagOption = 1ULL << 19, kModifierFlagCommand = 1ULL << 20;

/// Types of mouse events, and what a tap gets instead of one when the system has switched it off for slowness.
constexpr std::int32_t kEventLeftMouseDown = 1, kEventRightMouseDown = 3, kEventMouseMoved = 5,
                       kEventTapDisabledByTimeout = -2;
/// A mask has the bit with the number of each type that it takes.
constexpr std::uint64_t eventMaskBit(std::int32_t type) { return 1ULL << type; }

struct MouseEvent {
  std::int32_t type = 0;
  Point location;  ///< of the global display space
  std::uint64_t modifierFlags = 0;
};

/// A monitor of other applications' events, and an event tap; 0 is none.
using EventMonitorRef = std::uint64_t;
using EventTapRef = std::uint64_t;

constexpr std::uint32_t kCGSessionEventTap = 1;
constexpr std::uint32_t kCGHeadInsertEventTap = 0;
constexpr std::uint32_t kCGEventTapOptionDefault = 0;

/// Keyboard and mouse: hot keys, the events of the application target, modifiers, the layout, monitors and taps, the
/// windows under the cursor. Main thread only.
class Input {
 public:
  using MouseHandler = std::function<void(const MouseEvent&)>;
  /// Answers the event that goes on, or none to swallow it.
  using TapCallback = std::function<std::optional<MouseEvent>(const MouseEvent&)>;
  /// Answers noErr when handled, eventNotHandledErr to let others have it.
  using EventHandler = std::function<OSStatus(const CarbonEvent&)>;

  virtual ~Input() = default;

  /// Registers with the application event target. `modifiers` are Carbon bits. A combination that this process has
  /// registered already is refused, with some error, and gives the null reference.
  virtual OSStatus RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers, const EventHotKeyID& hotKeyID,
                                       std::uint32_t options, EventHotKeyRef& reference) = 0;
  /// The null reference is harmless.
  virtual OSStatus UnregisterEventHotKey(EventHotKeyRef reference) = 0;
  /// Installs a handler on the application event target, for as long as the process lives.
  virtual OSStatus InstallApplicationEventHandler(const std::vector<EventTypeSpec>& types, EventHandler handler) = 0;

  /// The text of a key in the current keyboard layout, dead keys off (UCKeyTranslate with the display action, at most
  /// 256 characters); absent when the layout has no data or does not know the key.
  virtual std::optional<std::string> UCKeyTranslate(std::uint16_t virtualKeyCode, std::uint32_t keyboardType) = 0;
  virtual std::uint8_t LMGetKbdType() = 0;
  /// Modifiers held at this moment, Carbon bits.
  virtual std::uint32_t GetCurrentKeyModifiers() = 0;

  /// Whether the user lets this process control the computer (accessibility).
  virtual bool AXIsProcessTrusted() = 0;
  /// Shows the handler the events that go to other applications; it can keep none of them. `mask`: eventMaskBit.
  virtual EventMonitorRef addGlobalMonitorForEventsMatchingMask(std::uint64_t mask, MouseHandler handler) = 0;
  virtual void removeMonitor(EventMonitorRef monitor) = 0;
  /// A tap through which the events of the session pass; none without accessibility trust. Nothing comes before its
  /// source is in the run loop and it is enabled.
  virtual EventTapRef CGEventTapCreate(std::uint32_t location, std::uint32_t placement, std::uint32_t options,
                                       std::uint64_t mask, TapCallback callback) = 0;
  /// Puts the tap's source into the main run loop, in the common modes: clicks come while a menu is open, too.
  virtual void CFRunLoopAddEventTap(EventTapRef tap) = 0;
  virtual void CGEventTapEnable(EventTapRef tap, bool enable) = 0;
  /// Ends the tap and its source. May be called from its own callback.
  virtual void CFReleaseEventTap(EventTapRef tap) = 0;

  /// Where the cursor is: the location of a newly made event.
  virtual Point CGEventGetLocation() = 0;
  /// The front window at a point, below another one (0: below none); 0 where there is no window.
  virtual std::int64_t windowNumberAtPoint(Point point, std::int64_t belowWindowWithWindowNumber) = 0;
  /// Descriptions of windows, with "kCGWindowNumber", "kCGWindowOwnerPID" and "kCGWindowLayer"; a window that is gone
  /// has none.
  virtual std::vector<plist::Dictionary> CGWindowListCreateDescriptionFromArray(
      const std::vector<std::int64_t>& windowNumbers) = 0;
};

}  // namespace vlm
