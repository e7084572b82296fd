#include "Simulator/Mac/TimingFormulas.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vlm::sim {
namespace {

/// Widths of horizontal intervals are whole character cells, in pixels.
constexpr double kCell = 8;
/// The blanking curve that both formulas use: offset in percent, gradient in percent a kHz.
constexpr double kCurveOffset = 30, kCurveGradient = 300;
/// Shortest vertical sync and back porch with normal blanking, and shortest blanking with reduced, in seconds.
constexpr double kLeastSyncAndBackPorch = 550e-6, kLeastReducedBlanking = 460e-6;
/// Steps of the pixel clock: of normal and reduced blanking, and of reduced blanking version 2.
constexpr std::uint64_t kClockStepHz = 250'000, kFineClockStepHz = 1'000;

bool isInRange(std::uint32_t width, std::uint32_t height, double refreshHz) {
  constexpr std::uint32_t kLargestSize = 0xffff;
  if (width == 0 || height == 0 || width > kLargestSize || height > kLargestSize) return false;
  return refreshHz > 1 && refreshHz <= 1000;
}

/// CVT 1.2, table 3: the sync width in lines tells the aspect ratio.
std::uint32_t syncLinesOfAspect(std::uint32_t width, std::uint32_t height) {
  struct Aspect {
    double ratio;
    std::uint32_t lines;
  };
  constexpr std::array<Aspect, 5> kAspects = {
      {{4.0 / 3, 4}, {16.0 / 9, 5}, {16.0 / 10, 6}, {5.0 / 4, 7}, {15.0 / 9, 7}}};
  for (const Aspect& aspect : kAspects) {
    // The standard sizes are the height times the ratio, rounded to a cell.
    if (std::abs(height * aspect.ratio - width) <= kCell) return aspect.lines;
  }
  return 10;
}

std::uint32_t wholePixels(double value) { return static_cast<std::uint32_t>(std::max(value, 0.0)); }

/// The formula rounds down, by a step of its own.
std::uint64_t formulaClock(double clockHz, std::uint64_t stepHz) {
  // A hair above, so that an exact multiple is not lost to the arithmetic.
  const double steps = std::floor(clockHz / static_cast<double>(stepHz) + 1e-6);
  return static_cast<std::uint64_t>(std::max(steps, 1.0)) * stepHz;
}

std::uint64_t nearestClock(double clockHz, std::uint64_t stepHz) {
  const double steps = std::round(clockHz / static_cast<double>(stepHz));
  return static_cast<std::uint64_t>(std::max(steps, 1.0)) * stepHz;
}

/// Blanking of normal timings: the share of the line that the curve gives at this line period.
std::uint32_t curveBlanking(std::uint32_t width, double linePeriod, double leastPercent, double (*round)(double)) {
  const double percent = std::max(kCurveOffset - kCurveGradient * linePeriod * 1e3, leastPercent);
  const double cells = round(width * percent / (100 - percent) / (2 * kCell));
  return wholePixels(std::max(cells, 1.0) * 2 * kCell);
}

void setHorizontalSync(Timing& timing, double (*round)(double)) {
  const double total = timing.horizontalActive + timing.horizontalBlanking;
  const double cells = std::max(round(0.08 * total / kCell), 1.0);
  timing.horizontalSyncWidth = std::min(wholePixels(cells * kCell), timing.horizontalBlanking / 2);
  timing.horizontalSyncOffset = timing.horizontalBlanking / 2 - timing.horizontalSyncWidth;
}

double totalPixels(const Timing& timing) {
  return static_cast<double>(timing.horizontalActive + timing.horizontalBlanking) *
         (timing.verticalActive + timing.verticalBlanking);
}

Timing normalTiming(Timing timing, double refreshHz, std::uint64_t clockStepHz) {
  constexpr std::uint32_t kFrontPorch = 3, kLeastBackPorch = 6;
  const std::uint32_t sync = syncLinesOfAspect(timing.horizontalActive, timing.verticalActive);
  const double linePeriod =
      std::max(1 / refreshHz - kLeastSyncAndBackPorch, 1e-6) / (timing.verticalActive + kFrontPorch);
  const std::uint32_t syncAndBackPorch =
      std::max(wholePixels(kLeastSyncAndBackPorch / linePeriod) + 1, sync + kLeastBackPorch);
  timing.verticalBlanking = syncAndBackPorch + kFrontPorch;
  timing.verticalSyncOffset = kFrontPorch;
  timing.verticalSyncWidth = sync;
  timing.horizontalBlanking =
      curveBlanking(timing.horizontalActive, linePeriod, 20, [](double value) { return std::floor(value); });
  setHorizontalSync(timing, [](double value) { return std::floor(value); });
  timing.positiveVerticalSync = true;
  const double total = timing.horizontalActive + timing.horizontalBlanking;
  timing.pixelClockHz = clockStepHz == 0 ? formulaClock(total / linePeriod, kClockStepHz)
                                         : nearestClock(totalPixels(timing) * refreshHz, clockStepHz);
  return timing;
}

Timing reducedTiming(Timing timing, double refreshHz, bool versionTwo, std::uint64_t clockStepHz) {
  const std::uint32_t sync = versionTwo ? 8 : syncLinesOfAspect(timing.horizontalActive, timing.verticalActive);
  const std::uint32_t leastFrontPorch = versionTwo ? 1 : 3, leastBackPorch = 6;
  const double linePeriod = std::max(1 / refreshHz - kLeastReducedBlanking, 1e-6) / timing.verticalActive;
  timing.verticalBlanking =
      std::max(wholePixels(kLeastReducedBlanking / linePeriod) + 1, leastFrontPorch + sync + leastBackPorch);
  // Spare lines go to the back porch in the first version, to the front porch in the second.
  timing.verticalSyncOffset = versionTwo ? timing.verticalBlanking - sync - leastBackPorch : leastFrontPorch;
  timing.verticalSyncWidth = sync;
  timing.horizontalBlanking = versionTwo ? 80 : 160;
  timing.horizontalSyncOffset = versionTwo ? 8 : 48;
  timing.horizontalSyncWidth = 32;
  timing.positiveHorizontalSync = true;
  const double clock = totalPixels(timing) * refreshHz;
  const std::uint64_t formulaStep = versionTwo ? kFineClockStepHz : kClockStepHz;
  timing.pixelClockHz = clockStepHz == 0 ? formulaClock(clock, formulaStep) : nearestClock(clock, clockStepHz);
  return timing;
}

Timing withSize(std::uint32_t width, std::uint32_t height) {
  Timing timing;
  timing.horizontalActive = width;
  timing.verticalActive = height;
  timing.source = Timing::Source::standard;
  return timing;
}

}  // namespace

