#include "Simulator/Mac/FileLocation.h"

#include <array>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstring>

namespace vlm::sim {

std::string locationOfPath(const std::string& path) {
  std::string location = "file://";
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    std::array<char, 4> escape{c};
    const bool isPlain = byte < 0x80 && (std::isalnum(byte) != 0 || (c != 0 && std::strchr("/!$&'()*+,-.:=@_~", c)));
    if (!isPlain) std::snprintf(escape.data(), escape.size(), "%%%02X", unsigned{byte});
    location += escape.data();
  }
  return location;
}

std::optional<std::string> pathAtLocation(const std::string& location) {
  constexpr std::string_view kBeginning = "file://";
  if (!location.starts_with("file:///")) return std::nullopt;
  std::string path;
  for (std::size_t i = kBeginning.size(); i < location.size(); ++i) {
    if (location[i] != '%') {
      path += location[i];
      continue;
    }
    const char* const digits = location.data() + i + 1;
    unsigned byte = 0;
    if (i + 2 >= location.size() || std::from_chars(digits, digits + 2, byte, 16).ptr != digits + 2 || byte == 0) {
      return std::nullopt;
    }
    path += static_cast<char>(static_cast<unsigned char>(byte));
    i += 2;
  }
  return path;
}

}  // namespace vlm::sim
