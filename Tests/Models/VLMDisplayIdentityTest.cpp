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

TEST(DisplayIdentity, ScoresAndLogsWhatLiveAndSavedRecordShare) {
  sim::TestProcess process;
  const struct {
    const char* name;
    /// What differs in the saved record.
    void (*change)(VLMDisplay&);
    int score;
    /// Of the log line; none when the record is no candidate.
    const char* matches;
  } kRows[] = {
      {"all alike", [](VLMDisplay&) {}, 9, "DATE=1 SN=1 DRV=1 SN# = 1 UUID = 1"},
      {"taken already", [](VLMDisplay& d) { d.setIsDirty(true); }, -1, nullptr},
      {"other vendor", [](VLMDisplay& d) { d.displayVendorID = 1; }, -1, nullptr},
      {"other product", [](VLMDisplay& d) { d.displayProductID = 1; }, -1, nullptr},
      {"other year", [](VLMDisplay& d) { d.manufactureYear = 1; }, 7, "DATE=0 SN=1 DRV=1 SN# = 1 UUID = 1"},
      {"no week", [](VLMDisplay& d) { d.manufactureWeek = 0; }, 7, "DATE=0 SN=1 DRV=1 SN# = 1 UUID = 1"},
      {"no serial number", [](VLMDisplay& d) { d.serialNumber = 0; }, 7, "DATE=1 SN=0 DRV=1 SN# = 1 UUID = 1"},
      {"other text", [](VLMDisplay& d) { d.edidSerialString = "2"; }, 7, "DATE=1 SN=1 DRV=1 SN# = 0 UUID = 1"},
      {"part", [](VLMDisplay& d) { d.driverLocationName = "/a/b"; }, 9, "DATE=1 SN=1 DRV=1 SN# = 1 UUID = 1"},
      {"longer", [](VLMDisplay& d) { *d.driverLocationName += "/d"; }, 8, "DATE=1 SN=1 DRV=0 SN# = 1 UUID = 1"},
      {"empty", [](VLMDisplay& d) { d.driverLocationName = ""; }, 8, "DATE=1 SN=1 DRV=0 SN# = 1 UUID = 1"},
      {"no UUID", [](VLMDisplay& d) { d.displayUUIDString.reset(); }, 7, "DATE=1 SN=1 DRV=1 SN# = 1 UUID = 0"},
  };
  for (const auto& row : kRows) {
    const auto saved = monitor();
    row.change(*saved);
    process.mac().log.clear();
    EXPECT_EQ(monitor()->identityScoreOf(*saved), row.score) << row.name;
    std::vector<std::string> logged;
    if (row.matches != nullptr) {
      logged = {std::string("daemon:  -> match PID=0 ") + row.matches,
                "daemon:  -> level " + std::to_string(row.score)};
    }
    EXPECT_EQ(process.mac().log, logged) << row.name;
  }
  // What neither has is nothing shared.
  EXPECT_EQ(VLMDisplay::init()->identityScoreOf(*VLMDisplay::init()), 0);
}

}  // namespace
}  // namespace vlm
