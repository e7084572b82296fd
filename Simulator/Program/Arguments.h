#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Geometry.h"

namespace vlm::sim {

/// Readers of what commands take. Each reads the whole text or nothing.

/// Decimal.
std::optional<double> parseReal(std::string_view text);
/// Decimal, or hexadecimal behind "0x"; with a sign.
std::optional<std::int64_t> parseInteger(std::string_view text);

/// "1920x1080" or "1920x1080@59.94".
struct ModeArgument {
  std::uint32_t width = 0, height = 0;
  std::optional<double> refreshHz;
  /// A rate is the same when it is so in the decimals that were written: "@60" is not 59.94 Hz, "@59.9" is.
  double tolerance = 0;

  bool matches(std::uint32_t otherWidth, std::uint32_t otherHeight, double otherHz) const;
};
std::optional<ModeArgument> parseMode(std::string_view text);

/// "X,Y", whole points.
struct PointArgument {
  std::int32_t x = 0, y = 0;
};
std::optional<PointArgument> parsePoint(std::string_view text);

/// "on" or "off", or another pair of words.
std::optional<bool> parseSwitch(std::string_view text, std::string_view on = "on", std::string_view off = "off");
/// Why a text is no switch.
std::string notASwitch(const std::string& text, const std::string& on = "on", const std::string& off = "off");

/// Case and surroundings as people type them: whether `text` is `name` or its beginning, in any case of ASCII letters.
bool isBeginning(std::string_view text, std::string_view name);
bool isSameName(std::string_view text, std::string_view name);

/// Whether every reader of a settings file takes the text: UTF-8 without control characters.
bool isWritableText(std::string_view text);

}  // namespace vlm::sim
