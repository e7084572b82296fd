#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Input.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// One process's hot keys, Carbon event handlers, monitors and taps, and a US keyboard.
class SimulatedInput : public Input {
 public:
  SimulatedInput(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

  OSStatus RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers, const EventHotKeyID& hotKeyID,
                               std::uint32_t options, EventHotKeyRef& reference) override;
  OSStatus UnregisterEventHotKey(EventHotKeyRef reference) override;
  OSStatus InstallApplicationEventHandler(const std::vector<EventTypeSpec>& types, EventHandler handler) override;
  std::optional<std::string> UCKeyTranslate(std::uint16_t virtualKeyCode, std::uint32_t keyboardType) override;
  std::uint8_t LMGetKbdType() override;
  std::uint32_t GetCurrentKeyModifiers() override;

  bool AXIsProcessTrusted() override;
  EventMonitorRef addGlobalMonitorForEventsMatchingMask(std::uint64_t mask, MouseHandler handler) override;
  void removeMonitor(EventMonitorRef monitor) override;
  EventTapRef CGEventTapCreate(std::uint32_t location, std::uint32_t placement, std::uint32_t options,
                               std::uint64_t mask, TapCallback callback) override;
  void CFRunLoopAddEventTap(EventTapRef tap) override;
  void CGEventTapEnable(EventTapRef tap, bool enable) override;
  void CFReleaseEventTap(EventTapRef tap) override;
  Point CGEventGetLocation() override;
  std::int64_t windowNumberAtPoint(Point point, std::int64_t belowWindowWithWindowNumber) override;
  std::vector<plist::Dictionary> CGWindowListCreateDescriptionFromArray(
      const std::vector<std::int64_t>& windowNumbers) override;

  /// Brings the event of the combination under way; false when the process has not registered it.
  bool pressKey(std::uint32_t keyCode, std::uint32_t modifiers);
  /// Offers the event to the handlers, the last installed first, until one takes it.
  void deliver(const CarbonEvent& event);
  /// Shows the monitors an event of the mouse on the next turn.
  void showMonitors(const MouseEvent& event);
  void sessionEnded();

 private:
  struct HotKey {
    std::uint32_t keyCode = 0, modifiers = 0;
    EventHotKeyID id;
  };
  struct Handler {
    std::vector<EventTypeSpec> types;
    EventHandler handler;
    bool takes(const CarbonEvent& event) const;
  };
  struct Monitor {
    std::uint64_t mask = 0;
    MouseHandler handler;
  };

  SimulatedMac& mac_;
  Session& session_;
  std::map<EventHotKeyRef, HotKey> hotKeys_;
  std::vector<std::shared_ptr<const Handler>> handlers_;
  std::map<EventMonitorRef, std::shared_ptr<const Monitor>> monitors_;
};

/// What a key of the US layout gives without modifiers, control characters for the keys that show none; absent for the
/// virtual key codes that no key has.
std::optional<std::string> textOfUSKey(std::uint16_t virtualKeyCode);

}  // namespace vlm::sim
