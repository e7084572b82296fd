#include "Simulator/Mac/Registry.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Platform/IORegistry.h"
#include "Platform/Quartz.h"
#include "Tests/Simulator/Mac/SmallMachines.h"

namespace vlm::sim {
namespace {

/// An Intel machine with two displays, and a process that asks.
class RegistryOfIntelMac : public testing::Test {
 protected:
  static MachineDescription machine() {
    MachineDescription machine = smallMachine(1);
    machine.displays[1].ddc = DdcBehaviour::healthy;
    return machine;
  }

  SimulatedMac mac{machine()};
  Session& session = addProcess(mac, "test");
  IORegistry& registry = session.ports().registry;
};

TEST_F(RegistryOfIntelMac, HasTheDisplayBelowItsFrameBuffer) {
  const io_service_t frameBuffer = session.ports().quartz.CGDisplayIOServicePort(mac.display("A").id);
  EXPECT_TRUE(registry.IOObjectConformsTo(frameBuffer, "IOFramebuffer"));
  EXPECT_FALSE(registry.IOObjectConformsTo(frameBuffer, "IODisplay"));
  std::size_t passed = 0;
  {
    const IOObject below =
        registry.IORegistryEntryCreateIterator(frameBuffer, "IOService", kIORegistryIterateRecursively);
    IOObject found = registry.IOIteratorNext(below);
    for (; found && !registry.IOObjectConformsTo(found.get(), "IODisplay"); ++passed) {
      found = registry.IOIteratorNext(below);
    }
    ASSERT_TRUE(found);
    EXPECT_GT(passed, 0U) << "who takes the first entry would be right by accident";
    const auto properties = registry.IORegistryEntryCreateCFProperties(found.get());
    ASSERT_TRUE(properties);
    const std::string path = properties->string("IODisplayPrefsKey").value_or("");
    EXPECT_EQ(
        path,
        "IOService:/AppleACPIPlatformExpert/PCI0@0/IGPU@2/AppleIntelFramebuffer@1/display0/AppleDisplay-598d-4d2");
    EXPECT_EQ(registry.IORegistryEntryFromPath(path).get(), found.get());
    EXPECT_EQ(*properties->data("IODisplayEDID"), mac.display("A").description.edid);
    EXPECT_EQ(session.heldObjects(), 2U);
  }
  EXPECT_EQ(session.heldObjects(), 0U);
  registry.IOObjectRelease(frameBuffer);
  EXPECT_EQ(mac.faults().size(), 1U) << "released without holding it";
}

TEST_F(RegistryOfIntelMac, EndsIteratorsWhenADisplayIsUnplugged) {
  const io_service_t a = mac.display("A").frameBuffer;
  const IOObject services = registry.IOServiceGetMatchingServices("IOFramebufferI2CInterface");
  EXPECT_TRUE(registry.IOIteratorNext(services));
  EXPECT_TRUE(registry.IOIteratorIsValid(services));
  mac.unplug("A");
  EXPECT_FALSE(registry.IOIteratorIsValid(services));
  EXPECT_FALSE(registry.IOIteratorNext(services));
  registry.IOIteratorReset(services);
  EXPECT_TRUE(registry.IOIteratorIsValid(services));
  EXPECT_TRUE(registry.IOIteratorNext(services));
  EXPECT_FALSE(registry.IOIteratorNext(services)) << "the other interface went with its display";
  EXPECT_FALSE(registry.IORegistryEntryCreateIterator(a, "IOService", kIORegistryIterateRecursively));
}

}  // namespace
}  // namespace vlm::sim
