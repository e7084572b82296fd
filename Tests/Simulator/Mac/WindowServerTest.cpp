#include "Simulator/Mac/WindowServer.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Platform/Quartz.h"
#include "Platform/SkyLight.h"
#include "Tests/Simulator/Mac/SmallMachines.h"

namespace vlm::sim {
namespace {

std::vector<std::string> listedDisplays(SimulatedMac& mac, const Quartz& quartz) {
  std::uint32_t count = 0;
  EXPECT_EQ(quartz.CGSGetDisplayList(99, {}, count), kCGErrorSuccess);
  std::vector<CGDirectDisplayID> ids(count);
  EXPECT_EQ(quartz.CGSGetDisplayList(count, ids, count), kCGErrorSuccess);
  std::vector<std::string> names;
  for (const CGDirectDisplayID id : ids) names.push_back(mac.windowServer().displayWithID(id)->description.name);
  return names;
}

TEST(WindowServer, ListsThePanelFirstAndTheOthersInTheOrderOfPlugging) {
  MachineDescription machine = smallMachine(2);
  std::rotate(machine.displays.begin(), machine.displays.begin() + 1, machine.displays.end());
  SimulatedMac mac(machine);
  const Quartz& quartz = addProcess(mac, "test").ports().quartz;
  EXPECT_EQ(listedDisplays(mac, quartz), (std::vector<std::string>{"Panel", "A", "B"}));
  EXPECT_EQ(mac.unplug("A"), std::nullopt);
  EXPECT_EQ(listedDisplays(mac, quartz), (std::vector<std::string>{"Panel", "B"}));
  EXPECT_EQ(mac.plug("A"), std::nullopt);
  EXPECT_EQ(listedDisplays(mac, quartz), (std::vector<std::string>{"Panel", "B", "A"}));
  std::uint32_t count = 0;
  std::vector<CGDirectDisplayID> two(2);
  EXPECT_EQ(quartz.CGSGetDisplayList(2, two, count), kCGErrorSuccess);
  EXPECT_EQ(count, 2U);
}

TEST(WindowServer, GivesOtherIdentifiersAndModeNumbersAfterAReconnection) {
  SimulatedMac mac(smallMachine(1));
  const SimulatedDisplay before = mac.display("A");
  EXPECT_EQ(mac.setMode("A", 1200, 900), std::nullopt);
  EXPECT_EQ(mac.display("A").id, before.id);
  mac.unplug("A");
  EXPECT_EQ(mac.display("A").id, 0U);
  mac.plug("A");
  const SimulatedDisplay& after = mac.display("A");
  EXPECT_NE(after.id, before.id);
  EXPECT_EQ(after.uuid, before.uuid);
  EXPECT_EQ(before.modeNumbered(after.modeNumber), nullptr) << "an old number still means something";
  EXPECT_EQ(after.mode().width, 1200U);
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0 1000x800; A 1000,0 1200x900");
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
  EXPECT_EQ(first.display("A").uuid.size(), 36U);
}

TEST(WindowServer, KeepsADisabledDisplayOnlineAndForgetsAnUnpluggedOne) {
  SimulatedMac mac(smallMachine(2));
  const Quartz& quartz = addProcess(mac, "test").ports().quartz;
  const CGDirectDisplayID a = mac.display("A").id;
  EXPECT_EQ(mac.setEnabled("A", false), std::nullopt);
  EXPECT_TRUE(quartz.CGDisplayIsOnline(a));
  EXPECT_FALSE(quartz.CGDisplayIsActive(a));
  EXPECT_NE(quartz.CGDisplayBounds(a).origin, Point{}) << "it would pass for the main display";
  EXPECT_EQ(listedDisplays(mac, quartz).size(), 3U);
  EXPECT_EQ(quartz.CGDisplayVendorNumber(a), mac.display("A").edid.vendor);
  mac.unplug("A");
  EXPECT_FALSE(quartz.CGDisplayIsOnline(a));
  EXPECT_EQ(quartz.CGDisplayBounds(a), Rect{});
  EXPECT_EQ(quartz.CGDisplayVendorNumber(a), 0xffffffffU);
  EXPECT_EQ(quartz.CGDisplayIOServicePort(a), 0U);
  std::int32_t number = 0;
  EXPECT_EQ(quartz.CGSGetNumberOfDisplayModes(a, number), kCGErrorIllegalArgument);
  EXPECT_EQ(quartz.CGSGetCurrentDisplayMode(a, number), kCGErrorIllegalArgument);
}

TEST(WindowServer, DescribesModesByIndexAndExactLength) {
  SimulatedMac mac(smallMachine(0));
  Session& session = addProcess(mac, "test");
  Quartz& quartz = session.ports().quartz;
  const CGDirectDisplayID panel = mac.display("Panel").id;
  std::vector<std::uint8_t> record(kModeDescriptionLength);
  EXPECT_EQ(quartz.CGSGetDisplayModeDescriptionOfLength(panel, 1, record), kCGErrorSuccess);
  EXPECT_EQ(record[8] | record[9] << 8, 1200);
  std::int32_t count = 0;
  EXPECT_EQ(quartz.CGSGetNumberOfDisplayModes(panel, count), kCGErrorSuccess);
  EXPECT_EQ(count, 5);
  for (const std::int32_t index : {-1, count}) {
    EXPECT_EQ(quartz.CGSGetDisplayModeDescriptionOfLength(panel, index, record), kCGErrorIllegalArgument) << index;
  }
  record.resize(212);
  EXPECT_EQ(quartz.CGSGetDisplayModeDescriptionOfLength(panel, 0, record), kCGErrorIllegalArgument);
  {
    const auto mode = quartz.CGDisplayCopyDisplayMode(panel);
    ASSERT_TRUE(mode);
    EXPECT_EQ(session.heldObjects(), 1U);
    mac.setMode("Panel", 1200, 900);
    EXPECT_EQ(quartz.CGDisplayModeGetWidth(*mode), 1000U) << "a copy stays what it was";
  }
  EXPECT_EQ(session.heldObjects(), 0U);
}

TEST(WindowServer, OffersPrivateServicesFromTheirSystemVersionOn) {
  struct Row {
    const char* name;
    OperatingSystemVersion version;
    bool uuid, hdr, variableRefresh;
  };
  for (const Row& row :
       {Row{.name = "10.14",
       .version = {.majorVersion = 10, .minorVersion = 14},
       .uuid = false,
       .hdr = false,
       .variableRefresh = false},
        Row{.name = "10.15",
        .version = {.majorVersion = 10, .minorVersion = 15},
        .uuid = true,
        .hdr = false,
        .variableRefresh = false},
        Row{.name = "11", .version = {.majorVersion = 11}, .uuid = true, .hdr = true, .variableRefresh = false},
        Row{.name = "12", .version = {.majorVersion = 12}, .uuid = true, .hdr = true, .variableRefresh = true}}) {
    MachineDescription machine = smallMachine(0);
    machine.systemVersion = row.version;
    SimulatedMac mac(machine);
    SkyLight& skyLight = addProcess(mac, "test").ports().skyLight;
    const CGDirectDisplayID panel = mac.display("Panel").id;
    EXPECT_EQ(skyLight.SLSCopyDisplayUUID(panel).has_value(), row.uuid) << row.name;
    EXPECT_EQ(skyLight.SLSDisplayIsHDRModeEnabled(panel).has_value(), row.hdr) << row.name;
    EXPECT_EQ(skyLight.SLSIsDisplayModeVRR(panel, 1).has_value(), row.variableRefresh) << row.name;
  }
}

TEST(WindowServer, TellsOtherProcessesOfABrightnessChange) {
  SimulatedMac mac(smallMachine(1));
  Session &changer = addProcess(mac, "changer"), &watcher = addProcess(mac, "watcher");
  const CGDirectDisplayID panel = mac.display("Panel").id;
  std::vector<std::string> heard;
  for (Session* session : {&changer, &watcher}) {
    SkyLight& port = session->ports().skyLight;
    port.DisplayServicesRegisterForBrightnessChangeNotifications(
        panel, [&heard, session](CGDirectDisplayID, const plist::Dictionary& information) {
          heard.push_back(session->description().name + " " + std::to_string(information.real("value")));
        });
  }
  SkyLight& skyLight = changer.ports().skyLight;
  EXPECT_EQ(skyLight.DisplayServicesSetBrightness(panel, 0.5F), 0);
  EXPECT_TRUE(heard.empty());
  mac.turn();
  EXPECT_EQ(heard, (std::vector<std::string>{"watcher 0.500000"}));
  watcher.end();
  mac.windowServer().setBrightness(mac.display("Panel"), 0.25F, nullptr);
  mac.turn();
  EXPECT_EQ(heard.size(), 2U);
  EXPECT_EQ(heard.back(), "changer 0.250000");
  EXPECT_FALSE(*skyLight.DisplayServicesCanChangeBrightness(mac.display("A").id));
  EXPECT_NE(skyLight.DisplayServicesSetBrightness(mac.display("A").id, 0.5F), 0);
}

// --- Arrangement ---

struct ArrangementCase {
  const char* name;
  std::function<void(Changes&)> change;
  const char* after;
};

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
  const ArrangementCase cases[] = {
      {.name = "nothing",
       .change = [](Changes& changes) { changes.mode("A", 1); },
       .after = "Panel 0,0 1000x800; A 1000,100 1000x800; B -1000,0 1000x800; C 0,800 1000x800"},
      {.name = "the main display grows: neighbours make room on their sides",
       .change = [](Changes& changes) { changes.mode("Panel", 2); },
       .after = "Panel 0,0 1200x900; A 1200,100 1000x800; B -1000,0 1000x800; C 0,900 1000x800"},
      {.name = "the main display shrinks: neighbours follow, the lower one below what is in its way",
       .change = [](Changes& changes) { changes.mode("Panel", 3); },
       .after = "Panel 0,0 600x500; A 600,100 1000x800; B -1000,0 1000x800; C 0,900 1000x800"},
      {.name = "the left neighbour grows to the left",
       .change = [](Changes& changes) { changes.mode("B", 2); },
       .after = "Panel 0,0 1000x800; A 1000,100 1000x800; B -1200,0 1200x900; C 0,800 1000x800"},
      {.name = "one asked to the origin becomes main, and the others keep their places around it",
       .change = [](Changes& changes) { changes.origin("A", 0, 0); },
       .after = "Panel -1000,-100 1000x800; A 0,0 1000x800; B -2000,-100 1000x800; C -1000,700 1000x800"},
      {.name = "all asked to new places around a new main display",
       .change =
           [](Changes& changes) {
             changes.origin("C", 0, 0).origin("Panel", 0, -800).origin("A", 1000, 0).origin("B", -1000, 0);
           },
       .after = "Panel 0,-800 1000x800; A 1000,0 1000x800; B -1000,0 1000x800; C 0,0 1000x800"},
      {.name = "one asked far away is put beside the nearest",
       .change = [](Changes& changes) { changes.origin("A", 9000, 100); },
       .after = "Panel 0,0 1000x800; A 1000,100 1000x800; B -1000,0 1000x800; C 0,800 1000x800"},
      {.name = "one asked onto another pushes it off",
       .change = [](Changes& changes) { changes.origin("A", 0, 800); },
       .after = "Panel 0,0 1000x800; A 0,800 1000x800; B -1000,0 1000x800; C 0,1600 1000x800"},
      {.name = "one asked to touch at a corner only shares an edge after all",
       .change = [](Changes& changes) { changes.origin("A", 1000, -800); },
       .after = "Panel 0,0 1000x800; A 1000,-799 1000x800; B -1000,0 1000x800; C 0,800 1000x800"},
      {.name = "the main display asked away stays main: the others move",
       .change = [](Changes& changes) { changes.origin("Panel", 0, 300); },
       .after = "Panel 0,0 1000x800; A 1000,-200 1000x800; B -1000,-300 1000x800; C 0,800 1000x800"},
      {.name = "the main display turned off: the next one becomes main, and who met it at a corner comes nearer",
       .change = [](Changes& changes) { changes.off("Panel"); },
       .after = "Panel off; A 0,0 1000x800; B -2000,-99 1000x800; C -1000,700 1000x800"},
      {.name = "mirrored displays share the master's place and size",
       .change = [](Changes& changes) { changes.mode("Panel", 3).mirror("A", "Panel").mirror("B", "Panel"); },
       .after = "Panel 0,0 600x500; A 0,0 600x500 shows Panel; B 0,0 600x500 shows Panel; C 0,500 1000x800"},
      {.name = "the main display mirrors another: that one becomes main",
       .change = [](Changes& changes) { changes.mirror("Panel", "A"); },
       .after = "Panel 0,0 1000x800 shows A; A 0,0 1000x800; B -2000,-99 1000x800; C -1000,700 1000x800"},
  };
  for (const ArrangementCase& row : cases) {
    SimulatedMac mac(cross());
    Changes changes(mac);
    row.change(changes);
    EXPECT_EQ(changes.byAnother(), std::nullopt) << row.name;
    EXPECT_EQ(arrangementOf(mac), row.after) << row.name;
  }
}

TEST(Arrangement, BringsADisplayBackToItsOldPlace) {
  SimulatedMac mac(cross());
  const std::string before = arrangementOf(mac);
  mac.setEnabled("B", false);
  mac.setEnabled("B", true);
  EXPECT_EQ(arrangementOf(mac), before) << "off and on";
  Changes(mac).mirror("C", "Panel").byAnother();
  Changes(mac).mirror("C", "").byAnother();
  EXPECT_EQ(arrangementOf(mac), before) << "mirrored and not";
  mac.unplug("C");
  mac.plug("C");
  EXPECT_EQ(arrangementOf(mac), before) << "unplugged and plugged";
  mac.setEnabled("C", false);
  mac.move("A", 0, 800);
  mac.setEnabled("C", true);
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0 1000x800; A 0,800 1000x800; B -1000,0 1000x800; C 0,1600 1000x800")
      << "its place was taken";
}

TEST(Arrangement, NeverGoesDarkByAnUnpluggedCable) {
  SimulatedMac mac(smallMachine(1));
  mac.setEnabled("Panel", false);
  EXPECT_EQ(mac.unplug("A"), std::nullopt);
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0 1000x800");
  EXPECT_EQ(mac.unplug("Panel"), "Panel is the only display");
  EXPECT_EQ(mac.unplug("A"), "A is not plugged in");
  EXPECT_EQ(mac.plug("Panel"), "Panel is plugged in already");
}

TEST(Arrangement, TurnsBoundsWithTheDisplay) {
  SimulatedMac mac(smallMachine(1));
  mac.display("Panel").rotation = 90;
  mac.setMode("Panel", 1200, 900);
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0 900x1200; A 900,0 1000x800");
}

/// What must hold at every moment; empty when it does.
std::string disorderOf(SimulatedMac& mac) {
  std::vector<Rect> places;
  std::size_t mains = 0;
  for (const auto& display : mac.windowServer().displays()) {
    const Rect bounds = mac.windowServer().bounds(*display);
    if (!display->isArranged()) {
      if (display->mirrors != 0) return display->description.name + " is off and mirrors";
      if (display->isOnline() && bounds.origin == Point{}) return display->description.name + " is off and seems main";
      continue;
    }
    if (display->mirrors != 0) {
      const SimulatedDisplay* master = mac.windowServer().displayWithID(display->mirrors);
      if (master == nullptr || !master->isArranged() || master->mirrors != 0) return "a mirror without a master";
      continue;
    }
    mains += bounds.origin == Point{} ? 1 : 0;
    places.push_back(bounds);
  }
  if (places.empty()) return "no display is on";
  if (mains != 1) return std::to_string(mains) + " main displays";
  const auto meet = [](const Rect& a, const Rect& b, double edge) {
    const double x = std::min(a.origin.x + a.size.width, b.origin.x + b.size.width) - std::max(a.origin.x, b.origin.x);
    const double y =
        std::min(a.origin.y + a.size.height, b.origin.y + b.size.height) - std::max(a.origin.y, b.origin.y);
    return edge == 0 ? x > 0 && y > 0 : (x == 0 && y > 0) || (y == 0 && x > 0);
  };
  std::set<std::size_t> reached{0};
  for (bool grows = true; grows;) {
    grows = false;
    for (std::size_t a = 0; a < places.size(); ++a) {
      for (std::size_t b = 0; b < places.size(); ++b) {
        if (a != b && meet(places[a], places[b], 0)) return "displays overlap";
        if (reached.contains(a) && meet(places[a], places[b], 1)) grows = reached.insert(b).second || grows;
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
  std::size_t refused = 0;
  for (int step = 0; step < 2000; ++step) {
    Changes changes(mac);
    for (std::uint32_t i = below(3) + 1; i > 0; --i) {
      const SimulatedDisplay& display = *mac.windowServer().displays()[below(4)];
      const std::string name = display.description.name;
      const auto coordinate = [&] { return static_cast<std::int32_t>(below(6000)) - 3000; };
      switch (below(9)) {
        case 0:
          below(2) == 0 ? mac.unplug(name) : mac.plug(name);
          break;
        case 1:
          changes.off(name);
          break;
        case 2:
          changes.on(name);
          break;
        case 3:
          changes.mirror(name, mac.windowServer().displays()[below(4)]->description.name);
          break;
        case 4:
          changes.mirror(name, "");
          break;
        case 5:
          changes.origin(name, 0, 0);
          break;
        case 6:
          changes.origin(name, coordinate(), coordinate());
          break;
        default:
          changes.mode(name, static_cast<std::int32_t>(display.modes.modes[below(5)].number));
      }
    }
    const std::string before = arrangementOf(mac);
    if (changes.by(session) != kCGErrorSuccess) {
      ++refused;
      ASSERT_EQ(arrangementOf(mac), before) << "step " << step << " was refused and yet did something";
    }
    ASSERT_EQ(disorderOf(mac), "") << "step " << step << ": " << before << " -> " << arrangementOf(mac);
  }
  EXPECT_GT(refused, 100U);
  EXPECT_LT(refused, 1500U) << "too few changes were made to prove anything";
  EXPECT_TRUE(mac.faults().empty());
}

}  // namespace
}  // namespace vlm::sim