std::optional<Timing> coordinatedVideoTiming(std::uint32_t width, std::uint32_t height, double refreshHz,
                                             Blanking blanking, std::uint64_t clockStepHz) {
  if (!isInRange(width, height, refreshHz)) return std::nullopt;
  const Timing timing = withSize(width, height);
  if (blanking == Blanking::normal) return normalTiming(timing, refreshHz, clockStepHz);
  return reducedTiming(timing, refreshHz, blanking == Blanking::reducedV2, clockStepHz);
}

std::optional<Timing> generalizedTiming(std::uint32_t width, std::uint32_t height, double refreshHz) {
  if (!isInRange(width, height, refreshHz)) return std::nullopt;
  constexpr std::uint32_t kFrontPorch = 1, kSync = 3;
  Timing timing = withSize(width, height);
  const double estimate = std::max(1 / refreshHz - kLeastSyncAndBackPorch, 1e-6) / (height + kFrontPorch);
  timing.verticalBlanking =
      std::max(wholePixels(std::round(kLeastSyncAndBackPorch / estimate)), kSync + 1) + kFrontPorch;
  timing.verticalSyncOffset = kFrontPorch;
  timing.verticalSyncWidth = kSync;
  // The estimate was for the wanted blanking time; the lines are whole, so the period is settled only now.
  const double linePeriod = 1 / refreshHz / (height + timing.verticalBlanking);
  timing.horizontalBlanking = curveBlanking(width, linePeriod, 0.1, [](double value) { return std::round(value); });
  setHorizontalSync(timing, [](double value) { return std::round(value); });
  timing.positiveVerticalSync = true;
  timing.pixelClockHz = static_cast<std::uint64_t>(std::llround(totalPixels(timing) * refreshHz / 1000)) * 1000;
  return timing;
}

}  // namespace vlm::sim
