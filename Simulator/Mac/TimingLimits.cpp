#include "Simulator/Mac/TimingLimits.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Platform/Numbers.h"
#include "Simulator/Mac/JournalText.h"

namespace vlm::sim {
namespace {

/// Of a monitor that says nothing.
constexpr TimingLimits kUsual = {.minClockHz = 10'000'000,
                                 .maxClockHz = 1'200'000'000,
                                 .minFrameHz = 24,
                                 .maxFrameHz = 240,
                                 .minLineHz = 15'000,
                                 .maxLineHz = 300'000};

// Where the six figures stand in the platform's record: 64 bits, 32, 32.
constexpr std::size_t kClocksAt = 32, kFrameRatesAt = 64, kLineRatesAt = 72;

double lineHz(const Timing& timing) {
  const std::uint64_t length = std::uint64_t{timing.horizontalActive} + timing.horizontalBlanking;
  return length == 0 ? 0 : static_cast<double>(timing.pixelClockHz) / static_cast<double>(length);
}

/// `roundingHz`: by how much a bound may have been rounded. `unitHz`: what figures are told in.
std::optional<std::string> outside(const char* what, double valueHz, double leastHz, double mostHz, double roundingHz,
                                   double unitHz, const char* unit) {
  const bool isBelow = leastHz > 0 && valueHz < leastHz - roundingHz;
  const bool isAbove = mostHz > 0 && valueHz > mostHz + roundingHz;
  if (!isBelow && !isAbove) return std::nullopt;
  const auto text = [&](double hz) { return numberText(std::round(hz / unitHz * 100) / 100) + " " + unit; };
  return std::string("the ") + what + " of " + text(valueHz) + " is " + (isBelow ? "below " : "above ") +
         text(isBelow ? leastHz : mostHz);
}

template <typename Number>
void widen(Number& least, Number& most, double value) {
  const auto down = wholePartTo<Number>(std::floor(value)), up = wholePartTo<Number>(std::ceil(value));
  if (least > down) least = down;
  if (most != 0 && most < up) most = up;
}

void put(plist::Data& record, std::size_t offset, std::size_t length, std::uint64_t value) {
  for (std::size_t i = 0; i < length; ++i) record[offset + i] = truncateTo<std::uint8_t>(value >> (8 * i));
}

template <typename Number>
Number figureAt(const plist::Data& record, std::size_t offset) {
  Number value = 0;
  for (std::size_t i = 0; i < sizeof value; ++i) {
    value = truncateTo<Number>(value | std::uint64_t{record[offset + i]} << (8 * i));
  }
  return value == std::numeric_limits<Number>::max() ? Number{0} : value;
}

}  // namespace

std::optional<std::string> reasonOutside(const TimingLimits& limits, const Timing& timing) {
  constexpr double kMHz = 1e6, kKHz = 1e3;
  const auto clock = static_cast<double>(timing.pixelClockHz);
  auto reason = outside("clock", clock, double(limits.minClockHz), double(limits.maxClockHz), 0, kMHz, "MHz");
  if (!reason) reason = outside("line rate", lineHz(timing), limits.minLineHz, limits.maxLineHz, kKHz / 2, kKHz, "kHz");
  if (!reason) reason = outside("rate", timing.refreshRateHz(), limits.minFrameHz, limits.maxFrameHz, 0.5, 1, "Hz");
  return reason;
}

TimingLimits driverLimits(const ParsedEdid& monitor) {
  TimingLimits limits = overlaid(monitor.limits, kUsual);
  for (const Timing& timing : monitor.timings) {
    widen(limits.minClockHz, limits.maxClockHz, static_cast<double>(timing.pixelClockHz));
    widen(limits.minFrameHz, limits.maxFrameHz, timing.refreshRateHz());
    widen(limits.minLineHz, limits.maxLineHz, lineHz(timing));
  }
  return limits;
}

TimingLimits overlaid(const TimingLimits& stronger, const TimingLimits& weaker) {
  TimingLimits limits = stronger;
  const auto lay = [](auto& figure, auto instead) {
    if (figure == 0) figure = instead;
  };
  lay(limits.minClockHz, weaker.minClockHz);
  lay(limits.maxClockHz, weaker.maxClockHz);
  lay(limits.minFrameHz, weaker.minFrameHz);
  lay(limits.maxFrameHz, weaker.maxFrameHz);
  lay(limits.minLineHz, weaker.minLineHz);
  lay(limits.maxLineHz, weaker.maxLineHz);
  return limits;
}

plist::Data timingRangeRecord(const TimingLimits& limits) {
  // Character sizes: horizontal active, blanking, sync offset, sync pulse, and total; the vertical ones in their
  // middle.
  constexpr std::size_t kHorizontalAt = 96, kVerticalAt = 100, kHorizontalTotalAt = 108, kVerticalTotalAt = 109;
  constexpr std::uint64_t kGridPixels = 8, kGridLines = 1;
  plist::Data record(kTimingRangeLength);
  put(record, kClocksAt, 8, limits.minClockHz);
  put(record, kClocksAt + 8, 8, limits.maxClockHz);
  put(record, kFrameRatesAt, 4, limits.minFrameHz);
  put(record, kFrameRatesAt + 4, 4, limits.maxFrameHz);
  put(record, kLineRatesAt, 4, limits.minLineHz);
  put(record, kLineRatesAt + 4, 4, limits.maxLineHz);
  for (std::size_t i = 0; i < 4; ++i) {
    put(record, kHorizontalAt + i, 1, kGridPixels);
    put(record, kVerticalAt + i, 1, kGridLines);
  }
  put(record, kHorizontalTotalAt, 1, kGridPixels);
  put(record, kVerticalTotalAt, 1, kGridLines);
  return record;
}

std::optional<TimingLimits> readTimingRange(const plist::Data& record) {
  if (record.size() < kTimingRangeLength) return std::nullopt;
  return TimingLimits{.minClockHz = figureAt<std::uint64_t>(record, kClocksAt),
                      .maxClockHz = figureAt<std::uint64_t>(record, kClocksAt + 8),
                      .minFrameHz = figureAt<std::uint32_t>(record, kFrameRatesAt),
                      .maxFrameHz = figureAt<std::uint32_t>(record, kFrameRatesAt + 4),
                      .minLineHz = figureAt<std::uint32_t>(record, kLineRatesAt),
                      .maxLineHz = figureAt<std::uint32_t>(record, kLineRatesAt + 4)};
}

}  // namespace vlm::sim
