#include <gtest/gtest.h>

#include "Models/DDC.h"
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
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  displays.mac().display("Left").ddcCurrent = 33;
  VLMDisplay::DDCCommand command{0x10, 0, 0x64, 0};
  EXPECT_TRUE(displays["Left"]->readDDCCommand(command));
  EXPECT_EQ(command, (VLMDisplay::DDCCommand{0x10, 1, 100, 33}));
}

TEST(DdcOnIntel, GivesUpOnAMonitorThatNeverAnswers) {
  DisplaysOnMac displays(sim::laptopWith({"Left", "Right"}));
  // The machine's wires can do it, so the monitor has to be asked.
  EXPECT_TRUE(displays["Right"]->canUseDDC());
  VLMDisplay::DDCCommand command{0x10, 7, 7, 7};
  EXPECT_FALSE(displays["Right"]->readDDCCommand(command));
  EXPECT_EQ(command, (VLMDisplay::DDCCommand{0x10, 0, 0, 0}));
  float maximum = 1;
  EXPECT_EQ(displays["Right"]->brightnessViaDDCWithMaxValue(maximum), 0.5F);
  EXPECT_EQ(maximum, 0.0F);
  EXPECT_FALSE(displays["Right"]->directEdid().has_value());
}

TEST(DdcOnIntel, CountsTheReplyDelayInTheUnitOfTheWire) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  IOI2CRequest request;
  request.replyTransactionType = SupportedTransactionType();
  EXPECT_EQ(request.replyTransactionType, 2U);
  request.replyAddress = 0x6F;
  request.replySubAddress = 0x51;
  request.replyBuffer.resize(11);
  request.minReplyDelay = 20;
  EXPECT_TRUE(DisplayRequest_Intel(displays["Left"]->cgID, request));
  EXPECT_EQ(request.minReplyDelay, 20'000'000U);
  // Nothing is sent to a display that is gone.
  EXPECT_FALSE(DisplayRequest_Intel(0xDEAD, request));
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

TEST(DdcOnAppleSilicon, FindsEachMonitorsServiceAgainAfterTheyChangedPlaces) {
  DisplaysOnMac displays(siliconLaptop());
  auto& cache = displays.document().ioServicesCached();
  const auto serviceOf = [&](const std::string& name) {
    plist::Data edid;
    const bool isFound = static_cast<bool>(IOCreateAVServiceRef(displays.mac().display(name).id, &edid, cache));
    EXPECT_TRUE(isFound) << name;
    EXPECT_EQ(edid, displays.mac().display(name).description.edid) << name;
    return cache[displays.mac().display(name).id].get();
  };
  EXPECT_NE(serviceOf("Left"), serviceOf("Right"));
  EXPECT_EQ(displays.mac().unplug("Left"), std::nullopt);
  EXPECT_EQ(displays.mac().plug("Left"), std::nullopt);
  EXPECT_NE(serviceOf("Left"), serviceOf("Right"));
  // Behind the entries of others nothing is left for a display that has no service.
  EXPECT_FALSE(IOCreateAVServiceRef(0xDEAD, nullptr, cache));
}

}  // namespace
}  // namespace vlm
