#include "Shared/TextCompare.h"

#include <algorithm>
#include <string>

#include "Shared/UpperCase.h"

namespace vlm {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Capitals whose accents are taken off, U+00C0 to U+00DE.
std::string baseLetters(std::string_view text) {
  constexpr std::string_view kBases = "AAAAAAACEEEEIIIIDNOOOOO.OUUUUY";
  const std::string capitals = upperCased(text);
  std::string bases;
  for (std::size_t i = 0; i < capitals.size(); ++i) {
    const bool isLatin1 = capitals[i] == '\xC3' && i + 1 < capitals.size();
    const std::size_t index = isLatin1 ? static_cast<unsigned char>(capitals[i + 1]) - 0x80U : kBases.size();
    if (index < kBases.size() && kBases[index] != '.') {
      bases += kBases[index];
      ++i;
    } else {
      bases += capitals[i];
    }
  }
  return bases;
}

/// The digits that a text begins with, without zeros in front; they leave the text.
std::string_view takeNumber(std::string_view& text) {
  const auto end = static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), isDigit) - text.begin());
  std::string_view digits = text.substr(0, end);
  text.remove_prefix(end);
  return digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
}

int compareNumbers(std::string_view first, std::string_view second) {
  if (first.size() != second.size()) return first.size() < second.size() ? -1 : 1;
  return first.compare(second);
}

/// Signs, digits, letters.
int rankOf(char c) {
  if (isDigit(c)) return 1;
  return static_cast<unsigned char>(c) >= 0x80 || (c >= 'A' && c <= 'Z') ? 2 : 0;
}

int compareCharacters(char first, char second) {
  if (rankOf(first) != rankOf(second)) return rankOf(first) - rankOf(second);
  return static_cast<unsigned char>(first) - static_cast<unsigned char>(second);
}

int compareBaseLetters(std::string_view first, std::string_view second) {
  while (!first.empty() && !second.empty()) {
    const bool areNumbers = isDigit(first[0]) && isDigit(second[0]);
    const int order =
        areNumbers ? compareNumbers(takeNumber(first), takeNumber(second)) : compareCharacters(first[0], second[0]);
    if (order != 0) return order;
    if (areNumbers) continue;
    first.remove_prefix(1);
    second.remove_prefix(1);
  }
  return static_cast<int>(second.empty()) - static_cast<int>(first.empty());
}

}  // namespace

int localizedStandardCompare(std::string_view first, std::string_view second) {
  if (const int order = compareBaseLetters(baseLetters(first), baseLetters(second)); order != 0) return order;
  if (const int order = upperCased(first).compare(upperCased(second)); order != 0) return order;
  return second.compare(first);
}

}  // namespace vlm
