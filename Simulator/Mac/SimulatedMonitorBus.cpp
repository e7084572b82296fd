#include "Simulator/Mac/SimulatedMonitorBus.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>
#include <vector>

#include "Platform/Numbers.h"
#include "Simulator/Mac/DdcMonitor.h"
#include "Simulator/Mac/Registry.h"
#include "Simulator/Mac/Scheduler.h"

namespace vlm::sim {
namespace {

constexpr IOReturn kIOReturnError = static_cast<IOReturn>(0xe00002bc);
constexpr IOReturn kIOReturnNoDevice = static_cast<IOReturn>(0xe00002c0);
constexpr IOReturn kIOReturnBadArgument = static_cast<IOReturn>(0xe00002c2);
constexpr IOReturn kIOReturnUnsupported = static_cast<IOReturn>(0xe00002c7);
constexpr IOReturn kIOReturnNotResponding = static_cast<IOReturn>(0xe00002ed);

constexpr const char* kI2CInterface = "IOFramebufferI2CInterface";
constexpr const char* kAVService = "DCPAVServiceProxy";

/// Transaction types of a request; an interface has a bit of that number for each that it can transfer.
constexpr std::uint32_t kNoTransaction = 0, kSimpleTransaction = 1, kDdcReplyTransaction = 2;

/// Reply delays, in the unit that the interfaces say in "IOI2CSupportedCommFlags".
constexpr double kNanosecondsPerSecond = 1e9, kMillisecondsPerSecond = 1e3;

/// 7-bit addresses on an AV service's wire.
constexpr std::uint32_t kControlChip = 0x37, kEdidChip = 0x50;

std::string hexadecimal(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    std::array<char, 4> digits{};
    std::snprintf(digits.data(), digits.size(), "%02x", byte);
    text += (text.empty() ? "" : " ") + std::string(digits.data());
  }
  return text;
}

}  // namespace

