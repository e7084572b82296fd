#include "Simulator/Mac/Edid.h"

#include <algorithm>
#include <array>

#include "Simulator/Mac/EdidReading.h"
#include "Simulator/Mac/StandardTimings.h"

namespace vlm::sim {

double Timing::refreshRateHz() const {
  const std::uint64_t lineLength = std::uint64_t{horizontalActive} + horizontalBlanking;
  const std::uint64_t frameLength = std::uint64_t{verticalActive} + verticalBlanking;
  if (lineLength == 0 || frameLength == 0) return 0;
  const double frames = static_cast<double>(pixelClockHz) / static_cast<double>(lineLength * frameLength);
  return interlaced ? 2 * frames : frames;
}

namespace edid {

std::uint32_t littleEndian(Bytes bytes, std::size_t offset, std::size_t length) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < length; ++i) value |= std::uint32_t{bytes[offset + i]} << (8 * i);
  return value;
}

std::uint8_t sumOf(Bytes bytes) {
  unsigned sum = 0;
  for (const std::uint8_t byte : bytes) sum += byte;
  return static_cast<std::uint8_t>(sum & 0xff);
}

void setChecksum(std::span<std::uint8_t> block) {
  block.back() = 0;
  block.back() = static_cast<std::uint8_t>((256 - sumOf(block)) & 0xff);
}

std::string hexadecimal(std::uint32_t value) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  do {
    text.insert(text.begin(), kDigits[value & 0xf]);
    value >>= 4;
  } while (value != 0);
  if (text.size() % 2 != 0) text.insert(text.begin(), '0');
  return "0x" + text;
}

// --- What is collected ---

namespace {

/// No monitor offers more; a file that does is made to be a nuisance.
constexpr std::size_t kMostTimings = 1000, kMostFindings = 200;

std::string faultOf(const Timing& timing) {
  if (timing.pixelClockHz == 0) return "pixel clock is 0";
  if (timing.horizontalActive == 0 || timing.verticalActive == 0) return "picture is empty";
  return {};
}

std::uint64_t areaOf(const Timing& timing) { return std::uint64_t{timing.horizontalActive} * timing.verticalActive; }

}  // namespace

void Collector::finding(std::string text) {
  if (result_.findings.size() < kMostFindings) result_.findings.push_back(std::move(text));
}

void Collector::add(const std::optional<Timing>& timing, const std::string& where, Claim claim) {
  if (timing) return add(*timing, where, claim);
  finding(where + ": no such timing is known");
}

void Collector::add(const Timing& timing, const std::string& where, Claim claim) {
  if (const std::string fault = faultOf(timing); !fault.empty()) return finding(where + ": " + fault);
  // Kept as they are: monitors with such figures exist, and a Mac shows their picture.
  if (timing.horizontalSyncOffset + timing.horizontalSyncWidth > timing.horizontalBlanking ||
      timing.verticalSyncOffset + timing.verticalSyncWidth > timing.verticalBlanking) {
    finding(where + ": sync pulse is longer than the blanking");
  }
  const std::size_t index = indexOf(timing);
  if (index < result_.timings.size()) remember(claim, index);
}

std::size_t Collector::indexOf(const Timing& timing) {
  std::vector<Timing>& timings = result_.timings;
  const auto same = std::ranges::find_if(timings, [&](const Timing& known) { return isSameSignal(known, timing); });
  if (same != timings.end()) {
    same->source = std::min(same->source, timing.source);
    if (same->videoCode == 0) same->videoCode = timing.videoCode;
  } else if (timings.size() < kMostTimings) {
    timings.push_back(timing);
    timings.back().preferred = false;
    return timings.size() - 1;
  }
  return static_cast<std::size_t>(same - timings.begin());
}

void Collector::remember(Claim claim, std::size_t index) {
  std::optional<std::size_t>* first = nullptr;
  if (claim == Claim::firstDescriptor) first = &firstDescriptor_;
  if (claim == Claim::displayId) first = &displayId_;
  if (claim == Claim::ctaNative) first = &ctaNative_;
  if (first != nullptr && !*first) *first = index;
}

