#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Geometry.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// Of the windows that the Finder keeps over the displays, for their icons.
constexpr std::int64_t kFinderDesktopLayer = -2147483603;

struct SimulatedWindow {
  std::int64_t number = 0;
  std::int32_t processIdentifier = 0;
  std::int64_t layer = 0;
  Rect frame;
};

/// The windows on the screen: those that the processes' descriptions list, and a desktop window of the Finder over
/// every display that shows a picture of its own. They come and go with their process and their display.
class WindowStack {
 public:
  explicit WindowStack(SimulatedMac& mac) : mac_(mac) {}

  /// Front to back: higher layers first; in a layer the windows of the process that was started last, and of one
  /// process in the order of its description.
  std::vector<SimulatedWindow> frontToBack();
  /// The front one at a point.
  std::optional<SimulatedWindow> at(Point point);

 private:
  void addWindowsOf(const Session& session, std::vector<SimulatedWindow>& windows);
  std::int64_t numberOf(std::int32_t processIdentifier, const std::string& name);

  SimulatedMac& mac_;
  /// By process and its own name for the window: a window keeps its number.
  std::map<std::pair<std::int32_t, std::string>, std::int64_t> numbers_;
};

}  // namespace vlm::sim
