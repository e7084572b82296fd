#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Platform/Numbers.h"

namespace vlm {

/// Reads decimal integers out of a text, from left to right.
///
/// Each function skips white space (ASCII), takes an optional sign and digits, and answers whether there were any; if
/// not, it stays where it was. The scanned number is held to the limits of 64 bits and then truncated to the
/// destination's width, the unsigned ones too: "70000" gives 4464 in 16 bits, "-1" gives 65535.
///
/// The destination is written in either case (0 without a number): look at the answer first.
class Scanner {
 public:
  explicit Scanner(std::string text) : text_(std::move(text)) {}

  bool scanSInt16(std::int16_t& destination) { return scan(destination); }
  bool scanUInt16(std::uint16_t& destination) { return scan(destination); }
  bool scanSInt32(std::int32_t& destination) { return scan(destination); }
  bool scanUInt32(std::uint32_t& destination) { return scan(destination); }
  bool scanUint32_t(std::uint32_t& destination) { return scan(destination); }
  bool scanInteger(std::int64_t& destination);

  /// Bytes from the beginning of the text.
  std::size_t scanLocation() const { return location_; }

 private:
  template <class Number>
  bool scan(Number& destination) {
    std::int64_t scanned = 0;
    const bool found = scanInteger(scanned);
    destination = truncateTo<Number>(scanned);
    return found;
  }

  std::string text_;
  std::size_t location_ = 0;
};

}  // namespace vlm
