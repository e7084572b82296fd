#include <cstdio>
#include <string>
#include <utility>

#include "Simulator/Mac/DdcMonitor.h"
#include "Simulator/Mac/TimingLimits.h"
#include "Simulator/Mac/WindowServerParts.h"

/// What the I/O registry says about a display that is plugged in.
namespace vlm::sim {
namespace {

/// Kinds of connection, as "AppleDisplayType" numbers them.
constexpr int kPanelConnection = 2, kVgaConnection = 10, kLcdConnection = 20;
/// "IOI2CSupportedCommFlags": reply delays are in nanoseconds, or not.
constexpr int kDelayInNanoseconds = 2, kDelayInMilliseconds = 0;
constexpr const char* kI2CInterface = "IOFramebufferI2CInterface";
constexpr const char* kTransactionTypes = "IOI2CTransactionTypes";

int connectionOf(const SimulatedDisplay& display) {
  if (display.description.builtIn) return kPanelConnection;
  return display.edid.digital ? kLcdConnection : kVgaConnection;
}

plist::Dictionary frameBufferProperties(const SimulatedDisplay& display) {
  plist::Dictionary properties{{"IOFBConfig", frameBufferConfig(display.modes)},
                               {"IOFBTimingRange", timingRangeRecord(display.range)}};
  if (display.description.canRotate) properties.set("IOFBTransform", transformOf(display.turn));
  if (display.description.probeOptions) properties.set("IOFBProbeOptions", *display.description.probeOptions);
  return properties;
}

plist::Dictionary displayProperties(const SimulatedDisplay& display) {
  return {{"IODisplayEDID", display.edidBytes},
          {"AppleDisplayType", connectionOf(display)},
          {"DisplayVendorID", display.edid.vendor},
          {"DisplayProductID", display.edid.product}};
}

/// "AppleDisplay-10ac-a0c1".
std::string displayEntryName(const std::string& className, const ParsedEdid& edid) {
  char identity[32];
  std::snprintf(identity, sizeof identity, "-%x-%x", edid.vendor, edid.product);
  return className + identity;
}

/// The entry of that name below another, made when it is missing.
io_service_t bridge(Registry& registry, io_service_t parent, const std::string& className, const std::string& name) {
  for (const io_service_t child : registry.below(parent, false)) {
    if (registry.find(child)->name == name) return child;
  }
  return registry.add(parent, {className, "IOService"}, name);
}

io_service_t intelGraphics(Registry& registry) {
  io_service_t entry = bridge(registry, registry.root(), "AppleACPIPlatformExpert", "AppleACPIPlatformExpert");
  entry = bridge(registry, entry, "AppleACPIPCI", "PCI0@0");
  return bridge(registry, entry, "IOPCIDevice", "IGPU@2");
}

void publishFrameBuffer(Registry& registry, SimulatedDisplay& display) {
  const std::string port = std::to_string(display.description.port);
  display.frameBuffer =
      registry.add(intelGraphics(registry), {"AppleIntelFramebuffer", "IOFramebuffer", "IOGraphicsDevice", "IOService"},
                   "AppleIntelFramebuffer@" + port, frameBufferProperties(display));
  const int unit = display.description.i2cDelayInMilliseconds ? kDelayInMilliseconds : kDelayInNanoseconds;
  for (std::size_t bus = 0; bus < display.description.i2cBuses.size(); ++bus) {
    registry.add(
        display.frameBuffer, {kI2CInterface, "IOI2CInterface", "IOService"}, kI2CInterface,
        {{kTransactionTypes, display.description.publishedTransactionTypes()}, {"IOI2CSupportedCommFlags", unit}});
  }
  const io_service_t connection = registry.add(display.frameBuffer, {"IODisplayConnect", "IOService"}, "display0");
  const std::string className = display.description.builtIn ? "AppleBacklightDisplay" : "AppleDisplay";
  display.displayService = registry.add(connection, {className, "IODisplay", "IOService"},
                                        displayEntryName(className, display.edid), displayProperties(display));
  registry.setProperty(display.displayService, "IODisplayPrefsKey", registry.pathOf(display.displayService));
}

void publishAVService(Registry& registry, SimulatedDisplay& display) {
  io_service_t entry = bridge(registry, registry.root(), "AppleARMPE", "AppleARMPE");
  entry = bridge(registry, entry, "AppleARMIODevice", "arm-io");
  const bool builtIn = display.description.builtIn;
  const std::string name = builtIn ? std::string("dcp") : "dcpext" + std::to_string(display.description.port);
  entry = bridge(registry, entry, "AppleDCP", name);
  display.avService = registry.add(entry, {"DCPAVServiceProxy", "IOService"}, "DCPAVServiceProxy",
                                   {{"Location", builtIn ? "Embedded" : "External"}});
}

}  // namespace

void WindowServer::Implementation::publishTurn(const SimulatedDisplay& display) {
  if (!display.description.canRotate) return;
  registry.setProperty(display.frameBuffer, "IOFBTransform", transformOf(display.turn));
}

void WindowServer::setDdcBehaviour(SimulatedDisplay& display, DdcBehaviour behaviour) {
  display.description.ddc = behaviour;
  display.monitor->behave(behaviour);
  for (const io_service_t child : registry().below(display.frameBuffer, false)) {
    if (!registry().find(child)->conformsTo(kI2CInterface)) continue;
    registry().setProperty(child, kTransactionTypes, display.description.publishedTransactionTypes());
  }
}

void WindowServer::Implementation::publishServices(SimulatedDisplay& display) {
  if (processor == Processor::intel) {
    publishFrameBuffer(registry, display);
  } else {
    publishAVService(registry, display);
  }
}

void WindowServer::Implementation::withdrawServices(SimulatedDisplay& display) {
  registry.remove(std::exchange(display.frameBuffer, 0));
  registry.remove(std::exchange(display.avService, 0));
  display.displayService = 0;
}

}  // namespace vlm::sim
