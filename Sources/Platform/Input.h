#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

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

/// Keyboard: hot keys, the events of the application target, modifiers, the layout. Main thread only.
class Input {
 public:
  /// Answers noErr when handled, eventNotHandledErr to let others have it.
  using EventHandler = std::function<OSStatus(const CarbonEvent&)>;

  virtual ~Input() = default;

  /// Registers with the application event target. `modifiers` are Carbon bits. A combination that this process has
  /// registered already is refused with eventHotKeyExistsErr and gives the null reference.
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
};

}  // namespace vlm
