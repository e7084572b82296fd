#include "Models/VLMStandardResolutions.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "Platform/Files.h"
#include "Platform/Process.h"
#include "Tests/Support/TestProcess.h"

namespace vlm {
namespace {

const VLMStandardResolutions& table() { return VLMStandardResolutions::sharedInstance(); }

/// In place of the machine's own table.
void putTable(sim::TestProcess& process, const plist::Dictionary& content) {
  const std::string path = process.mac().hostPath(
      "/System/Library/Frameworks/CoreDisplay.framework/Versions/A/Resources/IOGraphicsProperties.plist");
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  EXPECT_EQ(os().files.writeToURLAtomically(content, path), std::nullopt);
}

TEST(StandardResolutions, AreThoseOfThePlatformsTableBySizeAndRate) {
  auto machine = sim::laptopWith({});
  for (const std::int64_t minor : {12, 13}) {
    machine.systemVersion = {.majorVersion = 10, .minorVersion = minor};
    const sim::TestProcess process(machine);
    const auto& all = table().standardResolutions();
    ASSERT_GT(all.size(), 20U);
    for (std::size_t i = 0; i < all.size(); ++i) {
      EXPECT_EQ(all[i]->resolutionType, VLMOverrideResolution::kStandardMode);
      EXPECT_TRUE(i == 0 || !all[i]->standardModeCompare(*all[i - 1]));
    }
    EXPECT_EQ(table().standardResolutionAtIndex(all.size()), nullptr);
    const auto vga = VLMOverrideResolution::initWithAppleID(150, 3, 2);
    EXPECT_EQ(vga->displayedModeName(), "  640 × 480 , 59.94 Hz");
    EXPECT_TRUE(vga->pixelClock == 25.175 && vga->status == 3 && vga->origin == 2 && !vga->positiveSyncH);
    plist::Array none;
    plist::Dictionary tovr;
    vga->addInOverridesDspc(none, none, tovr, none, 0, 0);
    EXPECT_EQ(tovr,
              (plist::Dictionary{{"150", plist::Data{'V', 'L', 'M', 'T', 0, 0, 0, 0, 0, 0, 0, 11, 0, 0, 0, 128}}}));
  }
}

TEST(StandardResolutions, LeaveOutWhatIsDamaged) {
  sim::TestProcess process;
  const auto read = os().files.propertyListWithContentsOfURL(
      "/System/Library/Frameworks/CoreDisplay.framework/Versions/A/Resources/IOGraphicsProperties.plist");
  const plist::Dictionary usable = *read->dictionary()->dictionary("std-modes")->dictionary("150");
  plist::Dictionary cut = usable, text = usable, withMinimumOnly = usable;
  cut.set("TM", plist::Data(159));
  text.set("TM", "timing");
  plist::Data timing = *usable.data("TM");
  std::swap_ranges(timing.begin() + 40, timing.begin() + 48, timing.begin() + 48);
  std::fill(timing.begin() + 40, timing.begin() + 48, std::uint8_t{0});
  withMinimumOnly.set("TM", timing);
  plist::Dictionary damagedFlags = usable;
  damagedFlags.set("DM", plist::Data(3));
  putTable(process, {{"std-modes", plist::Dictionary{{"1", cut},
                                                     {"2", text},
                                                     {"3", 7},
                                                     {"mode 4", usable},
                                                     {"70000", usable},
                                                     {"5", damagedFlags},
                                                     {"6", withMinimumOnly}}}});
  ASSERT_EQ(table().standardResolutions().size(), 2U);
  EXPECT_EQ(table().standardResolutionWithAppleID(5)->pixelClock, 25.175);
  EXPECT_EQ(table().standardResolutionWithAppleID(6)->pixelClock, 25.175);
  const auto unknown = VLMOverrideResolution::initWithAppleID(150, 2, 1);
  EXPECT_TRUE(unknown->appleID == 150 && unknown->activeNx == 0 && unknown->resolutionType == 2);
}

TEST(StandardResolutions, AreNoneWithoutATable) {
  sim::TestProcess process;
  putTable(process, {{"std-modes", 1}});
  EXPECT_TRUE(table().standardResolutions().empty());
}

}  // namespace
}  // namespace vlm
