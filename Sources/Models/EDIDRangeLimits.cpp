#include "Models/EDIDRangeLimits.h"

#include "Shared/EDIDLayout.h"

namespace vlm {

namespace {

using Descriptor = std::span<const std::uint8_t, kEDIDDescriptorLength>;

constexpr std::uint8_t kRangeLimits = 0xFD, kTimingFormulaCVT = 0x04;
/// What a rate above 255 is short of in its byte.
constexpr double kRateOffset = 255;
/// Bits of byte 4: the offsets of the vertical rates, and four bits up those of the horizontal ones.
constexpr unsigned kMaximumIsOffset = 0x2, kMinimumIsOffset = 0x1;
constexpr double kClockUnitMHz = 10, kClockFractionMHz = 0.25;

SignalRange limitsIn(Descriptor range) {
  const auto rate = [&](std::size_t at, unsigned flags, unsigned bits) {
    return range[at] + ((flags & bits) == bits ? kRateOffset : 0);
  };
  const unsigned vertical = range[4] & 0x3U, horizontal = range[4] >> 2 & 0x3U;
  SignalRange limits{.source = "the EDID's range"};
  limits.minV = rate(5, vertical, kMaximumIsOffset | kMinimumIsOffset);
  limits.maxV = rate(6, vertical, kMaximumIsOffset);
  limits.minH = rate(7, horizontal, kMaximumIsOffset | kMinimumIsOffset);
  limits.maxH = rate(8, horizontal, kMaximumIsOffset);
  limits.maxPClock = range[9] * kClockUnitMHz;
  // With CVT the upper six bits of byte 12 say by how many quarters of a MHz the clock was rounded up.
  if (range[10] == kTimingFormulaCVT && limits.maxPClock > 0) limits.maxPClock -= (range[12] >> 2) * kClockFractionMHz;
  return limits;
}

}  // namespace

std::optional<SignalRange> rangeLimitsInEDID(std::span<const std::uint8_t> edid) {
  if (edid.size() < kEDIDBlockLength) return std::nullopt;
  for (std::size_t i = 0; i < kEDIDDescriptorCount; ++i) {
    const Descriptor descriptor(edid.data() + kEDIDDescriptorsAt + i * Descriptor::extent, Descriptor::extent);
    if (descriptor[0] == 0 && descriptor[1] == 0 && descriptor[3] == kRangeLimits) return limitsIn(descriptor);
  }
  return std::nullopt;
}

}  // namespace vlm
