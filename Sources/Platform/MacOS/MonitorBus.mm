#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/PrivateSymbols.h"
#include "Platform/MacOS/PropertyListBridge.h"

// This header, unlike its neighbours, does not say that its functions are C ones.
extern "C" {
#import <IOKit/i2c/IOI2CInterface.h>
}

namespace vlm::native {

namespace {

/// Points into the buffers of `request`, which must outlive it. Without a completion routine the platform's call waits
/// for the reply.
::IOI2CRequest nativeRequest(IOI2CRequest& request) {
  ::IOI2CRequest record = {};
  record.sendTransactionType = request.sendTransactionType;
  record.replyTransactionType = request.replyTransactionType;
  record.sendAddress = request.sendAddress;
  record.replyAddress = request.replyAddress;
  record.replySubAddress = request.replySubAddress;
  record.minReplyDelay = request.minReplyDelay;
  record.commFlags = request.commFlags;
  record.sendBuffer = reinterpret_cast<vm_address_t>(request.sendBuffer.data());
  record.sendBytes = static_cast<std::uint32_t>(request.sendBuffer.size());
  record.replyBuffer = reinterpret_cast<vm_address_t>(request.replyBuffer.data());
  record.replyBytes = static_cast<std::uint32_t>(request.replyBuffer.size());
  return record;
}

::IOI2CConnectRef native(IOI2CConnectRef connect) { return reinterpret_cast<::IOI2CConnectRef>(connect); }
CFTypeRef nativeService(IOAVServiceRef service) { return reinterpret_cast<CFTypeRef>(service); }

class NativeMonitorBus final : public MonitorBus {
 public:
  /// The port that interface services go back to.
  explicit NativeMonitorBus(IORegistry& registry) : registry_(registry) {}

  std::uint32_t IOFBGetI2CInterfaceCount(io_service_t frameBuffer) override {
    IOItemCount count = 0;
    return ::IOFBGetI2CInterfaceCount(frameBuffer, &count) == kIOReturnSuccess ? count : 0;
  }
  IOObject IOFBCopyI2CInterfaceForBus(io_service_t frameBuffer, std::uint32_t bus) override {
    io_service_t interface = IO_OBJECT_NULL;
    const IOReturn result = ::IOFBCopyI2CInterfaceForBus(frameBuffer, bus, &interface);
    return result == kIOReturnSuccess ? IOObject(registry_, interface) : IOObject();
  }
  IOReturn IOI2CInterfaceOpen(io_service_t interface, IOOptionBits options, IOI2CConnectRef& connect) override {
    ::IOI2CConnectRef opened = nullptr;
    const IOReturn result = ::IOI2CInterfaceOpen(interface, options, &opened);
    connect = reinterpret_cast<IOI2CConnectRef>(opened);
    return result;
  }
  IOReturn IOI2CInterfaceClose(IOI2CConnectRef connect, IOOptionBits options) override {
    return ::IOI2CInterfaceClose(native(connect), options);
  }
  IOReturn IOI2CSendRequest(IOI2CConnectRef connect, IOOptionBits options, IOI2CRequest& request) override {
    ::IOI2CRequest record = nativeRequest(request);
    const IOReturn result = ::IOI2CSendRequest(native(connect), options, &record);
    request.result = record.result;
    return result;
  }

  std::optional<AVService> IOAVServiceCreateWithService(io_service_t service) override {
    const auto create = privateSymbols().IOAVServiceCreateWithService;
    if (create == nullptr) return std::nullopt;
    return AVService(*this, reinterpret_cast<IOAVServiceRef>(create(kCFAllocatorDefault, service)));
  }
  void IOAVServiceRelease(IOAVServiceRef service) override { ::CFRelease(nativeService(service)); }
  IOReturn IOAVServiceWriteI2C(IOAVServiceRef service, std::uint32_t chipAddress, std::uint32_t dataAddress,
                               std::span<const std::uint8_t> bytes) override {
    const auto write = privateSymbols().IOAVServiceWriteI2C;
    if (write == nullptr) return kIOReturnUnsupported;
    return write(nativeService(service), chipAddress, dataAddress, bytes.data(),
                 static_cast<std::uint32_t>(bytes.size()));
  }
  IOReturn IOAVServiceReadI2C(IOAVServiceRef service, std::uint32_t chipAddress, std::uint32_t offset,
                              std::span<std::uint8_t> bytes) override {
    const auto read = privateSymbols().IOAVServiceReadI2C;
    if (read == nullptr) return kIOReturnUnsupported;
    return read(nativeService(service), chipAddress, offset, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  }
  std::optional<plist::Data> IOAVServiceCopyEDID(IOAVServiceRef service) override {
    const auto copy = privateSymbols().IOAVServiceCopyEDID;
    ScopedCF<CFDataRef> edid;
    if (copy == nullptr || copy(nativeService(service), edid.receive()) != kIOReturnSuccess) return std::nullopt;
    return dataFromCF(edid.get());
  }

 private:
  IORegistry& registry_;
};

}  // namespace

std::unique_ptr<MonitorBus> makeNativeMonitorBus(IORegistry& registry) {
  return std::make_unique<NativeMonitorBus>(registry);
}

}  // namespace vlm::native
