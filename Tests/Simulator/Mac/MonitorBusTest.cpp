#include "Platform/MonitorBus.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Platform/RunLoop.h"
#include "Tests/Simulator/Mac/SmallMachines.h"

namespace vlm::sim {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// A brightness of 75 of 100, and one display that does not talk.
MachineDescription talkingMachine(Processor processor) {
  MachineDescription machine = smallMachine(2, processor);
  machine.displays[1].ddc = DdcBehaviour::healthy;
  return machine;
}

Bytes brightnessReply(std::uint8_t current, std::uint8_t checksum) {
  return {0x6e, 0x88, 0x02, 0x00, 0x10, 0x00, 0x00, 0x64, 0x00, current, checksum};
}

Bytes nullMessage() { return {0x6e, 0x80, 0xbe, 0, 0, 0, 0, 0, 0, 0, 0}; }

class I2CBus : public testing::Test {
 protected:
  static constexpr std::uint64_t kMilliseconds = 1'000'000;

  /// One request over the display's first bus. -1 when the bus could not be had at all.
  IOReturn send(const std::string& display, IOI2CRequest& request) {
    const IOObject interface = bus.IOFBCopyI2CInterfaceForBus(mac.display(display).frameBuffer, 0);
    IOI2CConnectRef connect = 0;
    if (!interface || bus.IOI2CInterfaceOpen(interface.get(), 0, connect) != kIOReturnSuccess) return -1;
    EXPECT_EQ(bus.IOI2CSendRequest(connect, 0, request), kIOReturnSuccess);
    EXPECT_EQ(bus.IOI2CInterfaceClose(connect, 0), kIOReturnSuccess);
    return request.result;
  }

  /// A question with a DDC/CI reply of 11 bytes.
  IOI2CRequest question(const Bytes& frame, std::uint64_t delay = 20 * kMilliseconds) {
    IOI2CRequest request;
    request.sendTransactionType = 1;
    request.sendAddress = 0x6e;
    request.replyTransactionType = 2;
    request.replyAddress = 0x6f;
    request.replySubAddress = 0x51;
    request.minReplyDelay = delay;
    request.sendBuffer = frame;
    request.replyBuffer.resize(11);
    return request;
  }

