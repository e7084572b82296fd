#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Platform/PropertyList.h"

/// What the fuzz targets share: reading their inputs, and saying what must hold.
namespace vlm::fuzz {

using Bytes = std::span<const std::uint8_t>;

/// An input, taken from its front. Behind its end it goes on with zeros, so that every input is one.
class Input {
 public:
  explicit Input(Bytes bytes) : bytes_(bytes) {}

  std::uint8_t byte();
  /// 0 up to, not including, `count`, of one byte; `count` is 256 at most.
  std::size_t below(std::size_t count) { return byte() % count; }
  /// The low byte first.
  std::uint64_t number(std::size_t bytes);
  /// As many as asked for, as far as they are there.
  Bytes take(std::size_t count);
  std::string text(std::size_t count);
  Bytes rest() { return take(bytes_.size()); }
  bool atEnd() const { return bytes_.empty(); }

 private:
  Bytes bytes_;
};

/// Reads a property list: an XML or a binary one where the input begins so, and else a form that has no wrong inputs,
/// so that whatever the fuzzer does to it is a property list again. `words` are the keys and texts that matter; a byte
/// names one. Absent for a file that the parser refuses.
std::optional<plist::Value> propertyListIn(Bytes bytes, std::span<const std::string_view> words);

/// Equal to the last bit of every real; NaN equals itself.
bool isSame(const plist::Value& a, const plist::Value& b);

/// Ends the program, for the fuzzer to keep the input, when something that must hold does not.
void check(bool holds, const char* what);
/// The same unless both are the same; shows them.
void checkSame(const plist::Value& a, const plist::Value& b, const char* what);

}  // namespace vlm::fuzz
