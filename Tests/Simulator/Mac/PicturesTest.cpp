#include <cmath>
#include <sstream>

#include "Simulator/Mac/MachineEvents.h"
#include "Tests/Simulator/Mac/SmallMachines.h"
#include "Tests/Support/DisplaysOnMac.h"

namespace vlm::sim {
namespace {

using Lines = std::vector<std::string>;

/// Writes "daemon A 0x1" for every call.
void watch(Session& session, Lines& heard) {
  session.ports().quartz.CGDisplayRegisterReconfigurationCallback([&](CGDirectDisplayID id, auto flags) {
    std::ostringstream text;
    text << session.description().name << " " << session.mac().windowServer().displayWithID(id)->description.name
         << " 0x" << std::hex << flags;
    if (flags != kCGDisplayBeginConfigurationFlag) heard.push_back(text.str());
  });
}

TEST(Rotation, TurnsAtOnceAndCallsItsProcessBackWithinTheCall) {
  SimulatedMac mac(smallMachine(2));
  Session &daemon = addProcess(mac, "daemon"), &other = addProcess(mac, "other");
  Lines heard;
  watch(other, heard);
  watch(daemon, heard);
  SkyLight& skyLight = daemon.ports().skyLight;
  const CGDirectDisplayID a = mac.display("A").id;
  EXPECT_EQ(skyLight.SLSSetDisplayRotation(a, 90, 0, 0, 0, 0), 0);
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0; A 1000,0 800x1000; B 1800,0");
  EXPECT_EQ(heard, (Lines{"daemon Panel 0x1000", "daemon A 0x1008", "daemon B 0x1002"}));
  mac.turn();
  EXPECT_EQ(heard.size(), 6U);
  heard.clear();
  EXPECT_EQ(skyLight.SLSSetDisplayRotation(a, 270, 0, 0, 0, 0), 0);
  EXPECT_EQ(heard, (Lines{"daemon Panel 0x0", "daemon A 0x8", "daemon B 0x0"})) << "half a turn keeps the shape";

  mac.unplug("A");
  mac.plug("A");
  EXPECT_EQ(daemon.ports().quartz.CGDisplayRotation(mac.display("A").id), 270) << "the system remembers it";
  EXPECT_NE(skyLight.SLSSetDisplayRotation(mac.display("A").id, 45, 0, 0, 0, 0), 0);
  EXPECT_NE(skyLight.SLSSetDisplayRotation(a, 90, 0, 0, 0, 0), 0) << "the number of before";
}

TEST(Rotation, IsReadBackAsTheAngleAskedFor) {
  constexpr std::pair<int, const char*> kAngles[] = {{90, "0x300400"}, {180, "0x600400"}, {270, "0x500400"},
                                                     {-1, "0x200400"}, {-2, "0x400400"},  {-3, "0x100400"},
                                                     {-4, "0x700400"}, {0, "0x400"}};
  for (const std::int64_t minor : {14, 15}) {
    MachineDescription machine = laptopWith({"Left", "Right"});
    machine.systemVersion = {.majorVersion = 10, .minorVersion = minor, .patchVersion = 0};
    vlm::test::DisplaysOnMac displays(machine);
    const auto left = displays["Left"];
    for (const auto& [angle, options] : kAngles) {
      left->setOrientation(angle, nullptr);
      left->transfType = left->getDisplayTansfType();
      EXPECT_EQ(left->orientation(), angle);
      const Size size = displays.mac().windowServer().bounds(displays.mac().display("Left")).size;
      EXPECT_EQ(size.height > size.width, angle == 90 || angle == 270 || angle == -3 || angle == -4) << angle;
      // Only the newer systems have a call, and that knows no mirrored pictures.
      const bool isByProbe = minor == 14 || angle < 0;
      const Lines probe{"daemon: IOServiceRequestProbe(Left, " + std::string(options) + ")"};
      EXPECT_EQ(displays.process.newJournalLines("IOServiceRequestProbe"), isByProbe ? probe : Lines{}) << angle;
    }
    left->setOrientation(45, nullptr);
    displays["Built-in"]->canRotate = false;
    displays["Built-in"]->setOrientation(90, nullptr);
    EXPECT_EQ(displays.process.newJournalLines(), Lines{});
  }
}

TEST(Pictures, OfDisplaysThatAreOffOrAsleepAreNeitherTurnedNorSwitchedToHdr) {
  MachineDescription machine = smallMachine(1);
  machine.displays[1].supportsHDR = true;
  SimulatedMac mac(machine);
  SkyLight& skyLight = addProcess(mac, "daemon").ports().skyLight;
  const SimulatedDisplay& a = mac.display("A");
  const auto expectRefused = [&](const std::string& reason) {
    EXPECT_NE(skyLight.SLSSetDisplayRotation(a.id, 90, 0, 0, 0, 0), 0) << reason;
    EXPECT_NE(skyLight.SLSDisplaySetHDRModeEnabled(a.id, true), 0) << reason;
    EXPECT_EQ(mac.events().rotate("A", 90), reason);
    EXPECT_EQ(mac.events().setHDR("A", true), reason);
    EXPECT_TRUE(a.turn == Turn() && !a.hdr) << reason;
  };
  EXPECT_EQ(changeByAnother(mac, "A off"), std::nullopt);
  expectRefused("A is off");
  EXPECT_EQ(changeByAnother(mac, "A on"), std::nullopt);
  mac.events().sleep();
  expectRefused("A is asleep");
}

TEST(HardwareMirrors, StayTogetherWhateverIsAsked) {
  MachineDescription machine = smallMachine(3);
  machine.displays[2].hardwareMirrorOf = "A";
  ASSERT_EQ(faultInMachine(machine), std::nullopt);
  SimulatedMac mac(machine);
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0; A 1000,0; B 1000,0 shows A; C 2000,0");
  EXPECT_TRUE(mac.display("A").alwaysMirrored && mac.display("B").alwaysMirrored);
  for (const char* change : {"B shows nothing", "A shows B"}) {
    EXPECT_EQ(changeByAnother(mac, change), std::nullopt);
    EXPECT_EQ(mac.display("B").mirrors, mac.display("A").id);
  }
  EXPECT_EQ(changeByAnother(mac, "B shows Panel"), "B is wired to A and cannot mirror Panel");
  EXPECT_EQ(changeByAnother(mac, "B off"), "B cannot be turned off");
  EXPECT_EQ(changeByAnother(mac, "A shows Panel, B shows Panel"), std::nullopt) << "as a whole it may";
  EXPECT_EQ(changeByAnother(mac, "A shows nothing, B shows nothing"), std::nullopt);
  for (const char* name : {"A", "B"}) {
    mac.unplug(name);
    mac.plug(name);
    EXPECT_EQ(mac.display("B").mirrors, mac.display("A").id) << name;
  }
  machine.displays[3].hardwareMirrorOf = "B";
  EXPECT_EQ(faultInMachine(machine), "display C: key \"hardwareMirrorOf\": B is itself such a mirror");
}

TEST(Pictures, KeepTheirSwitchesAndRefuseWhatTheyLack) {
  MachineDescription machine = smallMachine(1);
  machine.displays[1].canOverscan = machine.displays[1].canUnderscan = true;
  machine.displays[1].presets = {"Warm", "Cold", ""};
  SimulatedMac mac(machine);
  const Ports ports = addProcess(mac, "daemon").ports();
  SimulatedDisplay& a = mac.display("A");
  ports.system.CGDisplayForceToGray(true);
  EXPECT_FALSE(mac.grayscale) << "not the switch that counts";
  EXPECT_TRUE(ports.system.CGDisplayUsesForceToGray() && !ports.system.UAGrayscaleIsEnabled());
  EXPECT_NE(ports.skyLight.SLSDisplaySetHDRModeEnabled(a.id, true), 0);
  EXPECT_EQ(ports.skyLight.SLSDisplaySetActivePresetIndex(a.id, 1), 0);
  EXPECT_NE(ports.skyLight.SLSDisplaySetActivePresetIndex(a.id, 2), 0) << "an empty place";
  EXPECT_NE(ports.skyLight.SLSDisplaySetActivePresetIndex(a.id, 3), 0);
  EXPECT_EQ(mac.events().choosePreset("A", ""), "A has no preset \"\"");
  EXPECT_EQ(a.activePreset, 1U);
  EXPECT_EQ(ports.registry.IODisplaySetFloatParameter(a.frameBuffer, "pscn", 1.5F), kIOReturnSuccess);
  EXPECT_EQ(a.underscan, 1.0F);
  EXPECT_NE(ports.registry.IODisplaySetFloatParameter(a.frameBuffer, "pscn", NAN), kIOReturnSuccess);
  EXPECT_EQ(ports.quartz.CGSetDisplayTransferByFormula(a.id, {.redMax = 0.5F}), kCGErrorSuccess);
  mac.unplug("A");
  mac.plug("A");
  EXPECT_EQ(ports.quartz.CGGetDisplayTransferByFormula(a.id), DisplayTransferFormula{});
  mac.events().setVolume({});
  EXPECT_FALSE(ports.system.CoreAudio_SetVolume(0.5F));
}

}  // namespace
}  // namespace vlm::sim