  SimulatedMac mac{talkingMachine(Processor::intel)};
  Session& session = addProcess(mac, "test");
  MonitorBus& bus = session.ports().monitorBus;
  const Bytes getBrightness{0x51, 0x82, 0x01, 0x10, 0x3f ^ 0x82 ^ 0x01 ^ 0x10};
  const Bytes setBrightnessTo50{0x51, 0x84, 0x03, 0x10, 0x00, 0x32, 0x9a};
};

TEST_F(I2CBus, AnswersTheBrightnessWithItsMaximumAndTakesANewOne) {
  IOI2CRequest read = question(getBrightness);
  EXPECT_EQ(send("A", read), kIOReturnSuccess);
  EXPECT_EQ(read.replyBuffer, brightnessReply(0x4b, 0x6f ^ 0x51 ^ 0x88 ^ 0x02 ^ 0x10 ^ 0x64 ^ 0x4b));
  IOI2CRequest write;
  write.sendTransactionType = 1;
  write.sendAddress = 0x6e;
  write.sendBuffer = setBrightnessTo50;
  EXPECT_EQ(send("A", write), kIOReturnSuccess);
  EXPECT_EQ(mac.display("A").ddcCurrent, 50);
  EXPECT_EQ(mac.journal().lines(), (std::vector<std::string>{"test: IOI2CSendRequest(A, 51 84 03 10 00 32 9a)"}));
  EXPECT_EQ(session.heldObjects(), 0U);
  EXPECT_TRUE(mac.faults().empty());
}

TEST_F(I2CBus, SaysNothingToAGarbledQuestionOrAnImpatientOne) {
  struct Row {
    const char* name;
    IOI2CRequest request;
  };
  Bytes wrongChecksum = getBrightness, wrongLength = getBrightness, wrongSource = getBrightness;
  wrongChecksum[4] ^= 1;
  wrongLength[1] = 0x83;
  wrongLength[4] ^= 0x82 ^ 0x83;
  wrongSource[0] = 0x50;
  wrongSource[4] ^= 1;
  // The delay as it would be when milliseconds were taken for nanoseconds.
  for (Row row : {Row{.name = "checksum", .request = question(wrongChecksum)},
                  Row{.name = "length", .request = question(wrongLength)},
                  Row{.name = "source", .request = question(wrongSource)},
                  Row{.name = "without host in the checksum",
                  .request = question({0x51, 0x82, 0x01, 0x10, 0x6e ^ 0x82 ^ 0x01 ^ 0x10})},
                  Row{.name = "too early", .request = question(getBrightness, 20)}}) {
    EXPECT_EQ(send("A", row.request), kIOReturnSuccess) << row.name;
    EXPECT_EQ(row.request.replyBuffer, nullMessage()) << row.name;
    mac.advance(1);
    IOI2CRequest drain = question({});
    drain.sendTransactionType = 0;
    send("A", drain);
  }
}

TEST_F(I2CBus, AnswersThatAnotherControlIsNotSupported) {
  IOI2CRequest read = question({0x51, 0x82, 0x01, 0x12, 0x3f ^ 0x82 ^ 0x01 ^ 0x12});
  EXPECT_EQ(send("A", read), kIOReturnSuccess);
  EXPECT_EQ(read.replyBuffer[3], 0x01);
  EXPECT_EQ(read.replyBuffer[4], 0x12);
}

TEST_F(I2CBus, ReadsTheEdidByItsAddress) {
  IOI2CRequest request;
  request.sendTransactionType = request.replyTransactionType = 1;
  request.sendAddress = 0xa0;
  request.replyAddress = 0xa1;
  request.sendBuffer = {0};
  request.replyBuffer.resize(128);
  EXPECT_EQ(send("A", request), kIOReturnSuccess);
  const plist::Data& edid = mac.display("A").description.edid;
  EXPECT_EQ(request.replyBuffer, Bytes(edid.begin(), edid.begin() + 128));
  EXPECT_TRUE(mac.journal().lines().empty());
}

TEST_F(I2CBus, GetsNoAnswerFromAMonitorThatDoesNotTalkOrIsGone) {
  IOI2CRequest request = question(getBrightness);
  EXPECT_NE(send("B", request), kIOReturnSuccess);
  const IOObject interface = bus.IOFBCopyI2CInterfaceForBus(mac.display("A").frameBuffer, 0);
  EXPECT_FALSE(bus.IOFBCopyI2CInterfaceForBus(mac.display("A").frameBuffer, 1));
  IOI2CConnectRef connect = 0;
  EXPECT_EQ(bus.IOI2CInterfaceOpen(interface.get(), 0, connect), kIOReturnSuccess);
  mac.unplug("A");
  EXPECT_NE(bus.IOI2CSendRequest(connect, 0, request), kIOReturnSuccess);
  bus.IOI2CInterfaceClose(connect, 0);
  bus.IOI2CInterfaceClose(connect, 0);
  EXPECT_EQ(mac.faults().size(), 1U) << "closed twice";
  EXPECT_FALSE(bus.IOAVServiceCreateWithService(1)) << "an Intel machine has no AV services";
}

TEST(AVServiceBus, TalksInTheFramesOfItsClients) {
  SimulatedMac mac(talkingMachine(Processor::appleSilicon));
  Session& session = addProcess(mac, "test");
  MonitorBus& bus = session.ports().monitorBus;
  {
    const auto service = bus.IOAVServiceCreateWithService(mac.display("A").avService);
    ASSERT_TRUE(service && *service);
    EXPECT_EQ(session.heldObjects(), 1U);
    EXPECT_EQ(bus.IOAVServiceCopyEDID(service->get()), mac.display("A").description.edid);
    const Bytes set{0x84, 0x03, 0x10, 0x00, 0x32, 0x84 ^ 0x3f ^ 0x03 ^ 0x10 ^ 0x32};
    EXPECT_EQ(bus.IOAVServiceWriteI2C(service->get(), 0x37, 0x51, set), kIOReturnSuccess);
    EXPECT_EQ(mac.display("A").ddcCurrent, 50);
    const Bytes get{0x82, 0x01, 0x10, 0x82 ^ 0x6e ^ 0x01 ^ 0x10};
    Bytes reply(10);
    EXPECT_EQ(bus.IOAVServiceWriteI2C(service->get(), 0x37, 0x51, get), kIOReturnSuccess);
    EXPECT_EQ(bus.IOAVServiceReadI2C(service->get(), 0x37, 0x51, reply), kIOReturnSuccess);
    EXPECT_EQ(reply[1], 0x80) << "read at once: nothing to say yet";
    session.ports().runLoop.sleep(0.05);
    EXPECT_EQ(bus.IOAVServiceReadI2C(service->get(), 0x37, 0x51, reply), kIOReturnSuccess);
    const Bytes whole = brightnessReply(0x32, 0);
    EXPECT_EQ(reply, Bytes(whole.begin(), whole.begin() + 10));
    const auto silent = bus.IOAVServiceCreateWithService(mac.display("B").avService);
    EXPECT_NE(bus.IOAVServiceReadI2C(silent->get(), 0x37, 0x51, reply), kIOReturnSuccess);
    mac.unplug("A");
    EXPECT_NE(bus.IOAVServiceWriteI2C(service->get(), 0x37, 0x51, get), kIOReturnSuccess);
  }
  EXPECT_EQ(session.heldObjects(), 0U);
  EXPECT_FALSE(*bus.IOAVServiceCreateWithService(1)) << "no such service";
}

}  // namespace
}  // namespace vlm::sim
