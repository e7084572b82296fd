#include <gtest/gtest.h>

#include <array>
#include <set>

#include "Models/DDC.h"
#include "Platform/MonitorBus.h"
#include "Simulator/Mac/MachineEvents.h"
#include "Tests/Support/DisplaysOnMac.h"

/// What goes over the wires to a monitor, and what comes back.
namespace vlm {
namespace {

using test::DisplaysOnMac;
using Lines = std::vector<std::string>;

sim::MachineDescription siliconLaptop() {
  sim::MachineDescription machine = sim::laptopWith({"Left", "Right"});
  machine.processor = sim::Processor::appleSilicon;
  return machine;
}

/// What a monitor's behaviour makes of a read and a write over one transport; the value that it has before is 33.
struct Exchange {
  const char* name;
  sim::MachineDescription machine;
  sim::DdcBehaviour behaviour;
  /// Absent: nothing was read.
  std::optional<std::array<std::uint8_t, 2>> maximumAndCurrent;
  double readSeconds;
  /// Frames that were acknowledged.
  std::size_t framesOfRead;
  bool isWriteDone;
  std::size_t framesOfWrite;
  int valueAfterWrite;
};

/// How many frames were acknowledged since the last question, all of them by "Left".
std::size_t framesOfLeft(DisplaysOnMac& displays) {
  Lines lines = displays.process.newJournalLines();
  std::erase_if(lines, [](const std::string& line) { return line.find("I2C") == std::string::npos; });
  for (const std::string& line : lines) EXPECT_NE(line.find("(Left, "), std::string::npos) << line;
  return lines.size();
}

TEST(Ddc, BearsEveryMonitor) {
  using enum sim::DdcBehaviour;
  const sim::MachineDescription intel = sim::laptopWith({"Left", "Right"}), silicon = siliconLaptop();
  const auto answer = std::array<std::uint8_t, 2>{100, 33}, ofContrast = std::array<std::uint8_t, 2>{90, 45};
  // A silent monitor takes 20 + 40 + … + 200 ms on Intel, and each one 4 x (2 x 10 + 50 + 20) ms on Apple silicon.
  const Exchange rows[] = {
      {"healthy", intel, healthy, answer, 0.020, 1, true, 1, 50},
      {"slow: the sixth question waits 120 ms", intel, slow, answer, 0.420, 6, true, 1, 50},
      {"deaf", intel, deaf, {}, 1.1, 10, true, 1, 33},
      {"garbled", intel, garbled, {}, 1.1, 10, true, 1, 50},
      {"wrong code", intel, wrongCode, {}, 1.1, 10, true, 1, 50},
      {"intermittent: awake for the third question", intel, intermittent, answer, 0.060, 1, false, 0, 33},
      {"none: nothing acknowledges, so nothing waits", intel, none, {}, 0, 0, false, 0, 33},
      {"healthy service", silicon, healthy, answer, 0.360, 8, true, 8, 50},
      {"slow service", silicon, slow, {}, 0.360, 8, true, 8, 50},
      {"deaf service", silicon, deaf, {}, 0.360, 8, true, 8, 33},
      {"garbled service", silicon, garbled, {}, 0.360, 8, true, 8, 50},
      {"wrong code, which nobody looks at", silicon, wrongCode, ofContrast, 0.360, 8, true, 8, 50},
      {"intermittent service: the third round is answered", silicon, intermittent, answer, 0.360, 2, true, 2, 50},
      {"no service speaks, yet a write counts as done", silicon, none, {}, 0.360, 0, true, 0, 33},
  };
  for (const Exchange& row : rows) {
    SCOPED_TRACE(row.name);
    const bool isIntel = row.machine.processor == sim::Processor::intel;
    DisplaysOnMac displays(row.machine);
    displays.mac().events().setDdcBehaviour("Right", healthy);
    sim::SimulatedDisplay& monitor = displays.mac().display("Left");
    monitor.ddcCurrent = 33;
    displays.mac().events().setDdcBehaviour("Left", row.behaviour);
    VLMDisplay::DDCCommand command{0x10, 7, 7, 7};
    double start = displays.mac().now();
    EXPECT_EQ(displays["Left"]->readDDCCommand(command), row.maximumAndCurrent.has_value());
    EXPECT_NEAR(displays.mac().now() - start, row.readSeconds, 1e-6);
    EXPECT_EQ(framesOfLeft(displays), row.framesOfRead);
    // Apple silicon leaves the caller's values alone when nothing comes.
    const std::uint8_t nothing = isIntel ? 0 : 7;
    const auto values = row.maximumAndCurrent.value_or(std::array{nothing, nothing});
    EXPECT_EQ(command, (VLMDisplay::DDCCommand{0x10, row.maximumAndCurrent.has_value(), values[0], values[1]}));

    displays.mac().events().setDdcBehaviour("Left", row.behaviour);
    float maximum = 7;
    EXPECT_EQ(displays["Left"]->brightnessViaDDCWithMaxValue(maximum), row.maximumAndCurrent ? values[1] : 0.5F);
    EXPECT_EQ(maximum, row.maximumAndCurrent ? values[0] : 0.0F);

    displays.mac().events().setDdcBehaviour("Left", row.behaviour);
    framesOfLeft(displays);
    start = displays.mac().now();
    EXPECT_EQ(displays["Left"]->writeDDCCommand({0x10, 50, 0, 0}), row.isWriteDone);
    EXPECT_NEAR(displays.mac().now() - start, isIntel ? 0.1 : 0.16, 1e-6);
    EXPECT_EQ(framesOfLeft(displays), row.framesOfWrite);
    EXPECT_EQ(monitor.ddcCurrent, row.valueAfterWrite);

    EXPECT_EQ(displays["Right"]->brightnessViaDDCWithMaxValue(maximum), 75.0F);
  }
}

TEST(DdcOnIntel, SpeaksToMoreThanFiftyDisplaysInOneRun) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  std::set<CGDirectDisplayID> spokenTo;
  IOI2CRequest request;
  for (int i = 0; i < 120; ++i) {
    const CGDirectDisplayID display = displays.mac().display("Left").id;
    EXPECT_TRUE(DisplayRequest_Intel(display, request)) << display;
    EXPECT_TRUE(spokenTo.insert(display).second) << "each time under another number";
    EXPECT_EQ(displays.mac().unplug("Left"), std::nullopt);
    EXPECT_EQ(displays.mac().plug("Left"), std::nullopt);
  }
  EXPECT_FALSE(DisplayRequest_Intel(*spokenTo.begin(), request)) << "a display that is gone has no wires";
}

TEST(DdcOnIntel, TakesTheFirstBusThatSendsAndMultipliesTheDelayOnEachOneTried) {
  using enum sim::I2CBus;
  const struct {
    const char* name;
    std::vector<sim::I2CBus> buses;
    bool isInMilliseconds;
    double seconds;
    bool isRead = true;
  } rows[] = {{"in nanoseconds", {working, working}, false, 0.02},
              {"in milliseconds", {failing, working}, true, 0.02},
              {"not to be opened", {closed, working}, false, 20'000},
              {"not to be sent on", {failing, working, working}, false, 20'000},
              {"dead, all", {closed, failing}, false, 0, false}};
  for (const auto& row : rows) {
    sim::MachineDescription machine = sim::laptopWith({"Left"});
    machine.displays[1].i2cBuses = row.buses;
    machine.displays[1].i2cDelayInMilliseconds = row.isInMilliseconds;
    DisplaysOnMac displays(machine);
    VLMDisplay::DDCCommand command{0x10};
    const double start = displays.mac().now();
    EXPECT_EQ(displays["Left"]->readDDCCommand(command), row.isRead) << row.name;
    EXPECT_NEAR(displays.mac().now() - start, row.seconds, 1e-6) << row.name;
    EXPECT_EQ(framesOfLeft(displays), row.isRead ? 1U : 0U) << row.name;
  }
}

TEST(DdcOnIntel, TakesRepliesInTheWayOfTheFirstInterfaceThatHasOne) {
  const struct {
    std::uint32_t left, right, type;
    bool isLeftRead, isRightRead;
  } rows[] = {{0x2, 0x4, 1, true, false}, {0x4, 0x2, 2, true, false}, {0x6, 0x2, 2, true, false},
              {0x9, 0x4, 2, false, true}, {0x0, 0x2, 1, false, true}, {0x1, 0x8, 0, false, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.left);
    sim::MachineDescription machine = sim::laptopWith({"Left", "Right"});
    machine.displays[1].i2cTransactionTypes = row.left;
    machine.displays[2].i2cTransactionTypes = row.right;
    machine.displays[2].ddc = sim::DdcBehaviour::healthy;
    DisplaysOnMac displays(machine);
    VLMDisplay::DDCCommand command{0x10};
    EXPECT_EQ(SupportedTransactionType(), row.type);
    EXPECT_EQ(displays["Left"]->readDDCCommand(command), row.isLeftRead);
    EXPECT_EQ(displays["Right"]->readDDCCommand(command), row.isRightRead);
  }
}

TEST(DdcOnIntel, ReadsTheEdidFromTheMonitor) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  plist::Data edid = displays.mac().display("Left").description.edid;
  edid.resize(128);
  EXPECT_EQ(displays["Left"]->directEdid(), edid);
}

TEST(Ddc, IsNotForBuiltInPanels) {
  for (sim::MachineDescription machine : {sim::laptopWith({"Left"}), siliconLaptop()}) {
    machine.displays[0].systemBrightness = false;
    DisplaysOnMac displays(machine);
    EXPECT_FALSE(displays["Built-in"]->canUseDDC());
    EXPECT_EQ(displays["Built-in"]->canBrightness, 0);
    // Apple silicon has no frame buffer to ask; the way is there all the same.
    EXPECT_EQ(displays["Left"]->canUseDDC(), machine.processor == sim::Processor::intel);
    EXPECT_EQ(displays["Left"]->canBrightness, 1);
  }
}

TEST(DdcOnAppleSilicon, SetsAFeatureOften) {
  DisplaysOnMac displays(siliconLaptop());
  const auto left = displays["Left"];
  displays.process.newJournalLines();
  EXPECT_TRUE(left->writeDDCCommand({0x10, 50, 0, 0}));
  Lines expected;
  for (int round = 0; round < 4; ++round) {
    for (int write = 0; write < 2; ++write) {
      expected.insert(expected.end(), {"daemon: sleep(0.01)", "daemon: IOAVServiceWriteI2C(Left, 84 03 10 00 32 9a)"});
    }
    expected.push_back("daemon: sleep(0.02)");
  }
  EXPECT_EQ(displays.process.newJournalLines(), expected);
  // A question, unlike a command, is signed without the address 0x51.
  VLMDisplay::DDCCommand command{0x10};
  EXPECT_TRUE(left->readDDCCommand(command));
  EXPECT_EQ(displays.process.newJournalLines("IOAVServiceWriteI2C"),
            Lines(8, "daemon: IOAVServiceWriteI2C(Left, 82 01 10 fd)"));
}

TEST(DdcOnAppleSilicon, IsAnsweredWithAnErrorForAControlThatTheMonitorLacks) {
  DisplaysOnMac displays(siliconLaptop());
  VLMDisplay::DDCCommand command{0x62, 1, 0x64, 0};
  EXPECT_FALSE(displays["Left"]->readDDCCommand(command));
  EXPECT_EQ(command[1], 0);
}

TEST(DdcOnAppleSilicon, WritesIntoTheVoidAsWell) {
  // A desktop: with its only monitor all of its services go, and it stays what it is.
  sim::MachineDescription machine = sim::desktopWith({"Left"});
  machine.processor = sim::Processor::appleSilicon;
  DisplaysOnMac displays(machine);
  const auto left = displays["Left"];
  EXPECT_EQ(displays.mac().unplug("Left"), std::nullopt);
  VLMDisplay::DDCCommand command{0x10, 1, 7, 7};
  EXPECT_TRUE(left->writeDDCCommand(command) && !left->readDDCCommand(command));
  EXPECT_EQ(command, (VLMDisplay::DDCCommand{0x10, 0, 7, 7}));
  EXPECT_EQ(displays.process.newJournalLines("sleep"), Lines{});
}

TEST(DdcOnAppleSilicon, FindsEachMonitorsServiceAgainAfterTheyChangedPlaces) {
  sim::MachineDescription machine = siliconLaptop();
  // No EDID tells the twin; the entry that the other one has is passed over.
  sim::DisplayDescription twin = machine.displays[1];
  twin.name = "Twin";
  sim::addDisplay(machine, twin);
  // The serial number alone tells Right; and the checksum.
  plist::Data& right = machine.displays[2].edid = twin.edid;
  ++right[12], --right[127];
  DisplaysOnMac displays(machine);
  auto& cache = displays.document().ioServicesCached();
  const auto serviceOf = [&](const std::string& name) {
    plist::Data edid;
    EXPECT_TRUE(IOCreateAVServiceRef(displays.mac().display(name).id, &edid, cache)) << name;
    EXPECT_EQ(edid, displays.mac().display(name).description.edid) << name;
    return cache[displays.mac().display(name).id].get();
  };
  const auto services = [&] { return std::set{serviceOf("Right"), serviceOf("Left"), serviceOf("Twin")}; };
  cache.clear();
  EXPECT_EQ(services().size(), 3U);
  EXPECT_EQ(displays.mac().unplug("Left"), std::nullopt);
  EXPECT_EQ(displays.mac().plug("Left"), std::nullopt);
  EXPECT_EQ(services().size(), 3U);
  // As when two exchange their cables: each one's service is cached for the other.
  std::swap(cache[displays.mac().display("Left").id], cache[displays.mac().display("Right").id]);
  EXPECT_EQ(services().size(), 3U);
  // A service ended and came again: who asks for it does not get the one that the twin has.
  const auto ofLeft = serviceOf("Left");
  IOObject gone = std::move(cache[displays.mac().display("Right").id]);
  EXPECT_EQ(displays.mac().unplug("Right"), std::nullopt);
  cache[displays.mac().display("Twin").id] = std::move(gone);
  EXPECT_NE(serviceOf("Twin"), ofLeft);
  EXPECT_EQ(serviceOf("Left"), ofLeft);
  // Behind the entries of others nothing is left for a display that has no service.
  EXPECT_FALSE(IOCreateAVServiceRef(0xDEAD, nullptr, cache));
}

TEST(DdcOnAppleSilicon, TellsNoMonitorsApartBeforeTheSystemCopiesTheirEdid) {
  for (const std::int64_t minor : {2, 3}) {
    sim::MachineDescription machine = siliconLaptop();
    machine.systemVersion = {.majorVersion = 11, .minorVersion = minor, .patchVersion = 0};
    DisplaysOnMac displays(machine);
    auto& cache = displays.document().ioServicesCached();
    plist::Data edid;
    EXPECT_TRUE(IOCreateAVServiceRef(displays["Built-in"]->cgID, &edid, cache));
    EXPECT_EQ(edid.empty(), minor < 3);
    EXPECT_EQ(static_cast<bool>(IOCreateAVServiceRef(displays["Left"]->cgID, nullptr, cache)), minor >= 3);
    EXPECT_EQ(displays["Left"]->canBrightness, minor >= 3 ? 1 : 0);
  }
}

}  // namespace
}  // namespace vlm
