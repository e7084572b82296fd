#include "Simulator/Mac/Mouse.h"

#include <gtest/gtest.h>

#include "Platform/RunLoop.h"
#include "Tests/Simulator/Mac/SmallMachines.h"
#include "Tests/Support/TestProcess.h"

namespace vlm::sim {
namespace {

using Lines = std::vector<std::string>;

/// Panel and A side by side, 1000x800 points each. Over the border of the two the Finder has a window, and Editor one
/// before its left half.
MachineDescription machineWithWindows() {
  MachineDescription machine = smallMachine(1);
  machine.accessibilityTrusted = true;
  machine.processes = {{.bundleIdentifier = "com.apple.finder",
                        .name = "Finder",
                        .windows = {{.frame = {.origin = {900, 100}, .size = {200, 200}}}}},
                       {.name = "Editor", .windows = {{.frame = {.origin = {900, 100}, .size = {100, 200}}}}}};
  return machine;
}

class MouseOnDesktop : public testing::Test {
 protected:
  /// "Finder -2147483603": owner and layer of the window at a point, as its description says them; "none".
  std::string windowAt(Point point, std::int64_t below = 0) {
    const auto found =
        os().input.CGWindowListCreateDescriptionFromArray({os().input.windowNumberAtPoint(point, below)});
    if (found.empty()) return "none";
    const bool isFinders = found[0].sInt64("kCGWindowOwnerPID") == finder.processIdentifier();
    return (isFinders ? "Finder " : "Editor ") + std::to_string(found[0].sInt64("kCGWindowLayer"));
  }
  /// A tap for clicks that is on.
  EventTapRef addTap(Input::TapCallback callback) {
    const EventTapRef tap =
        os().input.CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap, kCGEventTapOptionDefault,
                                    1 << kEventLeftMouseDown, std::move(callback));
    os().input.CFRunLoopAddEventTap(tap);
    os().input.CGEventTapEnable(tap, true);
    return tap;
  }
  /// Presses the left button at a point and lets everybody hear of it.
  MouseOutcome click(Point point, std::uint32_t modifiers = 0) {
    mac.mouse().cursor = point;
    const MouseOutcome outcome = mac.mouse().press(kEventLeftMouseDown, modifiers);
    mac.turn();
    return outcome;
  }
  Input::MouseHandler tells(const std::string& text) {
    return [this, text](const MouseEvent&) { told.push_back(text); };
  }

  TestProcess process{machineWithWindows()};
  SimulatedMac& mac = process.mac();
  Session &finder = *mac.sessions()[0], &editor = *mac.sessions()[1];
  Lines told;
};

TEST_F(MouseOnDesktop, SendsClicksThroughTheNewestTapFirstAndPastThoseThatAreOff) {
  addTap([&](const MouseEvent& event) { return told.emplace_back("old"), std::optional(event); });
  os().input.CGEventTapEnable(addTap([](const MouseEvent&) { return std::nullopt; }), false);
  EventTapRef once = 0;
  once = addTap([&](const MouseEvent& event) -> std::optional<MouseEvent> {
    os().input.CFReleaseEventTap(once);
    told.push_back("once " + std::to_string(event.modifierFlags >> 17));
    return std::nullopt;
  });
  os().input.addGlobalMonitorForEventsMatchingMask(eventMaskBit(kEventLeftMouseDown), tells("monitor"));
  mac.modifiersHeld = cmdKey;
  EXPECT_EQ(click({10, 10}, controlKey | shiftKey).keptBy, process.session().processIdentifier());
  EXPECT_EQ(told, Lines{"once 11"}) << "shift 1, control 2, option 4, command 8";
  EXPECT_EQ(click({10, 10}).window->processIdentifier, finder.processIdentifier());
  mac.accessibilityTrusted = false;
  click({10, 10});
  EXPECT_EQ(told, (Lines{"once 11", "old", "monitor", "monitor"}));
  EXPECT_EQ(addTap(nullptr), 0U);
}

TEST_F(MouseOnDesktop, ShowsMonitorsWhatGoesToOthersUntilTheyAreRemoved) {
  EventMonitorRef monitor = 0;
  editor.call([&] {
    monitor = os().input.addGlobalMonitorForEventsMatchingMask(eventMaskBit(kEventLeftMouseDown), tells("click"));
  });
  click({950, 150});
  mac.mouse().moveTo({1, 1});
  EXPECT_EQ(told, Lines{});
  click({1, 1});
  mac.mouse().press(kEventLeftMouseDown);
  editor.call([&] { os().input.removeMonitor(monitor); });
  mac.turn();
  EXPECT_EQ(told, Lines{"click"});
}

TEST_F(MouseOnDesktop, LosesEverythingOfAProcessThatEnds) {
  const auto shared = std::make_shared<int>();
  editor.call([&] {
    addTap([shared, this](const MouseEvent&) { return editor.end(), std::nullopt; });
    os().input.addGlobalMonitorForEventsMatchingMask(~0ULL, [shared](const MouseEvent&) {});
    os().quartz.CGAssociateMouseAndMouseCursorPosition(false);
  });
  mac.mouse().moveTo({5, 5});
  EXPECT_EQ(os().input.CGEventGetLocation(), (Point{0, 0})) << "the mouse does not move a cursor that is detached";
  EXPECT_TRUE(click({10, 10}).window) << "a process that has ended keeps nothing";
  EXPECT_EQ(shared.use_count(), 1);
  mac.mouse().moveTo({5000, 5000});
  EXPECT_EQ(os().input.CGEventGetLocation(), (Point{5000, 5000}));
}

TEST_F(MouseOnDesktop, AsksDisplaysThatShowAPointMirrorsLast) {
  const auto at = [&](Point point, std::uint32_t most) {
    CGDirectDisplayID found[4];
    std::uint32_t count = 0;
    EXPECT_EQ(os().quartz.CGGetDisplaysWithPoint(point, most, std::span(found).first(most), count), kCGErrorSuccess);
    return std::vector<CGDirectDisplayID>(found, found + count);
  };
  const CGDirectDisplayID panel = mac.display("Panel").id, a = mac.display("A").id;
  EXPECT_EQ(at({1000, 0}, 4), std::vector{a});
  ASSERT_EQ(changeByAnother(mac, "Panel shows A"), std::nullopt);
  EXPECT_EQ(at({0, 0}, 4), (std::vector{a, panel}));
  EXPECT_EQ(at({0, 0}, 1), std::vector{a});
  ASSERT_EQ(changeByAnother(mac, "Panel shows nothing, A off"), std::nullopt);
  EXPECT_TRUE(at(mac.windowServer().bounds(mac.display("A")).origin, 4).empty());
}

}  // namespace
}  // namespace vlm::sim
