#include <gtest/gtest.h>

#include <set>

#include "Models/DDC.h"
#include "Platform/MonitorBus.h"
#include "Platform/Process.h"
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

TEST(DdcOnIntel, SetsAFeatureAndRests) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  const auto left = displays["Left"];
  displays.process.newJournalLines();
  EXPECT_TRUE(left->writeDDCCommand({0x10, 50, 0, 0}));
  EXPECT_EQ(displays.process.newJournalLines(),
            (Lines{"daemon: IOI2CSendRequest(Left, 51 84 03 10 00 32 9a)", "daemon: sleep(0.1)"}));
  EXPECT_EQ(displays.mac().display("Left").ddcCurrent, 50);
}

TEST(DdcOnIntel, ReadsAFeature) {
  DisplaysOnMac displays(sim::laptopWith({"Left", "Right"}));
  displays.mac().display("Left").ddcCurrent = 33;
  VLMDisplay::DDCCommand command{0x10, 0, 0x64, 0};
  EXPECT_TRUE(displays["Left"]->readDDCCommand(command));
  EXPECT_EQ(command, (VLMDisplay::DDCCommand{0x10, 1, 100, 33}));
  // The machine's wires could reach a silent one, so the monitor has to be asked.
  EXPECT_TRUE(displays["Right"]->canUseDDC());
  float maximum = 1;
  EXPECT_EQ(displays["Right"]->brightnessViaDDCWithMaxValue(maximum), 0.5F);
  EXPECT_EQ(maximum, 0.0F);
  EXPECT_FALSE(displays["Right"]->directEdid().has_value());
  // A display that is gone has no wires.
  IOI2CRequest request;
  EXPECT_FALSE(DisplayRequest_Intel(0xDEAD, request));
}

/// Frame buffers' wires on which a monitor answers the n-th question.
class LateBus : public MonitorBus {
 public:
  LateBus(MonitorBus& bus, std::size_t answeredQuestion) : bus_(bus), answeredQuestion_(answeredQuestion) {}

  std::uint32_t IOFBGetI2CInterfaceCount(io_service_t) override { return 1; }
  IOObject IOFBCopyI2CInterfaceForBus(io_service_t frameBuffer, std::uint32_t bus) override {
    return bus_.IOFBCopyI2CInterfaceForBus(frameBuffer, bus);
  }
  IOReturn IOI2CInterfaceOpen(io_service_t, IOOptionBits, IOI2CConnectRef&) override { return kIOReturnSuccess; }
  IOReturn IOI2CInterfaceClose(IOI2CConnectRef, IOOptionBits) override { return kIOReturnSuccess; }
  IOReturn IOI2CSendRequest(IOI2CConnectRef, IOOptionBits, IOI2CRequest& request) override {
    EXPECT_EQ(request.replyTransactionType, 2U);
    millisecondsGiven.push_back(request.minReplyDelay / 1'000'000);
    if (millisecondsGiven.size() == answeredQuestion_) {
      request.replyBuffer = {0x6E, 0x88, 0x02, 0x00, 0x10, 0x00, 0x00, 0x64, 0x00, 0x21, 0x00};
      for (const std::uint8_t byte : request.replyBuffer) checksum_ ^= byte;
      request.replyBuffer.back() = checksum_;
    }
    return kIOReturnSuccess;
  }
  std::optional<AVService> IOAVServiceCreateWithService(io_service_t) override { return std::nullopt; }
  void IOAVServiceRelease(IOAVServiceRef) override {}
  IOReturn IOAVServiceWriteI2C(IOAVServiceRef, std::uint32_t, std::uint32_t, std::span<const std::uint8_t>) override {
    return -1;
  }
  IOReturn IOAVServiceReadI2C(IOAVServiceRef, std::uint32_t, std::uint32_t, std::span<std::uint8_t>) override {
    return -1;
  }
  std::optional<plist::Data> IOAVServiceCopyEDID(IOAVServiceRef) override { return std::nullopt; }

  std::vector<std::uint64_t> millisecondsGiven;

 private:
  MonitorBus& bus_;
  std::size_t answeredQuestion_;
  std::uint8_t checksum_ = 0x50;
};

