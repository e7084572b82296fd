#include <gtest/gtest.h>

#include "Models/VLMDisplay.h"
#include "Tests/Support/TestProcess.h"

namespace vlm {
namespace {

std::shared_ptr<VLMDisplay> monitor() {
  auto display = VLMDisplay::init();
  display->displayVendorID = 0x1E6D;
  display->displayProductID = 5;
  display->manufactureYear = 2019;
  display->manufactureWeek = 12;
  display->serialNumber = 99;
  display->edidSerialString = "SN1";
  display->driverLocationName = "IOService:/a/b/c";
  display->displayUUIDString = "37D8832A";
  return display;
}

TEST(DisplayIdentity, ScoresWhatLiveAndSavedRecordShare) {
  sim::TestProcess process;
  const struct {
    const char* name;
    /// What differs in the saved record.
    void (*change)(VLMDisplay&);
    int score;
  } kRows[] = {
      {.name = "all alike", .change = [](VLMDisplay&) {}, .score = 9},
      {.name = "taken already", .change = [](VLMDisplay& d) { d.setIsDirty(true); }, .score = -1},
      {.name = "other vendor", .change = [](VLMDisplay& d) { d.displayVendorID = 1; }, .score = -1},
      {.name = "other product", .change = [](VLMDisplay& d) { d.displayProductID = 1; }, .score = -1},
      {.name = "other year", .change = [](VLMDisplay& d) { d.manufactureYear = 2020; }, .score = 7},
      {.name = "no week", .change = [](VLMDisplay& d) { d.manufactureWeek = 0; }, .score = 7},
      {.name = "no serial number", .change = [](VLMDisplay& d) { d.serialNumber = 0; }, .score = 7},
      {.name = "other serial text", .change = [](VLMDisplay& d) { d.edidSerialString = "SN2"; }, .score = 7},
      {.name = "location within", .change = [](VLMDisplay& d) { d.driverLocationName = "/a/b"; }, .score = 9},
      {.name = "longer location", .change = [](VLMDisplay& d) { *d.driverLocationName += "/d"; }, .score = 8},
      {.name = "empty location", .change = [](VLMDisplay& d) { d.driverLocationName = ""; }, .score = 8},
      {.name = "no UUID", .change = [](VLMDisplay& d) { d.displayUUIDString.reset(); }, .score = 7},
  };
  for (const auto& row : kRows) {
    const auto saved = monitor();
    row.change(*saved);
    EXPECT_EQ(monitor()->identityScoreOf(*saved), row.score) << row.name;
  }
  // What neither has is nothing shared.
  EXPECT_EQ(VLMDisplay::init()->identityScoreOf(*VLMDisplay::init()), 0);
}

TEST(DisplayIdentity, LogsEveryCandidateAndNoOther) {
  sim::TestProcess process;
  const auto saved = monitor();
  saved->displayUUIDString.reset();
  saved->manufactureWeek = 0;
  monitor()->identityScoreOf(*saved);
  saved->displayVendorID = 0;
  monitor()->identityScoreOf(*saved);
  EXPECT_EQ(process.mac().log, (std::vector<std::string>{"daemon:  -> match PID=0 DATE=0 SN=1 DRV=1 SN# = 1 UUID = 0",
                                                         "daemon:  -> level 5"}));
}

}  // namespace
}  // namespace vlm
