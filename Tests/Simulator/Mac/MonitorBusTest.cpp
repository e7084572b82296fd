#include "Platform/MonitorBus.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
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

class I2CBus : public testing::Test {
 protected:
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
  static IOI2CRequest question(const Bytes& frame, std::uint64_t delay = 20'000'000) {
    return {.sendTransactionType = 1,
            .replyTransactionType = 2,
            .sendAddress = 0x6e,
            .replyAddress = 0x6f,
            .replySubAddress = 0x51,
            .minReplyDelay = delay,
            .sendBuffer = frame,
            .replyBuffer = Bytes(11)};
  }

  SimulatedMac mac{talkingMachine(Processor::intel)};
  Session& session = addProcess(mac, "test");
  MonitorBus& bus = session.ports().monitorBus;
  const Bytes getBrightness{0x51, 0x82, 0x01, 0x10, 0x3f ^ 0x82 ^ 0x01 ^ 0x10};
};

TEST_F(I2CBus, AnswersTheBrightnessWithItsMaximumAndTakesANewOne) {
  IOI2CRequest read = question(getBrightness);
  EXPECT_EQ(send("A", read), kIOReturnSuccess);
  const std::uint8_t checksum = 0x6f ^ 0x51 ^ 0x88 ^ 0x02 ^ 0x10 ^ 0x64 ^ 0x4b;
  EXPECT_EQ(read.replyBuffer, (Bytes{0x6e, 0x88, 0x02, 0x00, 0x10, 0x00, 0x00, 0x64, 0x00, 0x4b, checksum}));
  IOI2CRequest write;
  write.sendTransactionType = 1;
  write.sendAddress = 0x6e;
  write.sendBuffer = {0x51, 0x84, 0x03, 0x10, 0x00, 0x32, 0x9a};
  EXPECT_EQ(send("A", write), kIOReturnSuccess);
  EXPECT_EQ(mac.display("A").ddcCurrent, 50);
  EXPECT_EQ(mac.journal().lines(), (std::vector<std::string>{"test: IOI2CSendRequest(A, 51 84 03 10 00 32 9a)"}));
  EXPECT_EQ(session.heldObjects(), 0U);
  IOI2CRequest other = question({0x51, 0x82, 0x01, 0x12, 0x3f ^ 0x82 ^ 0x01 ^ 0x12});
  EXPECT_EQ(send("A", other), kIOReturnSuccess);
  EXPECT_EQ(other.replyBuffer[3], 0x01) << "another control is not supported";
  EXPECT_EQ(other.replyBuffer[4], 0x12);
}

TEST_F(I2CBus, SaysNothingToAGarbledQuestionOrAnImpatientOne) {
  const struct {
    const char* name;
    Bytes frame;
    std::uint64_t delay = 20'000'000;
  } rows[] = {{"checksum", {0x51, 0x82, 0x01, 0x10, 0x3f ^ 0x82 ^ 0x01 ^ 0x10 ^ 1}},
              {"length", {0x51, 0x83, 0x01, 0x10, 0x3f ^ 0x83 ^ 0x01 ^ 0x10}},
              {"source", {0x50, 0x82, 0x01, 0x10, 0x3f ^ 0x82 ^ 0x01 ^ 0x10 ^ 1}},
              {"without host in the checksum", {0x51, 0x82, 0x01, 0x10, 0x6e ^ 0x82 ^ 0x01 ^ 0x10}},
              // As it would be when milliseconds were taken for nanoseconds.
              {"too early", getBrightness, 20}};
  for (const auto& row : rows) {
    IOI2CRequest request = question(row.frame, row.delay);
    EXPECT_EQ(send("A", request), kIOReturnSuccess) << row.name;
    EXPECT_EQ(request.replyBuffer, (Bytes{0x6e, 0x80, 0xbe, 0, 0, 0, 0, 0, 0, 0, 0})) << row.name;
    mac.advance(1);
    IOI2CRequest drain = question({});
    drain.sendTransactionType = 0;
    send("A", drain);
  }
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
}

TEST(AVServiceBus, TalksInTheFramesOfItsClients) {
  SimulatedMac mac(talkingMachine(Processor::appleSilicon));
  Session& session = addProcess(mac, "test");
  MonitorBus& bus = session.ports().monitorBus;
  {
    const auto service = bus.IOAVServiceCreateWithService(mac.display("A").avService);
    ASSERT_TRUE(service && *service);
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
    EXPECT_EQ(reply, (Bytes{0x6e, 0x88, 0x02, 0x00, 0x10, 0x00, 0x00, 0x64, 0x00, 0x32}));
    const auto silent = bus.IOAVServiceCreateWithService(mac.display("B").avService);
    EXPECT_NE(bus.IOAVServiceReadI2C(silent->get(), 0x37, 0x51, reply), kIOReturnSuccess);
    mac.unplug("A");
    EXPECT_NE(bus.IOAVServiceWriteI2C(service->get(), 0x37, 0x51, get), kIOReturnSuccess);
  }
  EXPECT_EQ(session.heldObjects(), 0U);
}

}  // namespace
}  // namespace vlm::sim
