#include "Shared/UpperCase.h"

namespace vlm {

namespace {

unsigned char byteAt(std::string_view text, std::size_t index) { return static_cast<unsigned char>(text[index]); }

/// Bytes of the UTF-8 character at the beginning of a text that is not empty; 1 when it is broken.
std::size_t characterLength(std::string_view text) {
  const unsigned char lead = byteAt(text, 0);
  const std::size_t length = lead < 0xC2 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 1;
  if (length > text.size()) return 1;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byteAt(text, i) & 0xC0) != 0x80) return 1;
  }
  return length;
}

bool isWithin(char32_t c, char32_t first, char32_t last) { return c >= first && c <= last; }

/// Ranges in which capitals and small letters alternate, the capital first on an even or an odd number.
bool isSmallOfEvenPair(char32_t c) {
  return (isWithin(c, 0x100, 0x12F) || isWithin(c, 0x132, 0x137) || isWithin(c, 0x14A, 0x177) ||
          isWithin(c, 0x218, 0x21B) || isWithin(c, 0x48A, 0x4BF) || isWithin(c, 0x4D0, 0x52F)) &&
         c % 2 == 1;
}
bool isSmallOfOddPair(char32_t c) { return (isWithin(c, 0x139, 0x148) || isWithin(c, 0x179, 0x17E)) && c % 2 == 0; }

/// The capital of a letter that takes two bytes of UTF-8.
char32_t capitalOf(char32_t c) {
  if (c == 0xFF) return 0x178;
  if (isWithin(c, 0xE0, 0xFE) && c != 0xF7) return c - 0x20;
  if (isSmallOfEvenPair(c) || isSmallOfOddPair(c)) return c - 1;
  if (c == 0x3AC) return 0x386;
  if (isWithin(c, 0x3AD, 0x3AF)) return c - 37;
  if (c == 0x3C2) return 0x3A3;
  if (isWithin(c, 0x3B1, 0x3CB)) return c - 0x20;
  if (c == 0x3CC) return 0x38C;
  if (isWithin(c, 0x3CD, 0x3CE)) return c - 63;
  if (isWithin(c, 0x430, 0x44F)) return c - 0x20;
  if (isWithin(c, 0x450, 0x45F)) return c - 0x50;
  return c;
}

std::string capitalOfCharacter(std::string_view character) {
  if (character.size() == 1) {
    const char c = character[0];
    return std::string(1, c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c);
  }
  if (character == "ß") return "SS";
  if (character.size() != 2) return std::string(character);
  const char32_t c =
      capitalOf(static_cast<char32_t>((byteAt(character, 0) & 0x1F) << 6 | (byteAt(character, 1) & 0x3F)));
  return {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
}

}  // namespace

std::string upperCased(std::string_view text) {
  std::string capitals;
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    capitals += capitalOfCharacter(text.substr(0, length));
    text.remove_prefix(length);
  }
  return capitals;
}

std::size_t lengthInUTF16(std::string_view text) {
  std::size_t units = 0;
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    units += length == 4 ? 2 : 1;
    text.remove_prefix(length);
  }
  return units;
}

}  // namespace vlm
