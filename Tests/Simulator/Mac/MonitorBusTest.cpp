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

}  // namespace
}  // namespace vlm::sim
