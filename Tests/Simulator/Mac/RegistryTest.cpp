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
    machine.displays[1].canOverscan = true;
    machine.displays[1].probeOptions = 1;
    machine.displays[1].canRotate = false;
    return machine;
  }

  std::size_t countOf(const std::string& className) {
    const IOObject services = registry.IOServiceGetMatchingServices(className);
    std::size_t count = 0;
    while (registry.IOIteratorNext(services)) ++count;
    return count;
  }

  SimulatedMac mac{machine()};
  Session& session = addProcess(mac, "test");
  IORegistry& registry = session.ports().registry;
};

TEST_F(RegistryOfIntelMac, HasTheDisplayBelowItsFrameBuffer) {
  const io_service_t frameBuffer = session.ports().quartz.CGDisplayIOServicePort(mac.display("A").id);
  ASSERT_NE(frameBuffer, 0U);
  EXPECT_TRUE(registry.IOObjectConformsTo(frameBuffer, "IOFramebuffer"));
  EXPECT_FALSE(registry.IOObjectConformsTo(frameBuffer, "IODisplay"));
  IOObject found;
  std::size_t passed = 0;
  {
    const IOObject below =
        registry.IORegistryEntryCreateIterator(frameBuffer, "IOService", kIORegistryIterateRecursively);
    for (found = registry.IOIteratorNext(below); found; found = registry.IOIteratorNext(below), ++passed) {
      if (registry.IOObjectConformsTo(found.get(), "IODisplay")) break;
    }
  }
  ASSERT_TRUE(found);
  EXPECT_GT(passed, 0U) << "who takes the first entry would be right by accident";
  const auto properties = registry.IORegistryEntryCreateCFProperties(found.get());
  ASSERT_TRUE(properties);
  const std::string path = properties->string("IODisplayPrefsKey").value_or("");
  EXPECT_EQ(path,
            "IOService:/AppleACPIPlatformExpert/PCI0@0/IGPU@2/AppleIntelFramebuffer@1/display0/AppleDisplay-598d-4d2");
  EXPECT_EQ(registry.IORegistryEntryFromPath(path).get(), found.get());
  EXPECT_EQ(*properties->data("IODisplayEDID"), mac.display("A").description.edid);
  EXPECT_EQ(session.heldObjects(), 1U);
}

TEST_F(RegistryOfIntelMac, SaysWhatADisplayCanDoByItsProperties) {
  const io_service_t panel = mac.display("Panel").frameBuffer, a = mac.display("A").frameBuffer;
  EXPECT_TRUE(registry.IORegistryEntryCreateCFProperty(panel, "IOFBTransform"));
  EXPECT_FALSE(registry.IORegistryEntryCreateCFProperty(a, "IOFBTransform"));
  EXPECT_EQ(registry.IORegistryEntryCreateCFProperty(a, "IOFBProbeOptions"), plist::Value(1));
  EXPECT_FALSE(registry.IORegistryEntryCreateCFProperty(panel, "IOFBProbeOptions"));
  const auto config = registry.IORegistryEntryCreateCFProperty(a, "IOFBConfig");
  ASSERT_TRUE(config && config->dictionary() != nullptr);
  EXPECT_FALSE(config->dictionary()->array("IOFBModes")->empty());
  EXPECT_EQ(registry.IODisplaySetFloatParameter(a, "oscn", 1), kIOReturnSuccess);
  EXPECT_EQ(registry.IODisplayGetFloatParameter(a, "oscn"), 1.0F);
  EXPECT_FALSE(registry.IODisplayGetFloatParameter(a, "pscn"));
  EXPECT_NE(registry.IODisplaySetFloatParameter(panel, "oscn", 1), kIOReturnSuccess);
  EXPECT_EQ(mac.journal().lines(), (std::vector<std::string>{"test: IODisplaySetFloatParameter(A, oscn, 1)"}));
}

