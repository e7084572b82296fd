#include "Simulator/Mac/OverrideFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <filesystem>
#include <fstream>

#include "Simulator/Mac/EdidReading.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/SessionPorts.h"
#include "Simulator/Mac/StandardModeTable.h"
#include "Simulator/Mac/TimingLimits.h"
#include "Tests/Simulator/Mac/SmallMachines.h"

namespace vlm::sim {
namespace {

using plist::Array;
using plist::Data;
using plist::Dictionary;

constexpr const char* kLibrary = "/Library/Displays/Contents/Resources/Overrides";
constexpr const char* kSystem = "/System/Library/Displays/Contents/Resources/Overrides";
constexpr const char* kOldSystem = "/System/Library/Displays/Overrides";
constexpr const char* kByProduct = "/DisplayVendorID-598d/DisplayProductID-a0c1";
constexpr const char* kByDate = "/DisplayVendorID-598d/DisplayYearManufacture-2019-DisplayWeekManufacture-7";

MonitorDescription monitor() { return {.product = 0xa0c1, .serial = 5, .name = "Wide", .week = 7, .year = 2019}; }

/// One monitor of 1920x1080 at 60 Hz, which says that it takes 48 to 75 Hz, 30 to 80 kHz and 170 MHz.
Data limitedEdid(const MonitorDescription& description = monitor()) {
  auto edid = std::get<Data>(composeEdid(description));
  const Data range = {0, 0, 0, 0xfd, 0, 48, 75, 30, 80, 17, 0, 10, 32, 32, 32, 32, 32, 32};
  std::ranges::copy(range, edid.begin() + 108);
  edid::setChecksum(std::span(edid).first(128));
  return edid;
}

MachineDescription desk(const OperatingSystemVersion& version = {.majorVersion = 12, .minorVersion = 6}) {
  MachineDescription machine;
  machine.systemVersion = version;
  machine.displays.resize(1);
  machine.displays[0].name = "Left";
  machine.displays[0].edid = limitedEdid();
  return machine;
}

void put(const SimulatedMac& mac, const std::string& path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(mac.hostPath(path)).parent_path());
  std::ofstream(mac.hostPath(path), std::ios::binary) << text;
}

void put(const SimulatedMac& mac, const std::string& path, const plist::Value& value) {
  put(mac, path, composePropertyList(value));
}

SimulatedDisplay& replug(SimulatedMac& mac) {
  mac.unplug("Left");
  mac.plug("Left");
  return mac.display("Left");
}

/// "1920x1080@60 800x600@60x2 …": what is offered, with the default in brackets; "dark" for what stays so.
std::string modesOf(const SimulatedDisplay& display) {
  std::string text;
  for (const SimulatedMode& mode : display.modes.modes) {
    std::string one = std::to_string(mode.width) + "x" + std::to_string(mode.height) + "@" +
                      std::to_string(std::lround(mode.refreshRateHz())) + (mode.scale == 2 ? "x2" : "");
    if (!frameBufferModeOf(display.modes, mode).darkBecause.empty()) one += " dark";
    if (mode.number == display.modes.defaultModeNumber) one = "[" + one + "]";
    text += (text.empty() ? "" : ", ") + one;
  }
  return text;
}

Data descriptor(std::uint32_t width, std::uint32_t height, std::uint64_t clockHz) {
  Timing timing{.pixelClockHz = clockHz, .horizontalActive = width, .horizontalBlanking = 160};
  timing.horizontalSyncOffset = 48;
  timing.horizontalSyncWidth = 32;
  timing.verticalActive = height;
  timing.verticalBlanking = 40;
  timing.verticalSyncOffset = 3;
  timing.verticalSyncWidth = 5;
  Data bytes(edid::kDescriptorLength);
  edid::writeDetailedTiming(timing, 0, 0, std::span(bytes).first<edid::kDescriptorLength>());
  return bytes;
}

/// "LPa": below /Library, by product, a dictionary with the mark "a".
struct Place {
  char directory, name, content;
  std::string path() const {
    const std::string folder = directory == 'L' ? kLibrary : directory == 'S' ? kSystem : kOldSystem;
    return folder + (name == 'P' ? kByProduct : kByDate);
  }
  plist::Value value() const {
    const auto alternative = [](bool digital, const char* mark) {
      return Dictionary{{"IODisplayOverrideMatching", Dictionary{{"IODisplayIsDigital", digital}}}, {"mark", mark}};
    };
    if (content == '[') return Array{"?", alternative(false, "a"), alternative(true, "[")};
    if (content == '!') return Array{Dictionary{{"mark", "!"}}, alternative(true, "a")};
    if (content == '?') return "no override";
    return Dictionary{{"mark", std::string(1, content)}};
  }
};

TEST(OverrideFolder, TakesThePlaceTheNameAndTheAlternativeThatTheSystemTakes) {
  struct Row {
    const char* name;
    OperatingSystemVersion version;
    std::vector<Place> files;
    std::size_t inForce;  ///< beyond the end: none
  };
  const Row rows[] = {{"library first", {10, 15, 2}, {{'L', 'P', 'a'}, {'S', 'P', 'b'}}, 0},
                      {"no library yet", {10, 15, 1}, {{'L', 'P', 'a'}, {'S', 'P', 'b'}}, 1},
                      {"old place", {10, 10, 5}, {{'S', 'P', 'a'}, {'O', 'P', 'b'}}, 1},
                      {"product before date", {12, 6, 0}, {{'L', 'D', 'a'}, {'L', 'P', 'b'}}, 1},
                      {"by date", {12, 6, 0}, {{'L', 'P', '?'}, {'L', 'D', 'b'}, {'S', 'P', 'a'}}, 1},
                      {"digital", {12, 6, 0}, {{'L', 'P', '['}}, 0},
                      {"says nothing of its signal", {12, 6, 0}, {{'L', 'P', '!'}}, 1}};
  for (const Row& row : rows) {
    SimulatedMac mac(desk(row.version));
    for (const Place& place : row.files) put(mac, place.path(), place.value());
    const auto& file = replug(mac).overrideFile;
    ASSERT_EQ(file.has_value(), row.inForce < row.files.size()) << row.name;
    if (!file) continue;
    EXPECT_EQ(file->path, row.files[row.inForce].path()) << row.name;
    EXPECT_EQ(file->content.string("mark"), std::string(1, row.files[row.inForce].content)) << row.name;
  }
}

TEST(OverrideFolder, ChangesWhatAReconnectedDisplayOffers) {
  auto other = std::get<Data>(composeEdid({.nativeWidth = 1600, .nativeHeight = 900, .moreTimings = {"1280x800"}}));
  const Data hiDPI = {0, 0, 8, 0, 0, 0, 4, 128, 0, 0, 0, 1, 0, 0x20, 0, 0};
  const Data mark = {'V', 'L', 'M', 'T', 0, 0, 0, 0, 0, 0, 0, 11, 0, 0, 0, 128};
  const TimingLimits to70MHz{.maxClockHz = 70'000'000};
  struct Row {
    const char* name;
    Dictionary content;
    std::string modes;
  };
  const Row rows[] = {
      {"nothing", {}, "[1920x1080@60]"},
      {"a timing", {{"dspc", Array{descriptor(1000, 700, 51'500'000)}}}, "1000x700@60, [1920x1080@60]"},
      {"a clock, a line rate, a rate that it cannot take",
       {{"dspc", Array{descriptor(2000, 1200, 171'000'000), descriptor(640, 1500, 79'000'000),
                       descriptor(1000, 700, 77'000'000)}}},
       "640x1500@64 dark, 1000x700@90 dark, [1920x1080@60], 2000x1200@64 dark"},
      {"scaled sizes",
       {{"scale-resolutions", Array{hiDPI, 0x03840640}}},
       "1024x576@60x2, 1600x900@60, [1920x1080@60], 2048x1152@60"},
      {"standard modes", {{"tovr", Dictionary{{"190", mark}, {"150", Data(16)}}}}, "1024x768@60, [1920x1080@60]"},
      {"range",
       {{"trng", timingRangeRecord(to70MHz)},
        {"dspc", Array{descriptor(1000, 700, 51'500'000), descriptor(1200, 800, 72'000'000)}}},
       "1000x700@60, [1920x1080@60]"},
      {"default",
       {{"dspc", Array{descriptor(1000, 700, 51'500'000)}},
        {"default-resolution", Data{0, 0, 3, 0xe8, 0, 0, 2, 0xbc, 0, 60, 0, 0}}},
       "[1000x700@60], 1920x1080@60"},
      {"another EDID", {{"IODisplayEDID", other}}, "1280x800@60, [1600x900@60]"},
  };
  for (const Row& row : rows) {
    SimulatedMac mac(desk());
    put(mac, std::string(kLibrary) + kByProduct, row.content);
    const SimulatedDisplay& display = replug(mac);
    EXPECT_EQ(modesOf(display), row.modes) << row.name;
    EXPECT_EQ(display.mode().width, row.name == std::string("another EDID") ? 1600U : 1920U) << row.name;
    EXPECT_TRUE(display.overrideFindings.empty() && mac.faults().empty()) << row.name;
    // Gone with the file.
    std::filesystem::remove(mac.hostPath(std::string(kLibrary) + kByProduct));
    EXPECT_EQ(modesOf(replug(mac)), "[1920x1080@60]") << row.name;
  }
}

TEST(OverrideFolder, RefusesToSwitchToATimingThatStaysDark) {
  SimulatedMac mac(desk());
  put(mac, std::string(kLibrary) + kByProduct, Dictionary{{"dspc", Array{descriptor(2000, 1200, 171'000'000)}}});
  const SimulatedDisplay& display = replug(mac);
  EXPECT_EQ(mac.setMode("Left", 2000, 1200), "Left shows no picture in mode 3: the clock of 171 MHz is above 170 MHz");
  EXPECT_EQ(display.mode().width, 1920U);
  EXPECT_EQ(display.modes.modes.back().ioFlags & kDisplayModeSafeFlag, 0U);
}

TEST(OverrideFolder, TellsTheRegistryWhatIsInUseButKeepsTheMonitorsIdentity) {
  SimulatedMac mac(desk());
  Session& session = addProcess(mac, "daemon");
  const auto propertyOf = [&](io_service_t entry, const char* key) {
    return session.adapters().registry.IORegistryEntryCreateCFProperty(entry, key);
  };
  EXPECT_EQ(propertyOf(mac.display("Left").frameBuffer, "IOFBTimingRange"),
            timingRangeRecord({10'000'000, 170'000'000, 48, 75, 30'000, 80'000}));
  const Data other = limitedEdid({.product = 9, .nativeWidth = 1600, .nativeHeight = 900});
  const std::string uuid = mac.display("Left").uuid;
  put(mac, std::string(kLibrary) + kByProduct,
      Dictionary{
          {"IODisplayEDID", other}, {"DisplayProductName", "Mine"}, {"trng", timingRangeRecord({.maxFrameHz = 61})}});
  const SimulatedDisplay& display = replug(mac);
  const auto information = session.adapters().registry.IODisplayCreateInfoDictionary(display.frameBuffer, 0);
  EXPECT_EQ(*information->data("IODisplayEDID"), other);
  EXPECT_EQ(information->string("DisplayProductName"), "Mine");
  EXPECT_EQ(information->uInt32("DisplayProductID"), 0xa0c1U);
  EXPECT_EQ(display.uuid, uuid);
  EXPECT_EQ(propertyOf(display.frameBuffer, "IOFBTimingRange"),
            timingRangeRecord({10'000'000, 170'000'000, 48, 61, 30'000, 80'000}));
}

TEST(OverrideFolder, LosesNothingButWhatIsDamaged) {
  const char* const keys[] = {
      "dspc", "scale-resolutions", "tovr", "trng", "default-resolution", "DisplayProductName", "IODisplayEDID"};
  const plist::Value damaged[] = {true,
                                  7.5,
                                  "text",
                                  Data{},
                                  Data(17),
                                  Array{true, "x", Data{1, 2}, Data(18), Data(8), -1, Array{}},
                                  Dictionary{{"0", Data{'V', 'L', 'M', 'T'}}, {"x", 1}}};
  SimulatedMac mac(desk());
  const std::string path = std::string(kLibrary) + kByProduct;
  for (const char* const key : keys) {
    for (const plist::Value& value : damaged) {
      put(mac, path, Dictionary{{key, value}, {"tovr.", 1}});
      const SimulatedDisplay& display = replug(mac);
      EXPECT_EQ(modesOf(display), "[1920x1080@60]") << key << " " << plist::describe(value);
      EXPECT_TRUE(display.overrideFile);
      const bool isName = key == std::string("DisplayProductName") && value.string() != nullptr;
      EXPECT_EQ(display.overrideFindings.empty(), isName) << key << " " << plist::describe(value);
    }
  }
  EXPECT_EQ(mac.log.back(), "window server: Left: " + path + ": IODisplayEDID: is no data");
  const std::string whole = composePropertyList(Dictionary{{"dspc", Array{descriptor(1000, 700, 51'500'000)}}});
  constexpr std::size_t kEnd = sizeof "</plist>\n";
  for (std::size_t length = 0; length + kEnd < whole.size(); length += 7) {
    put(mac, path, whole.substr(0, length));
    EXPECT_EQ(modesOf(replug(mac)), "[1920x1080@60]") << length;
  }
}

TEST(OverrideFolder, IsWrittenByAnAdministratorWhereTheSystemLetsHim) {
  struct Row {
    const char* name;
    OperatingSystemVersion version;
    const char* directory;
    bool administrator;
    DiskFault fault;
    std::optional<std::string> refusal;
  };
  const Row rows[] = {
      {"a user", {12, 6, 0}, kLibrary, false, DiskFault::none, "Permission denied"},
      {"an administrator", {12, 6, 0}, kLibrary, true, DiskFault::none, std::nullopt},
      {"a full disk", {12, 6, 0}, kLibrary, true, DiskFault::full, "No space left on device"},
      {"a protected system", {10, 11, 0}, kSystem, true, DiskFault::none, "Operation not permitted"},
      {"an unprotected system", {10, 10, 5}, kOldSystem, true, DiskFault::none, std::nullopt},
  };
  for (const Row& row : rows) {
    SimulatedMac mac(desk(row.version));
    Session& session = addProcess(mac, "daemon");
    mac.administratorAllows = row.administrator;
    mac.diskFault = row.fault;
    const std::string path = std::string(row.directory) + kByProduct;
    EXPECT_EQ(session.adapters().files.writeToURLAsAdministrator(Array{1}, path), row.refusal) << row.name;
    EXPECT_EQ(session.adapters().files.propertyListWithContentsOfURL(path).has_value(), !row.refusal) << row.name;
    if (row.refusal) continue;
    struct stat status = {};
    EXPECT_EQ(stat(mac.hostPath(path).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0644U);
    EXPECT_EQ(mac.journal().lines().back(), "daemon: writeToURLAsAdministrator(" + path + ")");
  }
}

TEST(StandardModeTable, IsBigEndianWhereThePlatformsIsAndGivesWayToAFile) {
  SimulatedMac mac(desk({.majorVersion = 10, .minorVersion = 12}));
  Files& files = addProcess(mac, "daemon").adapters().files;
  const std::string path = "/System/Library/Frameworks/IOKit.framework/Resources/IOGraphicsProperties.plist";
  EXPECT_FALSE(files.dictionaryWithContentsOfURL(standardModeTablePath({10, 13, 0})));
  const auto table = files.dictionaryWithContentsOfURL(path);
  const Dictionary& vga = *table->dictionary("std-modes")->dictionary("150");
  const auto bytes = [&](const char* key, std::ptrdiff_t from, std::ptrdiff_t to) {
    const Data& record = *vga.data(key);
    return Data(record.begin() + from, record.begin() + to);
  };
  EXPECT_EQ(vga.data("TM")->size(), 160U);
  EXPECT_EQ(bytes("TM", 40, 48), (Data{0, 0, 0, 0, 0x01, 0x80, 0x23, 0xd8}));  // 25.175 MHz
  EXPECT_EQ(bytes("TM", 64, 72), (Data{0, 0, 2, 0x80, 0, 0, 0, 160}));
  EXPECT_EQ(bytes("TM", 136, 140), (Data{1, 0, 2, 0}));
  EXPECT_EQ(bytes("DM", 0, 20), (Data{0, 0, 2, 0x80, 0, 0, 1, 0xe0, 0xc3, 0xf0, 0x3b, 0, 0, 0, 0, 0, 0, 0, 0, 3}));
  put(mac, path, Dictionary{{"mine", true}});
  EXPECT_EQ(files.dictionaryWithContentsOfURL(path), (Dictionary{{"mine", true}}));
}

}  // namespace
}  // namespace vlm::sim
