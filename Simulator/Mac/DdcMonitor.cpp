#include "Simulator/Mac/DdcMonitor.h"

#include <algorithm>
#include <array>
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

/// MCCS; what a monitor talks of that answers for another code.
constexpr std::uint8_t kContrast = 0x12;
constexpr std::uint16_t kContrastMaximum = 90, kContrastCurrent = 45;
/// An intermittent monitor is awake for one frame in so many.
constexpr unsigned kFramesToWake = 3;
/// Of an answer's bytes: its result and the low byte of the value. What flips does not cancel out in the checksum.
constexpr std::size_t kResultAt = 3, kValueAt = 9;
constexpr std::uint8_t kFlippedInResult = 0x40, kFlippedInValue = 0x08;
/// Nobody pulls the wire down.
constexpr std::uint8_t kIdleWire = 0xff;

struct NamedBehaviour {
  std::string_view name;
  DdcBehaviour behaviour;
};
constexpr std::array<NamedBehaviour, 7> kBehaviours{{{"none", DdcBehaviour::none},
                                                     {"healthy", DdcBehaviour::healthy},
                                                     {"slow", DdcBehaviour::slow},
                                                     {"deaf", DdcBehaviour::deaf},
                                                     {"garbled", DdcBehaviour::garbled},
                                                     {"wrong-code", DdcBehaviour::wrongCode},
                                                     {"intermittent", DdcBehaviour::intermittent}}};

std::uint8_t exclusiveOr(Bytes bytes, std::uint8_t start) {
  for (const std::uint8_t byte : bytes) start = truncateTo<std::uint8_t>(start ^ byte);
  return start;
}

bool isChecksumRight(Bytes frame, DdcMonitor::HostInQuestion rule) {
  const bool isHostLeftOut = rule == DdcMonitor::HostInQuestion::absent && DdcMonitor::isQuestion(frame);
  const Bytes signedPart = frame.first(frame.size() - 1).subspan(isHostLeftOut ? 1 : 0);
  return frame.back() == exclusiveOr(signedPart, DdcMonitor::kControlWrite);
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

plist::Data featureReply(std::uint8_t result, std::uint8_t code, std::uint16_t maximum, std::uint16_t current) {
  const plist::Data message{kGetFeatureReply,  result,          code, 0, highByte(maximum), lowByte(maximum),
                            highByte(current), lowByte(current)};
  return monitorFrame(message);
}

}  // namespace

std::optional<DdcBehaviour> ddcBehaviourNamed(std::string_view name) {
  const auto found = std::find_if(kBehaviours.begin(), kBehaviours.end(), [&](auto& one) { return one.name == name; });
  if (found == kBehaviours.end()) return std::nullopt;
  return found->behaviour;
}

std::string nameOfDdcBehaviour(DdcBehaviour behaviour) {
  const auto found =
      std::find_if(kBehaviours.begin(), kBehaviours.end(), [&](auto& one) { return one.behaviour == behaviour; });
  return std::string(found->name);
}

std::string namesOfDdcBehaviours() {
  std::string names;
  for (const auto& one : kBehaviours) names += (names.empty() ? "" : ", ") + std::string(one.name);
  return names;
}

DdcMonitor::DdcMonitor(DdcBehaviour behaviour, plist::Data edid, std::uint16_t maximum, std::uint16_t& current)
    : edid_(std::move(edid)), maximum_(maximum), current_(current) {
  behave(behaviour);
}

void DdcMonitor::behave(DdcBehaviour behaviour) {
  behaviour_ = behaviour;
  framesSent_ = 0;
  isAwake_ = behaviour != DdcBehaviour::intermittent;
  reply_.reset();
}

bool DdcMonitor::isQuestion(Bytes frame) { return frame.size() > 2 && frame[2] == kGetFeature; }

bool DdcMonitor::hears() {
  if (behaviour_ == DdcBehaviour::intermittent) isAwake_ = ++framesSent_ % kFramesToWake == 0;
  return isAwake_;
}

bool DdcMonitor::write(std::uint8_t address, Bytes bytes, double now, HostInQuestion rule) {
  if (behaviour_ == DdcBehaviour::none) return false;
  if (address == kEdidWrite) {
    if (!bytes.empty()) edidOffset_ = bytes[0];
    return true;
  }
  if (address != kControlWrite || !hears()) return false;
  const bool isUnderstood = behaviour_ != DdcBehaviour::deaf && isWhole(bytes) && isChecksumRight(bytes, rule);
  if (isUnderstood) obey(bytes.subspan(2, bytes.size() - kFrameOverhead), now);
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
  if (behaviour_ == DdcBehaviour::wrongCode) {
    reply_ = featureReply(kFeatureKnown, kContrast, kContrastMaximum, kContrastCurrent);
  } else if (code == kBrightness) {
    reply_ = featureReply(kFeatureKnown, code, maximum_, current_);
  } else {
    reply_ = featureReply(kFeatureUnknown, code, 0, 0);
  }
  if (behaviour_ == DdcBehaviour::garbled) {
    (*reply_)[kResultAt] ^= kFlippedInResult;
    (*reply_)[kValueAt] ^= kFlippedInValue;
  }
  replyReadyAt_ = now + (behaviour_ == DdcBehaviour::slow ? kSlowReplyLatency : kReplyLatency);
}

bool DdcMonitor::read(std::uint8_t address, std::span<std::uint8_t> bytes, double now) {
  if (behaviour_ == DdcBehaviour::none) return false;
  if (address == kEdidRead) {
    readEdid(bytes);
    return true;
  }
  if (address != kControlRead || !isAwake_) return false;
  if (behaviour_ == DdcBehaviour::deaf) {
    std::fill(bytes.begin(), bytes.end(), kIdleWire);
    return true;
  }
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
    byte = edidOffset_ < edid_.size() ? edid_[edidOffset_] : kIdleWire;
    edidOffset_ = (edidOffset_ + 1) % kMemory;
  }
}

}  // namespace vlm::sim
