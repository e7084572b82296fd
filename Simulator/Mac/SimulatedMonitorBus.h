#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>

#include "Platform/MonitorBus.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

/// The wires to the monitors as one process sees them: I²C buses of frame buffers on an Intel machine, AV services on
/// Apple silicon. It counts what the process holds. The delay that a request asks for before its reply (Intel) passes
/// in the call when something acknowledges the request; no other call takes time, so that who uses an AV service sleeps
/// between writing and reading.
class SimulatedMonitorBus final : public MonitorBus {
 public:
  SimulatedMonitorBus(SimulatedMac& mac, Session& session);

  std::uint32_t IOFBGetI2CInterfaceCount(io_service_t frameBuffer) override;
  IOObject IOFBCopyI2CInterfaceForBus(io_service_t frameBuffer, std::uint32_t bus) override;
  IOReturn IOI2CInterfaceOpen(io_service_t interface, IOOptionBits options, IOI2CConnectRef& connect) override;
  IOReturn IOI2CInterfaceClose(IOI2CConnectRef connect, IOOptionBits options) override;
  IOReturn IOI2CSendRequest(IOI2CConnectRef connect, IOOptionBits options, IOI2CRequest& request) override;

  std::optional<AVService> IOAVServiceCreateWithService(io_service_t service) override;
  void IOAVServiceRelease(IOAVServiceRef service) override;
  IOReturn IOAVServiceWriteI2C(IOAVServiceRef service, std::uint32_t chipAddress, std::uint32_t dataAddress,
                               std::span<const std::uint8_t> bytes) override;
  IOReturn IOAVServiceReadI2C(IOAVServiceRef service, std::uint32_t chipAddress, std::uint32_t offset,
                              std::span<std::uint8_t> bytes) override;
  std::optional<plist::Data> IOAVServiceCopyEDID(IOAVServiceRef service) override;

 private:
  /// The display at the end of an open connection or AV service; null once it is unplugged or the connection is closed.
  SimulatedDisplay* displayBehind(std::uint64_t connection) const;
  std::uint64_t openTo(io_service_t service);
  void close(std::uint64_t connection, const std::string& call);
  std::vector<io_service_t> buses(io_service_t frameBuffer) const;
  /// Of an interface service; a bus that is gone is closed.
  I2CBus stateOf(io_service_t interface) const;
  /// Notes a frame that a monitor's controls have acknowledged: a command, or a question, for which the caller waits.
  void record(const std::string& call, const SimulatedDisplay& display, std::span<const std::uint8_t> bytes);
  /// The bus's result of a request that was sent.
  IOReturn transfer(SimulatedDisplay& display, IOI2CRequest& request);

  SimulatedMac& mac_;
  Session& session_;
  std::map<std::uint64_t, io_service_t> connections_;
  std::uint64_t nextConnection_ = 1;
};

}  // namespace vlm::sim