std::size_t Collector::preferredIndex() const {
  // A monitor whose native timing does not fit the base block says a smaller one there, for old machines, and the true
  // one in its DisplayID extension.
  const std::vector<Timing>& timings = result_.timings;
  if (firstDescriptor_ && displayId_) {
    return areaOf(timings[*displayId_]) > areaOf(timings[*firstDescriptor_]) ? *displayId_ : *firstDescriptor_;
  }
  for (const auto& claimed : {firstDescriptor_, displayId_, ctaNative_}) {
    if (claimed) return *claimed;
  }
  const auto isLess = [](const Timing& a, const Timing& b) {
    if (areaOf(a) != areaOf(b)) return areaOf(a) < areaOf(b);
    return a.refreshRateHz() < b.refreshRateHz();
  };
  return static_cast<std::size_t>(std::ranges::max_element(timings, isLess) - timings.begin());
}

bool Collector::settlePreferredTiming() {
  if (result_.timings.empty()) return false;
  const auto preferred = result_.timings.begin() + static_cast<std::ptrdiff_t>(preferredIndex());
  preferred->preferred = true;
  std::rotate(result_.timings.begin(), preferred, preferred + 1);
  return true;
}

// --- Detailed timing descriptors ---

namespace {

constexpr std::uint32_t kDetailedClockHz = 10'000;

/// CTA-861 video code 39 alone has two fields of equal length: an even number of lines in the frame. The descriptor
/// cannot say so, only its figures tell.
bool hasEvenFrame(const Timing& field) {
  return field.verticalActive == 540 && field.verticalBlanking == 85 && field.horizontalActive == 1920;
}

Timing frameOfFields(Timing timing) {
  const std::uint32_t halfLines = hasEvenFrame(timing) ? 0 : 1;
  timing.interlaced = true;
  timing.verticalActive *= 2;
  timing.verticalBlanking = 2 * timing.verticalBlanking + halfLines;
  timing.verticalSyncOffset *= 2;
  timing.verticalSyncWidth *= 2;
  return timing;
}

}  // namespace

Timing readDetailedTiming(Descriptor bytes) {
  const auto withHighBits = [&](std::size_t low, std::size_t high, unsigned shift, unsigned mask) {
    return bytes[low] | ((std::uint32_t{bytes[high]} >> shift) & mask) << 8;
  };
  Timing timing;
  timing.pixelClockHz = std::uint64_t{littleEndian(bytes, 0, 2)} * kDetailedClockHz;
  timing.horizontalActive = withHighBits(2, 4, 4, 0xf);
  timing.horizontalBlanking = withHighBits(3, 4, 0, 0xf);
  timing.verticalActive = withHighBits(5, 7, 4, 0xf);
  timing.verticalBlanking = withHighBits(6, 7, 0, 0xf);
  timing.horizontalSyncOffset = withHighBits(8, 11, 6, 3);
  timing.horizontalSyncWidth = withHighBits(9, 11, 4, 3);
  timing.verticalSyncOffset = bytes[10] >> 4 | ((std::uint32_t{bytes[11]} >> 2) & 3) << 4;
  timing.verticalSyncWidth = (bytes[10] & 0xfU) | (std::uint32_t{bytes[11]} & 3) << 4;
  const unsigned flags = bytes[17];
  const bool separateSync = (flags & 0x18) == 0x18, digitalComposite = (flags & 0x18) == 0x10;
  timing.positiveHorizontalSync = (separateSync || digitalComposite) && (flags & 0x02) != 0;
  timing.positiveVerticalSync = separateSync && (flags & 0x04) != 0;
  timing.source = Timing::Source::detailed;
  return (flags & 0x80) != 0 ? frameOfFields(timing) : timing;
}

bool fitsDetailedTiming(const Timing& timing) {
  if (timing.interlaced || timing.pixelClockHz / kDetailedClockHz > 0xffff) return false;
  if (timing.pixelClockHz < kDetailedClockHz) return false;
  const auto fit = [](std::uint32_t largest, auto... figures) { return ((figures <= largest) && ...); };
  return fit(0xfff, timing.horizontalActive, timing.horizontalBlanking, timing.verticalActive,
             timing.verticalBlanking) &&
         fit(0x3ff, timing.horizontalSyncOffset, timing.horizontalSyncWidth) &&
         fit(0x3f, timing.verticalSyncOffset, timing.verticalSyncWidth);
}

