#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

#include "Platform/Quartz.h"

/// The arithmetic of display modes: refresh rates, colour depths, aspect ratios.
namespace vlm {

/// A refresh rate as people name it: whole when it is within 0.025 Hz of a whole number, else with two decimals.
float roundedHzTo2Decimals(float hz);

// A colour depth is kept as a mask of one bit: 8, 16, 32, 64 (30 bits), 128 (64 bits), 256 (48 bits), 512 (96 bits).
// The visible depth is what the user sees. Both scales know a 64, with different meanings: convert once, never chain.

std::uint32_t visibleToMaskDepth(std::uint32_t visibleDepth);
std::uint32_t maskToVisibleDepth(std::uint32_t mask);
/// Number of the highest bit of the mask, 30 at most; 0 for an empty mask.
int maskToIndex(std::uint64_t mask);
/// The mask of a mode's colour depth; 0 when its pixel encoding is unknown or missing.
std::uint32_t maskDepth(const CGDisplayModeRef& mode);
/// The visible depth of one of the platform's pixel encodings, letter case aside; 0 for any other, or none.
std::uint32_t bitDepthFromPixelEncoding(const std::optional<std::string>& encoding);

/// "16:9", or the nearest small ratio, or empty when no small one is within 0.1 %.
std::string Common_aspectRatioString(std::uint32_t width, std::uint32_t height);
/// The larger divided by the smaller: 1 for equal numbers, never less.
float ratioOver(float a, float b);

// What follows is named after greatest common divisor and least common multiple and is neither. The timing granularity
// rests on these very results, so they stay.

/// The last remainder of the Euclidean chain, in 16 bits: 0 when neither is 0; `a` when `b` is.
int gcd2(int a, int b);
/// 1 unless gcd2 of both is something.
int ppcm2(int a, int b);
/// Ends the list of `ppcm`.
inline constexpr std::uint32_t kPpcmEnd = 0xFFFFFFFF;
/// Of the values up to kPpcmEnd, which is taken in as well. 1, whatever they are, unless the list is nothing but the
/// end.
int ppcm(std::initializer_list<std::uint32_t> values);

}  // namespace vlm