TEST(DdcOnIntel, AsksTenTimesWithEverMoreTimeForTheReply) {
  const struct {
    std::size_t answered, asked;
  } rows[] = {{.answered = 1, .asked = 1},
              {.answered = 4, .asked = 4},
              {.answered = 10, .asked = 10},
              {.answered = 11, .asked = 10}};
  for (const auto& row : rows) {
    DisplaysOnMac displays(sim::laptopWith({"Left"}));
    const auto left = displays["Left"];
    LateBus bus(os().monitorBus, row.answered);
    const Ports& real = os();
    const Process::Scope staysCurrent(Process::current());
    const Process process({real.appleEvents, real.application, real.bundle, real.colorSync, real.files, real.input,
                           real.registry, bus, real.notifications, real.powerSources, real.preferences, real.quartz,
                           real.runLoop, real.skyLight, real.system, real.userInterface, real.workspace});
    VLMDisplay::DDCCommand command{0x10, 7, 7, 7};
    const bool isAnswered = row.answered <= 10;
    EXPECT_EQ(left->readDDCCommand(command), isAnswered) << row.answered;
    EXPECT_EQ(command,
              isAnswered ? (VLMDisplay::DDCCommand{0x10, 1, 100, 33}) : (VLMDisplay::DDCCommand{0x10, 0, 0, 0}));
    std::vector<std::uint64_t> expected;
    while (expected.size() < row.asked) expected.push_back(20 * (expected.size() + 1));
    EXPECT_EQ(bus.millisecondsGiven, expected) << row.answered;
  }
}

TEST(DdcOnIntel, ReadsTheEdidFromTheMonitor) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  plist::Data edid = displays.mac().display("Left").description.edid;
  edid.resize(128);
  EXPECT_EQ(displays["Left"]->directEdid(), edid);
}

TEST(Ddc, IsNotForBuiltInPanels) {
  EXPECT_FALSE(DisplaysOnMac(sim::laptopWith({"Left"}))["Built-in"]->canUseDDC());
  EXPECT_FALSE(DisplaysOnMac(siliconLaptop())["Built-in"]->canUseDDC());
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
}

TEST(DdcOnAppleSilicon, ReadsInFourRounds) {
  DisplaysOnMac displays(siliconLaptop());
  const auto left = displays["Left"];
  VLMDisplay::DDCCommand command{0x10, 0, 0x64, 0};
  displays.process.newJournalLines();
  EXPECT_TRUE(left->readDDCCommand(command));
  EXPECT_EQ(command, (VLMDisplay::DDCCommand{0x10, 1, 100, 75}));
  EXPECT_EQ(displays.process.newJournalLines("sleep").size(), 16U);
  // A control that the monitor does not have is answered with an error.
  command = {0x62, 1, 0x64, 0};
  EXPECT_FALSE(left->readDDCCommand(command));
  EXPECT_EQ(command[1], 0);
}

TEST(DdcOnAppleSilicon, WritesIntoTheVoidAsWell) {
  DisplaysOnMac displays(siliconLaptop());
  const auto left = displays["Left"];
  EXPECT_EQ(displays.mac().unplug("Left"), std::nullopt);
  VLMDisplay::DDCCommand command{0x10, 1, 0, 0};
  EXPECT_TRUE(!left->canUseDDC() && left->writeDDCCommand(command) && !left->readDDCCommand(command));
  EXPECT_EQ(displays.process.newJournalLines("IOAVServiceWriteI2C"), Lines{});
}

TEST(DdcOnAppleSilicon, FindsEachMonitorsServiceAgainAfterTheyChangedPlaces) {
  sim::MachineDescription machine = siliconLaptop();
  // No EDID tells the twin; the entry that the other one has is passed over.
  sim::DisplayDescription twin = machine.displays[1];
  twin.name = "Twin";
  sim::addDisplay(machine, twin);
  DisplaysOnMac displays(machine);
  auto& cache = displays.document().ioServicesCached();
  const auto serviceOf = [&](const std::string& name) {
    plist::Data edid;
    EXPECT_TRUE(IOCreateAVServiceRef(displays.mac().display(name).id, &edid, cache)) << name;
    EXPECT_EQ(edid, displays.mac().display(name).description.edid) << name;
    return cache[displays.mac().display(name).id].get();
  };
  const auto services = [&] { return std::set{serviceOf("Left"), serviceOf("Right"), serviceOf("Twin")}; };
  EXPECT_EQ(services().size(), 3U);
  EXPECT_EQ(displays.mac().unplug("Left"), std::nullopt);
  EXPECT_EQ(displays.mac().plug("Left"), std::nullopt);
  EXPECT_EQ(services().size(), 3U);
  // Behind the entries of others nothing is left for a display that has no service.
  EXPECT_FALSE(IOCreateAVServiceRef(0xDEAD, nullptr, cache));
}

}  // namespace
}  // namespace vlm
