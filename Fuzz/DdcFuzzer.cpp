#include <array>

#include "Fuzz/FuzzInput.h"
#include "Fuzz/FuzzMac.h"
#include "Models/DDC.h"
#include "Models/VLMGlobals.h"
#include "Platform/Numbers.h"
#include "Platform/Quartz.h"
#include "Simulator/Mac/DdcMonitor.h"

/// What comes over the I²C wires: to the daemon as answers of monitors, and to the simulated monitor as frames.
namespace vlm::fuzz {
namespace {

constexpr std::size_t kIntelReplyLength = 11;

std::uint8_t exclusiveOr(Bytes bytes, std::uint8_t start) {
  for (const std::uint8_t byte : bytes) start = truncateTo<std::uint8_t>(start ^ byte);
  return start;
}

/// An answer to a question for the brightness without a fault (DDC/CI 1.1, 4.3; MCCS 2.2, 8.1).
std::array<std::uint8_t, kIntelReplyLength> goodReply(std::uint8_t maximum, std::uint8_t current) {
  std::array<std::uint8_t, kIntelReplyLength> reply{0x6E, 0x88, 0x02, 0x00, 0x10, 0x00, 0x00, maximum, 0x00, current};
  reply.back() = exclusiveOr(Bytes(reply).first(reply.size() - 1), 0x50);
  return reply;
}

/// Wires on which the input answers.
class FuzzBus final : public MonitorBus {
 public:
  FuzzBus(FuzzMac& mac, Input& input) : real_(mac.session.adapters().monitorBus), input_(input) {}

  std::uint32_t IOFBGetI2CInterfaceCount(io_service_t /*frameBuffer*/) override {
    return static_cast<std::uint32_t>(input_.below(4));
  }
  IOObject IOFBCopyI2CInterfaceForBus(io_service_t frameBuffer, std::uint32_t bus) override {
    return oneIn(8) ? IOObject() : real_.IOFBCopyI2CInterfaceForBus(frameBuffer, bus == 0 || oneIn(2) ? 0 : bus);
  }
  IOReturn IOI2CInterfaceOpen(io_service_t /*interface*/, IOOptionBits, IOI2CConnectRef& connect) override {
    if (oneIn(8)) return kFailure;
    ++open_;
    connect = ++lastNumber_;
    return kIOReturnSuccess;
  }
  IOReturn IOI2CInterfaceClose(IOI2CConnectRef connect, IOOptionBits) override {
    check(connect == lastNumber_ && open_-- == 1, "what is closed was opened");
    return kIOReturnSuccess;
  }
  IOReturn IOI2CSendRequest(IOI2CConnectRef /*connect*/, IOOptionBits, IOI2CRequest& request) override {
    answer(request.replyBuffer);
    // A driver tells how many bytes have come.
    if (oneIn(8)) request.replyBuffer.resize(input_.below(request.replyBuffer.size() + 1));
    lastReply = request.replyBuffer;
    request.result = oneIn(8) ? kFailure : kIOReturnSuccess;
    return oneIn(8) ? kFailure : kIOReturnSuccess;
  }

  std::optional<AVService> IOAVServiceCreateWithService(io_service_t /*service*/) override {
    if (oneIn(16)) return std::nullopt;
    if (oneIn(16)) return AVService(*this, 0);
    ++open_;
    return AVService(*this, ++lastNumber_);
  }
  void IOAVServiceRelease(IOAVServiceRef /*service*/) override { --open_; }
  IOReturn IOAVServiceWriteI2C(IOAVServiceRef, std::uint32_t, std::uint32_t, Bytes) override {
    return oneIn(8) ? kFailure : kIOReturnSuccess;
  }
  IOReturn IOAVServiceReadI2C(IOAVServiceRef, std::uint32_t, std::uint32_t, std::span<std::uint8_t> bytes) override {
    answer(bytes);
    return oneIn(8) ? kFailure : kIOReturnSuccess;
  }
  std::optional<plist::Data> IOAVServiceCopyEDID(IOAVServiceRef /*service*/) override {
    if (oneIn(8)) return std::nullopt;
    plist::Data edid = ownEdid;
    // Nearly the display's own, or anything.
    if (oneIn(2)) edid.resize(input_.below(edid.size() + 1));
    if (oneIn(2)) edid[0] = input_.byte();
    if (oneIn(4)) {
      const Bytes bytes = input_.take(input_.byte());
      edid.assign(bytes.begin(), bytes.end());
    }
    return edid;
  }

  int open() const { return open_; }
  plist::Data lastReply;
  plist::Data ownEdid;

 private:
  static constexpr IOReturn kFailure = static_cast<IOReturn>(0xe00002bc);

  /// Never behind the input's end, where everything goes well.
  bool oneIn(std::size_t count) { return input_.byte() % count == count - 1; }

  /// Raw bytes, or a good reply with some of its bits turned.
  void answer(std::span<std::uint8_t> bytes) {
    const std::size_t kind = input_.below(4);
    if (kind == 0) {
      for (std::uint8_t& byte : bytes) byte = input_.byte();
      return;
    }
    const std::uint8_t maximum = input_.byte();
    auto reply = goodReply(maximum, input_.byte());
    if (kind == 2) reply[input_.below(reply.size())] ^= input_.byte();
    std::fill(bytes.begin(), bytes.end(), std::uint8_t{0});
    std::copy_n(reply.begin(), std::min(reply.size(), bytes.size()), bytes.begin());
  }

