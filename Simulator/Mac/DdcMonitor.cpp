#include "Simulator/Mac/DdcMonitor.h"

#include <algorithm>
#include <utility>

#include "Platform/Numbers.h"

namespace vlm::sim {
namespace {

using Bytes = std::span<const std::uint8_t>;

/// DDC/CI 1.1, 4.3 and 4.4: opcodes, and the results of a reply.
constexpr std::uint8_t kGetFeature = 0x01, kGetFeatureReply = 0x02, kSetFeature = 0x03;
constexpr std::uint8_t kFeatureKnown = 0x00, kFeatureUnknown = 0x01;
/// Set in every length byte.
constexpr std::uint8_t kLengthMark = 0x80;
/// A host's address, its length byte and the checksum stand around the message.
constexpr std::size_t kFrameOverhead = 3;
/// What a computer that reads is called in the checksum; it never is on the wire.
constexpr std::uint8_t kVirtualHostAddress = 0x50;

std::uint8_t exclusiveOr(Bytes bytes, std::uint8_t start) {
  for (const std::uint8_t byte : bytes) start = truncateTo<std::uint8_t>(start ^ byte);
  return start;
}

bool isChecksumRight(Bytes frame, DdcMonitor::HostInChecksum rule) {
  const std::uint8_t right = exclusiveOr(frame.first(frame.size() - 1), DdcMonitor::kControlWrite);
  if (frame.back() == right) return true;
  return rule == DdcMonitor::HostInChecksum::optional && DdcMonitor::isQuestion(frame) &&
         frame.back() == truncateTo<std::uint8_t>(right ^ DdcMonitor::kHostAddress);
}

bool isWhole(Bytes frame) {
  return frame.size() >= kFrameOverhead && frame[0] == DdcMonitor::kHostAddress && (frame[1] & kLengthMark) != 0 &&
         frame.size() == (frame[1] & ~kLengthMark) + kFrameOverhead;
}

/// A message as the monitor sends it: its address, length, message and checksum. The checksum starts from the virtual
/// host address; 0x50 xor 0x6e is 0x6f xor 0x51, which is what clients start from that skip the first byte.
plist::Data monitorFrame(Bytes message) {
  plist::Data frame{DdcMonitor::kControlWrite, truncateTo<std::uint8_t>(message.size() | kLengthMark)};
  frame.insert(frame.end(), message.begin(), message.end());
  frame.push_back(exclusiveOr(frame, kVirtualHostAddress));
  return frame;
}

std::uint8_t highByte(std::uint16_t value) { return truncateTo<std::uint8_t>(value >> 8); }
std::uint8_t lowByte(std::uint16_t value) { return truncateTo<std::uint8_t>(value); }

}  // namespace

DdcMonitor::DdcMonitor(DdcBehaviour behaviour, plist::Data edid, std::uint16_t maximum, std::uint16_t& current)
    : behaviour_(behaviour), edid_(std::move(edid)), maximum_(maximum), current_(current) {}

bool DdcMonitor::isQuestion(Bytes frame) { return frame.size() > 2 && frame[2] == kGetFeature; }

bool DdcMonitor::write(std::uint8_t address, Bytes bytes, double now, HostInChecksum rule) {
  if (behaviour_ == DdcBehaviour::none) return false;
  if (address == kEdidWrite) {
    if (!bytes.empty()) edidOffset_ = bytes[0];
    return true;
  }
  if (address != kControlWrite) return false;
  if (isWhole(bytes) && isChecksumRight(bytes, rule)) obey(bytes.subspan(2, bytes.size() - kFrameOverhead), now);
  return true;
}

void DdcMonitor::obey(Bytes message, double now) {
  if (message.size() == 2 && message[0] == kGetFeature) answerGetFeature(message[1], now);
  if (message.size() == 4 && message[0] == kSetFeature && message[1] == kBrightness) {
    const auto wanted = truncateTo<std::uint16_t>(message[2] << 8 | message[3]);
    current_ = std::min(wanted, maximum_);
  }
}

void DdcMonitor::answerGetFeature(std::uint8_t code, double now) {
  const bool known = code == kBrightness;
  const std::uint16_t maximum = known ? maximum_ : std::uint16_t{0};
  const std::uint16_t current = known ? current_ : std::uint16_t{0};
  const plist::Data message{kGetFeatureReply,
                            known ? kFeatureKnown : kFeatureUnknown,
                            code,
                            0,
                            highByte(maximum),
                            lowByte(maximum),
                            highByte(current),
                            lowByte(current)};
  reply_ = monitorFrame(message);
  replyReadyAt_ = now + kReplyLatency;
}

bool DdcMonitor::read(std::uint8_t address, std::span<std::uint8_t> bytes, double now) {
  if (behaviour_ == DdcBehaviour::none) return false;
  if (address == kEdidRead) {
    readEdid(bytes);
    return true;
  }
  if (address != kControlRead) return false;
  const bool ready = reply_ && now >= replyReadyAt_;
  const plist::Data frame = ready ? *reply_ : monitorFrame({});
  if (ready) reply_.reset();
  std::fill(bytes.begin(), bytes.end(), std::uint8_t{0});
  std::copy_n(frame.begin(), std::min(frame.size(), bytes.size()), bytes.begin());
  return true;
}

/// The memory counts on from where it was left, over 256 bytes; what the EDID does not fill reads as all ones.
void DdcMonitor::readEdid(std::span<std::uint8_t> bytes) {
  constexpr std::size_t kMemory = 256;
  for (std::uint8_t& byte : bytes) {
    byte = edidOffset_ < edid_.size() ? edid_[edidOffset_] : std::uint8_t{0xff};
    edidOffset_ = (edidOffset_ + 1) % kMemory;
  }
}

}  // namespace vlm::sim
