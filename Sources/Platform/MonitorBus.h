#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "Platform/IOObject.h"
#include "Platform/IORegistry.h"

namespace vlm {

/// One request on a frame buffer's I²C bus. Addresses are 8-bit ones (the transfer direction in the lowest bit).
struct IOI2CRequest {
  std::uint32_t sendTransactionType = 0;   ///< 0 none, 1 simple, 2 DDC/CI reply
  std::uint32_t replyTransactionType = 0;  ///< the same numbers
  std::uint32_t sendAddress = 0;
  std::uint32_t replyAddress = 0;
  std::uint8_t replySubAddress = 0;
  std::uint64_t minReplyDelay = 0;  ///< nanoseconds or milliseconds, as the interface's flags say
  std::uint32_t commFlags = 0;
  std::vector<std::uint8_t> sendBuffer;
  /// Its size is the number of bytes asked for; filled by the call.
  std::vector<std::uint8_t> replyBuffer;
  /// The bus's own result of the request, beside that of sending it.
  IOReturn result = 0;
};

/// What an opened I²C interface is known by. 0 is none.
using IOI2CConnectRef = std::uint64_t;
/// An AV service (Apple silicon) is known by. 0 is none.
using IOAVServiceRef = std::uint64_t;

class MonitorBus;

/// An AV service; given back when it goes.
class AVService {
 public:
  AVService() = default;
  AVService(MonitorBus& port, IOAVServiceRef service) : port_(&port), service_(service) {}
  AVService(AVService&& other) noexcept : port_(other.port_), service_(std::exchange(other.service_, 0)) {}
  AVService& operator=(AVService&& other) noexcept {
    std::swap(port_, other.port_);
    std::swap(service_, other.service_);
    return *this;
  }
  ~AVService();
  IOAVServiceRef get() const { return service_; }
  explicit operator bool() const { return service_ != 0; }

 private:
  MonitorBus* port_ = nullptr;
  IOAVServiceRef service_ = 0;
};

/// The I²C wires to the monitors: a frame buffer's buses on Intel machines, AV services on Apple silicon.
class MonitorBus {
 public:
  virtual ~MonitorBus() = default;

  /// Number of buses of a frame buffer; 0 when it has none.
  virtual std::uint32_t IOFBGetI2CInterfaceCount(io_service_t frameBuffer) = 0;
  /// The interface service of a bus, or none.
  virtual IOObject IOFBCopyI2CInterfaceForBus(io_service_t frameBuffer, std::uint32_t bus) = 0;
  virtual IOReturn IOI2CInterfaceOpen(io_service_t interface, IOOptionBits options, IOI2CConnectRef& connect) = 0;
  virtual IOReturn IOI2CInterfaceClose(IOI2CConnectRef connect, IOOptionBits options) = 0;
  /// Sends and waits for the reply; fills `replyBuffer`, of which a shorter reply leaves the rest as it was, and
  /// `result`.
  virtual IOReturn IOI2CSendRequest(IOI2CConnectRef connect, IOOptionBits options, IOI2CRequest& request) = 0;

  /// Absent where the system has no AV services; none (0) when it refuses this one.
  virtual std::optional<AVService> IOAVServiceCreateWithService(io_service_t service) = 0;
  virtual void IOAVServiceRelease(IOAVServiceRef service) = 0;
  /// 7-bit chip address.
  virtual IOReturn IOAVServiceWriteI2C(IOAVServiceRef service, std::uint32_t chipAddress, std::uint32_t dataAddress,
                                       std::span<const std::uint8_t> bytes) = 0;
  virtual IOReturn IOAVServiceReadI2C(IOAVServiceRef service, std::uint32_t chipAddress, std::uint32_t offset,
                                      std::span<std::uint8_t> bytes) = 0;
  virtual std::optional<plist::Data> IOAVServiceCopyEDID(IOAVServiceRef service) = 0;
};

inline AVService::~AVService() {
  if (service_ != 0) port_->IOAVServiceRelease(service_);
}

}  // namespace vlm
