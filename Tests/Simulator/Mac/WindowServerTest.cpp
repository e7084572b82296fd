#include "Simulator/Mac/WindowServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Platform/Quartz.h"
#include "Tests/Simulator/Mac/SmallMachines.h"

namespace vlm::sim {
namespace {

using Lines = std::vector<std::string>;

TEST(WindowServer, ListsThePanelFirstAndTheOthersInTheOrderOfPlugging) {
  MachineDescription machine = smallMachine(2);
  std::rotate(machine.displays.begin(), machine.displays.begin() + 1, machine.displays.end());
  SimulatedMac mac(machine);
  const Quartz& quartz = addProcess(mac, "test").ports().quartz;
  const auto listed = [&](std::uint32_t most = 9) {
    std::vector<CGDirectDisplayID> ids(most);
    std::uint32_t count = 0;
    EXPECT_EQ(quartz.CGSGetDisplayList(most, ids, count), kCGErrorSuccess);
    Lines names;
    for (std::uint32_t i = 0; i < count; ++i)
      names.push_back(mac.windowServer().displayWithID(ids[i])->description.name);
    return names;
  };
  EXPECT_EQ(listed(), (Lines{"Panel", "A", "B"}));
  EXPECT_EQ(listed(2), (Lines{"Panel", "A"}));
  EXPECT_EQ(mac.unplug("A"), std::nullopt);
  EXPECT_EQ(listed(), (Lines{"Panel", "B"}));
  EXPECT_EQ(mac.plug("A"), std::nullopt);
  EXPECT_EQ(listed(), (Lines{"Panel", "B", "A"}));
}

TEST(WindowServer, GivesOtherIdentifiersAndModeNumbersAfterAReconnection) {
  SimulatedMac mac(smallMachine(1));
  EXPECT_EQ(mac.setMode("A", 1200, 900), std::nullopt);
  const SimulatedDisplay before = mac.display("A");
  mac.unplug("A");
  mac.plug("A");
  const SimulatedDisplay& after = mac.display("A");
  EXPECT_NE(after.id, before.id);
  EXPECT_EQ(after.uuid, before.uuid);
  EXPECT_EQ(before.modeNumbered(after.modeNumber), nullptr) << "an old number still means something";
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0; A 1000,0 1200x900");
}

TEST(WindowServer, TellsTwinsApartByTheirPortAndOthersByTheirSerialNumber) {
  MachineDescription machine = smallMachine(2);
  machine.displays.push_back(smallMonitor("Numbered", 3, 12));
  SimulatedMac first(machine);
  std::swap(machine.displays[1].port, machine.displays[2].port);
  machine.displays[3].port = 9;
  SimulatedMac second(machine);
  EXPECT_NE(first.display("A").uuid, first.display("B").uuid);
  EXPECT_EQ(first.display("A").uuid, second.display("B").uuid);
  EXPECT_EQ(first.display("Numbered").uuid, second.display("Numbered").uuid);
}

TEST(WindowServer, KeepsADisabledDisplayOnlineAndForgetsAnUnpluggedOne) {
  SimulatedMac mac(smallMachine(2));
  const Quartz& quartz = addProcess(mac, "test").ports().quartz;
  const CGDirectDisplayID a = mac.display("A").id;
  mac.setEnabled("A", false);
  EXPECT_TRUE(quartz.CGDisplayIsOnline(a));
  EXPECT_FALSE(quartz.CGDisplayIsActive(a));
  EXPECT_NE(quartz.CGDisplayBounds(a).origin, Point{}) << "it would pass for the main display";
  EXPECT_EQ(quartz.CGDisplayVendorNumber(a), mac.display("A").edid.vendor);
  mac.unplug("A");
  EXPECT_FALSE(quartz.CGDisplayIsOnline(a));
  EXPECT_EQ(quartz.CGDisplayBounds(a), Rect{});
  EXPECT_EQ(quartz.CGDisplayVendorNumber(a), 0xffffffffU);
  std::int32_t number = 0;
  EXPECT_EQ(quartz.CGSGetNumberOfDisplayModes(a, number), kCGErrorIllegalArgument);
}

// --- Arrangement ---

/// Panel in the middle as the main display, A to the right of it, B to the left, C below.
MachineDescription cross() {
  MachineDescription machine = smallMachine(3);
  machine.displays[0].origin = Point{.x = 0, .y = 0};
  machine.displays[1].origin = Point{.x = 1000, .y = 100};
  machine.displays[2].origin = Point{.x = -1000, .y = 0};
  machine.displays[3].origin = Point{.x = 0, .y = 800};
  return machine;
}

TEST(Arrangement, SettlesAsTheWindowServerDoes) {
  const struct {
    const char *change, *after;
  } rows[] = {
      // The main display grows: neighbours make room on their sides. It shrinks: they follow, the lower one below what
      // is in its way.
      {"Panel mode 2", "Panel 0,0 1200x900; A 1200,100; B -1000,0; C 0,900"},
      {"Panel mode 3", "Panel 0,0 600x500; A 600,100; B -1000,0; C 0,900"},
      {"B mode 2", "Panel 0,0; A 1000,100; B -1200,0 1200x900; C 0,800"},
      // Whoever is asked to the origin becomes the main display; one not asked to move keeps its place beside it.
      {"A at 0 0", "Panel -1000,-100; A 0,0; B -2000,-100; C -1000,700"},
      {"C at 0 0, Panel at 0 -800, A at 1000 0, B at -1000 0", "Panel 0,-800; A 1000,0; B -1000,0; C 0,0"},
      {"Panel at 0 300", "Panel 0,0; A 1000,-200; B -1000,-300; C 0,800"},
      // Far away: beside the nearest. Onto another: that one is pushed off. A corner only: they share an edge after
      // all.
      {"A at 9000 100", "Panel 0,0; A 1000,100; B -1000,0; C 0,800"},
      {"A at 0 800", "Panel 0,0; A 0,800; B -1000,0; C 0,1600"},
      {"A at 1000 -800", "Panel 0,0; A 1000,-799; B -1000,0; C 0,800"},
      // The main display goes off or mirrors: another becomes it, and who met it at a corner comes nearer.
      {"Panel off", "Panel off; A 0,0; B -2000,-99; C -1000,700"},
      {"Panel shows A", "Panel 0,0 shows A; A 0,0; B -2000,-99; C -1000,700"},
      {"Panel mode 3, A shows Panel", "Panel 0,0 600x500; A 0,0 600x500 shows Panel; B -1000,0; C 0,500"},
      // The master of others mirrors one of its mirrors: they change parts.
      {"A shows Panel, B shows Panel, Panel shows A", "Panel 0,0 shows A; A 0,0; B 0,0 shows A; C -1000,700"},
  };
  for (const auto& row : rows) {
    SimulatedMac mac(cross());
    EXPECT_EQ(changeByAnother(mac, row.change), std::nullopt) << row.change;
    EXPECT_EQ(arrangementOf(mac), row.after) << row.change;
  }
}

TEST(Arrangement, BringsADisplayBackToItsOldPlaceWhenThatIsFree) {
  SimulatedMac mac(cross());
  const std::string before = arrangementOf(mac);
  for (const char* change : {"B off", "B on", "C shows Panel", "C shows nothing"}) changeByAnother(mac, change);
  mac.unplug("C");
  mac.plug("C");
  EXPECT_EQ(arrangementOf(mac), before);
  for (const char* change : {"C off", "A at 0 800", "C on"}) changeByAnother(mac, change);
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0; A 0,800; B -1000,0; C 0,1600");
}

TEST(Arrangement, GoesDarkOnlyWithTheLastCableAndTurnsBoundsWithTheDisplay) {
  SimulatedMac mac(smallMachine(1));
  mac.setEnabled("Panel", false);
  EXPECT_EQ(mac.unplug("A"), std::nullopt);
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0");
  EXPECT_EQ(mac.unplug("A"), "A is not plugged in");
  EXPECT_EQ(mac.move("A", 1, 1), "A is not plugged in");
  EXPECT_EQ(mac.plug("Panel"), "Panel is plugged in already");
  EXPECT_EQ(mac.unplug("Panel"), std::nullopt);
  EXPECT_EQ(mac.windowServer().mainDisplay(), nullptr);
  mac.plug("Panel");
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0");
  mac.plug("A");
  mac.display("Panel").turn.degrees = 90;
  mac.setMode("Panel", 1200, 900);
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0 900x1200; A 900,0");
}

enum class Meeting { none, edge, area };
Meeting meetingOf(const Rect& a, const Rect& b) {
  const double x = std::min(a.origin.x + a.size.width, b.origin.x + b.size.width) - std::max(a.origin.x, b.origin.x);
  const double y = std::min(a.origin.y + a.size.height, b.origin.y + b.size.height) - std::max(a.origin.y, b.origin.y);
  if (x > 0 && y > 0) return Meeting::area;
  return (x == 0 && y > 0) || (y == 0 && x > 0) ? Meeting::edge : Meeting::none;
}

/// What must hold at every moment; empty when it does.
std::string disorderOf(SimulatedMac& mac) {
  std::vector<Rect> places;
  for (const auto& display : mac.windowServer().displays()) {
    const Rect bounds = mac.windowServer().bounds(*display);
    if (!display->isArranged()) {
      if (display->mirrors != 0) return display->description.name + " is off and mirrors";
      if (display->isOnline() && bounds.origin == Point{}) return display->description.name + " is off and seems main";
    } else if (display->mirrors != 0) {
      const SimulatedDisplay* master = mac.windowServer().displayWithID(display->mirrors);
      if (master == nullptr || !master->isArranged() || master->mirrors != 0) return "a mirror without a master";
    } else {
      places.push_back(bounds);
    }
  }
  const bool isAnyPlugged = std::ranges::any_of(mac.windowServer().displays(), &SimulatedDisplay::plugged);
  if (places.empty()) return isAnyPlugged ? "no display is on" : "";
  if (std::ranges::count(places, Point{}, &Rect::origin) != 1) return "not one main display";
  std::set<std::size_t> reached{0};
  for (std::size_t round = 0; round < places.size(); ++round) {
    for (std::size_t a = 0; a < places.size(); ++a) {
      for (std::size_t b = 0; b < places.size(); ++b) {
        const Meeting meeting = meetingOf(places[a], places[b]);
        if (a != b && meeting == Meeting::area) return "displays overlap";
        if (reached.contains(a) && meeting == Meeting::edge) reached.insert(b);
      }
    }
  }
  if (reached.size() != places.size()) return "a display stands apart";
  return mac.windowServer().openTransactions() == 0 ? "" : "a transaction is open";
}

TEST(Arrangement, StaysInOrderThroughRandomChanges) {
  SimulatedMac mac(smallMachine(3));
  Session& session = addProcess(mac, "test");
  std::mt19937 random(20010101);
  const auto below = [&](std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); };
  const auto coordinate = [&] { return " " + std::to_string(static_cast<int>(below(6000)) - 3000); };
  const auto anyDisplay = [&]() -> const SimulatedDisplay& { return *mac.windowServer().displays()[below(4)]; };
  std::size_t refused = 0;
  for (int step = 0; step < 2000; ++step) {
    std::string changes;
    for (std::uint32_t i = below(3) + 1; i > 0; --i) {
      const SimulatedDisplay& display = anyDisplay();
      const std::string name = display.description.name;
      const std::string mode = " mode " + std::to_string(display.modes.modes[below(5)].number);
      const std::string kinds[] = {" off",
                                   " on",
                                   " shows nothing",
                                   " shows " + anyDisplay().description.name,
                                   " at 0 0",
                                   mode,
                                   mode,
                                   " at" + coordinate() + coordinate()};
      const std::uint32_t kind = below(9);
      if (kind < 8) changes += (changes.empty() ? "" : ", ") + name + kinds[kind];
      if (kind == 8) display.plugged ? mac.unplug(name) : mac.plug(name);
    }
    const std::string before = arrangementOf(mac);
    if (transact(session, changes) != kCGErrorSuccess) {
      ++refused;
      ASSERT_EQ(arrangementOf(mac), before) << changes << ": was refused and yet did something";
    }
    ASSERT_EQ(disorderOf(mac), "") << changes << ": " << before << " -> " << arrangementOf(mac);
  }
  EXPECT_GT(refused, 100U);
  EXPECT_LT(refused, 1500U) << "too few changes were made to prove anything";
  EXPECT_TRUE(mac.faults().empty());
}

}  // namespace
}  // namespace vlm::sim
