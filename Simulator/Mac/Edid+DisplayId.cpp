#include <algorithm>
#include <array>

#include "Simulator/Mac/EdidReading.h"
#include "Simulator/Mac/StandardTimings.h"
#include "Simulator/Mac/TimingFormulas.h"

/// The DisplayID extension of an EDID: VESA DisplayID 1.3 and 2.1. Only what says timings is read.
namespace vlm::sim::edid {
namespace {

/// Data block tags; the first five belong to DisplayID 1.x, the others to 2.x.
constexpr std::uint8_t kTypeOneTag = 0x03, kTypeTwoTag = 0x04, kTypeThreeTag = 0x05, kTypeFourTag = 0x06,
                       kVesaTimingsTag = 0x07, kTypeSevenTag = 0x22, kTypeEightTag = 0x23, kTypeNineTag = 0x24;
constexpr std::size_t kTypeTwoLength = 11, kTypeThreeLength = 3, kTypeNineLength = 6;
/// Section header: extension tag, version, length of the data blocks, product type, extension count.
constexpr std::size_t kSectionHeader = 5;
constexpr std::size_t kDataBlockHeader = 3;

std::uint32_t wordAt(Bytes bytes, std::size_t offset) { return littleEndian(bytes, offset, 2); }

/// Type II: like Type I with coarser figures (DisplayID 1.3, 4.4.2). Horizontal figures in steps of 8 pixels.
Timing readTypeTwo(Bytes bytes) {
  const auto pixels = [](std::uint32_t steps) { return 8 * (steps + 1); };
  Timing timing;
  timing.pixelClockHz = (std::uint64_t{littleEndian(bytes, 0, 3)} + 1) * kTypeOneClockHz;
  timing.horizontalActive = pixels(wordAt(bytes, 4) & 0x1ff);
  timing.horizontalBlanking = pixels(bytes[5] >> 1);
  timing.horizontalSyncOffset = pixels(bytes[6] >> 4);
  timing.horizontalSyncWidth = pixels(bytes[6] & 0xf);
  timing.verticalActive = (wordAt(bytes, 7) & 0xfff) + 1;
  timing.verticalBlanking = bytes[9] + 1U;
  timing.verticalSyncOffset = (unsigned{bytes[10]} >> 4) + 1;
  timing.verticalSyncWidth = (bytes[10] & 0xfU) + 1;
  timing.interlaced = (bytes[3] & 0x10) != 0;
  timing.positiveHorizontalSync = (bytes[3] & 0x08) != 0;
  timing.positiveVerticalSync = (bytes[3] & 0x04) != 0;
  timing.preferred = (bytes[3] & 0x80) != 0;
  timing.source = Timing::Source::displayId;
  return timing;
}

/// The result of a formula, now said by a DisplayID block.
std::optional<Timing> fromDisplayId(std::optional<Timing> timing, bool preferred) {
  if (!timing) return timing;
  timing->source = Timing::Source::displayId;
  timing->preferred = preferred;
  return timing;
}

/// Type III: aspect ratio, width and rate of a CVT timing (4.4.3).
std::optional<Timing> readTypeThree(Bytes bytes) {
  struct Ratio {
    std::uint32_t width, height;
  };
  constexpr std::array<Ratio, 8> kRatios = {{{1, 1}, {5, 4}, {4, 3}, {15, 9}, {16, 9}, {16, 10}, {64, 27}, {256, 135}}};
  const std::size_t aspect = bytes[0] & 0xf;
  const bool interlaced = (bytes[2] & 0x80) != 0;
  if (aspect >= kRatios.size() || interlaced) return std::nullopt;
  const std::uint32_t width = 8 * (bytes[1] + 1U);
  const std::uint32_t height = width * kRatios.at(aspect).height / kRatios.at(aspect).width;
  const auto blanking = (bytes[0] >> 4 & 7) == 1 ? Blanking::reduced : Blanking::normal;
  return fromDisplayId(coordinatedVideoTiming(width, height, (bytes[2] & 0x7f) + 1, blanking), (bytes[0] & 0x80) != 0);
}

/// Type IX: size and rate of a CVT timing (DisplayID 2.0, 4.3.3).
std::optional<Timing> readTypeNine(Bytes bytes) {
  constexpr std::array<Blanking, 3> kFormulas = {Blanking::normal, Blanking::reduced, Blanking::reducedV2};
  const std::size_t formula = bytes[0] & 7;
  if (formula >= kFormulas.size()) return std::nullopt;
  const bool videoRate = (bytes[0] & 0x10) != 0;
  const double refreshHz = (bytes[5] + 1) * (videoRate ? 1000.0 / 1001 : 1.0);
  const std::uint32_t width = wordAt(bytes, 1) + 1, height = wordAt(bytes, 3) + 1;
  return fromDisplayId(coordinatedVideoTiming(width, height, refreshHz, kFormulas.at(formula)), false);
}

/// Types IV and VIII: codes of DMT timings or CTA-861 video codes, of one or two bytes.
void readCodes(Bytes codes, unsigned kind, std::size_t codeLength, const std::string& where, Collector& collector) {
  constexpr unsigned kDmt = 0, kVideoCodes = 1;
  for (; codes.size() >= codeLength; codes = codes.subspan(codeLength)) {
    const std::uint32_t code = littleEndian(codes, 0, codeLength);
    if (kind == kDmt) collector.add(fromDisplayId(timingOfDmtCode(code), false), where);
    // A television format stays one, whoever lists it.
    if (kind == kVideoCodes) collector.add(timingOfVideoCode(code), where);
  }
}

/// VESA's list as bits: bit 0 of the first byte is DMT identifier 1 (4.4.5).
void readVesaTimings(Bytes bits, const std::string& where, Collector& collector) {
  constexpr std::size_t kLength = 10;
  for (std::size_t i = 0; i < 8 * std::min(bits.size(), kLength); ++i) {
    if ((bits[i / 8] >> (i % 8) & 1) == 0) continue;
    collector.add(fromDisplayId(timingOfDmtCode(static_cast<std::uint32_t>(i + 1)), false), where);
  }
}

template <typename Read>
void readEach(Bytes payload, std::size_t length, const std::string& where, Collector& collector, Read read) {
  for (; payload.size() >= length; payload = payload.subspan(length)) {
    const std::optional<Timing> timing = read(payload.first(length));
    const bool preferred = timing && timing->preferred;
    collector.add(timing, where, preferred ? Collector::Claim::displayId : Collector::Claim::none);
  }
  if (!payload.empty()) collector.finding(where + ": " + std::to_string(payload.size()) + " bytes are left over");
}

void readDataBlock(std::uint8_t tag, std::uint8_t revision, Bytes payload, const std::string& where,
                   Collector& collector) {
  const auto detailed = [](std::uint32_t unit) {
    return [unit](Bytes bytes) -> std::optional<Timing> {
      return readDisplayIdTiming(bytes.first<kDisplayIdTimingLength>(), unit);
    };
  };
  const unsigned codeKind = unsigned{revision} >> 6;
  switch (tag) {
    case kTypeOneTag:
      return readEach(payload, kDisplayIdTimingLength, where, collector, detailed(kTypeOneClockHz));
    case kTypeTwoTag:
      return readEach(payload, kTypeTwoLength, where, collector,
                      [](Bytes bytes) -> std::optional<Timing> { return readTypeTwo(bytes); });
    case kTypeThreeTag:
      return readEach(payload, kTypeThreeLength, where, collector, readTypeThree);
    case kTypeFourTag:
      return readCodes(payload, codeKind, 1, where, collector);
    case kVesaTimingsTag:
      return readVesaTimings(payload, where, collector);
    case kTypeSevenTag:
      return readEach(payload, kDisplayIdTimingLength, where, collector, detailed(kTypeSevenClockHz));
    case kTypeEightTag:
      return readCodes(payload, codeKind, (revision & 0x08) != 0 ? 2 : 1, where, collector);
    case kTypeNineTag:
      return readEach(payload, kTypeNineLength, where, collector, readTypeNine);
    default:
      return;
  }
}

}  // namespace

Timing readDisplayIdTiming(DisplayIdTiming bytes, std::uint32_t clockUnitHz) {
  constexpr std::uint32_t kPolarityBit = 0x8000;
  const std::uint32_t horizontalOffset = wordAt(bytes, 8), verticalOffset = wordAt(bytes, 16);
  Timing timing;
  timing.pixelClockHz = (std::uint64_t{littleEndian(bytes, 0, 3)} + 1) * clockUnitHz;
  timing.horizontalActive = wordAt(bytes, 4) + 1;
  timing.horizontalBlanking = wordAt(bytes, 6) + 1;
  timing.horizontalSyncOffset = (horizontalOffset & ~kPolarityBit) + 1;
  timing.horizontalSyncWidth = wordAt(bytes, 10) + 1;
  timing.verticalActive = wordAt(bytes, 12) + 1;
  timing.verticalBlanking = wordAt(bytes, 14) + 1;
  timing.verticalSyncOffset = (verticalOffset & ~kPolarityBit) + 1;
  timing.verticalSyncWidth = wordAt(bytes, 18) + 1;
  timing.positiveHorizontalSync = (horizontalOffset & kPolarityBit) != 0;
  timing.positiveVerticalSync = (verticalOffset & kPolarityBit) != 0;
  timing.interlaced = (bytes[3] & 0x10) != 0;
  timing.preferred = (bytes[3] & 0x80) != 0;
  timing.source = Timing::Source::displayId;
  return timing;
}

bool fitsDisplayIdTiming(const Timing& timing) {
  const auto fit = [](std::uint32_t largest, auto... figures) { return ((figures >= 1 && figures <= largest) && ...); };
  const std::uint64_t clock = timing.pixelClockHz / kTypeOneClockHz;
  return clock >= 1 && clock <= 0x1000000 &&
         fit(0x10000, timing.horizontalActive, timing.horizontalBlanking, timing.horizontalSyncWidth) &&
         fit(0x10000, timing.verticalActive, timing.verticalBlanking, timing.verticalSyncWidth) &&
         fit(0x8000, timing.horizontalSyncOffset, timing.verticalSyncOffset);
}

void writeTypeOneTiming(const Timing& timing, std::span<std::uint8_t, kDisplayIdTimingLength> bytes) {
  const auto put = [&](std::size_t offset, std::size_t length, std::uint64_t value, bool highestBit = false) {
    for (std::size_t i = 0; i < length; ++i)
      bytes[offset + i] = static_cast<std::uint8_t>((value - 1) >> (8 * i) & 0xff);
    if (highestBit) bytes[offset + length - 1] |= 0x80;
  };
  /// Aspect ratio "not one of the usual": nobody reads it, the size says it better.
  constexpr unsigned kOtherAspect = 8;
  put(0, 3, timing.pixelClockHz / kTypeOneClockHz);
  bytes[3] =
      static_cast<std::uint8_t>(kOtherAspect | (timing.interlaced ? 0x10U : 0U) | (timing.preferred ? 0x80U : 0U));
  put(4, 2, timing.horizontalActive);
  put(6, 2, timing.horizontalBlanking);
  put(8, 2, timing.horizontalSyncOffset, timing.positiveHorizontalSync);
  put(10, 2, timing.horizontalSyncWidth);
  put(12, 2, timing.verticalActive);
  put(14, 2, timing.verticalBlanking);
  put(16, 2, timing.verticalSyncOffset, timing.positiveVerticalSync);
  put(18, 2, timing.verticalSyncWidth);
}

void readDisplayIdExtension(Bytes block, const std::string& where, Collector& collector) {
  if (block.size() < kSectionHeader) return collector.finding(where + ": DisplayID extension is cut short");
  const Bytes content = block.subspan(kSectionHeader, std::min(block.size(), kBlockContent) - kSectionHeader);
  const std::size_t length = block[2];
  if (length > content.size()) collector.finding(where + ": DisplayID section reaches beyond its block");
  Bytes section = content.first(std::min(length, content.size()));
  while (section.size() >= kDataBlockHeader) {
    const std::size_t payload = section[2];
    // Three zeros fill the section up.
    if (section[0] == 0 && section[1] == 0 && payload == 0) return;
    if (kDataBlockHeader + payload > section.size()) {
      return collector.finding(where + ": data block " + hexadecimal(section[0]) + " reaches beyond its section");
    }
    readDataBlock(section[0], section[1], section.subspan(kDataBlockHeader, payload),
                  where + ": data block " + hexadecimal(section[0]), collector);
    section = section.subspan(kDataBlockHeader + payload);
  }
}

}  // namespace vlm::sim::edid