void writeDetailedTiming(const Timing& timing, std::uint32_t widthMillimetres, std::uint32_t heightMillimetres,
                         std::span<std::uint8_t, kDescriptorLength> bytes) {
  const auto put = [&](std::size_t offset, std::uint64_t value) {
    bytes[offset] = static_cast<std::uint8_t>(value & 0xff);
  };
  const auto putPair = [&](std::size_t low, std::size_t high, std::uint32_t first, std::uint32_t second) {
    put(low, first);
    put(low + 1, second);
    put(high, (first >> 8 & 0xf) << 4 | (second >> 8 & 0xf));
  };
  const std::uint64_t clock = timing.pixelClockHz / kDetailedClockHz;
  put(0, clock);
  put(1, clock >> 8);
  putPair(2, 4, timing.horizontalActive, timing.horizontalBlanking);
  putPair(5, 7, timing.verticalActive, timing.verticalBlanking);
  put(8, timing.horizontalSyncOffset);
  put(9, timing.horizontalSyncWidth);
  put(10, (timing.verticalSyncOffset & 0xf) << 4 | (timing.verticalSyncWidth & 0xf));
  put(11, (timing.horizontalSyncOffset >> 8 & 3) << 6 | (timing.horizontalSyncWidth >> 8 & 3) << 4 |
              (timing.verticalSyncOffset >> 4 & 3) << 2 | (timing.verticalSyncWidth >> 4 & 3));
  putPair(12, 14, std::min(widthMillimetres, 0xfffU), std::min(heightMillimetres, 0xfffU));
  put(15, 0);
  put(16, 0);
  put(17, 0x18U | (timing.positiveHorizontalSync ? 2U : 0U) | (timing.positiveVerticalSync ? 4U : 0U));
}

// --- The blocks ---

namespace {

constexpr std::array<std::uint8_t, 8> kHeader = {0x00, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x00};

/// A block map lists the kinds of the blocks that follow it. Nothing is read by it; a wrong one is worth a remark.
void checkBlockMap(Bytes edid, std::size_t map, const std::string& where, Collector& collector) {
  const Bytes block = edid.subspan(map * kBlockLength);
  for (std::size_t i = 1; i < std::min(block.size(), kBlockContent); ++i) {
    const std::size_t described = (map + i) * kBlockLength;
    if (block[i] == 0 || described >= edid.size()) continue;
    if (edid[described] != block[i]) {
      collector.finding(where + ": block map does not match block " + std::to_string(map + i));
    }
  }
}

void readExtension(Bytes edid, std::size_t number, Collector& collector) {
  const std::string where = "block " + std::to_string(number);
  const std::size_t start = number * kBlockLength;
  const Bytes block = edid.subspan(start, std::min(kBlockLength, edid.size() - start));
  if (block.size() < kBlockLength) {
    collector.finding(where + ": is " + std::to_string(block.size()) + " bytes long instead of 128");
  } else if (const std::uint8_t sum = sumOf(block); sum != 0) {
    collector.finding(where + ": checksum is " + hexadecimal(block.back()) + ", the block sums to " + hexadecimal(sum));
  }
  switch (block.front()) {
    case kCtaExtension:
      return readCtaExtension(block, where, collector);
    case kDisplayIdExtension:
      return readDisplayIdExtension(block, where, collector);
    case kBlockMapExtension:
      return checkBlockMap(edid, number, where, collector);
    default:
      collector.finding(where + ": extensions of kind " + hexadecimal(block.front()) + " are not read");
  }
}

void readExtensions(Bytes edid, Collector& collector) {
  const std::size_t declared = edid[126];
  const std::size_t present = (edid.size() - 1) / kBlockLength;
  if (present < declared) {
    collector.finding("block 0: announces " + std::to_string(declared) + " extensions, " + std::to_string(present) +
                      " are there");
  } else if (present > declared) {
    collector.finding("block 0: announces " + std::to_string(declared) + " extensions, what follows them is not read");
  }
  for (std::size_t number = 1; number <= std::min(declared, present); ++number) readExtension(edid, number, collector);
}

}  // namespace
}  // namespace edid

std::variant<ParsedEdid, std::string> readEdid(std::span<const std::uint8_t> bytes) {
  using namespace edid;  // NOLINT(google-build-using-namespace): this is the reader's own inner side
  if (bytes.size() < kBlockLength) {
    return "EDID is " + std::to_string(bytes.size()) + " bytes long, 128 at least";
  }
  if (!std::ranges::equal(bytes.first(kHeader.size()), kHeader)) return "EDID does not begin with its header";
  ParsedEdid result;
  Collector collector(result);
  readBaseBlock(bytes.first(kBlockLength), result, collector);
  readExtensions(bytes, collector);
  if (!collector.settlePreferredTiming()) return "EDID has no usable timing";
  return result;
}

}  // namespace vlm::sim
