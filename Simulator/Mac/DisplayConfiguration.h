#pragma once

#include <optional>
#include <vector>

#include "Platform/Geometry.h"
#include "Platform/Quartz.h"
#include "Simulator/Mac/WindowServer.h"

/// How all displays stand at one moment: what a transaction works on before it takes effect, and what two moments are
/// compared by. Part of the window server.
namespace vlm::sim {

/// What a display takes up of the desktop in one of its modes: points, turned with the picture, at least 1 x 1.
Size sizeOnDesktop(const SimulatedDisplay& display, std::uint32_t modeNumber, Turn turn);

struct DisplayState {
  SimulatedDisplay* display = nullptr;
  CGDirectDisplayID id = 0;
  bool plugged = false;
  bool enabled = false;
  std::uint32_t modeNumber = 0;
  Turn turn;
  SimulatedDisplay* master = nullptr;  ///< whose picture it shows; null: its own
  Point origin;
  bool placed = false;

  static DisplayState of(SimulatedDisplay& display, SimulatedDisplay* master);
  /// On the desktop, at a place of its own or its master's.
  bool isArranged() const { return plugged && enabled; }
  bool hasOwnPlace() const { return isArranged() && master == nullptr; }
  Size size() const { return sizeOnDesktop(*display, modeNumber, turn); }
};

/// In the system's order of displays.
class DisplayConfiguration {
 public:
  std::vector<DisplayState> states;

  /// The display must be one of the machine's.
  DisplayState& of(const SimulatedDisplay& display);
  const DisplayState& of(const SimulatedDisplay& display) const;
  /// Nothing while the display is not part of the desktop.
  std::optional<Rect> bounds(const DisplayState& state) const;
  /// The display with a place of its own at (0, 0); null when there is none.
  const DisplayState* main() const;
  bool isAnyOn() const;
  /// What a Mac does rather than stay dark: when no display is on, turns on the first. False when none is plugged in.
  bool keepOneOn();
  /// A display that is off shows no copy, and nobody shows a copy of it; the two cables of one panel show the same.
  void settleMirroring();
};

/// A place that a transaction asks for.
struct OriginRequest {
  SimulatedDisplay* display = nullptr;
  Point origin;
};

/// Gives every display of `after` the place that the window server would: the main display at (0, 0), neighbours on the
/// side where they were, nothing overlapping and everything touching. Requests are followed as far as that allows.
void settle(const DisplayConfiguration& before, DisplayConfiguration& after,
            const std::vector<OriginRequest>& requests);

/// One display's part in a change.
struct DisplayNotice {
  CGDirectDisplayID id = 0;  ///< the one it had while it was plugged in
  CGDisplayChangeSummaryFlags flags = 0;
};

/// Every display that was or is online, with what became of it. Empty when nothing changed.
std::vector<DisplayNotice> noticesOf(const DisplayConfiguration& before, const DisplayConfiguration& after);

}  // namespace vlm::sim
