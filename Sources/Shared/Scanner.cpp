#include "Shared/Scanner.h"

#include <limits>
#include <string_view>

namespace vlm {

namespace {

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Counts downwards, since the negative side of 64 bits reaches one further.
std::int64_t negativeOf(std::string_view digits) {
  std::int64_t number = 0;
  for (const char c : digits) {
    const int digit = c - '0';
    if (number < (kLeast + digit) / 10) return kLeast;
    number = number * 10 - digit;
  }
  return number;
}

}  // namespace

bool Scanner::scanInteger(std::int64_t& destination) {
  destination = 0;
  std::size_t place = text_.find_first_not_of(" \t\n\v\f\r", location_);
  if (place == std::string::npos) return false;
  const bool negative = text_[place] == '-';
  if (negative || text_[place] == '+') ++place;
  const std::size_t first = place;
  while (place < text_.size() && isDigit(text_[place])) ++place;
  if (place == first) return false;
  const std::int64_t number = negativeOf(std::string_view(text_).substr(first, place - first));
  destination = negative ? number : number == kLeast ? kGreatest : -number;
  location_ = place;
  return true;
}

}  // namespace vlm
