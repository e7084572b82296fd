#pragma once

#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace vlm {

/// Keeps the low bits that fit `To`, in two's complement: 70000 as int16_t is 4464. This is what the settings file's
/// and the platform's fixed-width fields do; writing it out tells the reader, and the sanitizers, that it is meant.
template <std::integral To, std::integral From>
constexpr To truncateTo(From value) noexcept {
  using Unsigned = std::make_unsigned_t<std::conditional_t<std::is_same_v<To, bool>, unsigned char, To>>;
  if constexpr (std::is_same_v<To, bool>) {
    return value != 0;
  } else if constexpr (std::is_same_v<From, bool>) {
    return static_cast<To>(value ? 1 : 0);
  } else {
    return static_cast<To>(static_cast<Unsigned>(value));
  }
}

/// The whole part of a real number, held to the limits of `To`; NaN gives 0. A plain cast of a number out of range is
/// undefined, and numbers from files can be anything.
template <std::integral To, std::floating_point From>
constexpr To wholePartTo(From value) noexcept {
  if (value != value) return 0;
  // The largest values of 32 and 64 bits have no exact counterpart in floating point: compare against the power of two
  // above them, which has one.
  constexpr From kAbove = static_cast<From>(std::numeric_limits<To>::max() / 2 + 1) * 2;
  if (value >= kAbove) return std::numeric_limits<To>::max();
  if (value <= static_cast<From>(std::numeric_limits<To>::min())) return std::numeric_limits<To>::min();
  return static_cast<To>(value);
}

}  // namespace vlm
