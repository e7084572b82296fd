#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "Tests/Support/DaemonOnMac.h"

namespace vlm {
namespace {

/// Sets that ask for anything at all, also for what cannot be, over four displays of one machine.
class RandomSets : public ::testing::Test {
 protected:
  RandomSets() : on_(machine()) {
    on_.mac.logEnabled = false;
    on_.launch();
    on_.mac.advance(2);
    for (int i = 0; i < 200; ++i) sets_.push_back(newSet());
  }

  static sim::MachineDescription machine() {
    auto machine = test::laptopWith({"Left", "Right", "Third"});
    for (auto& display : machine.displays) {
      display.canOverscan = display.canUnderscan = display.supportsHDR = !display.builtIn;
      display.canRotate = true;
      // Few modes: the displays are read anew hundreds of times.
      display.listedModes = {
          {.width = 1440, .height = 900}, {.width = 1280, .height = 800}, {.width = 800, .height = 600}};
    }
    return machine;
  }

  // Not a distribution of the library's: those differ from one to the other.
  unsigned below(unsigned end) { return static_cast<unsigned>(random_() % end); }
  bool once(unsigned in) { return below(in) == 0; }

  std::shared_ptr<VLMDisplaySet> newSet() {
    return on_.inside([&](VLMGlobals& document) {
      auto set = VLMDisplaySet::initWithDisplays(document.displayArray, document);
      set->hasMirroring = once(3);
      set->inMirroring = once(2);
      if (once(4))
        set->complexMirroringSet.add({*anyDisplay(document).monitorResID, *anyDisplay(document).monitorResID});
      set->hasGray = once(4);
      set->inGray = once(2);
      for (const auto& monitor : set->monitorArray) fill(*monitor, *document.displayWithID(monitor->monitorResID));
      if (once(2)) arrange(*set);
      return set;
    });
  }
  VLMDisplay& anyDisplay(VLMGlobals& document) { return *document.displayArray[below(4)]; }

  void fill(VLMMonitorInSet& monitor, VLMDisplay& display) {
    const auto mode = display.validDisplayModes[below(static_cast<unsigned>(display.validDisplayModes.size()))];
    monitor.modeUniqueID = once(3) ? VLMMonitorInSet::kNoSetting : mode->modeUniqueID;
    monitor.selDepth = once(2) ? VLMMonitorInSet::kNoSetting : 32U;
    monitor.hasActivity = once(2);
    monitor.isActive = once(2);
    monitor.isMainDisplay = false;
    monitor.hasOrientation = once(3);
    monitor.orientation = static_cast<std::int16_t>(90 * below(4));
    monitor.hasOverscan = once(4);
    monitor.inOverscan = once(2);
    monitor.hasUnderscan = once(4);
    monitor.underscan = 0.25F * static_cast<float>(below(5));
    monitor.hasHDR = once(4);
    monitor.isInHDR = once(2);
  }
  /// As people arrange displays: one is the main one, all others have places, though not such as they can have.
  void arrange(VLMDisplaySet& set) {
    const unsigned main = below(4);
    for (unsigned i = 0; i < 4; ++i) {
      VLMMonitorInSet& monitor = *set.monitorArray[i];
      monitor.isMainDisplay = i == main;
      monitor.hasOrigin = true;
      const DisplayPosition place{.v = coordinate(), .h = coordinate()};
      monitor.origin = i == main ? 0U : place.packed();
    }
  }
  std::int16_t coordinate() { return static_cast<std::int16_t>(static_cast<int>(below(8)) * 640 - 2240); }

  void apply(const std::shared_ptr<VLMDisplaySet>& set) {
    on_.inside([&](VLMGlobals& document) { document.applyDisplaySet(set, true); });
  }

  /// What a user sees of the displays: of one that is off, that it is off.
  std::string state() {
    std::ostringstream text;
    for (const auto& display : on_.mac.windowServer().displays()) {
      text << display->description.name;
      if (!display->isActive()) {
        text << " off\n";
        continue;
      }
      const Rect bounds = on_.mac.windowServer().bounds(*display);
      const auto* const master = on_.mac.windowServer().displayWithID(display->mirrors);
      text << " " << display->modeNumber << " at " << bounds.origin.x << "," << bounds.origin.y << " turned "
           << display->turn.degrees << " shows " << (master == nullptr ? "itself" : master->description.name) << " o"
           << display->overscan << " u" << display->underscan << " h" << display->hdr << "\n";
    }
    text << "gray " << on_.mac.grayscale;
    return text.str();
  }

  void expectAnIntactDesk() {
    int on = 0, atOrigin = 0;
    for (const auto& display : on_.mac.windowServer().displays()) {
      on += display->isActive() ? 1 : 0;
      const bool isMain = display->isActive() && display->mirrors == kCGNullDirectDisplay &&
                          on_.mac.windowServer().bounds(*display).origin == Point{0, 0};
      atOrigin += isMain ? 1 : 0;
    }
    EXPECT_GE(on, 1);
    EXPECT_EQ(atOrigin, 1);
    EXPECT_EQ(on_.mac.windowServer().openTransactions(), 0U);
  }

  test::DaemonOnMac on_;
  std::mt19937 random_{20260101};
  /// None of the settings file's: every rebuild would read and write them all.
  std::vector<std::shared_ptr<VLMDisplaySet>> sets_;
};

TEST_F(RandomSets, LeaveAnIntactDeskAndTheSameOneWhenAppliedAgain) {
  for (std::size_t i = sets_.size() - 1; i > 0; --i) std::swap(sets_[i], sets_[below(static_cast<unsigned>(i) + 1)]);
  int changed = 0, inForce = 0;
  for (const auto& set : sets_) {
    SCOPED_TRACE(plist::describe(set->encodeReadable()));
    const std::string before = state();
    apply(set);
    expectAnIntactDesk();
    on_.mac.advance(2);
    const std::string once = state();
    changed += once != before ? 1 : 0;
    inForce += on_.inside([&](VLMGlobals& document) { return document.checkMarkForSet(*set, nullptr); }) != 0 ? 1 : 0;
    apply(set);
    expectAnIntactDesk();
    on_.mac.advance(2);
    EXPECT_EQ(state(), once) << "before:\n" << before;
    if (HasFailure()) return;
  }
  EXPECT_GT(changed, 150) << "too few sets did anything";
  EXPECT_GT(inForce, 80) << "too few sets came into force";
}

}  // namespace
}  // namespace vlm
