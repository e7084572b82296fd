#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Models/OverrideContent.h"
#include "Shared/VLMEDIDUtils.h"
#include "Shared/VLMExtension.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Tests/Support/DisplaysOnMac.h"

namespace vlm::test {
namespace {

using plist::Array;
using plist::Data;
using plist::Dictionary;
using plist::Value;

constexpr const char* kLibrary = "/Library/Displays/Contents/Resources/Overrides";
constexpr const char* kSystem = "/System/Library/Displays/Contents/Resources/Overrides";

Data descriptor(std::uint32_t width) {
  auto timing = VLMOverrideResolution();
  timing.activeNx = width;
  timing.activeNy = 900;
  timing.toInstall = true;
  timing.generateValuesWithGranAct(8, VLMOverrideResolution::kCVTReduced);
  Array timings, none;
  Dictionary records;
  timing.addInOverridesDspc(timings, none, records, none, 0, 0);
  return timings.empty() ? Data() : *timings[0].data();
}

Data ourStandardMode() { return {'V', 'L', 'M', 'T', 0, 0, 0, 0, 0, 0, 0, 11, 0, 0, 0, 128}; }

class OverrideFile : public testing::Test {
 protected:
  static sim::MachineDescription machine() {
    auto machine = sim::laptopWith({"Left"});
    machine.systemVersion = {.majorVersion = 13, .minorVersion = 0, .patchVersion = 0};
    return machine;
  }
  OverrideFile() : displays_(machine()) { displays_.mac().administratorAllows = true; }

  VLMDisplay& left() { return *displays_["Left"]; }
  /// As somebody else puts it there.
  void put(const Value& root, const std::string& directory = kLibrary, bool binary = false) {
    displays_.mac().administratorAllows = true;
    std::string path = left().overridePathForSaving();
    path.replace(0, path.find("/DisplayVendorID"), displays_.mac().localFolder() + directory);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::string content = sim::composePropertyList(root);
    if (binary) {
      plist_t parsed = nullptr;
      char* bytes = nullptr;
      std::uint32_t length = 0;
      plist_from_xml(content.data(), static_cast<std::uint32_t>(content.size()), &parsed);
      plist_to_bin(parsed, &bytes, &length);
      content.assign(bytes, length);
      std::free(bytes);
      plist_free(parsed);
    }
    std::ofstream(path, std::ios::binary) << content;
  }
  /// As at a load of the settings, with fresh records.
  void load() {
    displays_.reload();
    displays_.document().completeOverridesWithDictionaries();
    displays_.document().completeOverridesWithActualSettings();
  }
  /// "1600x900 1280x720s 52t-": kind, and "-" for what is not to be installed.
  std::string resolutions() {
    std::string text;
    for (const auto& entry : left().overridenModes) {
      const bool isScaled = entry->resolutionType == VLMOverrideResolution::kScaled;
      text += text.empty() ? "" : " ";
      text += entry->resolutionType == VLMOverrideResolution::kStandardMode
                  ? std::to_string(entry->appleID) + "t"
                  : std::to_string(isScaled ? entry->scaledNx : entry->activeNx) + "x" +
                        std::to_string(isScaled ? entry->scaledNy : entry->activeNy) + (isScaled ? "s" : "");
      if (!entry->toInstall) text += "-";
    }
    return text;
  }

