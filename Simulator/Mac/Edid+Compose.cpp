#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "Simulator/Mac/EdidReading.h"
#include "Simulator/Mac/StandardTimings.h"
#include "Simulator/Mac/TimingFormulas.h"

/// Making an EDID 1.4 from a description.
namespace vlm::sim {
namespace {

using edid::kBlockLength;
using edid::kDescriptorLength;

constexpr std::size_t kFirstDescriptor = 54, kDescriptors = 4, kStandardTimings = 8;
constexpr std::size_t kTextLength = 13;
/// Content of a CTA extension between header and checksum, of a DisplayID section between header and its own checksum,
/// and video codes of one data block.
constexpr std::size_t kCtaContent = 123, kDisplayIdContent = 121, kVideoCodesOfBlock = 31;
constexpr std::size_t kDataBlockHeader = 3;

struct Wish {
  std::uint32_t width = 0, height = 0;
  double refreshHz = 60;
  bool interlaced = false;
};

/// Where each timing goes.
struct Plan {
  std::array<std::uint8_t, 3> established = {};
  std::vector<std::array<std::uint8_t, 2>> standard;
  std::vector<std::uint8_t> videoCodes;
  std::vector<Timing> detailed;   ///< the first one is the base block's first descriptor
  std::vector<Timing> displayId;  ///< those too large for a detailed timing descriptor
};

template <typename Number>
bool takeNumber(std::string_view& text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

bool takeCharacter(std::string_view& text, char character) {
  if (!text.starts_with(character)) return false;
  text.remove_prefix(1);
  return true;
}

/// "1920x1080", "1920x1080@50", "1920x1080i@50".
std::optional<Wish> wishOf(std::string_view text) {
  Wish wish;
  if (!takeNumber(text, wish.width) || !takeCharacter(text, 'x') || !takeNumber(text, wish.height)) return std::nullopt;
  wish.interlaced = takeCharacter(text, 'i');
  if (takeCharacter(text, '@') && !takeNumber(text, wish.refreshHz)) return std::nullopt;
  if (!text.empty()) return std::nullopt;
  return wish;
}

/// CVT with reduced blanking, its clock fine enough to keep the rate that was asked for.
std::optional<Timing> detailedTiming(std::uint32_t width, std::uint32_t height, double refreshHz) {
  constexpr std::uint64_t kClockStepHz = 10'000;
  auto timing = coordinatedVideoTiming(width, height, refreshHz, Blanking::reduced, kClockStepHz);
  if (timing) timing->source = Timing::Source::detailed;
  return timing;
}

bool planEstablished(const Wish& wish, Plan& plan) {
  const std::optional<std::size_t> bit = establishedBitOf(wish.width, wish.height, wish.refreshHz);
  if (!bit) return false;
  plan.established.at(*bit / 8) |= static_cast<std::uint8_t>(0x80 >> (*bit % 8));
  return true;
}

/// The two bytes of a standard timing, when the size and the rate can be said in them and mean a DMT timing.
std::optional<std::array<std::uint8_t, 2>> standardCode(const Wish& wish) {
  const double hz = std::round(wish.refreshHz);
  if (hz < 60 || hz > 123 || wish.width < 256 || wish.width > 2288 || wish.width % 8 != 0) return std::nullopt;
  if (!standardDmtTiming(wish.width, wish.height, static_cast<std::uint32_t>(hz))) return std::nullopt;
  const std::array<std::uint32_t, 4> heights = {wish.width * 10 / 16, wish.width * 3 / 4, wish.width * 4 / 5,
                                                wish.width * 9 / 16};
  const auto aspect = std::ranges::find(heights, wish.height) - heights.begin();
  if (aspect == static_cast<std::ptrdiff_t>(heights.size())) return std::nullopt;
  return std::array<std::uint8_t, 2>{
      static_cast<std::uint8_t>(wish.width / 8 - 31),
      static_cast<std::uint8_t>(static_cast<unsigned>(aspect) << 6 | (static_cast<unsigned>(hz) - 60))};
}

bool planStandard(const Wish& wish, Plan& plan) {
  const auto code = standardCode(wish);
  if (!code) return false;
  if (std::ranges::find(plan.standard, *code) != plan.standard.end()) return true;
  if (plan.standard.size() == kStandardTimings) return false;
  plan.standard.push_back(*code);
  return true;
}

bool planVideoCode(const Wish& wish, Plan& plan) {
  const auto code = videoCodeOf(wish.width, wish.height, wish.refreshHz, wish.interlaced);
  if (!code) return false;
  if (std::ranges::find(plan.videoCodes, *code) == plan.videoCodes.end()) plan.videoCodes.push_back(*code);
  return plan.videoCodes.size() <= kVideoCodesOfBlock;
}

bool planDetailed(const Wish& wish, Plan& plan) {
  const auto timing = wish.interlaced ? std::nullopt : detailedTiming(wish.width, wish.height, wish.refreshHz);
  if (!timing) return false;
  const bool isSmall = edid::fitsDetailedTiming(*timing);
  if (!isSmall && !edid::fitsDisplayIdTiming(*timing)) return false;
  std::vector<Timing>& timings = isSmall ? plan.detailed : plan.displayId;
  if (std::ranges::find(timings, *timing) == timings.end()) timings.push_back(*timing);
  return true;
}

/// Established and standard timings stand for a whole rate; 59.94 instead of 60 needs a timing of its own.
bool isWholeRate(double refreshHz) { return std::abs(refreshHz - std::round(refreshHz)) < 0.001; }

bool planWish(const Wish& wish, Plan& plan) {
  const bool byNominalRate = !wish.interlaced && isWholeRate(wish.refreshHz);
  if (byNominalRate && (planEstablished(wish, plan) || planStandard(wish, plan))) return true;
  return planVideoCode(wish, plan) || planDetailed(wish, plan);
}

/// The native timing, and before it, when it is too large for the base block, a smaller one that old machines can read.
bool planNative(const MonitorDescription& monitor, Plan& plan) {
  const Wish native = {monitor.nativeWidth, monitor.nativeHeight, monitor.nativeRefreshHz};
  if (!planDetailed(native, plan)) return false;
  if (!plan.detailed.empty()) return true;
  plan.displayId.front().preferred = true;
  const auto half = detailedTiming(native.width / 2, native.height / 2, native.refreshHz);
  const bool fits = half && edid::fitsDetailedTiming(*half);
  return fits ? planDetailed({native.width / 2, native.height / 2, native.refreshHz}, plan)
              : planDetailed({1920, 1080, 60}, plan);
}

std::string faultOfText(const std::string& text, const char* what) {
  const bool printable = std::ranges::all_of(text, [](char c) { return c >= 0x20 && c < 0x7f; });
  return printable ? std::string() : std::string(what) + " has a character that is not printable ASCII";
}

/// Empty when everything fits its field.
std::string faultOf(const MonitorDescription& monitor) {
  const auto isCapital = [](char c) { return c >= 'A' && c <= 'Z'; };
  if (monitor.vendor.size() != 3 || !std::ranges::all_of(monitor.vendor, isCapital)) {
    return "vendor \"" + monitor.vendor + "\" is not three capital letters";
  }
  if (monitor.year < 1990 || monitor.year > 1990 + 255)
    return "year " + std::to_string(monitor.year) + " is not 1990 to 2245";
  if (monitor.week > 54 && monitor.week != 255) return "week " + std::to_string(monitor.week) + " is above 54";
  constexpr std::uint32_t kLargestMillimetres = 2550;
  if (monitor.widthMillimetres > kLargestMillimetres || monitor.heightMillimetres > kLargestMillimetres) {
    return "size is above 2550 mm";
  }
  if (std::string fault = faultOfText(monitor.name, "name"); !fault.empty()) return fault;
  return faultOfText(monitor.serialText, "serial text");
}

std::variant<Plan, std::string> planOf(const MonitorDescription& monitor) {
  if (std::string fault = faultOf(monitor); !fault.empty()) return fault;
  Plan plan;
  if (!planNative(monitor, plan)) {
    return "native timing " + std::to_string(monitor.nativeWidth) + "x" + std::to_string(monitor.nativeHeight) +
           " cannot be expressed";
  }
  for (const std::string& text : monitor.moreTimings) {
    const std::optional<Wish> wish = wishOf(text);
    if (!wish) return "timing \"" + text + "\" is not WIDTHxHEIGHT or WIDTHxHEIGHT@HZ";
    const bool isNative = !wish->interlaced && wish->width == monitor.nativeWidth &&
                          wish->height == monitor.nativeHeight && wish->refreshHz == monitor.nativeRefreshHz;
    if (!isNative && !planWish(*wish, plan)) return "timing \"" + text + "\" cannot be expressed";
  }
  return plan;
}

// --- Writing ---

void putLittleEndian(std::span<std::uint8_t> bytes, std::size_t offset, std::size_t length, std::uint32_t value) {
  for (std::size_t i = 0; i < length; ++i) bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * i) & 0xff);
}

void writeIdentity(const MonitorDescription& monitor, std::span<std::uint8_t> block) {
  std::uint32_t vendor = 0;
  for (const char letter : monitor.vendor) vendor = vendor << 5 | static_cast<std::uint32_t>(letter - 'A' + 1);
  std::fill(block.begin() + 1, block.begin() + 7, std::uint8_t{0xff});
  block[8] = static_cast<std::uint8_t>(vendor >> 8);
  block[9] = static_cast<std::uint8_t>(vendor & 0xff);
  putLittleEndian(block, 10, 2, monitor.product);
  putLittleEndian(block, 12, 4, monitor.serial);
  block[16] = static_cast<std::uint8_t>(monitor.week);
  block[17] = static_cast<std::uint8_t>(monitor.year - 1990);
  block[18] = 1;
  block[19] = 4;
}

void writeFeatures(const MonitorDescription& monitor, bool firstTimingIsNative, std::span<std::uint8_t> block) {
  // Digital: 8 bits a colour over DisplayPort. Analog: 0.7 V, separate syncs.
  constexpr std::uint8_t kDigital = 0xa5, kAnalog = 0x08;
  // sRGB is the default colour space; RGB 4:4:4 alone when digital, an RGB colour monitor when analog.
  constexpr std::uint8_t kStandardColour = 0x04, kAnalogColour = 0x08, kNativeFirst = 0x02;
  constexpr std::array<std::uint8_t, 10> kStandardPrimaries = {0xee, 0x91, 0xa3, 0x54, 0x4c,
                                                               0x99, 0x26, 0x0f, 0x50, 0x54};
  block[20] = monitor.digital ? kDigital : kAnalog;
  block[21] = static_cast<std::uint8_t>((monitor.widthMillimetres + 5) / 10);
  block[22] = static_cast<std::uint8_t>((monitor.heightMillimetres + 5) / 10);
  block[23] = 120;  // gamma 2.2
  block[24] = static_cast<std::uint8_t>(kStandardColour | (monitor.digital ? 0 : kAnalogColour) |
                                        (firstTimingIsNative ? kNativeFirst : 0));
  std::ranges::copy(kStandardPrimaries, block.begin() + 25);
}

void writeStandardTimings(const Plan& plan, std::span<std::uint8_t> block) {
  std::ranges::copy(plan.established, block.begin() + 35);
  for (std::size_t i = 0; i < kStandardTimings; ++i) {
    const std::array<std::uint8_t, 2> unused = {1, 1};
    std::ranges::copy(i < plan.standard.size() ? plan.standard[i] : unused,
                      block.begin() + 38 + static_cast<std::ptrdiff_t>(2 * i));
  }
}

std::array<std::uint8_t, kDescriptorLength> textDescriptor(std::uint8_t tag, std::string_view text) {
  std::array<std::uint8_t, kDescriptorLength> descriptor = {0, 0, 0, tag, 0};
  text = text.substr(0, kTextLength);
  std::fill(descriptor.begin() + 5, descriptor.end(), std::uint8_t{' '});
  std::ranges::copy(text, descriptor.begin() + 5);
  if (text.size() < kTextLength) descriptor.at(5 + text.size()) = '\n';
  return descriptor;
}

std::array<std::uint8_t, kDescriptorLength> timingDescriptor(const Timing& timing, const MonitorDescription& monitor) {
  std::array<std::uint8_t, kDescriptorLength> descriptor = {};
  edid::writeDetailedTiming(timing, monitor.widthMillimetres, monitor.heightMillimetres, descriptor);
  return descriptor;
}

/// The four descriptors: the first timing, the texts, then as many more timings as there is room for. Answers how many
/// timings it took.
std::size_t writeDescriptors(const MonitorDescription& monitor, const Plan& plan, std::span<std::uint8_t> block) {
  constexpr std::uint8_t kNameTag = 0xfc, kSerialTag = 0xff, kDummyTag = 0x10;
  std::vector<std::array<std::uint8_t, kDescriptorLength>> descriptors;
  descriptors.push_back(timingDescriptor(plan.detailed.front(), monitor));
  std::size_t taken = 1;
  const std::size_t texts = (monitor.name.empty() ? 0U : 1U) + (monitor.serialText.empty() ? 0U : 1U);
  while (taken < plan.detailed.size() && descriptors.size() + texts < kDescriptors) {
    descriptors.push_back(timingDescriptor(plan.detailed[taken++], monitor));
  }
  if (!monitor.name.empty()) descriptors.push_back(textDescriptor(kNameTag, monitor.name));
  if (!monitor.serialText.empty()) descriptors.push_back(textDescriptor(kSerialTag, monitor.serialText));
  std::array<std::uint8_t, kDescriptorLength> dummy = {0, 0, 0, kDummyTag};
  descriptors.resize(kDescriptors, dummy);
  auto position = block.begin() + kFirstDescriptor;
  for (const auto& descriptor : descriptors) position = std::ranges::copy(descriptor, position).out;
  return taken;
}

/// Data blocks of the first CTA extension: the video codes, and that the computer may choose the quantization range and
/// shows the whole picture.
std::vector<std::uint8_t> ctaDataBlocks(const Plan& plan) {
  constexpr std::uint8_t kVideoTag = 2, kExtendedTag = 7, kVideoCapabilities = 0, kSelectableAndUnderscanned = 0x4a;
  std::vector<std::uint8_t> blocks = {kExtendedTag << 5 | 2, kVideoCapabilities, kSelectableAndUnderscanned};
  if (plan.videoCodes.empty()) return blocks;
  blocks.push_back(static_cast<std::uint8_t>(kVideoTag << 5 | plan.videoCodes.size()));
  blocks.insert(blocks.end(), plan.videoCodes.begin(), plan.videoCodes.end());
  return blocks;
}

void writeCtaExtension(std::span<const std::uint8_t> dataBlocks, std::span<const Timing> timings,
                       const MonitorDescription& monitor, std::span<std::uint8_t> block) {
  constexpr std::uint8_t kRevision = 3, kUnderscans = 0x80, kOneNativeTiming = 1;
  block[0] = edid::kCtaExtension;
  block[1] = kRevision;
  block[2] = static_cast<std::uint8_t>(4 + dataBlocks.size());
  block[3] = kUnderscans | kOneNativeTiming;
  auto position = std::ranges::copy(dataBlocks, block.begin() + 4).out;
  for (const Timing& timing : timings) position = std::ranges::copy(timingDescriptor(timing, monitor), position).out;
  edid::setChecksum(block);
}

/// Who made it, how large it is and how it is connected: data blocks that a DisplayID section must have (DisplayID 1.3,
/// 4.1, 4.2 and 4.11). They repeat the base block; years count from 2000 here.
std::vector<std::uint8_t> displayIdDataBlocks(const MonitorDescription& monitor, const Timing& native) {
  constexpr std::size_t kProduct = 0, kParameters = 15, kInterface = 30, kEnd = 43;
  std::vector<std::uint8_t> blocks(kEnd);
  const auto put = [&](std::size_t offset, std::size_t length, std::uint32_t value) {
    putLittleEndian(blocks, offset, length, value);
  };
  put(kProduct, kDataBlockHeader, 0x0c'00'00);
  std::ranges::copy(monitor.vendor, blocks.begin() + kProduct + 3);
  put(kProduct + 6, 2, monitor.product);
  put(kProduct + 8, 4, monitor.serial);
  put(kProduct + 12, 1, monitor.week);
  put(kProduct + 13, 1, std::max(monitor.year, 2000U) - 2000);

  put(kParameters, kDataBlockHeader, 0x0c'00'01);
  put(kParameters + 3, 2, monitor.widthMillimetres * 10);
  put(kParameters + 5, 2, monitor.heightMillimetres * 10);
  put(kParameters + 7, 2, native.horizontalActive);
  put(kParameters + 9, 2, native.verticalActive);
  put(kParameters + 12, 1, 120);  // gamma 2.2
  const std::uint32_t aspectHundredths = native.horizontalActive * 100 / native.verticalActive;
  put(kParameters + 13, 1, std::clamp(aspectHundredths, 100U, 355U) - 100);
  put(kParameters + 14, 1, 0x77);  // 8 bits a colour

  put(kInterface, kDataBlockHeader, 0x0a'00'0f);
  put(kInterface + 3, 3, 0x02'12'a4);  // DisplayPort 1.2 over four lanes, RGB with 8 bits a colour
  return blocks;
}

/// `product` and `following` are bytes 2 and 3 of the section header: the kind of product, and the number of further
/// sections; both 0 in the further ones.
void writeDisplayIdExtension(std::uint8_t product, std::size_t following, std::span<const std::uint8_t> dataBlocks,
                             std::span<const Timing> timings, std::span<std::uint8_t> block) {
  constexpr std::uint8_t kVersion = 0x13, kTypeOneTag = 0x03;
  constexpr std::size_t kSectionStart = 1, kSectionHeader = 4;
  block[0] = edid::kDisplayIdExtension;
  block[1] = kVersion;
  block[2] = kDisplayIdContent;
  block[3] = product;
  block[4] = static_cast<std::uint8_t>(following);
  std::ranges::copy(dataBlocks, block.begin() + kSectionStart + kSectionHeader);
  std::size_t position = kSectionStart + kSectionHeader + dataBlocks.size();
  block[position] = kTypeOneTag;
  block[position + 2] = static_cast<std::uint8_t>(timings.size() * edid::kDisplayIdTimingLength);
  position += kDataBlockHeader;
  for (const Timing& timing : timings) {
    edid::writeTypeOneTiming(timing, block.subspan(position).first<edid::kDisplayIdTimingLength>());
    position += edid::kDisplayIdTimingLength;
  }
  // The section's own checksum covers it without the tag of the extension.
  edid::setChecksum(block.subspan(kSectionStart, kSectionHeader + kDisplayIdContent + 1));
  edid::setChecksum(block);
}

std::span<std::uint8_t> appendBlock(plist::Data& bytes) {
  bytes.resize(bytes.size() + kBlockLength);
  return std::span(bytes).last(kBlockLength);
}

void appendCtaExtensions(std::span<const Timing> timings, const Plan& plan, const MonitorDescription& monitor,
                         plist::Data& bytes) {
  if (timings.empty() && plan.videoCodes.empty()) return;
  std::vector<std::uint8_t> dataBlocks = ctaDataBlocks(plan);
  do {
    const std::size_t count = std::min(timings.size(), (kCtaContent - dataBlocks.size()) / kDescriptorLength);
    writeCtaExtension(dataBlocks, timings.first(count), monitor, appendBlock(bytes));
    dataBlocks.clear();
    timings = timings.subspan(count);
  } while (!timings.empty());
}

std::size_t displayIdTimingsBeside(std::size_t dataBlockBytes) {
  return (kDisplayIdContent - dataBlockBytes - kDataBlockHeader) / edid::kDisplayIdTimingLength;
}

void appendDisplayIdExtensions(std::span<const Timing> timings, const MonitorDescription& monitor, plist::Data& bytes) {
  if (timings.empty()) return;
  constexpr std::uint8_t kStandaloneMonitor = 3;
  const std::vector<std::uint8_t> dataBlocks = displayIdDataBlocks(monitor, timings.front());
  const std::size_t first = std::min(timings.size(), displayIdTimingsBeside(dataBlocks.size()));
  const std::size_t each = displayIdTimingsBeside(0);
  const std::size_t following = (timings.size() - first + each - 1) / each;
  writeDisplayIdExtension(kStandaloneMonitor, following, dataBlocks, timings.first(first), appendBlock(bytes));
  for (timings = timings.subspan(first); !timings.empty();) {
    const std::size_t count = std::min(timings.size(), each);
    writeDisplayIdExtension(0, 0, {}, timings.first(count), appendBlock(bytes));
    timings = timings.subspan(count);
  }
}

}  // namespace

