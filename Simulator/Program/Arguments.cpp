#include "Simulator/Program/Arguments.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "Simulator/Mac/JournalText.h"

namespace vlm::sim {

namespace {

template <class T>
std::optional<T> whole(std::string_view text, int base = 10) {
  T value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (error != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
  return value;
}

/// What stands before and behind the first separator.
struct Halves {
  std::string_view first, second;
};
std::optional<Halves> split(std::string_view text, char separator) {
  const std::size_t at = text.find(separator);
  if (at == std::string_view::npos) return std::nullopt;
  return Halves{.first = text.substr(0, at), .second = text.substr(at + 1)};
}

/// The character at the beginning of a text that is not empty, in UTF-8, which loses its bytes; absent when it is
/// broken.
std::optional<std::uint32_t> takeCharacter(std::string_view& text) {
  constexpr std::array<std::uint32_t, 5> kLowest{0, 0, 0x80, 0x800, 0x10000};
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xC0 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF8 ? 4
                                           : 0;
  if (length == 0 || length > text.size()) return std::nullopt;
  std::uint32_t code = length == 1 ? lead : lead & (0x7FU >> length);
  for (const char c : text.substr(1, length - 1)) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0U) != 0x80U) return std::nullopt;
    code = code << 6U | (byte & 0x3FU);
  }
  text.remove_prefix(length);
  return code < kLowest[length] || code > 0x10FFFF ? std::nullopt : std::optional(code);
}

/// Of those that XML has no place for.
bool isForbidden(std::uint32_t code) {
  const bool isControl = code < 0x20 || (code >= 0x7F && code < 0xA0);
  const bool isSurrogate = code >= 0xD800 && code < 0xE000;
  return isControl || isSurrogate || (code & 0xFFFEU) == 0xFFFEU;
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

std::optional<double> parseReal(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  if (error != std::errc() || end != text.data() + text.size() || text.empty() || !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

std::optional<std::int64_t> parseInteger(std::string_view text) {
  const bool negative = text.starts_with('-');
  std::string_view digits = negative ? text.substr(1) : text;
  const bool hexadecimal = digits.starts_with("0x") || digits.starts_with("0X");
  if (hexadecimal) digits.remove_prefix(2);
  const auto value = whole<std::uint64_t>(digits, hexadecimal ? 16 : 10);
  if (!value || *value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return std::nullopt;
  return negative ? -static_cast<std::int64_t>(*value) : static_cast<std::int64_t>(*value);
}

std::optional<ModeArgument> parseMode(std::string_view text) {
  ModeArgument mode;
  std::string_view size = text;
  if (const auto halves = split(text, '@')) {
    size = halves->first;
    mode.refreshHz = parseReal(halves->second);
    if (!mode.refreshHz || *mode.refreshHz <= 0) return std::nullopt;
    const std::size_t point = halves->second.find('.');
    const std::size_t decimals = point == std::string_view::npos ? 0 : halves->second.size() - point - 1;
    mode.tolerance = 0.5 * std::pow(10.0, -static_cast<double>(std::min<std::size_t>(decimals, 3)));
    // A whole rate is one that is so to the eye: modes made by formula miss it by some hundredths.
    if (decimals == 0) mode.tolerance = 0.05;
  }
  const auto halves = split(size, 'x');
  if (!halves) return std::nullopt;
  const auto width = whole<std::uint32_t>(halves->first);
  const auto height = whole<std::uint32_t>(halves->second);
  if (!width || !height || *width == 0 || *height == 0) return std::nullopt;
  mode.width = *width;
  mode.height = *height;
  return mode;
}

bool ModeArgument::matches(std::uint32_t otherWidth, std::uint32_t otherHeight, double otherHz) const {
  if (width != otherWidth || height != otherHeight) return false;
  return !refreshHz || std::fabs(*refreshHz - otherHz) <= tolerance;
}

std::optional<PointArgument> parsePoint(std::string_view text) {
  const auto halves = split(text, ',');
  if (!halves) return std::nullopt;
  const auto x = whole<std::int32_t>(halves->first);
  const auto y = whole<std::int32_t>(halves->second);
  if (!x || !y) return std::nullopt;
  return PointArgument{.x = *x, .y = *y};
}

std::optional<bool> parseSwitch(std::string_view text, std::string_view on, std::string_view off) {
  return text == on || text == off ? std::optional(text == on) : std::nullopt;
}

std::string notASwitch(const std::string& text, const std::string& on, const std::string& off) {
  return quoted(text) + " is neither " + on + " nor " + off;
}

bool isBeginning(std::string_view text, std::string_view name) {
  return text.size() <= name.size() &&
         std::equal(text.begin(), text.end(), name.begin(), [](char a, char b) { return lower(a) == lower(b); });
}

bool isSameName(std::string_view text, std::string_view name) {
  return text.size() == name.size() && isBeginning(text, name);
}

bool isWritableText(std::string_view text) {
  while (!text.empty()) {
    const auto code = takeCharacter(text);
    if (!code || isForbidden(*code)) return false;
  }
  return true;
}

}  // namespace vlm::sim
