#include <array>
#include <string_view>

#include "Simulator/Mac/SimulatedInput.h"

namespace vlm::sim {

namespace {

/// Keys 0x00 to 0x32, the block of letters, digits and signs. A blank stands for a key that is in the table below.
constexpr std::string_view kTypingKeys =
    "asdfhgzxcv\xa7"
    "bqweryt123465=97-80]ou[ip lj'k;\\,/nm.  `";

struct NamedKey {
  std::uint16_t code;
  std::string_view text;
};

/// Space, tab, return and the like, the keypad, and the keys that give control characters.
constexpr auto kOtherKeys = std::to_array<NamedKey>({
    {0x24, "\r"},   {0x30, "\t"},   {0x31, " "},    {0x33, "\b"},   {0x35, "\x1b"}, {0x41, "."},    {0x43, "*"},
    {0x45, "+"},    {0x47, "\x1b"}, {0x4b, "/"},    {0x4c, "\x03"}, {0x4e, "-"},    {0x51, "="},    {0x52, "0"},
    {0x53, "1"},    {0x54, "2"},    {0x55, "3"},    {0x56, "4"},    {0x57, "5"},    {0x58, "6"},    {0x59, "7"},
    {0x5b, "8"},    {0x5c, "9"},    {0x72, "\x05"}, {0x73, "\x01"}, {0x74, "\x0b"}, {0x75, "\x7f"}, {0x77, "\x04"},
    {0x79, "\x0c"}, {0x7b, "\x1c"}, {0x7c, "\x1d"}, {0x7d, "\x1f"}, {0x7e, "\x1e"},
});

/// F1 to F20, in the order of their codes; all give the same control character.
constexpr auto kFunctionKeys =
    std::to_array<std::uint16_t>({0x40, 0x4f, 0x50, 0x5a, 0x60, 0x61, 0x62, 0x63, 0x64, 0x65,
                                  0x67, 0x69, 0x6a, 0x6b, 0x6d, 0x6f, 0x71, 0x76, 0x78, 0x7a});
constexpr std::string_view kFunctionKeyText = "\x10";

}  // namespace

std::optional<std::string> textOfUSKey(std::uint16_t virtualKeyCode) {
  for (const NamedKey& key : kOtherKeys) {
    if (key.code == virtualKeyCode) return std::string(key.text);
  }
  for (const std::uint16_t code : kFunctionKeys) {
    if (code == virtualKeyCode) return std::string(kFunctionKeyText);
  }
  if (virtualKeyCode >= kTypingKeys.size()) return std::nullopt;
  const char character = kTypingKeys[virtualKeyCode];
  if (character == '\xa7') return "\u00a7";  // the key that only ISO keyboards have
  return std::string(1, character);
}

}  // namespace vlm::sim