  sim::SimulatedMonitorBus& real_;
  Input& input_;
  int open_ = 0;
  std::uint64_t lastNumber_ = 0;
};

/// Nobody waits.
class NoSleep final : public sim::SimulatedRunLoop {
 public:
  using SimulatedRunLoop::SimulatedRunLoop;
  void sleep(double /*seconds*/) override {}
};

void checkIntelReply(const FuzzBus& bus, const VLMDisplay::DDCCommand& command, std::uint8_t code) {
  const plist::Data& reply = bus.lastReply;
  check(reply.size() >= kIntelReplyLength, "a reply that counts is whole");
  check(exclusiveOr(Bytes(reply).subspan(1, 10), 0x3E) == 0, "a reply that counts has its checksum");
  check(reply[0] == 0x6E && reply[2] == 0x02 && reply[4] == code, "a reply that counts answers the question");
  check(command == VLMDisplay::DDCCommand{code, 1, reply[7], reply[9]}, "its values are the reply's");
}

void talkTo(FuzzMac& mac, bool isIntel, Input& input) {
  FuzzBus bus(mac, input);
  NoSleep runLoop(mac.mac, mac.session);
  const auto& target = mac.mac.windowServer().displays()[1];
  bus.ownEdid = target->description.edid;
  const std::size_t heldBefore = mac.session.heldObjects();
  {
    const Process process(mac.session.ports({.monitorBus = &bus, .runLoop = &runLoop}));
    const auto display = VLMDisplay::init();
    display->container = &VLMGlobals::sharedInstance();
    display->cgID = target->id;
    for (std::size_t i = 0; i < 3; ++i) {
      VLMDisplay::DDCCommand command{input.below(2) == 0 ? std::uint8_t{0x10} : input.byte(), input.byte()};
      const std::uint8_t code = command[0];
      switch (input.below(6)) {
        case 0:
          if (display->readDDCCommand(command) && isIntel) checkIntelReply(bus, command, code);
          check(command[0] == code, "the code that was asked for stays");
          break;
        case 1:
          display->writeDDCCommand(command);
          break;
        case 2:
          display->canBrightness = display->brightnessMethod();
          display->readBrightness();
          break;
        case 3: {
          float maximum = -1;
          const float current = display->brightnessViaDDCWithMaxValue(maximum);
          check(maximum >= 0 && maximum <= 255 && current >= 0 && current <= 255, "brightness is a byte's value");
          break;
        }
        case 4:
          if (isIntel) display->directEdid();
          break;
        default:
          display->initializeRegistryData();
          check(display->sysMonitorName && !display->sysMonitorName->empty(), "every display has a name");
      }
    }
  }
  check(bus.open() == 0, "what was opened is closed");
  check(mac.session.heldObjects() == heldBefore, "what was handed out is given back");
  mac.mac.forgetHistory();
}

/// The simulated monitor behind the wire, with every behaviour.
void sendTo(Input& input) {
  std::uint16_t current = truncateTo<std::uint16_t>(input.number(2));
  const auto maximum = truncateTo<std::uint16_t>(input.number(2));
  current = std::min(current, maximum);
  const Bytes edid = input.take(input.byte());
  sim::DdcMonitor monitor(static_cast<sim::DdcBehaviour>(input.below(7)), plist::Data(edid.begin(), edid.end()),
                          maximum, current);
  for (double now = 0; !input.atEnd(); now += 0.02) {
    const std::uint8_t address = input.below(4) == 0 ? input.byte() : std::uint8_t{0x6E};
    const auto rule =
        input.below(2) == 0 ? sim::DdcMonitor::HostInQuestion::present : sim::DdcMonitor::HostInQuestion::absent;
    if (input.below(2) == 0) {
      plist::Data frame{0x51, 0x84, 0x03, 0x10, input.byte(), input.byte(), 0};
      frame.back() = truncateTo<std::uint8_t>(exclusiveOr(frame, 0x6E) ^ (input.below(4) == 0 ? input.byte() : 0));
      monitor.write(address, frame, now, rule);
    } else {
      monitor.write(address, input.take(input.below(40)), now, rule);
    }
    std::array<std::uint8_t, 64> reply{};
    monitor.read(input.below(4) == 0 ? input.byte() : std::uint8_t{0x6F},
                 std::span(reply).first(input.below(reply.size() + 1)), now + 0.02);
    check(current <= maximum, "no frame sets more than the maximum");
  }
}

}  // namespace
}  // namespace vlm::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vlm::fuzz;
  static FuzzMac intel("laptop-and-two"), silicon("silicon-laptop-and-one");
  Input input({data, size});
  switch (input.below(3)) {
    case 0:
      talkTo(intel, true, input);
      break;
    case 1:
      talkTo(silicon, false, input);
      break;
    default:
      sendTo(input);
  }
  return 0;
}
