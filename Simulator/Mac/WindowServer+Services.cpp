#include <cstdio>
#include <string>
#include <utility>

#include "Simulator/Mac/WindowServerParts.h"

/// What the I/O registry says about a display that is plugged in.
namespace vlm::sim {
namespace {

/// Kinds of connection, as "AppleDisplayType" numbers them.
constexpr int kPanelConnection = 2, kVgaConnection = 10, kLcdConnection = 20;
/// Bits of "IOI2CTransactionTypes": a simple transaction and a DDC/CI reply.
constexpr int kSimpleAndDdcTransactions = 0x2 | 0x4;
/// "IOI2CSupportedCommFlags" of these drivers: reply delays are in nanoseconds.
constexpr int kDelayInNanoseconds = 2;

/// "IOFBTransform" of an upright, right-turned, upside-down and left-turned picture.
int transformOf(std::uint32_t degrees) {
  switch (degrees) {
    case 90:
      return 0x30;
    case 180:
      return 0x60;
    case 270:
      return 0x50;
    default:
      return 0;
  }
}

int connectionOf(const SimulatedDisplay& display) {
  if (display.description.builtIn) return kPanelConnection;
  return display.edid.digital ? kLcdConnection : kVgaConnection;
}

plist::Dictionary frameBufferProperties(const SimulatedDisplay& display) {
  plist::Dictionary properties{{"IOFBConfig", frameBufferConfig(display.modes)}};
  if (display.description.canRotate) properties.set("IOFBTransform", transformOf(display.rotation));
  if (display.description.probeOptions) properties.set("IOFBProbeOptions", *display.description.probeOptions);
  return properties;
}

plist::Dictionary displayProperties(const SimulatedDisplay& display) {
  return {{"IODisplayEDID", display.description.edid},
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
  const bool talks = display.description.ddc == DdcBehaviour::healthy;
  registry.add(display.frameBuffer, {"IOFramebufferI2CInterface", "IOI2CInterface", "IOService"},
               "IOFramebufferI2CInterface",
               {{"IOI2CTransactionTypes", talks ? kSimpleAndDdcTransactions : 0},
                {"IOI2CSupportedCommFlags", kDelayInNanoseconds}});
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
