#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "Tests/Support/DisplaysOnMac.h"

/// Which saved record an attached monitor is taken for, and what the document makes of all records together.
namespace vlm {
namespace {

using test::DisplaysOnMac;
using test::settingsAfter;

/// A record of the settings file: that of the display "Left", changed.
struct Saved {
  std::int64_t resID;
  void (*change)(VLMDisplay& record);
};

/// The settings file with these records alone.
plist::Dictionary settingsWith(const sim::MachineDescription& machine, const std::vector<Saved>& records) {
  return settingsAfter(machine, [&](DisplaysOnMac& displays) {
    displays.document().extraDisplayArray.clear();
    for (const Saved& saved : records) {
      auto record = VLMDisplay::initAndDecodeReadableWith(displays["Left"]->encodeReadable(), nullptr);
      record->monitorResID = saved.resID;
      if (saved.change != nullptr) saved.change(*record);
      displays.document().extraDisplayArray.push_back(record);
    }
  });
}

void ofAnotherModel(VLMDisplay& record) { record.displayProductID += 1; }
void onAnotherPort(VLMDisplay& record) { record.driverLocationName = "elsewhere"; }
void knownByModelAlone(VLMDisplay& record) {
  record.manufactureWeek = 0;
  record.edidSerialString.reset();
  record.driverLocationName.reset();
  record.displayUUIDString.reset();
}

TEST(Matching, TakesTheSurestRecordAndNumbersANewMonitor) {
  constexpr std::int64_t kBeyondAll = 0x7FFFFFFFFFFFFFFF;
  const struct {
    const char* name;
    std::vector<Saved> records;
    std::int64_t resID;
  } rows[] = {
      {.name = "first of equal ones", .records = {{1005, nullptr}, {1006, nullptr}}, .resID = 1005},
      {.name = "surer one behind", .records = {{1005, onAnotherPort}, {1006, nullptr}}, .resID = 1006},
      {.name = "surer one before", .records = {{1005, nullptr}, {1006, onAnotherPort}}, .resID = 1005},
      {.name = "model alone is no match", .records = {{4711, knownByModelAlone}}, .resID = 4712},
      {.name = "largest number, not the last",
       .records = {{4711, ofAnotherModel}, {99, ofAnotherModel}},
       .resID = 4712},
      {.name = "numbers below the range", .records = {{5, ofAnotherModel}}, .resID = 1001},
      {.name = "number of a damaged file", .records = {{kBeyondAll, ofAnotherModel}}, .resID = 1001},
  };
  for (const auto& row : rows) {
    const auto machine = sim::desktopWith({"Left"});
    DisplaysOnMac displays(machine, settingsWith(machine, row.records));
    EXPECT_EQ(displays["Left"]->monitorResID, row.resID) << row.name;
    const bool isNew = std::none_of(row.records.begin(), row.records.end(),
                                    [&](const Saved& saved) { return saved.resID == row.resID; });
    EXPECT_EQ(displays.document().extraDisplayArray.size(), row.records.size() + (isNew ? 1 : 0)) << row.name;
  }
}

TEST(Matching, TakesNoRecordTwice) {
  sim::MachineDescription machine = sim::desktopWith({"Left"});
  sim::DisplayDescription twin = machine.displays[0];
  twin.name = "Twin";
  sim::addDisplay(machine, twin);
  DisplaysOnMac displays(machine, settingsWith(machine, {{1005, nullptr}}));
  EXPECT_EQ(displays["Left"]->monitorResID, 1005);
  EXPECT_EQ(displays["Twin"]->monitorResID, 1006);
  // Every record may be taken again by the next discovery.
  for (const auto& record : displays.document().extraDisplayArray) EXPECT_FALSE(record->isDirty());
}

TEST(Matching, GivesEveryModeOfTheDocumentADesktopOfItsOwn) {
  const auto machine = sim::desktopWith({"Left", "Right"});
  std::int32_t shared = 0;
  const auto settings = settingsAfter(machine, [&](DisplaysOnMac& displays) {
    shared = displays["Left"]->validDisplayModes[1]->deskResID;
    displays["Left"]->validDisplayModes[0]->deskResID = 2147483647;
    displays["Right"]->validDisplayModes[2]->deskResID = shared;
  });
  DisplaysOnMac displays(machine, settings);
  EXPECT_EQ(displays["Left"]->validDisplayModes[1]->deskResID, shared);
  std::set<std::int32_t> desktops;
  for (const char* name : {"Left", "Right"}) {
    for (const auto& mode : displays[name]->validDisplayModes) {
      EXPECT_TRUE(mode->deskResID > 0 && mode->deskResID < 1000) << mode->deskResID;
      EXPECT_TRUE(desktops.insert(mode->deskResID).second) << name << ": " << mode->deskResID;
    }
  }
}

TEST(Matching, KeepsThatANameIsToBeWrittenThoughTheSystemHasTheSame) {
  const auto machine = sim::desktopWith({"Left"});
  const auto settings =
      settingsAfter(machine, [](DisplaysOnMac& displays) { displays["Left"]->displayName->shouldOverride = true; });
  DisplaysOnMac displays(machine, settings);
  EXPECT_EQ(displays["Left"]->displayedName(), "Left");
  EXPECT_TRUE(displays["Left"]->displayName->shouldOverride);
}

TEST(Numbering, PutsTheBuiltInPanelFirstAndLeavesALoneDisplayWithout) {
  DisplaysOnMac displays(sim::desktopWith({"Left", "Other", "Right"}));
  // The system lists it between the others.
  displays.mac().display("Other").description.builtIn = true;
  displays.reload();
  std::vector<std::string> names;
  for (const auto& display : displays.document().displayArray) names.push_back(display->displayedNameForMenu());
  EXPECT_EQ(names, (std::vector<std::string>{"Other (1)", "Left (2)", "Right (3)"}));
  EXPECT_EQ(displays.mac().unplug("Right"), std::nullopt);
  EXPECT_EQ(displays.mac().unplug("Other"), std::nullopt);
  displays.reload();
  EXPECT_EQ(displays["Left"]->displayedNameForMenu(), "Left");
}

}  // namespace
}  // namespace vlm
