#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "Simulator/Mac/SimulatedMac.h"

/// Machines of a few displays with short mode lists, and short texts of their state, for the tests of the machine
/// itself.
namespace vlm::sim {

/// Its modes: 1 is 1000x800 at 60 Hz, 2 is 1200x900, 3 is 600x500, 4 is 1000x800 at 75 Hz, 5 is 600x500 at 2 pixels a
/// point.
inline DisplayDescription smallMonitor(const std::string& name, std::uint32_t port, std::uint32_t serial = 0) {
  MonitorDescription monitor;
  monitor.name = name;
  monitor.product = 0x4d2;
  monitor.serial = serial;
  monitor.nativeWidth = 1280;
  monitor.nativeHeight = 1024;
  DisplayDescription display;
  display.name = name;
  display.edid = std::get<plist::Data>(composeEdid(monitor));
  display.port = port;
  display.listedModes = {{.width = 1000, .height = 800, .depths = {}},
                         {.width = 1200, .height = 900, .depths = {}},
                         {.width = 600, .height = 500, .depths = {}},
                         {.width = 1000, .height = 800, .refreshHz = 75, .depths = {}},
                         {.width = 600, .height = 500, .scale = 2, .depths = {}}};
  display.mode = "1000x800@60";
  return display;
}

/// Panel (built in), then A, B and so on, side by side from the left.
inline MachineDescription smallMachine(std::size_t externals, Processor processor = Processor::intel) {
  MachineDescription machine;
  machine.processor = processor;
  machine.displays.push_back(smallMonitor("Panel", 0, 7));
  machine.displays.back().builtIn = true;
  machine.displays.back().systemBrightness = true;
  for (std::size_t i = 0; i < externals; ++i) {
    machine.displays.push_back(smallMonitor(std::string(1, static_cast<char>('A' + i)), std::uint32_t(i + 1)));
  }
  return machine;
}

/// "Panel 0,0 1000x800; A 1000,0 1000x800 shows Panel; B off": online displays in the system's order.
inline std::string arrangementOf(SimulatedMac& mac) {
  const auto number = [](double value) { return std::to_string(static_cast<long>(value)); };
  std::string text;
  for (const auto& display : mac.windowServer().displays()) {
    if (!display->isOnline()) continue;
    text += (text.empty() ? "" : "; ") + display->description.name;
    if (!display->enabled) {
      text += " off";
      continue;
    }
    const Rect bounds = mac.windowServer().bounds(*display);
    text += " " + number(bounds.origin.x) + "," + number(bounds.origin.y) + " " + number(bounds.size.width) + "x" +
            number(bounds.size.height);
    if (display->mirrors != 0) text += " shows " + mac.windowServer().displayWithID(display->mirrors)->description.name;
  }
  return text;
}

/// Changes by name. `to` and `master` are displays' names; an empty one is none.
struct Changes {
  explicit Changes(SimulatedMac& machine) : mac(machine) {}
  Changes& mode(const std::string& display, std::int32_t number) {
    return add({.kind = DisplayChange::Kind::mode, .display = mac.display(display).id, .modeNumber = number});
  }
  Changes& on(const std::string& display) {
    return add({.kind = DisplayChange::Kind::enabled, .display = mac.display(display).id, .enabled = true});
  }
  Changes& off(const std::string& display) {
    return add({.kind = DisplayChange::Kind::enabled, .display = mac.display(display).id, .enabled = false});
  }
  Changes& origin(const std::string& display, std::int32_t x, std::int32_t y) {
    return add({.kind = DisplayChange::Kind::origin, .display = mac.display(display).id, .x = x, .y = y});
  }
  Changes& mirror(const std::string& display, const std::string& master) {
    return add({.kind = DisplayChange::Kind::mirror,
                .display = mac.display(display).id,
                .master = master.empty() ? kCGNullDirectDisplay : mac.display(master).id});
  }
  Changes& add(const DisplayChange& change) {
    list.push_back(change);
    return *this;
  }
  /// In one transaction of the process.
  CGError by(Session& session) const {
    WindowServer& server = mac.windowServer();
    const CGDisplayConfigRef config = server.begin(session);
    for (const DisplayChange& change : list) EXPECT_EQ(server.add(config, change), kCGErrorSuccess);
    return server.complete(config);
  }
  std::optional<std::string> byAnother() const { return mac.windowServer().changeByAnother(list); }

  SimulatedMac& mac;
  std::vector<DisplayChange> list;
};

inline Session& addProcess(SimulatedMac& mac, const std::string& name) {
  return mac.addSession({.bundleIdentifier = "test." + name, .name = name, .bundlePath = "", .version = "1"});
}

}  // namespace vlm::sim
