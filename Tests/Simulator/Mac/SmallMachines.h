#pragma once

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "Simulator/Mac/SimulatedMac.h"

/// Machines of a few displays with short mode lists, and short texts of their state and of changes, for the tests of
/// the machine itself.
namespace vlm::sim {

/// Its modes: 1 is 1000x800 at 60 Hz, 2 is 1200x900, 3 is 600x500, 4 is 1000x800 at 75 Hz, 5 is 600x500 at 2 pixels a
/// point.
inline DisplayDescription smallMonitor(const std::string& name, std::uint32_t port, std::uint32_t serial = 0) {
  DisplayDescription display;
  display.name = name;
  display.edid = std::get<plist::Data>(
      composeEdid({.product = 0x4d2, .serial = serial, .name = name, .nativeWidth = 1280, .nativeHeight = 1024}));
  display.port = port;
  display.listedModes = {{.width = 1000, .height = 800},
                         {.width = 1200, .height = 900},
                         {.width = 600, .height = 500},
                         {.width = 1000, .height = 800, .refreshHz = 75},
                         {.width = 600, .height = 500, .scale = 2}};
  display.mode = "1000x800@60";
  return display;
}

/// Panel (built in), then A, B and so on, side by side from the left.
inline MachineDescription smallMachine(std::size_t externals, Processor processor = Processor::intel) {
  MachineDescription machine;
  machine.processor = processor;
  machine.displays.push_back(smallMonitor("Panel", 0, 7));
  machine.displays.back().builtIn = machine.displays.back().systemBrightness = true;
  for (std::size_t i = 0; i < externals; ++i) {
    machine.displays.push_back(smallMonitor(std::string(1, static_cast<char>('A' + i)), std::uint32_t(i + 1)));
  }
  return machine;
}

/// "Panel 0,0; A 1000,0 600x500; B 0,0 shows Panel; C off": online displays in the system's order, of 1000x800 points
/// where no size is said.
inline std::string arrangementOf(SimulatedMac& mac) {
  std::ostringstream text;
  for (const auto& display : mac.windowServer().displays()) {
    if (!display->isOnline()) continue;
    text << (text.str().empty() ? "" : "; ") << display->description.name;
    const auto& [origin, size] = mac.windowServer().bounds(*display);
    if (!display->enabled) {
      text << " off";
      continue;
    }
    text << " " << origin.x << "," << origin.y;
    if (size.width != 1000 || size.height != 800) text << " " << size.width << "x" << size.height;
    if (display->mirrors != 0)
      text << " shows " << mac.windowServer().displayWithID(display->mirrors)->description.name;
  }
  return text.str();
}

/// Changes in words: "A mode 2, B off, C on, A at 0 800, B shows A, B shows nothing". A display that is not there has
/// the identifier 0x77.
inline std::vector<DisplayChange> changesOf(SimulatedMac& mac, const std::string& text) {
  using Kind = DisplayChange::Kind;
  static const std::map<std::string, Kind> kinds = {{"mode", Kind::mode},
                                                    {"at", Kind::origin},
                                                    {"shows", Kind::mirror},
                                                    {"on", Kind::enabled},
                                                    {"off", Kind::enabled}};
  std::vector<DisplayChange> changes;
  std::istringstream parts(text);
  for (std::string part, name, what, master; std::getline(parts, part, ',');) {
    std::istringstream words(part);
    words >> name >> what;
    const SimulatedDisplay* display = mac.windowServer().displayNamed(name);
    DisplayChange change{.kind = kinds.at(what), .enabled = what == "on"};
    change.display = display == nullptr ? 0x77 : display->id;
    if (what == "mode") words >> change.modeNumber;
    if (what == "at") words >> change.x >> change.y;
    if (what == "shows") words >> master;
    if (what == "shows" && master != "nothing") change.master = mac.display(master).id;
    changes.push_back(change);
  }
  return changes;
}

/// The changes in one transaction of the process.
inline CGError transact(Session& session, const std::string& changes) {
  WindowServer& server = session.mac().windowServer();
  const CGDisplayConfigRef config = server.begin(session);
  for (const DisplayChange& change : changesOf(session.mac(), changes)) {
    EXPECT_EQ(server.add(config, change), kCGErrorSuccess);
  }
  return server.complete(config);
}

inline std::optional<std::string> changeByAnother(SimulatedMac& mac, const std::string& changes) {
  return mac.windowServer().changeByAnother(changesOf(mac, changes));
}

inline Session& addProcess(SimulatedMac& mac, const std::string& name) {
  return mac.addSession({.bundleIdentifier = "test." + name, .name = name, .bundlePath = "", .version = "1"});
}

}  // namespace vlm::sim
