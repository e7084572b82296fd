#include "Simulator/Mac/StandardTimings.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Simulator/Mac/StandardTimings+Rows.h"

namespace vlm::sim {
namespace {

using namespace timingrows;  // NOLINT(google-build-using-namespace): the tables below are unreadable otherwise

struct DmtRow {
  std::uint8_t code;
  Row row;
  std::uint16_t appleNumber;  ///< the platform's IOAppleTimingID; 0: none
};

// VESA and Industry Standards and Guidelines for Computer Display Monitor Timing (DMT), version 1.0 revision 13.
constexpr DmtRow kDmtRows[] = {
    {0x01, {31500, {640, 192, 32, 64}, {350, 95, 32, 3}, kPositiveH}, 0},
    {0x02, {31500, {640, 192, 32, 64}, {400, 45, 1, 3}, kPositiveV}, 0},
    {0x03, {35500, {720, 216, 36, 72}, {400, 46, 1, 3}, kPositiveV}, 0},
    {0x04, {25175, {640, 160, 16, 96}, {480, 45, 10, 2}, kNegative}, 150},
    {0x05, {31500, {640, 192, 24, 40}, {480, 40, 9, 3}, kNegative}, 152},
    {0x06, {31500, {640, 200, 16, 64}, {480, 20, 1, 3}, kNegative}, 154},
    {0x07, {36000, {640, 192, 56, 56}, {480, 29, 1, 3}, kNegative}, 158},
    {0x08, {36000, {800, 224, 24, 72}, {600, 25, 1, 2}, kPositive}, 180},
    {0x09, {40000, {800, 256, 40, 128}, {600, 28, 1, 4}, kPositive}, 182},
    {0x0a, {50000, {800, 240, 56, 120}, {600, 66, 37, 6}, kPositive}, 184},
    {0x0b, {49500, {800, 256, 16, 80}, {600, 25, 1, 3}, kPositive}, 186},
    {0x0c, {56250, {800, 248, 32, 64}, {600, 31, 1, 3}, kPositive}, 188},
    {0x0d, {73250, {800, 160, 48, 32}, {600, 36, 3, 4}, kPositiveH | kReduced}, 0},
    {0x0e, {33750, {848, 240, 16, 112}, {480, 37, 6, 8}, kPositive}, 570},
    {0x0f, {44900, {1024, 240, 8, 176}, {768, 49, 0, 8}, kPositive | kInterlaced}, 0},
    {0x10, {65000, {1024, 320, 24, 136}, {768, 38, 3, 6}, kNegative}, 190},
    {0x11, {75000, {1024, 304, 24, 136}, {768, 38, 3, 6}, kNegative}, 200},
    {0x12, {78750, {1024, 288, 16, 96}, {768, 32, 1, 3}, kPositive}, 204},
    {0x13, {94500, {1024, 352, 48, 96}, {768, 40, 1, 3}, kPositive}, 208},
    {0x14, {115500, {1024, 160, 48, 32}, {768, 45, 3, 4}, kPositiveH | kReduced}, 0},
    {0x15, {108000, {1152, 448, 64, 128}, {864, 36, 1, 3}, kPositive}, 215},
    {0x16, {68250, {1280, 160, 48, 32}, {768, 22, 3, 7}, kPositiveH | kReduced}, 0},
    {0x17, {79500, {1280, 384, 64, 128}, {768, 30, 3, 7}, kPositiveV}, 0},
    {0x18, {102250, {1280, 416, 80, 128}, {768, 37, 3, 7}, kPositiveV}, 0},
    {0x19, {117500, {1280, 432, 80, 136}, {768, 41, 3, 7}, kPositiveV}, 0},
    {0x1a, {140250, {1280, 160, 48, 32}, {768, 45, 3, 7}, kPositiveH}, 0},
    {0x1b, {71000, {1280, 160, 48, 32}, {800, 23, 3, 6}, kPositiveH | kReduced}, 0},
    {0x1c, {83500, {1280, 400, 72, 128}, {800, 31, 3, 6}, kPositiveV}, 0},
    {0x1d, {106500, {1280, 416, 80, 128}, {800, 38, 3, 6}, kPositiveV}, 0},
    {0x1e, {122500, {1280, 432, 80, 136}, {800, 43, 3, 6}, kPositiveV}, 0},
    {0x1f, {146250, {1280, 160, 48, 32}, {800, 47, 3, 6}, kPositiveH | kReduced}, 0},
    {0x20, {108000, {1280, 520, 96, 112}, {960, 40, 1, 3}, kPositive}, 252},
    {0x21, {148500, {1280, 448, 64, 160}, {960, 51, 1, 3}, kPositive}, 254},
    {0x22, {175500, {1280, 160, 48, 32}, {960, 57, 3, 4}, kPositiveH | kReduced}, 0},
    {0x23, {108000, {1280, 408, 48, 112}, {1024, 42, 1, 3}, kPositive}, 260},
    {0x24, {135000, {1280, 408, 16, 144}, {1024, 42, 1, 3}, kPositive}, 262},
    {0x25, {157500, {1280, 448, 64, 160}, {1024, 48, 1, 3}, kPositive}, 268},
    {0x26, {187250, {1280, 160, 48, 32}, {1024, 60, 3, 7}, kPositiveH | kReduced}, 0},
    {0x27, {85500, {1360, 432, 64, 112}, {768, 27, 3, 6}, kPositive}, 590},
    {0x28, {148250, {1360, 160, 48, 32}, {768, 45, 3, 5}, kPositiveH | kReduced}, 0},
    {0x29, {101000, {1400, 160, 48, 32}, {1050, 30, 3, 4}, kPositiveH | kReduced}, 0},
    {0x2a, {121750, {1400, 464, 88, 144}, {1050, 39, 3, 4}, kPositiveV}, 0},
    {0x2b, {156000, {1400, 496, 104, 144}, {1050, 49, 3, 4}, kPositiveV}, 0},
    {0x2c, {179500, {1400, 512, 104, 152}, {1050, 55, 3, 4}, kPositiveV}, 0},
    {0x2d, {208000, {1400, 160, 48, 32}, {1050, 62, 3, 4}, kPositiveH | kReduced}, 0},
    {0x2e, {88750, {1440, 160, 48, 32}, {900, 26, 3, 6}, kPositiveH | kReduced}, 0},
    {0x2f, {106500, {1440, 464, 80, 152}, {900, 34, 3, 6}, kPositiveV}, 0},
    {0x30, {136750, {1440, 496, 96, 152}, {900, 42, 3, 6}, kPositiveV}, 0},
    {0x31, {157000, {1440, 512, 104, 152}, {900, 48, 3, 6}, kPositiveV}, 0},
    {0x32, {182750, {1440, 160, 48, 32}, {900, 53, 3, 6}, kPositiveH | kReduced}, 0},
    {0x33, {162000, {1600, 560, 64, 192}, {1200, 50, 1, 3}, kPositive}, 280},
    {0x34, {175500, {1600, 560, 64, 192}, {1200, 50, 1, 3}, kPositive}, 282},
    {0x35, {189000, {1600, 560, 64, 192}, {1200, 50, 1, 3}, kPositive}, 284},
    {0x36, {202500, {1600, 560, 64, 192}, {1200, 50, 1, 3}, kPositive}, 286},
    {0x37, {229500, {1600, 560, 64, 192}, {1200, 50, 1, 3}, kPositive}, 289},
    {0x38, {268250, {1600, 160, 48, 32}, {1200, 71, 3, 4}, kPositiveH | kReduced}, 0},
    {0x39, {119000, {1680, 160, 48, 32}, {1050, 30, 3, 6}, kPositiveH | kReduced}, 0},
    {0x3a, {146250, {1680, 560, 104, 176}, {1050, 39, 3, 6}, kPositiveV}, 0},
    {0x3b, {187000, {1680, 592, 120, 176}, {1050, 49, 3, 6}, kPositiveV}, 0},
    {0x3c, {214750, {1680, 608, 128, 176}, {1050, 55, 3, 6}, kPositiveV}, 0},
    {0x3d, {245500, {1680, 160, 48, 32}, {1050, 62, 3, 6}, kPositiveH | kReduced}, 0},
    {0x3e, {204750, {1792, 656, 128, 200}, {1344, 50, 1, 3}, kPositiveV}, 296},
    {0x3f, {261000, {1792, 664, 96, 216}, {1344, 73, 1, 3}, kPositiveV}, 298},
    {0x40, {333250, {1792, 160, 48, 32}, {1344, 79, 3, 4}, kPositiveH | kReduced}, 0},
    {0x41, {218250, {1856, 672, 96, 224}, {1392, 47, 1, 3}, kPositiveV}, 300},
    {0x42, {288000, {1856, 704, 128, 224}, {1392, 108, 1, 3}, kPositiveV}, 302},
    {0x43, {356500, {1856, 160, 48, 32}, {1392, 81, 3, 4}, kPositiveH | kReduced}, 0},
    {0x44, {154000, {1920, 160, 48, 32}, {1200, 35, 3, 6}, kPositiveH | kReduced}, 0},
    {0x45, {193250, {1920, 672, 136, 200}, {1200, 45, 3, 6}, kPositiveV}, 0},
    {0x46, {245250, {1920, 688, 136, 208}, {1200, 55, 3, 6}, kPositiveV}, 0},
    {0x47, {281250, {1920, 704, 144, 208}, {1200, 62, 3, 6}, kPositiveV}, 0},
    {0x48, {317000, {1920, 160, 48, 32}, {1200, 71, 3, 6}, kPositiveH | kReduced}, 0},
    {0x49, {234000, {1920, 680, 128, 208}, {1440, 60, 1, 3}, kPositiveV}, 304},
    {0x4a, {297000, {1920, 720, 144, 224}, {1440, 60, 1, 3}, kPositiveV}, 306},
    {0x4b, {380500, {1920, 160, 48, 32}, {1440, 83, 2, 3}, kPositiveH | kReduced}, 0},
    {0x4c, {268500, {2560, 160, 48, 32}, {1600, 46, 3, 6}, kPositiveH | kReduced}, 0},
    {0x4d, {348500, {2560, 944, 192, 280}, {1600, 58, 3, 6}, kPositiveV}, 0},
    {0x4e, {443250, {2560, 976, 208, 280}, {1600, 72, 3, 6}, kPositiveV}, 0},
    {0x4f, {505250, {2560, 976, 208, 280}, {1600, 82, 3, 6}, kPositiveV}, 0},
    {0x50, {552750, {2560, 160, 48, 32}, {1600, 94, 3, 6}, kPositiveH | kReduced}, 0},
    {0x51, {85500, {1366, 426, 70, 143}, {768, 30, 3, 3}, kPositive}, 0},
    {0x52, {148500, {1920, 280, 88, 44}, {1080, 45, 4, 5}, kPositive}, 0},
    {0x53, {108000, {1600, 200, 24, 80}, {900, 100, 1, 3}, kPositive | kReduced}, 0},
    {0x54, {162000, {2048, 202, 26, 80}, {1152, 48, 1, 3}, kPositive | kReduced}, 0},
    {0x55, {74250, {1280, 370, 110, 40}, {720, 30, 5, 5}, kPositive}, 0},
    {0x56, {72000, {1366, 134, 14, 56}, {768, 32, 1, 3}, kPositive | kReduced}, 0},
    {0x57, {556744, {4096, 80, 8, 32}, {2160, 62, 48, 8}, kPositiveH | kReduced}, 0},
    {0x58, {556188, {4096, 80, 8, 32}, {2160, 62, 48, 8}, kPositiveH | kReduced}, 0},
};

/// Timings of the established bits that are older than the DMT list: the personal computers' text mode and the
/// platform's own monitors.
constexpr Row kIbm720x400At70 = {28320, {720, 180, 18, 108}, {400, 49, 21, 2}, kPositiveV};
constexpr Row kIbm720x400At88 = {35500, {720, 180, 18, 108}, {400, 49, 12, 2}, kPositiveV};
constexpr Row kApple640x480At67 = {30240, {640, 224, 64, 64}, {480, 45, 3, 3}, kNegative};
constexpr Row kApple832x624At75 = {57284, {832, 320, 32, 64}, {624, 43, 1, 3}, kNegative};
constexpr Row kApple1152x870At75 = {100000, {1152, 304, 48, 128}, {870, 45, 3, 3}, kPositive};

struct OldRow {
  std::size_t bit;  ///< of the established timings I and II
  Row row;
  std::uint16_t appleNumber;
};
constexpr OldRow kOldRows[] = {{0, kIbm720x400At70, 0},
                               {1, kIbm720x400At88, 0},
                               {3, kApple640x480At67, 140},
                               {10, kApple832x624At75, 170},
                               {16, kApple1152x870At75, 220}};

// E-EDID 1.4, 3.8 and 3.10.3.9: DMT identifiers by bit. 0: one of the older timings above.
constexpr std::array<std::uint8_t, kEstablishedTimings> kEstablishedCodes = {
    0, 0, 0x04, 0, 0x05, 0x06, 0x08, 0x09, 0x0a, 0x0b, 0, 0x0f, 0x10, 0x11, 0x12, 0x24, 0};
constexpr std::array<std::uint8_t, kEstablishedTimingsIII> kEstablishedCodesIII = {
    0x01, 0x02, 0x03, 0x07, 0x0e, 0x0c, 0x13, 0x15, 0x16, 0x17, 0x18, 0x19, 0x20, 0x21, 0x23,
    0x25, 0x27, 0x2e, 0x2f, 0x30, 0x31, 0x29, 0x2a, 0x2b, 0x2c, 0x39, 0x3a, 0x3b, 0x3c, 0x33,
    0x34, 0x35, 0x36, 0x37, 0x3e, 0x3f, 0x41, 0x42, 0x44, 0x45, 0x46, 0x47, 0x49, 0x4a};

const DmtRow* rowOfDmtCode(std::uint32_t code) {
  const auto* row = std::ranges::find(kDmtRows, code, &DmtRow::code);
  return row == std::end(kDmtRows) ? nullptr : row;
}

bool hasSize(const Timing& timing, std::uint32_t width, std::uint32_t height) {
  return timing.horizontalActive == width && timing.verticalActive == height;
}

}  // namespace

std::optional<Timing> timingOfDmtCode(std::uint32_t code) {
  const DmtRow* row = rowOfDmtCode(code);
  if (row == nullptr) return std::nullopt;
  return timingOf(row->row, Timing::Source::standard);
}

std::optional<Timing> establishedTiming(std::size_t bit) {
  if (bit >= kEstablishedTimings) return std::nullopt;
  const auto* old = std::ranges::find(kOldRows, bit, &OldRow::bit);
  if (old != std::end(kOldRows)) return timingOf(old->row, Timing::Source::established);
  std::optional<Timing> timing = timingOfDmtCode(kEstablishedCodes.at(bit));
  if (timing) timing->source = Timing::Source::established;
  return timing;
}

std::optional<Timing> establishedTimingIII(std::size_t bit) {
  if (bit >= kEstablishedTimingsIII) return std::nullopt;
  std::optional<Timing> timing = timingOfDmtCode(kEstablishedCodesIII.at(bit));
  if (timing) timing->source = Timing::Source::established;
  return timing;
}

std::optional<Timing> standardDmtTiming(std::uint32_t width, std::uint32_t height, std::uint32_t refreshHz) {
  std::optional<Timing> reduced;
  for (const DmtRow& row : kDmtRows) {
    if (row.row.horizontal.active != width || row.row.vertical.active != height) continue;
    const Timing timing = timingOf(row.row, Timing::Source::standard);
    if (timing.interlaced || std::lround(timing.refreshRateHz()) != static_cast<long>(refreshHz)) continue;
    if ((row.row.traits & kReduced) == 0) return timing;
    if (!reduced) reduced = timing;
  }
  return reduced;
}

std::optional<std::size_t> establishedBitOf(std::uint32_t width, std::uint32_t height, double refreshHz) {
  for (std::size_t bit = 0; bit < kEstablishedTimings; ++bit) {
    const std::optional<Timing> timing = establishedTiming(bit);
    if (!timing || timing->interlaced || !hasSize(*timing, width, height)) continue;
    if (std::lround(timing->refreshRateHz()) == std::lround(refreshHz)) return bit;
  }
  return std::nullopt;
}

bool isSameSignal(const Timing& a, const Timing& b) {
  if (a.pixelClockHz != b.pixelClockHz) return false;  // nearly always: spares the copy
  Timing same = a;
  same.source = b.source;
  same.preferred = b.preferred;
  same.videoCode = b.videoCode;
  return same == b;
}

std::optional<std::uint32_t> appleTimingNumberOf(const Timing& timing) {
  const auto isTiming = [&](const auto& row) {
    return row.appleNumber != 0 && isSameSignal(timing, timingOf(row.row, timing.source));
  };
  const auto* dmt = std::ranges::find_if(kDmtRows, isTiming);
  if (dmt != std::end(kDmtRows)) return dmt->appleNumber;
  const auto* old = std::ranges::find_if(kOldRows, isTiming);
  if (old != std::end(kOldRows)) return old->appleNumber;
  return std::nullopt;
}

std::optional<Timing> timingOfAppleNumber(std::uint32_t number) {
  if (number == 0) return std::nullopt;
  const auto* dmt = std::ranges::find(kDmtRows, number, &DmtRow::appleNumber);
  if (dmt != std::end(kDmtRows)) return timingOf(dmt->row, Timing::Source::standard);
  const auto* old = std::ranges::find(kOldRows, number, &OldRow::appleNumber);
  if (old != std::end(kOldRows)) return timingOf(old->row, Timing::Source::established);
  return std::nullopt;
}

std::vector<std::uint32_t> appleTimingNumbers() {
  std::vector<std::uint32_t> numbers;
  for (const DmtRow& row : kDmtRows) numbers.push_back(row.appleNumber);
  for (const OldRow& row : kOldRows) numbers.push_back(row.appleNumber);
  std::ranges::sort(numbers);
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  std::erase(numbers, 0U);
  return numbers;
}

}  // namespace vlm::sim