SimulatedMonitorBus::SimulatedMonitorBus(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

// --- Connections ---

std::uint64_t SimulatedMonitorBus::openTo(io_service_t service) {
  session_.holdObject();
  connections_[nextConnection_] = service;
  return nextConnection_++;
}

void SimulatedMonitorBus::close(std::uint64_t connection, const std::string& call) {
  if (connections_.erase(connection) != 0) {
    session_.releaseObject();
  } else {
    mac_.windowServer().addFault(session_.description().name + ": " + call + " of something that is not open");
  }
}

SimulatedDisplay* SimulatedMonitorBus::displayBehind(std::uint64_t connection) const {
  const auto found = connections_.find(connection);
  return found == connections_.end() ? nullptr : mac_.windowServer().displayWithService(found->second);
}

void SimulatedMonitorBus::record(const std::string& call, const SimulatedDisplay& display,
                                 std::span<const std::uint8_t> bytes) {
  session_.record(call + "(" + display.description.name + ", " + hexadecimal(bytes) + ")");
}

// --- Intel ---

std::vector<io_service_t> SimulatedMonitorBus::buses(io_service_t frameBuffer) const {
  const Registry& registry = mac_.windowServer().registry();
  std::vector<io_service_t> result = registry.below(frameBuffer, false);
  std::erase_if(result, [&](io_service_t child) { return !registry.find(child)->conformsTo(kI2CInterface); });
  return result;
}

I2CBus SimulatedMonitorBus::stateOf(io_service_t interface) const {
  const SimulatedDisplay* const display = mac_.windowServer().displayWithService(interface);
  if (display == nullptr) return I2CBus::closed;
  const std::vector<io_service_t> all = buses(display->frameBuffer);
  const auto bus = static_cast<std::size_t>(std::find(all.begin(), all.end(), interface) - all.begin());
  const std::vector<I2CBus>& states = display->description.i2cBuses;
  return bus < states.size() ? states[bus] : I2CBus::closed;
}

std::uint32_t SimulatedMonitorBus::IOFBGetI2CInterfaceCount(io_service_t frameBuffer) {
  return static_cast<std::uint32_t>(buses(frameBuffer).size());
}

IOObject SimulatedMonitorBus::IOFBCopyI2CInterfaceForBus(io_service_t frameBuffer, std::uint32_t bus) {
  const std::vector<io_service_t> all = buses(frameBuffer);
  if (bus >= all.size()) return {};
  return session_.ports().registry.IOObjectRetain(all[bus]);
}

IOReturn SimulatedMonitorBus::IOI2CInterfaceOpen(io_service_t interface, IOOptionBits, IOI2CConnectRef& connect) {
  connect = 0;
  const RegistryEntry* entry = mac_.windowServer().registry().find(interface);
  if (entry == nullptr || !entry->conformsTo(kI2CInterface)) return kIOReturnBadArgument;
  if (stateOf(interface) == I2CBus::closed) return kIOReturnError;
  connect = openTo(interface);
  return kIOReturnSuccess;
}

IOReturn SimulatedMonitorBus::IOI2CInterfaceClose(IOI2CConnectRef connect, IOOptionBits) {
  close(connect, "IOI2CInterfaceClose");
  return kIOReturnSuccess;
}

IOReturn SimulatedMonitorBus::IOI2CSendRequest(IOI2CConnectRef connect, IOOptionBits, IOI2CRequest& request) {
  SimulatedDisplay* display = displayBehind(connect);
  if (display == nullptr) return kIOReturnNoDevice;
  if (stateOf(connections_.at(connect)) != I2CBus::working) return kIOReturnError;
  const std::uint32_t reply = request.replyTransactionType;
  const std::uint32_t types = display->description.publishedTransactionTypes();
  const bool sendKnown = request.sendTransactionType <= kSimpleTransaction;
  const bool replyKnown = reply == kNoTransaction || (reply <= kDdcReplyTransaction && (types >> reply & 1) != 0);
  request.result = sendKnown && replyKnown ? transfer(*display, request) : kIOReturnUnsupported;
  return kIOReturnSuccess;
}

IOReturn SimulatedMonitorBus::transfer(SimulatedDisplay& display, IOI2CRequest& request) {
  if (request.sendTransactionType != kNoTransaction) {
    const auto address = truncateTo<std::uint8_t>(request.sendAddress);
    if (!display.monitor->write(address, request.sendBuffer, mac_.now())) return kIOReturnNotResponding;
    if (address == DdcMonitor::kControlWrite) record("IOI2CSendRequest", display, request.sendBuffer);
  }
  if (request.replyTransactionType == kNoTransaction) return kIOReturnSuccess;
  // A DDC/CI reply is fetched for the host of this address; any other is nobody's.
  if (request.replyTransactionType == kDdcReplyTransaction && request.replySubAddress != DdcMonitor::kHostAddress) {
    return kIOReturnNotResponding;
  }
  const double unitsPerSecond =
      display.description.i2cDelayInMilliseconds ? kMillisecondsPerSecond : kNanosecondsPerSecond;
  mac_.scheduler().passTime(static_cast<double>(request.minReplyDelay) / unitsPerSecond);
  const auto address = truncateTo<std::uint8_t>(request.replyAddress);
  return display.monitor->read(address, request.replyBuffer, mac_.now()) ? kIOReturnSuccess : kIOReturnNotResponding;
}

// --- Apple silicon ---

std::optional<AVService> SimulatedMonitorBus::IOAVServiceCreateWithService(io_service_t service) {
  if (mac_.machine().processor != Processor::appleSilicon) return std::nullopt;
  const RegistryEntry* entry = mac_.windowServer().registry().find(service);
  if (entry == nullptr || !entry->conformsTo(kAVService)) return AVService();
  return AVService(*this, openTo(service));
}

void SimulatedMonitorBus::IOAVServiceRelease(IOAVServiceRef service) { close(service, "IOAVServiceRelease"); }

/// The service sends the data address ahead of the bytes.
IOReturn SimulatedMonitorBus::IOAVServiceWriteI2C(IOAVServiceRef service, std::uint32_t chipAddress,
                                                  std::uint32_t dataAddress, std::span<const std::uint8_t> bytes) {
  SimulatedDisplay* display = displayBehind(service);
  if (display == nullptr) return kIOReturnNoDevice;
  plist::Data frame{truncateTo<std::uint8_t>(dataAddress)};
  frame.insert(frame.end(), bytes.begin(), bytes.end());
  const auto address = truncateTo<std::uint8_t>(chipAddress << 1);
  if (!display->monitor->write(address, frame, mac_.now(), DdcMonitor::HostInQuestion::absent)) {
    return kIOReturnNotResponding;
  }
  if (chipAddress == kControlChip) record("IOAVServiceWriteI2C", *display, bytes);
  return kIOReturnSuccess;
}

IOReturn SimulatedMonitorBus::IOAVServiceReadI2C(IOAVServiceRef service, std::uint32_t chipAddress,
                                                 std::uint32_t offset, std::span<std::uint8_t> bytes) {
  SimulatedDisplay* display = displayBehind(service);
  if (display == nullptr) return kIOReturnNoDevice;
  const double now = mac_.now();
  if (chipAddress == kEdidChip) {
    const std::array<std::uint8_t, 1> start{truncateTo<std::uint8_t>(offset)};
    if (!display->monitor->write(DdcMonitor::kEdidWrite, start, now)) return kIOReturnNotResponding;
  } else if (offset != DdcMonitor::kHostAddress) {
    return kIOReturnNotResponding;
  }
  const auto address = truncateTo<std::uint8_t>(chipAddress << 1 | 1);
  return display->monitor->read(address, bytes, now) ? kIOReturnSuccess : kIOReturnNotResponding;
}

std::optional<plist::Data> SimulatedMonitorBus::IOAVServiceCopyEDID(IOAVServiceRef service) {
  const OperatingSystemVersion& version = mac_.machine().systemVersion;
  const bool hasCall =
      std::pair(version.majorVersion, version.minorVersion) >= std::pair<std::int64_t, std::int64_t>(11, 3);
  const SimulatedDisplay* display = displayBehind(service);
  if (!hasCall || display == nullptr) return std::nullopt;
  return display->description.edid;
}

}  // namespace vlm::sim
