#include "Shared/FileURL.h"

#include "Shared/UpperCase.h"

namespace vlm {

namespace {

constexpr std::string_view kHexadecimalDigits = "0123456789ABCDEF";

/// Whether a byte of a path stands for itself in a URL (RFC 3986, "pchar" and the slash; the platform encodes the
/// semicolon too).
bool standsForItself(char c) {
  constexpr std::string_view kSigns = "!$&'()*+,-./:=@_~";
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || kSigns.find(c) != kSigns.npos;
}

std::optional<unsigned> valueOfDigit(char c) {
  const std::size_t value = kHexadecimalDigits.find(upperCased(std::string_view(&c, 1)));
  return value == std::string_view::npos ? std::nullopt : std::optional(static_cast<unsigned>(value));
}

std::optional<std::string> withoutEscapes(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      plain += text[i];
      continue;
    }
    const auto high = i + 1 < text.size() ? valueOfDigit(text[i + 1]) : std::nullopt;
    const auto low = i + 2 < text.size() ? valueOfDigit(text[i + 2]) : std::nullopt;
    if (!high || !low || (*high == 0 && *low == 0)) return std::nullopt;
    plain += static_cast<char>(static_cast<unsigned char>(*high << 4 | *low));
    i += 2;
  }
  return plain;
}

/// Removes a beginning in any case of letters; false when the text begins otherwise.
bool takeBeginning(std::string_view& text, std::string_view capitals) {
  if (upperCased(text.substr(0, capitals.size())) != capitals) return false;
  text.remove_prefix(capitals.size());
  return true;
}

}  // namespace

std::string fileURLWithPath(std::string_view path) {
  std::string url = "file://";
  for (const char c : path) {
    if (standsForItself(c)) {
      url += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      url += {'%', kHexadecimalDigits[byte >> 4], kHexadecimalDigits[byte & 0xF]};
    }
  }
  return url;
}

std::optional<std::string> pathOfFileURL(std::string_view url) {
  if (!takeBeginning(url, "FILE:")) return std::nullopt;
  if (takeBeginning(url, "//")) takeBeginning(url, "LOCALHOST");
  url = url.substr(0, url.find_first_of("?#"));
  if (!url.starts_with('/')) return std::nullopt;
  auto path = withoutEscapes(url);
  while (path && path->size() > 1 && path->ends_with('/')) path->pop_back();
  return path;
}

}  // namespace vlm
