#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "Simulator/Mac/Edid.h"

/// Timings that monitors name by a number or a bit instead of spelling them out: VESA's monitor timings (DMT), the
/// established timings of the EDID, and the video codes of CTA-861.
namespace vlm::sim {

/// A VESA DMT timing by its identifier (0x01 to 0x58).
std::optional<Timing> timingOfDmtCode(std::uint32_t code);

/// A CTA-861 video timing by its code: 1 to 127 and 193 to 219. The codes between are not assigned.
std::optional<Timing> timingOfVideoCode(std::uint32_t code);

/// Number of bits of established timings I and II (from byte 35 of the base block, bit 7 first) and III (from byte 6
/// of its descriptor).
constexpr std::size_t kEstablishedTimings = 17, kEstablishedTimingsIII = 44;
std::optional<Timing> establishedTiming(std::size_t bit);
std::optional<Timing> establishedTimingIII(std::size_t bit);

/// The DMT timing that a standard timing means: this size, and this rate once rounded to whole Hz. Of several, the one
/// without reduced blanking.
std::optional<Timing> standardDmtTiming(std::uint32_t width, std::uint32_t height, std::uint32_t refreshHz);

/// The other direction, for whoever writes an EDID: the bit or code of a size and rate.
std::optional<std::size_t> establishedBitOf(std::uint32_t width, std::uint32_t height, double refreshHz);
std::optional<std::uint8_t> videoCodeOf(std::uint32_t width, std::uint32_t height, double refreshHz, bool interlaced);

/// Two timings with the same figures, wherever they were found.
bool isSameSignal(const Timing& a, const Timing& b);

/// The platform's own number (IOAppleTimingID) of an industry-standard timing; nothing for any other timing.
std::optional<std::uint32_t> appleTimingNumberOf(const Timing& timing);
/// The other direction, and every number that means a timing here, in ascending order.
std::optional<Timing> timingOfAppleNumber(std::uint32_t number);
std::vector<std::uint32_t> appleTimingNumbers();

}  // namespace vlm::sim
