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

TEST(FrameBufferBus, ObeysNoFrameThatIsDamaged) {
  const struct {
    const char* name;
    Bytes frame;
    bool isObeyed = false;
    std::uint32_t address = 0x6e;
  } rows[] = {{"right", {0x51, 0x84, 0x03, 0x10, 0x00, 0x32, 0x9a}, true},
              {"checksum", {0x51, 0x84, 0x03, 0x10, 0x00, 0x32, 0x9b}},
              {"checksum without the host, as a service's questions have it", {0x51, 0x84, 0x03, 0x10, 0, 0x32, 0xcb}},
              {"host address", {0x50, 0x84, 0x03, 0x10, 0x00, 0x32, 0x9b}},
              {"length", {0x51, 0x83, 0x03, 0x10, 0x00, 0x32, 0x9d}},
              {"mark of the length", {0x51, 0x04, 0x03, 0x10, 0x00, 0x32, 0x1a}},
              {"cut off", {0x51, 0x84, 0x03, 0x10, 0x00, 0x9a ^ 0x32}},
              {"opcode", {0x51, 0x84, 0x04, 0x10, 0x00, 0x32, 0x9d}},
              {"code", {0x51, 0x84, 0x03, 0x12, 0x00, 0x32, 0x98}},
              {"monitor address", {0x51, 0x84, 0x03, 0x10, 0x00, 0x32, 0x9a}, false, 0x6c}};
  for (const auto& row : rows) {
    SimulatedMac mac(talkingMachine(Processor::intel));
    MonitorBus& bus = addProcess(mac, "test").ports().monitorBus;
    IOI2CConnectRef connect = 0;
    const IOObject interface = bus.IOFBCopyI2CInterfaceForBus(mac.display("A").frameBuffer, 0);
    EXPECT_EQ(bus.IOI2CInterfaceOpen(interface.get(), 0, connect), kIOReturnSuccess);
    IOI2CRequest request;
    request.sendTransactionType = 1;
    request.sendAddress = row.address;
    request.sendBuffer = row.frame;
    EXPECT_EQ(bus.IOI2CSendRequest(connect, 0, request), kIOReturnSuccess);
    EXPECT_EQ(request.result == kIOReturnSuccess, row.address == 0x6e) << row.name;
    EXPECT_EQ(mac.display("A").ddcCurrent, row.isObeyed ? 50 : 75) << row.name;
    bus.IOI2CInterfaceClose(connect, 0);
  }
}

}  // namespace
}  // namespace vlm::sim
