#include <gtest/gtest.h>

#include "Models/VLMApplicationObject.h"
#include "Simulator/Mac/Mouse.h"
#include "Tests/Support/DaemonOnMac.h"

/// The menu on the desktop and the cursor's guard.
namespace vlm {
namespace {

constexpr Point kOnTheDesktop{.x = 700, .y = 700}, kOnAWindow{.x = 150, .y = 150};

class DaemonsMouse : public ::testing::Test {
 protected:
  void start(bool isTrusted) {
    auto machine = test::laptopWith({"Left", "Right"});
    machine.processes.push_back({.bundleIdentifier = "com.apple.finder", .name = "Finder"});
    machine.processes.back().windows = {
        {.frame = {.origin = {.x = 100, .y = 100}, .size = {.width = 400, .height = 300}}}};
    on_ = std::make_unique<test::DaemonOnMac>(std::move(machine));
    on_->mac.accessibilityTrusted = isTrusted;
    on_->launch();
    on_->writeSettings([&] {
      plist::Dictionary settings = on_->settings();
      settings.set("monitorMousePosition", true);
      settings.set("contextualMenuModifier", static_cast<std::int64_t>(kModifierFlagCommand | kModifierFlagOption));
      return settings;
    }());
    on_->inside([](VLMGlobals& document) { document.applicationObject->reloadPrefsFromFile(); });
    on_->mac.advance(2);
  }
  /// Whether the click opened the menu; `wasKept` says whether it went on to the desktop as well.
  bool opensMenu(Point at, std::uint32_t modifiers, bool& wasKept) {
    on_->mac.journal().clear();
    on_->mac.mouse().moveTo(at);
    on_->mac.turn();
    wasKept = on_->mac.mouse().press(kEventLeftMouseDown, modifiers).keptBy != 0;
    on_->mac.turn();
    const auto menus = on_->journalCount("popUpMenu");
    EXPECT_LE(menus, 1);
    return menus == 1;
  }

  std::unique_ptr<test::DaemonOnMac> on_;
};

TEST_F(DaemonsMouse, OpensTheMenuOnTheDesktopWithAllModifiersAndKeepsTheClickWhenTrusted) {
  for (const bool isTrusted : {false, true}) {
    start(isTrusted);
    bool wasKept = false;
    EXPECT_TRUE(opensMenu(kOnTheDesktop, cmdKey | optionKey, wasKept));
    EXPECT_EQ(wasKept, isTrusted);
    EXPECT_TRUE(opensMenu(kOnTheDesktop, cmdKey | optionKey | shiftKey, wasKept));
    EXPECT_FALSE(opensMenu(kOnTheDesktop, cmdKey, wasKept));
    // A window of the Finder is not its desktop.
    EXPECT_FALSE(opensMenu(kOnAWindow, cmdKey | optionKey, wasKept));
    EXPECT_FALSE(wasKept);
  }
}

TEST_F(DaemonsMouse, HoldsTheCursorAtTheEdgeOfTheDisplayItCameFrom) {
  start(false);
  struct Row {
    const char* name;
    Point from, to, held;
  };
  // The built-in panel ends at (1440, 900), the left monitor beside it at (4000, 1440).
  for (const Row& row : {
           Row{.name = "below the panel", .from = {10, 890}, .to = {20, 1000}, .held = {20, 899}},
           Row{.name = "just below", .from = {10, 890}, .to = {20, 900}, .held = {20, 899}},
           Row{.name = "left and above", .from = {10, 10}, .to = {-5, -7}, .held = {0, 0}},
           Row{.name = "right of the monitor", .from = {3990, 1400}, .to = {4000, 1500}, .held = {3999, 1439}},
       }) {
    on_->mac.mouse().moveTo(row.from);
    on_->mac.turn();
    on_->mac.mouse().moveTo(row.to);
    on_->mac.turn();
    EXPECT_EQ(on_->mac.mouse().cursor, row.held) << row.name;
  }
  // The display that it came from goes: the main display has it.
  ASSERT_EQ(on_->mac.unplug("Left"), std::nullopt);
  on_->mac.mouse().moveTo({5000, 100});
  on_->mac.turn();
  EXPECT_EQ(on_->mac.mouse().cursor, (Point{1439, 100}));
  EXPECT_TRUE(on_->hasLogged("Warping from x= 4000, y = 1500"));
  EXPECT_TRUE(on_->hasLogged("Warping to x= 3999, y = 1439"));
}

}  // namespace
}  // namespace vlm
