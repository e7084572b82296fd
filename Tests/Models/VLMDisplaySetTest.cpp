#include "Models/VLMDisplaySet.h"

#include <gtest/gtest.h>

#include "Models/VLMDisplay.h"
#include "Simulator/Mac/MachineEvents.h"
#include "Tests/Support/DaemonOnMac.h"
#include "Tests/Support/Machines.h"
#include "Tests/Support/TestProcess.h"

namespace vlm {
namespace {

using plist::Array;
using plist::Dictionary;

TEST(DisplaySet, ComesBackFromItsEncodingUnchanged) {
  const Dictionary monitor{
      {"monitorResID", 1002},    {"inOverscan", true},     {"hasOverscan", true},
      {"hasUnderscan", true},    {"hasHDR", true},         {"isMainDisplay", true},
      {"hasOrigin", true},       {"isActive", false},      {"isInHDR", true},
      {"hasActivity", true},     {"hasOrientation", true}, {"hasColorProfile", true},
      {"origin", 0xFFFE0001U},   {"modeUniqueID", 123456}, {"selDepth", VLMMonitorInSet::kNoSetting},
      {"orientation", -3},       {"underscan", 0.5},       {"colorPreset", "P"},
      {"colorProfile", "/a.icc"}};
  const Dictionary set{{"name", "Désk"},
                       {"menuOrder", 2},
                       {"keyCode", -1},
                       {"uniqueID", 4},
                       {"isInMenu", false},
                       {"hasMirroring", true},
                       {"inMirroring", false},
                       {"inGray", true},
                       {"hasGray", true},
                       {"hasIcon", true},
                       {"scriptBookmark", plist::Data{1, 2}},
                       {"monitorArray", Array{monitor}},
                       {"complexMirroringSet", Array{Array{1001, 1002}}}};
  EXPECT_EQ(VLMDisplaySet::initAndDecodeReadableWith(set)->encodeReadable(), set);
}

TEST(DisplaySet, TakesDefaultsAndDropsWhatIsMalformed) {
  const auto set = VLMDisplaySet::initAndDecodeReadableWith(
      {{"name", 5},
       {"monitorArray", Array{"x", Dictionary{{"colorProfile", std::string("/a\0b", 4)}}}},
       {"complexMirroringSet", Array{Array{1}, Array{1, "2"}}}});
  EXPECT_FALSE(set->name);
  EXPECT_TRUE(set->isInMenu);
  EXPECT_TRUE(set->complexMirroringSet.empty());
  ASSERT_EQ(set->monitorArray.size(), 1U);
  EXPECT_TRUE(set->monitorArray[0]->isActive);
  EXPECT_EQ(set->monitorArray[0]->modeUniqueID, 0U);
  EXPECT_FALSE(set->monitorArray[0]->colorProfile) << "no file's name has a NUL in it";
  EXPECT_FALSE(set->encodeReadable().contains("chainedSetUID"));
}

TEST(DisplaySet, MakesABookmarkOfAnOldAliasRecordAndWritesThatAlone) {
  sim::TestProcess process(sim::laptopWith({}));
  const plist::Data alias{0, 0, 0, 0, 0, 10, 0, 2, 'A', 'B'};
  const Dictionary written = VLMDisplaySet::initAndDecodeReadableWith({{"theScriptAlias", alias}})->encodeReadable();
  ASSERT_NE(written.data("scriptBookmark"), nullptr);
  EXPECT_FALSE(written.contains("theScriptAlias"));
  EXPECT_FALSE(VLMDisplaySet::initAndDecodeReadableWith({{"theScriptAlias", plist::Data{1}}})->theScriptBookmark);
}

TEST(MonitorInSet, CountsPlacingOnlyWhenAskedAndActivityNever) {
  const struct {
    const char* name;
    void (*change)(VLMMonitorInSet&);
    bool counts;
    bool countsWhenChecked;
  } kRows[] = {
      {.name = "nothing", .change = [](VLMMonitorInSet&) {}, .counts = false, .countsWhenChecked = false},
      {.name = "mode",
       .change = [](VLMMonitorInSet& m) { m.modeUniqueID = 0; },
       .counts = true,
       .countsWhenChecked = true},
      {.name = "depth",
       .change = [](VLMMonitorInSet& m) { m.selDepth = 32; },
       .counts = true,
       .countsWhenChecked = true},
      {.name = "origin",
       .change = [](VLMMonitorInSet& m) { m.hasOrigin = true; },
       .counts = false,
       .countsWhenChecked = true},
      {.name = "main",
       .change = [](VLMMonitorInSet& m) { m.isMainDisplay = true; },
       .counts = false,
       .countsWhenChecked = true},
      {.name = "HDR", .change = [](VLMMonitorInSet& m) { m.hasHDR = true; }, .counts = true, .countsWhenChecked = true},
      {.name = "activity",
       .change = [](VLMMonitorInSet& m) { m.hasActivity = true; },
       .counts = false,
       .countsWhenChecked = false},
  };
  for (const auto& row : kRows) {
    const auto monitor = VLMMonitorInSet::initEmpty();
    row.change(*monitor);
    EXPECT_EQ(monitor->hasADisplaySetting(nullptr, false), row.counts) << row.name;
    EXPECT_EQ(monitor->hasADisplaySetting(nullptr, true), row.countsWhenChecked) << row.name;
  }
}

TEST(MonitorInSet, NeverOffersADisplayWithoutAMonitor) {
  const auto display = VLMDisplay::init();
  const auto monitor = VLMMonitorInSet::initEmpty();
  EXPECT_TRUE(monitor->isADisplayableUnattachedMonitor(*display));
  display->displayVendorID = VLMDisplay::kVendorUnknown;
  EXPECT_TRUE(monitor->isADisplayableUnattachedMonitor(*display));
  display->displayProductID = VLMDisplay::kProductVirtual;
  EXPECT_FALSE(monitor->isADisplayableUnattachedMonitor(*display));
}

TEST(ComplexMirroring, IsCompleteWhenThePairsJoinEveryDisplay) {
  std::vector<std::shared_ptr<VLMDisplay>> displays;
  for (const std::int64_t identifier : {1, 2, 3}) {
    displays.push_back(VLMDisplay::init());
    displays.back()->monitorResID = identifier;
  }
  ComplexMirroringSet pairs;
  EXPECT_FALSE(pairs.isSetCompleteWithMonitorArrays(displays));
  EXPECT_TRUE(pairs.add({3, 1}));
  EXPECT_FALSE(pairs.add({3, 1}));
  pairs.add({9, 2});
  EXPECT_FALSE(pairs.isSetCompleteWithMonitorArrays(displays));
  pairs.add({2, 3});
  EXPECT_TRUE(pairs.isSetCompleteWithMonitorArrays(displays));
}

TEST(DisplaySet, RecordsWhatIsAndEnforcesNothingButModeAndMainDisplay) {
  test::DaemonOnMac on(test::laptopWith({"Left"}));
  on.launch();
  on.inside([&](VLMGlobals& document) {
    const auto set = VLMDisplaySet::initWithDisplays(document.displayArray, document);
    ASSERT_EQ(set->monitorArray.size(), 2U);
    EXPECT_EQ(set->keyCode, -1);
    EXPECT_EQ(set->menuOrder, 32767);
    for (std::size_t i = 0; i < 2; ++i) {
      const VLMDisplay& display = *document.displayArray[i];
      const VLMMonitorInSet& monitor = *set->monitorArray[i];
      EXPECT_EQ(monitor.modeUniqueID, display.currentMode.get()->modeUniqueID);
      EXPECT_EQ(monitor.selDepth, static_cast<std::uint64_t>(display.currentDepth));
      EXPECT_EQ(monitor.origin, display.displayPosition().packed());
      EXPECT_EQ(monitor.isMainDisplay, display.isMainDisplay());
      EXPECT_FALSE(monitor.hasOrigin || monitor.hasActivity || monitor.hasOverscan || monitor.hasHDR);
    }
  });
}

TEST(DisplaySet, IsCopiedWithMonitorsOfItsOwnAndUsersOfNone) {
  const auto chained = VLMDisplaySet::initAndDecodeReadableWith({{"uniqueID", 2}});
  const auto set = VLMDisplaySet::initAndDecodeReadableWith(
      {{"uniqueID", 1}, {"keyCode", 5}, {"monitorArray", Array{Dictionary{{"monitorResID", 1001}}}}});
  set->setChainedDisplaySet(chained);
  set->nbUsers = 3;
  {
    const auto copy = set->deepCopy();
    EXPECT_EQ(copy->encodeReadable(), set->encodeReadable());
    EXPECT_EQ(copy->nbUsers, 0);
    EXPECT_EQ(chained->nbUsers, 2);
    EXPECT_NE(copy->monitorArray[0], set->monitorArray[0]);
    EXPECT_EQ(copy->monitorArray[0]->container, copy.get());
  }
  EXPECT_EQ(chained->nbUsers, 1);
  EXPECT_FALSE(set->duplicate()->uniqueID);
  EXPECT_EQ(set->duplicate()->keyCode, -1);
}

TEST(DisplaySet, OfWhatAnApplicationFoundBringsMirroringAndWhoIsShownBack) {
  auto machine = test::laptopWith({"Left", "Right"});
  test::DaemonOnMac on(machine);
  on.launch();
  for (const char* copy : {"Built-in", "Right"}) {
    ASSERT_EQ(on.mac.events().mirror(copy, &on.mac.display("Left")), std::nullopt);
  }
  on.mac.advance(2);
  const auto isAsFound = [&] {
    const CGDirectDisplayID left = on.mac.display("Left").id;
    return on.mac.display("Right").mirrors == left && on.mac.display("Built-in").mirrors == left;
  };
  const auto set = on.inside([](VLMGlobals& document) {
    return VLMDisplaySet::initForApplicSaving("com.example", document.displayArray, document);
  });
  ASSERT_TRUE(isAsFound());
  const auto& monitors = set->monitorArray;
  EXPECT_EQ(std::count_if(monitors.begin(), monitors.end(), [](const auto& m) { return m->isMainDisplay; }), 1);
  ASSERT_EQ(on.mac.events().mirror("Right", nullptr), std::nullopt);
  on.mac.advance(2);
  on.inside([&](VLMGlobals& document) { document.applyDisplaySet(set, false); });
  EXPECT_TRUE(isAsFound());
}

}  // namespace
}  // namespace vlm
