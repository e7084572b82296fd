#include <array>
#include <cstdio>
#include <string>
#include <utility>

#include "Simulator/Mac/DdcMonitor.h"
#include "Simulator/Mac/WindowServerParts.h"

/// What the I/O registry says about a display that is plugged in.
namespace vlm::sim {
namespace {

/// Kinds of connection, as "AppleDisplayType" numbers them.
constexpr int kPanelConnection = 2, kVgaConnection = 10, kLcdConnection = 20;
/// "IOI2CSupportedCommFlags": reply delays are in nanoseconds, or not.
constexpr int kDelayInNanoseconds = 2, kDelayInMilliseconds = 0;

/// "IOFBTransform" of an upright, right-turned, upside-down and left-turned picture: axes swapped 0x10, x inverted
/// 0x20, y inverted 0x40.
constexpr std::array<std::uint32_t, 4> kTransforms{0x00, 0x30, 0x60, 0x50};
constexpr std::uint32_t kInvertX = 0x20;
constexpr std::array<std::int32_t, 4> kFlippedAngles{-1, -3, -2, -4};
constexpr std::array<Turn, 8> kTurns{
    {{0, false}, {90, false}, {180, false}, {270, false}, {0, true}, {90, true}, {180, true}, {270, true}}};

std::uint32_t transformOf(Turn turn) { return kTransforms[turn.degrees / 90 % 4] ^ (turn.flipped ? kInvertX : 0); }

int connectionOf(const SimulatedDisplay& display) {
  if (display.description.builtIn) return kPanelConnection;
  return display.edid.digital ? kLcdConnection : kVgaConnection;
}

plist::Dictionary frameBufferProperties(const SimulatedDisplay& display) {
  plist::Dictionary properties{{"IOFBConfig", frameBufferConfig(display.modes)}};
  if (display.description.canRotate) properties.set("IOFBTransform", transformOf(display.turn));
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
  const int unit = display.description.i2cDelayInMilliseconds ? kDelayInMilliseconds : kDelayInNanoseconds;
  for (std::size_t bus = 0; bus < display.description.i2cBuses.size(); ++bus) {
    registry.add(
        display.frameBuffer, {"IOFramebufferI2CInterface", "IOI2CInterface", "IOService"}, "IOFramebufferI2CInterface",
        {{"IOI2CTransactionTypes", i2cTransactionTypes(display.description)}, {"IOI2CSupportedCommFlags", unit}});
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

std::optional<Turn> turnOfAngle(std::int64_t angle) {
  for (const Turn& turn : kTurns) {
    if (angleOf(turn) == angle) return turn;
  }
  return std::nullopt;
}

std::int32_t angleOf(const Turn& turn) {
  if (!turn.flipped) return static_cast<std::int32_t>(turn.degrees);
  return kFlippedAngles[turn.degrees / 90 % 4];
}

std::optional<Turn> turnOfTransform(std::uint32_t transform) {
  for (const Turn& turn : kTurns) {
    if (transformOf(turn) == transform) return turn;
  }
  return std::nullopt;
}

void WindowServer::Implementation::publishTurn(const SimulatedDisplay& display) {
  if (!display.description.canRotate) return;
  registry.setProperty(display.frameBuffer, "IOFBTransform", transformOf(display.turn));
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
