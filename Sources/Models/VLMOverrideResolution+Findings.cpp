#include <cmath>
#include <string_view>

#include "Models/VLMOverrideResolution.h"
#include "Platform/Numbers.h"
#include "Shared/Format.h"

namespace vlm {

namespace {

// What a DisplayID Type I timing can hold (DisplayID 1.3, 4.4.1); an EDID descriptor is used for what is small enough.
constexpr std::uint32_t kMostPixels = 65536, kMostFrontPorch = 32768;
constexpr double kMostClock = 167772.16;  ///< MHz
/// The clocks that a descriptor of no timing shows, in units of 10 kHz.
constexpr std::int64_t kClockOfDisplayDescriptor = 0x0000, kClockOfUnusedDescriptor = 0x0101;
/// Line and frame rates are given in whole numbers of what monitors are said to take, and may miss them by half a
/// percent (VESA DMT 1.13, 2.2).
constexpr double kRateTolerance = 1.005;
/// More is what a number below 0 looks like.
constexpr std::uint32_t kBelowZero = 0x80000000;

/// One of the two directions of a timing.
struct Axis {
  const char* name;
  const char* unit;
  std::uint32_t active, front, sync, back;
};

void judgeAxis(const Axis& axis, std::vector<std::string>& findings) {
  const auto add = [&](std::string_view text) { findings.push_back(format("%@ %@", axis.name, text)); };
  const auto tooMuch = [&](const char* what, std::uint32_t value, std::uint32_t most) {
    if (value > most) add(format("%@ of %u %@ is above the %u that a timing can hold", what, value, axis.unit, most));
  };
  tooMuch("size", axis.active, kMostPixels);
  if (axis.front == 0) add("front porch is missing");
  if (axis.sync == 0) add("sync is missing");
  tooMuch("front porch", axis.front, kMostFrontPorch);
  tooMuch("sync", axis.sync, kMostPixels);
  const std::uint32_t blanking = axis.front + axis.sync + axis.back;
  if (axis.back >= kBelowZero) {
    add(format("blanking of %d %@ is shorter than front porch and sync", blanking, axis.unit));
  } else {
    tooMuch("blanking", blanking, kMostPixels);
  }
}

void judgeLimit(const char* what, const char* unit, double value, double least, double most, const std::string& source,
                double tolerance, std::vector<std::string>& findings) {
  const auto add = [&](const char* side, double limit) {
    findings.push_back(format("%@ %.2f %@ is %@ %@ (%.2f %@)", what, value, unit, side, source, limit, unit));
  };
  if (most > 0 && value > most * tolerance) add("above", most);
  if (least > 0 && value * tolerance < least) add("below", least);
}

void judgeLimits(const VLMOverrideResolution& timing, const TimingLimits& limits, std::vector<std::string>& findings) {
  judgeLimit("pixel clock", "MHz", timing.pixelClock, limits.minPClock, limits.maxPClock, limits.source, 1, findings);
  judgeLimit("line rate", "kHz", timing.hfreq, limits.minH, limits.maxH, limits.source, kRateTolerance, findings);
  judgeLimit("frame rate", "Hz", timing.vfreq, limits.minV, limits.maxV, limits.source, kRateTolerance, findings);
}

}  // namespace

std::vector<std::string> VLMOverrideResolution::timingFindings() const {
  std::vector<std::string> findings;
  if (activeNx == 0 || activeNy == 0) return {format("size %u × %u is empty", activeNx, activeNy)};
  if (!(pixelClock > 0)) {
    findings.push_back("pixel clock is missing");
  } else if (pixelClock > kMostClock) {
    findings.push_back(
        format("pixel clock %.2f MHz is above the %.2f MHz that a timing can hold", pixelClock, kMostClock));
  } else if (!extended) {
    const std::int64_t units = wholePartTo<std::int64_t>(1e6 * pixelClock) / 10000;
    if (units == kClockOfDisplayDescriptor || units == kClockOfUnusedDescriptor) {
      findings.push_back(format("pixel clock %g MHz cannot be told from a descriptor that is no timing", pixelClock));
    }
  }
  judgeAxis({"horizontal", "pixels", activeNx, frontNx, syncNx, backNx}, findings);
  // An EDID descriptor holds the lines of one field.
  const std::uint32_t fields = interlaced && !extended ? 2 : 1;
  judgeAxis({"vertical", "lines", activeNy, frontNy / fields, syncNy / fields, backNy}, findings);
  if (interlaced && activeNy % 2 != 0) {
    findings.push_back(format("height %u is odd: an interlaced picture has two equal fields", activeNy));
  }
  return findings;
}

std::vector<std::string> VLMOverrideResolution::findings(const std::vector<TimingLimits>& limits) const {
  if (resolutionType == kScaled) {
    if (scaledNx != 0 && scaledNy != 0) return {};
    return {format("scaled size %u × %u is empty", scaledNx, scaledNy)};
  }
  if (resolutionType == kStandardMode && activeNx == 0) {
    return {format("the system has no standard mode %d", appleID)};
  }
  if (resolutionType > kStandardMode) return {};
  // The figures may have been changed since the totals were made.
  VLMOverrideResolution judged(*this);
  judged.consolidateTotals();
  judged.consolidateHFreq();
  judged.consolidateVFreq();
  auto found = judged.timingFindings();
  if (judged.vfreq == 0) return found;
  for (const TimingLimits& each : limits) judgeLimits(judged, each, found);
  return found;
}

}  // namespace vlm