TEST_F(RegistryOfIntelMac, AddsTheEdidsFactsToTheInformationDictionary) {
  const auto information = registry.IODisplayCreateInfoDictionary(mac.display("Panel").frameBuffer, 0);
  ASSERT_TRUE(information);
  EXPECT_EQ(information->uInt32("DisplaySerialNumber"), 7U);
  EXPECT_EQ(information->uInt32("DisplayYearManufacture"), 2020U);
  EXPECT_TRUE(information->contains("IODisplayIsDigital"));
  EXPECT_EQ(information->dictionary("DisplayProductName")->string("en_US"), "Panel");
  const auto same = registry.IODisplayCreateInfoDictionary(mac.display("Panel").displayService, 0);
  EXPECT_EQ(*information, *same);
  EXPECT_FALSE(registry.IODisplayCreateInfoDictionary(0, 0));
}

TEST_F(RegistryOfIntelMac, EndsIteratorsWhenADisplayIsUnplugged) {
  const io_service_t a = mac.display("A").frameBuffer;
  EXPECT_EQ(countOf("IOFramebuffer"), 2U);
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
  EXPECT_FALSE(registry.IORegistryEntryCreateCFProperty(a, "IOFBConfig"));
  EXPECT_FALSE(registry.IORegistryEntryCreateIterator(a, "IOService", kIORegistryIterateRecursively));
  mac.plug("A");
  EXPECT_NE(mac.display("A").frameBuffer, a);
}

TEST_F(RegistryOfIntelMac, LetsTheDisplayWranglerAloneBeSet) {
  const IOObject wrangler = registry.IORegistryEntryFromPath("IOService:/IOResources/IODisplayWrangler");
  ASSERT_TRUE(wrangler);
  mac.display("A").asleep = true;
  EXPECT_EQ(registry.IORegistryEntrySetCFProperty(wrangler.get(), "IORequestIdle", false), kIOReturnSuccess);
  EXPECT_FALSE(mac.display("A").asleep);
  EXPECT_NE(registry.IORegistryEntrySetCFProperty(wrangler.get(), "IOFBConfig", false), kIOReturnSuccess);
  EXPECT_NE(registry.IORegistryEntrySetCFProperty(mac.display("A").frameBuffer, "IORequestIdle", true),
            kIOReturnSuccess);
  EXPECT_EQ(mac.journal().lines(),
            (std::vector<std::string>{"test: IORegistryEntrySetCFProperty(IODisplayWrangler, IORequestIdle, false)"}));
}

TEST_F(RegistryOfIntelMac, CountsWhatAProcessHolds) {
  {
    const IOObject entry = registry.IORegistryEntryFromPath("IOService:/IOResources");
    const IOObject again = registry.IOObjectRetain(entry.get());
    const IOObject iterator = registry.IOServiceGetMatchingServices("IODisplay");
    EXPECT_EQ(session.heldObjects(), 3U);
    EXPECT_FALSE(registry.IORegistryEntryFromPath("IOService:/IOResources/Nothing"));
    EXPECT_EQ(session.heldObjects(), 3U);
  }
  EXPECT_EQ(session.heldObjects(), 0U);
  EXPECT_TRUE(mac.faults().empty());
  registry.IOObjectRelease(mac.display("A").frameBuffer);
  EXPECT_EQ(mac.faults().size(), 1U) << "released without holding it";
}

TEST(RegistryOfAppleSilicon, OffersAVServicesInsteadOfFrameBuffers) {
  SimulatedMac mac(smallMachine(1, Processor::appleSilicon));
  Session& session = addProcess(mac, "test");
  IORegistry& registry = session.ports().registry;
  EXPECT_EQ(session.ports().quartz.CGDisplayIOServicePort(mac.display("A").id), 0U);
  EXPECT_FALSE(registry.IOIteratorNext(registry.IOServiceGetMatchingServices("IOFramebuffer")));
  std::vector<std::string> locations;
  const IOObject services = registry.IOServiceGetMatchingServices("DCPAVServiceProxy");
  while (const IOObject service = registry.IOIteratorNext(services)) {
    const auto location = registry.IORegistryEntryCreateCFProperty(service.get(), "Location");
    ASSERT_TRUE(location);
    locations.push_back(*location->string());
  }
  EXPECT_EQ(locations, (std::vector<std::string>{"Embedded", "External"}));
}

}  // namespace
}  // namespace vlm::sim
