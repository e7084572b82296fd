#pragma once

#include <optional>
#include <string>

#include "Platform/PropertyList.h"
#include "Simulator/Mac/Edid.h"

/// Holding timings against what a monitor or a driver takes, and the platform's record of it.
namespace vlm::sim {

/// What of the timing lies outside ("the clock of 297 MHz is above 170 MHz"); nothing for one within. Bounds of rates
/// count as rounded to whole Hz and kHz.
std::optional<std::string> reasonOutside(const TimingLimits& limits, const Timing& timing);

/// What a frame buffer takes with this monitor at its end: what the monitor says, or the platform's usual limits for
/// one that says nothing, and in any case all of its timings.
TimingLimits driverLimits(const ParsedEdid& monitor);

/// The bounds that `stronger` says, else those of `weaker`.
TimingLimits overlaid(const TimingLimits& stronger, const TimingLimits& weaker);

/// IODisplayTimingRange, in host byte order: "IOFBTimingRange" of a frame buffer and "trng" of an override file.
constexpr std::size_t kTimingRangeLength = 312;
/// With the frame buffer's horizontal grid of 8 pixels.
plist::Data timingRangeRecord(const TimingLimits& limits);
/// A figure whose bits are all ones is not said. Nothing for a record that is cut short.
std::optional<TimingLimits> readTimingRange(const plist::Data& record);

}  // namespace vlm::sim