std::variant<plist::Data, std::string> composeEdid(const MonitorDescription& monitor) {
  std::variant<Plan, std::string> planned = planOf(monitor);
  if (auto* fault = std::get_if<std::string>(&planned)) return std::move(*fault);
  Plan& plan = std::get<Plan>(planned);
  plist::Data bytes(kBlockLength);
  writeIdentity(monitor, bytes);
  const bool firstTimingIsNative = plan.displayId.empty() || !plan.displayId.front().preferred;
  writeFeatures(monitor, firstTimingIsNative, bytes);
  const std::size_t taken = writeDescriptors(monitor, plan, bytes);
  const std::span<const Timing> further = std::span<const Timing>(plan.detailed).subspan(taken);
  // Every source that understands a CTA extension expects the one size that all sinks have.
  if (!further.empty() || !plan.videoCodes.empty()) planEstablished({640, 480, 60}, plan);
  writeStandardTimings(plan, bytes);
  appendCtaExtensions(further, plan, monitor, bytes);
  appendDisplayIdExtensions(plan.displayId, monitor, bytes);
  const std::size_t extensions = bytes.size() / kBlockLength - 1;
  if (extensions > 255) return "more timings than 255 extension blocks can hold";
  bytes[126] = static_cast<std::uint8_t>(extensions);
  edid::setChecksum(std::span(bytes).first(kBlockLength));
  return bytes;
}

}  // namespace vlm::sim
