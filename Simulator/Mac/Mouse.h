#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/Input.h"
#include "Simulator/Mac/WindowStack.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// Where an event of the mouse ended.
struct MouseOutcome {
  std::int32_t keptBy = 0;                ///< the process whose tap kept it; 0: none did
  std::optional<SimulatedWindow> window;  ///< absent: a tap kept it, or there is no window at that place
};

/// The mouse: its cursor, and the way of its events through the taps to the windows, and in passing to the monitors of
/// the processes that the window does not belong to.
class Mouse {
 public:
  /// A tap that has kept an event waiting for longer is switched off, and the event goes on without it. Seconds.
  static constexpr double kLongestWait = 1;

  explicit Mouse(SimulatedMac& mac) : mac_(mac) {}

  /// Where the cursor is, on a display or not. At (0, 0) in the beginning.
  Point cursor;

  /// The user moves the mouse, so that the cursor comes to a point, if the mouse moves it at all.
  MouseOutcome moveTo(Point point);
  /// The user presses a button where the cursor is (kEventLeftMouseDown, kEventRightMouseDown). `modifiers`: Carbon
  /// bits, with those that are held.
  MouseOutcome press(std::int32_t eventType, std::uint32_t modifiers = 0);
  /// The system finds all taps too slow, after a busy moment: those that are on are switched off, and told so on the
  /// next turn.
  void switchOffTaps();

  // --- For the ports ---

  /// Without effect on the cursor's place. The mouse moves it again when the process ends.
  void setMovesCursor(const Session& session, bool moves);
  EventTapRef addTap(Session& session, std::uint32_t placement, std::uint64_t mask, Input::TapCallback callback);
  /// Each is nothing for a reference that is none of the process's taps, and says so.
  bool addTapToRunLoop(const Session& session, EventTapRef reference);
  bool enableTap(const Session& session, EventTapRef reference, bool enable);
  bool removeTap(const Session& session, EventTapRef reference);
  void sessionEnded(const Session& session);

 private:
  struct Tap {
    EventTapRef reference = 0;
    Session* session = nullptr;
    std::uint64_t mask = 0;
    Input::TapCallback callback;
    bool isInRunLoop = false, isEnabled = false;
  };

  MouseOutcome send(MouseEvent event);
  std::optional<MouseEvent> askTap(const std::shared_ptr<Tap>& tap, const MouseEvent& event);
  void switchOff(const std::shared_ptr<Tap>& tap);
  void showMonitors(const MouseEvent& event, const std::optional<SimulatedWindow>& target);
  Tap* tapOf(const Session& session, EventTapRef reference);

  SimulatedMac& mac_;
  /// In the order in which events pass through them.
  std::vector<std::shared_ptr<Tap>> taps_;
  /// The process that has detached the cursor from the mouse.
  const Session* detachedBy_ = nullptr;
};

}  // namespace vlm::sim