  DisplaysOnMac displays_;
};

TEST_F(OverrideFile, IsReadFromEitherFormatAndEveryVersionAndComposedWithoutLoss) {
  const Value number = 0x03840640;
  const Data noTiming(18, 0), others{'A', 'B', 'C', 'D', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  const Dictionary digital{{"IODisplayIsDigital", true}}, analogue{{"IODisplayIsDigital", false}};
  const struct {
    const char* name;
    Value root;
    const char* resolutions;
    Dictionary kept;  ///< of what is composed
  } kRows[] = {
      {"today's keys",
       Dictionary{{"dspc", Array{descriptor(1600)}},
                  {"scale-resolutions", Array{number}},
                  {"tovr", Dictionary{{"52", ourStandardMode()}, {"53", others}}},
                  {"tspc", Array{Data{1}}},
                  {"what else", "x"}},
       "52t 1600x900 1600x900s",
       {{"tspc", Array{Data{1}}}, {"what else", "x"}}},
      {"an earlier version's",
       Dictionary{{"VLdspc", Array{descriptor(1600)}},
                  {"VLtspc", Array{Data{2}}},
                  {"VLScale", Array{number}},
                  {"VZtr", Dictionary{{"52", ourStandardMode()}}},
                  {"VLtrng", Data()},
                  {"trng", Data{3}},
                  {"VZto", 1}},
       "52t 1600x900 1600x900s",
       {{"tspc", Array{Data{2}}}, {"dspc", Array{descriptor(1600)}}}},
      {"an array",
       Array{"no dictionary", Dictionary{{"IODisplayOverrideMatching", analogue}, {"dspc", Array{descriptor(1400)}}},
             Dictionary{{"IODisplayOverrideMatching", digital}, {"dspc", Array{descriptor(1600)}}}},
       "1600x900",
       {{"IODisplayOverrideMatching", digital}, {"dspc", Array{descriptor(1600)}}}},
      {"an array with an entry for whatever", Array{Dictionary{{"dspc", Array{descriptor(1600)}}}}, "", {}},
      {"damaged items",
       Dictionary{{"dspc", Array{"x", Data(17, 1), noTiming, descriptor(1600)}},
                  {"scale-resolutions", Array{"x", Data{0, 0, 5}, Data{0, 0, 5, 0, 0, 0, 3, 32}}},
                  {"tovr", Array{1}},
                  {"trng", Data(311, 1)},
                  {"default-resolution", 5},
                  {"DisplayProductName", 5},
                  {"IODisplayEDID", Data(127, 112)},
                  {"Velmoratix backup settings", 1}},
       "0x0 1600x900 1280x960s 1280x800s",
       {{"dspc", Array{"x", Data(17, 1), noTiming, descriptor(1600)}},
        {"tovr", Array{1}},
        {"trng", Data(311, 1)},
        {"default-resolution", 5},
        {"DisplayProductName", 5},
        {"Velmoratix backup settings", 1}}},
  };
  for (const auto& row : kRows) {
    for (const bool binary : {false, true}) {
      SCOPED_TRACE(row.name);
      put(row.root, kLibrary, binary);
      load();
      EXPECT_EQ(resolutions(), row.resolutions);
      EXPECT_FALSE(left().willNeedToSaveOverride());
      const Dictionary composed = left().composeOverrides().content;
      for (const plist::Entry& entry : row.kept) {
        const Value* const value = composed.find(entry.key);
        EXPECT_TRUE(value != nullptr && *value == entry.value) << entry.key << ": " << plist::describe(composed);
      }
      // What is composed reads the same, and composes to itself.
      put(composed);
      load();
      EXPECT_EQ(left().composeOverrides().content, composed);
    }
  }
}

TEST_F(OverrideFile, IsTakenFromTheFolderThatTheSystemPrefers) {
  put(Dictionary{{"dspc", Array{descriptor(1600)}}}, kSystem);
  put(Dictionary{{"dspc", Array{descriptor(1400)}}}, kLibrary);
  load();
  EXPECT_EQ(resolutions(), "1400x900");
  EXPECT_EQ(left().typeOfOverrideFile, 1);
  EXPECT_EQ(VLMGlobals::overridesPathsForReadingIncludingLibDir(false), std::vector<std::string>{kSystem});
}

TEST_F(OverrideFile, KeepsItsFirstContentForGood) {
  put(Dictionary{{"dspc", Array{descriptor(1600)}}, {"x", 1}});
  load();
  left().overridenModes = {left().overridenModes[0]->duplicate()};
  left().overridenModes[0]->activeNx = 1400;
  left().monitorTiming->shouldOverride = true;
  EXPECT_TRUE(left().willNeedToSaveOverride());
  ASSERT_EQ(left().writeOverrides(left().composeOverrides().content), std::nullopt);
  EXPECT_FALSE(left().willNeedToSaveOverride());
  const Dictionary snapshot{{"dspc", Array{descriptor(1600)}}, {"x", 1}};
  load();
  EXPECT_EQ(resolutions(), "1400x900");
  EXPECT_EQ(left().countOfBackupedModes, 1);
  left().overridenModes.clear();
  ASSERT_EQ(left().writeOverrides(left().composeOverrides().content), std::nullopt);
  const auto written = left().makeContentOfOverrideDictionary(true);
  ASSERT_TRUE(written && written->dictionary(OverrideKey::backup) != nullptr);
  EXPECT_EQ(*written->dictionary(OverrideKey::backup), snapshot);
  EXPECT_TRUE(written->contains("trng"));

  ASSERT_EQ(left().restoreOverrides(), std::nullopt);
  Dictionary restored = left().makeContentOfOverrideDictionary(true).value_or(Dictionary());
  EXPECT_EQ(resolutions(), "1600x900");
  restored.remove(OverrideKey::backup);
  EXPECT_EQ(restored, snapshot);
}

TEST_F(OverrideFile, LosesNothingWhenItMayNotBeWritten) {
  load();
  displays_.mac().administratorAllows = false;
  left().overridenModes.push_back(VLMOverrideResolution::initWithDTDData(descriptor(1600), 1));
  EXPECT_NE(left().writeOverrides(left().composeOverrides().content), std::nullopt);
  EXPECT_TRUE(left().willNeedToSaveOverride());
  EXPECT_EQ(resolutions(), "1600x900");
}

TEST_F(OverrideFile, WinsOverWhatTheSystemOnceSaidButNotOverTheUser) {
  const auto resolutionOf = [](std::uint8_t width) { return Data{0, 0, width, 0, 0, 0, 3, 0, 0, 0x3b, 0xf0, 0xa3}; };
  load();
  EXPECT_FALSE(left().defaultResolution->shouldOverride);
  displays_.document().savePrefs(SettingsGroup::all);
  put(Dictionary{{"default-resolution", resolutionOf(4)},
                 {"DisplayProductName", Dictionary{{"de", "Links"}, {"en_US", "Velmoratix4 - Desk"}}},
                 {"display-refresh-rate-policy", Data()}});
  load();
  EXPECT_TRUE(left().defaultResolution->shouldOverride && left().displayFreqPolicy->settingInOverride);
  EXPECT_EQ(left().defaultResolution->Nx, 1024U);
  EXPECT_NEAR(left().defaultResolution->Hz, 59.94, 0.001);
  EXPECT_EQ(left().displayedName(), "Desk");

  left().defaultResolution->Nx = 1280;
  displays_.document().savePrefs(SettingsGroup::all);
  load();
  EXPECT_EQ(left().defaultResolution->Nx, 1280U);
  EXPECT_TRUE(left().willNeedToSaveOverride());
  EXPECT_EQ(*left().composeOverrides().content.data("default-resolution"), resolutionOf(5));
}

TEST_F(OverrideFile, LeavesOutWhatItsRecordsCutAndWritesNothingTwice) {
  load();
  const auto timing = VLMOverrideResolution::initWithDTDData(descriptor(1600), 1);
  for (int i = 0; i < 2; ++i) {
    // A porch that the descriptor's ten bits cut, and a size.
    const auto cut = timing->copy();
    cut->frontNx += 1024;
    cut->toInstall = true;
    left().overridenModes.push_back(cut);
    const auto size = VLMOverrideResolution::initEmpty();
    size->resolutionType = VLMOverrideResolution::kScaled;
    size->scaledNx = 1280;
    size->scaledNy = 720;
    left().overridenModes.push_back(size);
  }
  const OverrideComposition composed = left().composeOverrides();
  EXPECT_FALSE(composed.content.contains("dspc") || composed.content.contains("IODisplayEDID"));
  EXPECT_EQ(composed.content.array("scale-resolutions")->size(), 1U);
  EXPECT_TRUE(std::ranges::any_of(composed.findings, [](const auto& finding) {
    return finding.ends_with("no record of the file can hold it; left out");
  }));
}

TEST_F(OverrideFile, HoldsATimingAgainstTheRangesThatAreInForce) {
  load();
  const auto timing = VLMOverrideResolution::initWithDTDData(descriptor(1600), 1);
  const std::size_t before = left().findingsOf(*timing).size();
  const auto tooLittle = std::make_shared<VLMOverrideMonitorRange>();
  tooLittle->maxPClock = 30;
  tooLittle->shouldOverride = true;
  left().monitorTiming = tooLittle;
  EXPECT_EQ(left().findingsOf(*timing).size(), before + 1);
  tooLittle->shouldOverride = false;
  EXPECT_EQ(left().findingsOf(*timing).size(), before) << "what was taken back says nothing";
}

TEST_F(OverrideFile, TakesExtensionTimingsAndImportedEDIDs) {
  load();
  const auto large = VLMOverrideResolution::initEmpty();
  large->activeNx = 5120;
  large->activeNy = 2880;
  large->generateValuesWithGranAct(8, VLMOverrideResolution::kCVTReduced);
  left().overridenModes.push_back(large);
  // The longer form has the lines of whole pictures, an odd number too.
  const auto fields = large->copy();
  fields->interlaced = true;
  fields->activeNy = 2161;
  fields->toInstall = true;
  left().overridenModes.push_back(fields);
  left().monitorTiming->maxPClock = 600;
  const OverrideComposition composition = left().composeOverrides();
  EXPECT_FALSE(composition.findings.empty()) << "the monitor cannot take it";
  const Data* const edid = composition.content.data("IODisplayEDID");
  ASSERT_NE(edid, nullptr);
  EXPECT_EQ(withoutVLMExtensions(*edid), left().edidDataActual());
  ASSERT_EQ(left().writeOverrides(composition.content), std::nullopt);
  load();
  EXPECT_EQ(resolutions(), "5120x2880 5120x2161");

  Data other = displays_["Left"]->edidDataActual();
  other[20] ^= 1;  // another signal interface
  EXPECT_NE(left().importEDID(other, true), std::nullopt) << "its checksum is wrong";
  other[16] = static_cast<std::uint8_t>(other[16] + 1);
  other[127] = truncateTo<std::uint8_t>(other[127] - VLMEDID_calcChecksum(other, 0, 127));
  ASSERT_EQ(left().importEDID(other, true), std::nullopt);
  EXPECT_TRUE(left().hasToOverrideImportedEDID() && left().hasToSaveImportedEDID());
  ASSERT_EQ(left().writeOverrides(left().composeOverrides().content), std::nullopt);
  EXPECT_FALSE(left().hasToOverrideImportedEDID());
  EXPECT_EQ((*left().inOverrideFileEDID)[16], left().edidDataActual()[16]) << "the date is the monitor's own";
  load();
  EXPECT_EQ(resolutions(), "5120x2880 5120x2161");
  // Taken back: both are the file's no more.
  left().importedEDID.reset();
  left().overridenModes.clear();
  EXPECT_TRUE(left().hasToOverrideImportedEDID());
  EXPECT_FALSE(left().composeOverrides().content.contains("IODisplayEDID"));
}

}  // namespace
}  // namespace vlm::test
