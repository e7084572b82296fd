#include <cmath>
#include <string_view>

#include "Models/SignalRange.h"
#include "Models/VLMOverrideResolution.h"
#include "Platform/Numbers.h"
#include "Shared/Format.h"

namespace vlm {

namespace {

// What a DisplayID Type I timing can hold (DisplayID 1.3, 4.4.1); an EDID descriptor is used for what is small enough.
constexpr std::uint32_t kMostPixels = 65536, kMostFrontPorch = 32768;
constexpr double kMostClock = 167772.16;  ///< MHz
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

void judgeRange(const VLMOverrideResolution& timing, const SignalRange& range, std::vector<std::string>& findings) {
  judgeLimit("pixel clock", "MHz", timing.pixelClock, range.minPClock, range.maxPClock, range.source, 1, findings);
  judgeLimit("line rate", "kHz", timing.hfreq, range.minH, range.maxH, range.source, kRateTolerance, findings);
  judgeLimit("frame rate", "Hz", timing.vfreq, range.minV, range.maxV, range.source, kRateTolerance, findings);
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
    if (units == kDisplayDescriptor || units == kUnusedDescriptor) {
      findings.push_back(format("pixel clock %g MHz cannot be told from a descriptor that is no timing", pixelClock));
    }
  }
  judgeAxis({"horizontal", "pixels", activeNx, frontNx, syncNx, backNx}, findings);
  // An EDID descriptor holds the lines of one field.
  const auto inField = [&](std::uint32_t lines) {
    return interlaced && !extended && lines < kBelowZero ? lines / 2 : lines;
  };
  judgeAxis({"vertical", "lines", activeNy, inField(frontNy), inField(syncNy), inField(backNy)}, findings);
  if (interlaced && activeNy % 2 != 0) {
    findings.push_back(format("height %u is odd: an interlaced picture has two equal fields", activeNy));
  }
  return findings;
}

std::vector<std::string> VLMOverrideResolution::findings(const std::vector<SignalRange>& ranges) const {
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
  for (const SignalRange& each : ranges) judgeRange(judged, each, found);
  return found;
}

}  // namespace vlm
