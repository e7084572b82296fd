#include <algorithm>
#include <array>
#include <cmath>

#include "Simulator/Mac/EdidReading.h"
#include "Simulator/Mac/StandardTimings.h"
#include "Simulator/Mac/TimingFormulas.h"

/// The base block of an EDID, versions 1.0 to 1.4 (VESA E-EDID, release A, revision 2).
namespace vlm::sim::edid {
namespace {

constexpr std::size_t kFirstDescriptor = 54, kDescriptors = 4;
constexpr std::uint32_t kNoSerial = 0x01010101;
/// Display descriptors by their tag.
constexpr std::uint8_t kSerialTag = 0xff, kRangeLimitsTag = 0xfd, kNameTag = 0xfc, kStandardTimingsTag = 0xfa,
                       kCvtCodesTag = 0xf8, kEstablishedIIITag = 0xf7;

/// What the block says about how to read the rest of it.
struct Context {
  unsigned revision = 0;  ///< of EDID 1.x
  bool firstTimingIsPreferred = true;
  bool digital = false;
  bool cvtRange = false;  ///< the range limits descriptor promises CVT timings
};

/// A descriptor is a timing when its clock is not 0; otherwise byte 3 says what it is.
bool isTiming(Descriptor descriptor) { return descriptor[0] != 0 || descriptor[1] != 0; }

Descriptor descriptorAt(Bytes block, std::size_t number) {
  return block.subspan(kFirstDescriptor + number * kDescriptorLength).first<kDescriptorLength>();
}

/// Thirteen characters, ended by a line feed and padded with blanks.
std::string textOf(Descriptor descriptor) {
  std::string text;
  for (const std::uint8_t byte : descriptor.subspan(5)) {
    if (byte == '\n') break;
    text += byte >= 0x20 && byte < 0x7f ? static_cast<char>(byte) : '?';
  }
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

void readIdentity(Bytes block, ParsedEdid& result) {
  result.vendor = std::uint32_t{block[8]} << 8 | block[9];
  result.product = littleEndian(block, 10, 2);
  result.serial = littleEndian(block, 12, 4);
  if (result.serial == kNoSerial) result.serial = 0;
  result.week = block[16];
  result.year = 1990U + block[17];
  result.digital = (block[20] & 0x80) != 0;
}

/// In EDID 1.4 one of the two bytes may be 0: then the other is an aspect ratio. The first detailed timing tells the
/// size in millimetres.
void readSize(Bytes block, ParsedEdid& result) {
  if (block[21] != 0 && block[22] != 0) {
    result.widthCentimetres = block[21];
    result.heightCentimetres = block[22];
    return;
  }
  const Descriptor first = descriptorAt(block, 0);
  if (!isTiming(first)) return;
  const auto centimetres = [](unsigned low, unsigned high) { return ((high & 0xf) << 8 | low) / 10; };
  result.widthCentimetres = centimetres(first[12], unsigned{first[14]} >> 4);
  result.heightCentimetres = centimetres(first[13], first[14]);
}

Context contextOf(Bytes block) {
  // Until EDID 1.3 a bit of the features says whether the first timing is the preferred one; since then it always is.
  constexpr unsigned kAlwaysPreferredSince = 3, kPreferredBit = 0x02;
  Context context{.revision = block[19], .digital = (block[20] & 0x80) != 0};
  context.firstTimingIsPreferred = context.revision >= kAlwaysPreferredSince || (block[24] & kPreferredBit) != 0;
  for (std::size_t i = 0; i < kDescriptors; ++i) {
    const Descriptor descriptor = descriptorAt(block, i);
    if (isTiming(descriptor) || descriptor[3] != kRangeLimitsTag) continue;
    constexpr std::uint8_t kCvtSupport = 4;
    context.cvtRange = context.revision >= 4 && descriptor[10] == kCvtSupport;
  }
  return context;
}

std::uint32_t heightOfStandardTiming(std::uint32_t width, unsigned aspect, const Context& context) {
  switch (aspect) {
    case 0:
      // Before EDID 1.3 this aspect was square.
      return context.revision < 3 ? width : width * 10 / 16;
    case 1:
      return width * 3 / 4;
    case 2:
      return width * 4 / 5;
    default:
      return width * 9 / 16;
  }
}

/// A size that VESA's list does not have: by the formula that a monitor of this age means.
std::optional<Timing> formulaTiming(std::uint32_t width, std::uint32_t height, unsigned hz, const Context& context) {
  if (context.cvtRange) return coordinatedVideoTiming(width, height, hz, Blanking::normal);
  if (context.revision >= 4 && context.digital) return coordinatedVideoTiming(width, height, hz, Blanking::reduced);
  return generalizedTiming(width, height, hz);
}

void readStandardTiming(unsigned first, unsigned second, const Context& context, Collector& collector) {
  // 01 01 says "unused"; old monitors leave zeros or blanks.
  if ((first == 1 && second == 1) || first == 0 || (first == 0x20 && second == 0x20)) return;
  const std::uint32_t width = (first + 31) * 8;
  std::uint32_t height = heightOfStandardTiming(width, second >> 6, context);
  const unsigned hz = 60 + (second & 0x3f);
  // 1360x768 and its like cannot be said in this notation; their makers write the nearest one.
  if (width == 1360 && height == 765) height = 768;
  const std::string where = "block 0: standard timing " + std::to_string(width) + "x" + std::to_string(height);
  std::optional<Timing> timing = standardDmtTiming(width, height, hz);
  collector.add(timing ? timing : formulaTiming(width, height, hz, context), where);
}

void readEstablishedTimings(Bytes block, Collector& collector) {
  for (std::size_t bit = 0; bit < kEstablishedTimings; ++bit) {
    if ((block[35 + bit / 8] >> (7 - bit % 8) & 1) != 0) {
      collector.add(establishedTiming(bit), "block 0: established timing");
    }
  }
}

void readEstablishedTimingsIII(Descriptor descriptor, Collector& collector) {
  for (std::size_t bit = 0; bit < kEstablishedTimingsIII; ++bit) {
    if ((descriptor[6 + bit / 8] >> (7 - bit % 8) & 1) != 0) {
      collector.add(establishedTimingIII(bit), "block 0: established timing III");
    }
  }
}

/// One three-byte CVT code (E-EDID 1.4, 3.10.3.8): a height, an aspect ratio, and the rates at which it may run.
void readCvtCode(Bytes code, Collector& collector) {
  struct Rate {
    unsigned bit, hz;
    Blanking blanking;
  };
  constexpr std::array<Rate, 5> kRates = {{{4, 50, Blanking::normal},
                                           {3, 60, Blanking::normal},
                                           {2, 75, Blanking::normal},
                                           {1, 85, Blanking::normal},
                                           {0, 60, Blanking::reduced}}};
  constexpr std::array<double, 4> kAspects = {4.0 / 3, 16.0 / 9, 16.0 / 10, 15.0 / 9};
  if (code[0] == 0 && code[1] == 0 && code[2] == 0) return;
  const std::uint32_t height = 2 * ((code[0] | (unsigned{code[1]} >> 4) << 8) + 1);
  const auto width = static_cast<std::uint32_t>(height * kAspects.at(code[1] >> 2 & 3) / 8 + 1e-6) * 8;
  for (const Rate& rate : kRates) {
    if ((code[2] >> rate.bit & 1) == 0) continue;
    collector.add(coordinatedVideoTiming(width, height, rate.hz, rate.blanking), "block 0: CVT code");
  }
}

/// Display range limits (E-EDID 1.4, 3.10.3.3): Hz, kHz and steps of 10 MHz, a byte each, which flags can raise by 255;
/// a CVT monitor takes quarters of a MHz off the clock.
void readRangeLimits(Descriptor descriptor, const Context& context, ParsedEdid& result) {
  const auto rate = [&](std::size_t at, unsigned raisedBy) {
    return descriptor[at] + ((descriptor[4] & raisedBy) == raisedBy ? 255U : 0U);
  };
  constexpr unsigned kMaxFrame = 0x02, kMinFrame = 0x03, kMaxLine = 0x08, kMinLine = 0x0c;
  constexpr std::uint64_t kClockStepHz = 10'000'000, kQuarterHz = 250'000;
  TimingLimits& limits = result.limits;
  limits = {.minFrameHz = rate(5, kMinFrame), .maxFrameHz = rate(6, kMaxFrame)};
  limits.minLineHz = 1000 * rate(7, kMinLine);
  limits.maxLineHz = 1000 * rate(8, kMaxLine);
  limits.maxClockHz = descriptor[9] * kClockStepHz;
  const std::uint64_t finer = (unsigned{descriptor[12]} >> 2) * kQuarterHz;
  if (context.cvtRange && finer < limits.maxClockHz) limits.maxClockHz -= finer;
}

void readDisplayDescriptor(Descriptor descriptor, const Context& context, ParsedEdid& result, Collector& collector) {
  switch (descriptor[3]) {
    case kNameTag:
      result.name += textOf(descriptor);
      return;
    case kSerialTag:
      result.serialText += textOf(descriptor);
      return;
    case kStandardTimingsTag:
      for (std::size_t i = 5; i + 1 < kDescriptorLength - 1; i += 2) {
        readStandardTiming(descriptor[i], descriptor[i + 1], context, collector);
      }
      return;
    case kCvtCodesTag:
      for (std::size_t i = 6; i + 3 <= kDescriptorLength; i += 3) readCvtCode(descriptor.subspan(i, 3), collector);
      return;
    case kEstablishedIIITag:
      return readEstablishedTimingsIII(descriptor, collector);
    case kRangeLimitsTag:
      return readRangeLimits(descriptor, context, result);
    default:
      return;  // colour points and texts say nothing about timings
  }
}

void readDescriptors(Bytes block, const Context& context, ParsedEdid& result, Collector& collector) {
  for (std::size_t i = 0; i < kDescriptors; ++i) {
    const Descriptor descriptor = descriptorAt(block, i);
    if (!isTiming(descriptor)) {
      readDisplayDescriptor(descriptor, context, result, collector);
      continue;
    }
    // 01 01 in front is how some old monitors fill unused descriptors.
    if (descriptor[0] == 1 && descriptor[1] == 1) continue;
    const auto claim =
        i == 0 && context.firstTimingIsPreferred ? Collector::Claim::firstDescriptor : Collector::Claim::none;
    collector.add(readDetailedTiming(descriptor), "block 0: detailed timing " + std::to_string(i + 1), claim);
  }
}

}  // namespace

void readBaseBlock(Bytes block, ParsedEdid& result, Collector& collector) {
  if (const std::uint8_t sum = sumOf(block); sum != 0) {
    collector.finding("block 0: checksum is " + hexadecimal(block.back()) + ", the block sums to " + hexadecimal(sum));
  }
  if (block[18] != 1) collector.finding("block 0: version is " + std::to_string(block[18]) + ", read as 1");
  readIdentity(block, result);
  readSize(block, result);
  const Context context = contextOf(block);
  readDescriptors(block, context, result, collector);
  readEstablishedTimings(block, collector);
  constexpr std::size_t kFirstStandardTiming = 38;
  for (std::size_t i = kFirstStandardTiming; i < kFirstDescriptor; i += 2) {
    readStandardTiming(block[i], block[i + 1], context, collector);
  }
}

}  // namespace vlm::sim::edid
