#include "Platform/NumberText.h"

#include <array>
#include <cmath>
#include <concepts>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace vlm {

namespace {

float readBack(const char* text, float) { return std::strtof(text, nullptr); }
double readBack(const char* text, double) { return std::strtod(text, nullptr); }

template <std::floating_point Number>
std::string shortest(Number number) {
  if (std::isnan(number)) return "nan";
  std::array<char, 40> text{};
  for (int digits = std::numeric_limits<Number>::digits10;; ++digits) {
    std::snprintf(text.data(), text.size(), "%.*g", digits, static_cast<double>(number));
    if (digits >= std::numeric_limits<Number>::max_digits10 || readBack(text.data(), number) == number) break;
  }
  return text.data();
}

}  // namespace

std::string shortestText(double number) { return shortest(number); }
std::string shortestText(float number) { return shortest(number); }

}  // namespace vlm
