#include <algorithm>
#include <list>
#include <mutex>

#include "Models/DDC.h"
#include "Models/VLMDisplay.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/RunLoop.h"
#include "Platform/System.h"

namespace vlm {

namespace {

// Addresses with the transfer direction in the lowest bit; the host's own stands in frames only.
constexpr std::uint8_t kMonitorWrite = 0x6E, kMonitorRead = 0x6F, kHost = 0x51;
constexpr std::uint8_t kEdidWrite = 0xA0, kEdidRead = 0xA1;
constexpr std::uint32_t kNoTransaction = 0, kSimpleTransaction = 1, kDDCciReplyTransaction = 2;
constexpr std::int64_t kSimpleBit = 0x2, kDDCciReplyBit = 0x4;
constexpr std::size_t kEdidLength = 128;
/// A Get VCP Feature reply: address, length, opcode, result, code, type, maximum and current value of two bytes each,
/// checksum.
constexpr std::size_t kFeatureReplyLength = 11;
constexpr std::uint8_t kFeatureReplyOpcode = 0x02;
constexpr unsigned kReadAttempts = 10;
/// Each attempt gives the monitor that much more time for its reply, milliseconds.
constexpr std::uint64_t kReplyDelayStep = 20;
/// "IOI2CSupportedCommFlags" of an interface that counts reply delays in nanoseconds.
constexpr std::int64_t kDelayInNanoseconds = 2;
constexpr std::uint64_t kNanosecondsPerMillisecond = 1'000'000;
/// A monitor may not be spoken to for a while after a write, seconds.
constexpr double kRestAfterWrite = 0.1;

constexpr std::uint8_t kBrightnessCode = 0x10;
constexpr std::uint8_t kUsualMaximum = 0x64;
constexpr float kBrightnessWithoutAnswer = 0.5F;

/// One lock a display, made when the display is first spoken to, and kept at least as long as the display is there or
/// somebody holds it.
struct DisplayQueue {
  struct Pair {
    explicit Pair(CGDirectDisplayID owner) : display(owner) {}
    /// Whether nobody speaks to the display now. Requests come from one thread: none can begin meanwhile.
    bool isFree() {
      const std::unique_lock held(lock, std::try_to_lock);
      return held.owns_lock();
    }
    const CGDirectDisplayID display;
    std::mutex lock;
  };
  std::list<Pair> pairs;

