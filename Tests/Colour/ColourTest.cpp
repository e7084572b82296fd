#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include "Colour/VLMColorPreset.h"
#include "Colour/VLMColorProfile.h"
#include "Shared/FileURL.h"
#include "Simulator/Mac/IccProfile.h"
#include "Tests/Support/DisplaysOnMac.h"

namespace vlm {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using Names = std::vector<std::string>;

/// A profile for Left's vendor in the user's folder, with one text in it put in the place of another; its URL.
std::string save(test::DisplaysOnMac& displays, const std::string& file, const std::string& name, std::uint32_t product,
                 const std::string& text = {}, const std::string& instead = {}) {
  const std::uint32_t vendor = displays["Left"]->displayVendorID;
  plist::Data bytes = sim::composeDisplayProfile(name, sim::ProfiledMonitor{.vendor = vendor, .product = product});
  std::copy(instead.begin(), instead.end(), std::search(bytes.begin(), bytes.end(), text.begin(), text.end()));
  const std::string folder = displays.mac().homeFolder() + "/Library/ColorSync/Profiles";
  fs::create_directories(folder);
  std::ofstream(folder + "/" + file, std::ios::binary) << std::string(bytes.begin(), bytes.end());
  return fileURLWithPath(folder + "/" + file);
}

TEST(Colours, ListsProfilesOfDisplaysAloneThoseForTheModelFirst) {
  for (const std::int64_t system : {10, 12}) {
    auto machine = sim::laptopWith({"Left", "Right"});
    machine.systemVersion = {.majorVersion = system, .minorVersion = 15};
    test::DisplaysOnMac displays(machine);
    const std::uint32_t product = displays["Left"]->displayProductID;
    const std::string url = save(displays, "a.icc", "Studio 10", product);
    save(displays, "b.ICM", "studio 9", product);
    save(displays, "other.icc", "Écran", product + 1);
    save(displays, "printer.icc", "Printer", product, "mntrRGB ", "prtrCMYK");
    save(displays, "scanner.icc", "Scanner", product, "mntr", "scnr");
    save(displays, "gray.icc", "Gray", product, "RGB ", "GRAY");
    // The model's tag with another vendor, and of 19 bytes.
    save(displays, "vendor.icc", "Foreign", product, "mmod\0\0\0\0\0\0"s, "mmod\0\0\0\0\1\0"s);
    save(displays, "short.icc", "Short", product, "\x28mluc", "\x13mluc");
    save(displays, "text.txt", "Text", product);
    std::ofstream(displays.mac().homeFolder() + "/Library/ColorSync/Profiles/damaged.icc") << "acsp";
    bool isThereAtOnce = false;
    os().colorSync.ColorSyncIterateInstalledProfiles([&](const plist::Dictionary& info) {
      isThereAtOnce = isThereAtOnce || info.string(kColorSyncProfileURL) == url;
      return true;
    });
    EXPECT_EQ(isThereAtOnce, system < 11) << "later systems want to be waited for";
    Names names;
    for (const auto& list : displays["Left"]->colorProfilesForThisDisp()) {
      for (const auto& profile : list) names.push_back(profile->name().value_or("?"));
      names.emplace_back("-");
    }
    EXPECT_EQ(names, (Names{"Left", "studio 9", "Studio 10", "-", "Built-in", "Écran", "Foreign", "Right", "Short",
                            "sRGB IEC61966-2.1", "-"}));
  }
}

TEST(Colours, SetsAProfileWhateverItsFileIsCalledAndNoneThatIsNotThere) {
  test::DisplaysOnMac displays(sim::laptopWith({"Left"}));
  const auto left = displays["Left"];
  const auto before = left->currentColorProfileURL();
  const std::string url = save(displays, "My 100% größer #1?.icc", "Mine", 1);
  EXPECT_FALSE(left->willSetDisplayProfile(url));
  left->setDisplayProfile(url + "x");
  left->setDisplayProfile(std::nullopt);
  EXPECT_EQ(left->currentColorProfileURL(), before);
  left->setDisplayProfile(url);
  EXPECT_EQ(left->currentColorProfileURL(), url);
  EXPECT_TRUE(left->willSetDisplayProfile(url));
  EXPECT_EQ(
      displays.process.newJournalLines(),
      Names{"daemon: ColorSyncDeviceSetCustomProfiles(Left, ~/Library/ColorSync/Profiles/My 100% größer #1?.icc)"});
}

TEST(Colours, TakesTheFirstOfTwoPresetsOfOneName) {
  test::DisplaysOnMac displays(sim::laptopWith({"Left", "Right"}));
  displays.mac().display("Left").description.presets = {"Standard", "", "Warm", "Warm"};
  const auto left = displays["Left"];
  const auto all = left->allColorPresetsForThisDisp();
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[1]->index, 2);
  const auto warm = VLMColorPreset::presetWithName("Warm", left);
  ASSERT_NE(warm, nullptr);
  EXPECT_EQ(warm->index, 2);
  EXPECT_EQ(warm->UUID, all[1]->UUID);
  EXPECT_EQ(VLMColorPreset::presetWithUUID(*all[2]->UUID, left)->index, 3);
  EXPECT_EQ(VLMColorPreset::presetWithName("", left), nullptr);
  EXPECT_EQ(VLMColorPreset::presetWithName("Warm", displays["Right"]), nullptr);
  // The question is about the preset that was seen last, and answered when nothing would change.
  EXPECT_FALSE(left->willSetDisplayPreset(2));
  left->currentPresetUUID = warm->UUID;
  EXPECT_TRUE(left->willSetDisplayPreset(2));
}

TEST(Colours, OfTheHostAreJudgedByWhatTheyHold) {
  constexpr const char* kFolder = "/usr/share/color/icc";
  if (!fs::exists(std::string(kFolder) + "/LCMSLABI.ICM")) GTEST_SKIP() << "icc-profiles-free is not installed";
  auto machine = sim::laptopWith({"Left"});
  machine.systemProfiles = kFolder;
  test::DisplaysOnMac displays(machine);
  std::set<std::string> files;
  const auto lists = displays["Left"]->colorProfilesForThisDisp();
  for (const auto& profile : lists[1]) {
    files.insert(fs::path(*pathOfFileURL(*profile->location)).filename());
  }
  EXPECT_TRUE(files.contains("sRGB.icc") && files.contains("LStar-RGB.icc") && files.contains("CineonLog_M.icc"));
  EXPECT_FALSE(files.contains("Gray.icc") || files.contains("ITULab.icc") || files.contains("LCMSLABI.ICM"));
}

}  // namespace
}  // namespace vlm
