#include "Simulator/Mac/UuidText.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace vlm::sim {

namespace {

constexpr std::string_view kShape = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";

/// FNV-1a, 64 bits.
std::uint64_t hashOf(std::string_view text, std::uint64_t start) {
  for (const char character : text) start = (start ^ static_cast<unsigned char>(character)) * 0x100000001b3U;
  return start;
}

}  // namespace

std::string uuidText(std::string_view name) {
  const std::uint64_t high = hashOf(name, 0xcbf29ce484222325U), low = hashOf(name, high);
  char text[kShape.size() + 1];
  std::snprintf(text, sizeof text, "%08X-%04X-%04X-%04X-%012llX", static_cast<unsigned>(high >> 32),
                static_cast<unsigned>(high >> 16 & 0xffff), static_cast<unsigned>(high & 0xffff),
                static_cast<unsigned>(low >> 48), static_cast<unsigned long long>(low & 0xffffffffffffU));
  return text;
}

bool isUuidText(std::string_view text) {
  if (text.size() != kShape.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool fits = kShape[i] == '-' ? text[i] == '-' : std::isxdigit(static_cast<unsigned char>(text[i])) != 0;
    if (!fits) return false;
  }
  return true;
}

}  // namespace vlm::sim