  std::mutex& lockOf(CGDirectDisplayID display) {
    const auto known =
        std::find_if(pairs.begin(), pairs.end(), [&](const Pair& pair) { return pair.display == display; });
    if (known != pairs.end()) return known->lock;
    // A monitor gets another number with every connection: the free locks of those that are gone would gather for ever.
    pairs.remove_if([](Pair& pair) { return !os().quartz.CGDisplayIsOnline(pair.display) && pair.isFree(); });
    return pairs.emplace_back(display).lock;
  }
};

/// Goes by the machine: services come and go with the monitors. The name is known on Apple silicon alone.
struct Transport {
  bool isAVService = os().system.sysctlbyname("hw.optional.arm64") == 1;
};

std::uint8_t checksumOf(std::span<const std::uint8_t> bytes, std::uint8_t start) {
  for (const std::uint8_t byte : bytes) start ^= byte;
  return start;
}

IOI2CRequest writeFeatureRequest(std::uint8_t code, std::uint8_t value) {
  IOI2CRequest request;
  request.sendTransactionType = kSimpleTransaction;
  request.sendAddress = kMonitorWrite;
  request.sendBuffer = {kHost, 0x84, 0x03, code, 0x00, value};
  request.sendBuffer.push_back(checksumOf(request.sendBuffer, kMonitorWrite));
  return request;
}

IOI2CRequest readFeatureRequest(std::uint8_t code, std::uint64_t replyDelay) {
  IOI2CRequest request;
  request.sendTransactionType = kSimpleTransaction;
  request.sendAddress = kMonitorWrite;
  request.sendBuffer = {kHost, 0x82, 0x01, code};
  request.sendBuffer.push_back(checksumOf(request.sendBuffer, kMonitorWrite));
  request.replyTransactionType = SupportedTransactionType();
  request.replyAddress = kMonitorRead;
  request.replySubAddress = kHost;
  request.replyBuffer.resize(kFeatureReplyLength);
  request.minReplyDelay = replyDelay;
  return request;
}

bool isFeatureReply(std::span<const std::uint8_t> reply, std::uint8_t code) {
  if (reply.size() < kFeatureReplyLength) return false;
  return reply[0] == kMonitorWrite && reply[2] == kFeatureReplyOpcode && reply[4] == code &&
         reply[10] == checksumOf(reply.subspan(1, 9), kMonitorRead ^ kHost);
}

bool readFromFrameBuffer(CGDirectDisplayID display, VLMDisplay::DDCCommand& command) {
  for (unsigned attempt = 1; attempt <= kReadAttempts; ++attempt) {
    IOI2CRequest request = readFeatureRequest(command[0], kReplyDelayStep * attempt);
    if (!DisplayRequest_Intel(display, request) || !isFeatureReply(request.replyBuffer, command[0])) continue;
    command = {command[0], 1, request.replyBuffer[7], request.replyBuffer[9]};
    return true;
  }
  command = {command[0], 0, 0, 0};
  return false;
}

bool readFromAVService(VLMDisplay& display, VLMDisplay::DDCCommand& command) {
  command[1] = 0;
  if (display.container == nullptr) return false;
  const AVService service = IOCreateAVServiceRef(display.cgID, nullptr, display.container->ioServicesCached());
  if (!service) return false;
  const auto reply = AppleSilicon::readFeature(service, command[0]);
  if (!reply) return false;
  command = {command[0], 1, reply->maximum, reply->current};
  return true;
}

/// Sends on one bus; false when it cannot be opened or refuses.
bool sendOnBus(io_service_t frameBuffer, std::uint32_t bus, IOI2CRequest& request) {
  const IOObject interface = os().monitorBus.IOFBCopyI2CInterfaceForBus(frameBuffer, bus);
  if (!interface) return false;
  if (request.minReplyDelay != 0) {
    const auto flags = os().registry.IORegistryEntryCreateCFProperty(interface.get(), "IOI2CSupportedCommFlags");
    // Meant: a request that goes on to another bus is multiplied once more there.
    if (flags && flags->sInt64() == kDelayInNanoseconds) request.minReplyDelay *= kNanosecondsPerMillisecond;
  }
  IOI2CConnectRef connect = 0;
  if (os().monitorBus.IOI2CInterfaceOpen(interface.get(), 0, connect) != kIOReturnSuccess) return false;
  const IOReturn sent = os().monitorBus.IOI2CSendRequest(connect, 0, request);
  os().monitorBus.IOI2CInterfaceClose(connect, 0);
  return sent == kIOReturnSuccess;
}

}  // namespace

bool hasAVServices() { return Process::current().state<Transport>().isAVService; }

std::uint32_t SupportedTransactionType() {
  const IOObject services = os().registry.IOServiceGetMatchingServices("IOFramebufferI2CInterface");
  if (!services) return kNoTransaction;
  while (const IOObject service = os().registry.IOIteratorNext(services)) {
    const auto properties = os().registry.IORegistryEntryCreateCFProperties(service.get());
    const std::int64_t types = properties ? properties->sInt64("IOI2CTransactionTypes") : 0;
    if ((types & kDDCciReplyBit) != 0) return kDDCciReplyTransaction;
    if ((types & kSimpleBit) != 0) return kSimpleTransaction;
  }
  return kNoTransaction;
}

bool DisplayRequest_Intel(CGDirectDisplayID display, IOI2CRequest& request) {
  const std::lock_guard lock(Process::current().state<DisplayQueue>().lockOf(display));
  const io_service_t frameBuffer = os().quartz.CGDisplayIOServicePort(display);
  const std::uint32_t buses = frameBuffer != 0 ? os().monitorBus.IOFBGetI2CInterfaceCount(frameBuffer) : 0;
  bool isSent = false;
  for (std::uint32_t bus = 0; bus < buses && !isSent; ++bus) isSent = sendOnBus(frameBuffer, bus, request);
  if (request.replyTransactionType == kNoTransaction) os().runLoop.sleep(kRestAfterWrite);
  return isSent && request.result == kIOReturnSuccess;
}

bool VLMDisplay::canUseDDC() const {
  return !os().quartz.CGDisplayIsBuiltin(cgID) && SupportedTransactionType() != kNoTransaction;
}

bool VLMDisplay::writeDDCCommand(const DDCCommand& command) {
  if (!hasAVServices()) {
    IOI2CRequest request = writeFeatureRequest(command[0], command[1]);
    return DisplayRequest_Intel(cgID, request);
  }
  if (container == nullptr) return true;
  const AVService service = IOCreateAVServiceRef(cgID, nullptr, container->ioServicesCached());
  if (service) AppleSilicon::writeFeature(service, command[0], command[1]);
  // Nothing comes back from this transport, so a write counts as done, also when there is no service.
  return true;
}

bool VLMDisplay::readDDCCommand(DDCCommand& command) {
  return hasAVServices() ? readFromAVService(*this, command) : readFromFrameBuffer(cgID, command);
}

void VLMDisplay::setBrightnessviaDDC(float value) {
  writeDDCCommand({kBrightnessCode, truncateTo<std::uint8_t>(wholePartTo<std::int64_t>(value)), 0, 0});
}

float VLMDisplay::brightnessViaDDCWithMaxValue(float& maximum) {
  DDCCommand command{kBrightnessCode, 0, kUsualMaximum, 0};
  if (!readDDCCommand(command)) {
    maximum = 0;
    return kBrightnessWithoutAnswer;
  }
  maximum = command[2];
  return command[3];
}

std::optional<plist::Data> VLMDisplay::directEdid() {
  IOI2CRequest request;
  request.sendTransactionType = kSimpleTransaction;
  request.sendAddress = kEdidWrite;
  request.sendBuffer = {0x00};
  request.replyTransactionType = kSimpleTransaction;
  request.replyAddress = kEdidRead;
  request.replyBuffer.resize(kEdidLength);
  if (!DisplayRequest_Intel(cgID, request)) return std::nullopt;
  return request.replyBuffer;
}

}  // namespace vlm
