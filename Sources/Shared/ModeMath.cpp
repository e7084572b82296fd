#include "Shared/ModeMath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Shared/Format.h"

namespace vlm {

float roundedHzTo2Decimals(float hz) {
  const double rate = static_cast<double>(hz);
  if (std::fabs(rate - std::round(rate)) < 0.025) return static_cast<float>(std::trunc(rate + 0.5));
  return static_cast<float>(std::round(rate * 100) / 100);
}

std::uint32_t visibleToMaskDepth(std::uint32_t visibleDepth) {
  switch (visibleDepth) {
    case 30:
      return 64;
    case 64:
      return 128;
    case 48:
      return 256;
    case 96:
      return 512;
    default:
      return visibleDepth;
  }
}

std::uint32_t maskToVisibleDepth(std::uint32_t mask) {
  switch (mask) {
    case 64:
      return 30;
    case 128:
      return 64;
    case 256:
      return 48;
    case 512:
      return 96;
    default:
      return mask;
  }
}

int maskToIndex(std::uint64_t mask) {
  for (int k = 1; k <= 32; ++k) {
    // The bit is a signed 32-bit number: the highest one is negative and, widened, larger than any mask in use.
    const auto bit = truncateTo<std::int32_t>(std::uint32_t{1} << (k % 32));
    if (truncateTo<std::uint64_t>(std::int64_t{bit}) > mask) return k - 1;
  }
  return 0;
}

std::uint32_t maskDepth(const CGDisplayModeRef& mode) {
  return visibleToMaskDepth(bitDepthFromPixelEncoding(os().quartz.CGDisplayModeCopyPixelEncoding(mode)));
}

namespace {

bool equalButForCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace

std::uint32_t bitDepthFromPixelEncoding(const std::optional<std::string>& encoding) {
  struct Row {
    std::string_view encoding;
    std::uint32_t depth;
  };
  static constexpr std::array<Row, 7> kRows = {{{"PPPPPPPP", 8},
                                                {"-RRRRRGGGGGBBBBB", 16},
                                                {"--------RRRRRRRRGGGGGGGGBBBBBBBB", 32},
                                                {"--RRRRRRRRRRGGGGGGGGGGBBBBBBBBBB", 30},
                                                {"-16R16G16B16", 64},
                                                {"-16FR16FG16FB16", 48},
                                                {"-32FR32FG32FB32", 96}}};
  if (!encoding) return 0;
  for (const Row& row : kRows) {
    if (equalButForCase(*encoding, row.encoding)) return row.depth;
  }
  return 0;
}

// --- Aspect ratios ---

namespace {

/// How far two ratios may lie apart and still be the same: 0.1 %.
constexpr double kSameRatio = 1.001;

struct NamedRatio {
  double value;
  const char* name;
};

/// In the order in which they are tried.
constexpr std::array<NamedRatio, 11> kNamedRatios = {{{4.0 / 3, "4:3"},
                                                      {16.0 / 9, "16:9"},
                                                      {1.6, "16:10"},
                                                      {1.25, "5:4"},
                                                      {5.0 / 3, "15:9"},
                                                      {1.5, "3:2"},
                                                      {17.0 / 9, "17:9"},
                                                      {7.0 / 3, "21:9"},
                                                      {22.0 / 9, "22:9"},
                                                      {2.2, "22:10"},
                                                      {32.0 / 9, "32:9"}}};

struct Fraction {
  int numerator = 999;
  int denominator = 1;
};

/// The fraction nearest to a ratio of 1 or more; of equally near ones that with the smallest denominator. The ratio has
/// single precision, so its multiples are exact in double precision, and equal fractions are exactly equally near.
Fraction nearestFraction(float ratio) {
  Fraction nearest;
  double smallestDistance = 99.9;
  for (const int denominator : {1, 2, 3, 4, 7, 9, 10, 16}) {
    const double x = denominator * static_cast<double>(ratio);
    const double whole = std::round(x);
    double distance = x / whole;
    if (distance < 1) distance = 1 / distance;
    if (distance < kSameRatio && distance < smallestDistance) {
      smallestDistance = distance;
      nearest = {.numerator = wholePartTo<int>(whole), .denominator = denominator};
    }
  }
  return nearest;
}

}  // namespace

float ratioOver(float a, float b) { return a > b ? a / b : b / a; }

std::string Common_aspectRatioString(std::uint32_t width, std::uint32_t height) {
  // A side of 0 gives no finite ratio, which nothing below is near to.
  float ratio = static_cast<float>(static_cast<double>(width) / static_cast<double>(height));
  for (const NamedRatio& named : kNamedRatios) {
    if (static_cast<double>(ratioOver(ratio, static_cast<float>(named.value))) <= kSameRatio) return named.name;
  }
  const bool isPortrait = ratio < 1;
  if (isPortrait) ratio = 1 / ratio;
  const Fraction nearest = nearestFraction(ratio);
  constexpr int kTooLargeToName = 200;
  if (nearest.numerator >= kTooLargeToName) return {};
  return isPortrait ? format("%d:%d", nearest.denominator, nearest.numerator)
                    : format("%d:%d", nearest.numerator, nearest.denominator);
}

// --- Divisors and multiples ---

int gcd2(int a, int b) {
  int remainder = truncateTo<std::uint16_t>(a);
  while (a != 0 && b != 0) {
    remainder = truncateTo<std::uint16_t>(std::int64_t{a} % b);
    a = b;
    b = remainder;
  }
  return remainder;
}

int ppcm2(int a, int b) {
  const int divisor = gcd2(a, b);
  if (a == 0 || b == 0 || divisor == 0) return 1;
  return truncateTo<std::uint16_t>(std::int64_t{a} * b / divisor);
}

int ppcm(std::initializer_list<std::uint32_t> values) {
  auto next = values.begin();
  std::uint32_t last = next == values.end() ? kPpcmEnd : *next++;
  int result = last == 0 ? 1 : truncateTo<int>(last);
  while (last != kPpcmEnd && next != values.end()) {
    last = *next++;
    if (last != 0) result = truncateTo<std::uint16_t>(ppcm2(result, truncateTo<int>(last)));
  }
  return result;
}

}  // namespace vlm
