#include <array>
#include <utility>

#include "Platform/Numbers.h"
#include "Simulator/Mac/IccProfile.h"

namespace vlm::sim {

namespace {

/// Fixed-point numbers with 16 bits behind the point.
using Fixed = std::int32_t;
constexpr Fixed fixed(double number) { return static_cast<Fixed>(number * 65536 + (number < 0 ? -0.5 : 0.5)); }

/// Primaries of sRGB as they look under the connection space's white (D50), and that white; XYZ (IEC 61966-2-1, adapted
/// by the matrix below it, ICC.1:2022 Annex E).
struct ColourTag {
  const char* signature;
  std::array<Fixed, 3> xyz;
};
constexpr std::array<Fixed, 3> kWhite{fixed(0.9642), fixed(1), fixed(0.8249)};
constexpr std::array<ColourTag, 4> kColours{{{"wtpt", kWhite},
                                             {"rXYZ", {fixed(0.43607), fixed(0.22249), fixed(0.01392)}},
                                             {"gXYZ", {fixed(0.38515), fixed(0.71687), fixed(0.09708)}},
                                             {"bXYZ", {fixed(0.14307), fixed(0.06061), fixed(0.7141)}}}};
constexpr std::array<Fixed, 9> kAdaptation{fixed(1.04788),  fixed(0.02292), fixed(-0.0502),
                                           fixed(0.02959),  fixed(0.99048), fixed(-0.01706),
                                           fixed(-0.00923), fixed(0.01508), fixed(0.75168)};
/// 2.2 with 8 bits behind the point.
constexpr std::uint16_t kGamma = 0x0233;

/// Grows at its end; the high byte first.
class Writer {
 public:
  Writer& characters(const std::string& four) {
    bytes.insert(bytes.end(), four.begin(), four.end());
    return *this;
  }
  Writer& half(std::uint32_t number) {
    bytes.push_back(truncateTo<std::uint8_t>(number >> 8));
    bytes.push_back(truncateTo<std::uint8_t>(number));
    return *this;
  }
  Writer& word(std::uint32_t number) { return half(number >> 16).half(number); }
  template <std::size_t kCount>
  Writer& words(const std::array<Fixed, kCount>& numbers) {
    for (const Fixed number : numbers) word(truncateTo<std::uint32_t>(number));
    return *this;
  }
  Writer& zerosTo(std::size_t size) {
    bytes.resize(size);
    return *this;
  }
  /// A tag's type and the four zeros behind it.
  Writer& type(const char* four) { return characters(four).word(0); }

  plist::Data bytes;
};

/// The units of UTF-16; `utf8` comes from names of displays, what is broken in it becomes Latin-1.
std::vector<std::uint32_t> unitsOf(const std::string& utf8) {
  std::vector<std::uint32_t> units;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto at = [&](std::size_t index) {
      return static_cast<unsigned char>(index < utf8.size() ? utf8[index] : 0);
    };
    std::uint32_t c = at(i);
    const std::size_t more = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
    std::uint32_t decoded = c & (0x7FU >> (more + 1));
    bool isWhole = more > 0;
    for (std::size_t k = 1; k <= more; ++k) {
      isWhole = isWhole && (at(i + k) & 0xC0) == 0x80;
      decoded = decoded << 6 | (at(i + k) & 0x3FU);
    }
    if (isWhole) {
      c = decoded;
      i += more;
    }
    if (c >= 0x10000) units.push_back(0xD800 | ((c - 0x10000) >> 10 & 0x3FF));
    units.push_back(c >= 0x10000 ? 0xDC00 | (c & 0x3FF) : c);
  }
  return units;
}

plist::Data localized(const std::string& text) {
  constexpr std::uint32_t kRecordSize = 12, kTextAt = 28;
  const auto units = unitsOf(text);
  Writer writer;
  writer.type("mluc").word(1).word(kRecordSize).characters("enUS");
  writer.word(truncateTo<std::uint32_t>(2 * units.size())).word(kTextAt);
  for (const std::uint32_t unit : units) writer.half(unit);
  return writer.bytes;
}

/// The size of the whole comes in when it is known.
Writer headerFor(std::size_t size) {
  constexpr std::uint32_t kVersion4 = 0x04200000;
  constexpr std::size_t kIlluminantAt = 68;
  Writer header;
  header.word(truncateTo<std::uint32_t>(size)).word(0).word(kVersion4).characters("mntrRGB XYZ ");
  header.half(2026).half(1).half(1).half(0).half(0).half(0).characters("acspAPPL");
  header.zerosTo(kIlluminantAt).words(kWhite).zerosTo(IccProfile::kHeaderSize);
  return header;
}

}  // namespace

plist::Data composeDisplayProfile(const std::string& name, const std::optional<ProfiledMonitor>& monitor) {
  constexpr std::size_t kTableEntry = 12, kModelTagSize = 40;
  std::vector<std::pair<std::string, plist::Data>> tags{{"desc", localized(name)},
                                                        {"cprt", localized("No rights reserved")},
                                                        {"chad", Writer().type("sf32").words(kAdaptation).bytes}};
  for (const ColourTag& colour : kColours) {
    tags.emplace_back(colour.signature, Writer().type("XYZ ").words(colour.xyz).bytes);
  }
  for (const char* const curve : {"rTRC", "gTRC", "bTRC"}) {
    tags.emplace_back(curve, Writer().type("curv").word(1).half(kGamma).bytes);
  }
  if (monitor) {
    Writer model;
    model.type("mmod").word(monitor->vendor).word(monitor->product).word(monitor->serial).zerosTo(kModelTagSize);
    tags.emplace_back("mmod", std::move(model.bytes));
  }
  Writer table, content;
  table.word(truncateTo<std::uint32_t>(tags.size()));
  const std::size_t contentAt = IccProfile::kHeaderSize + 4 + kTableEntry * tags.size();
  for (const auto& [signature, bytes] : tags) {
    table.characters(signature).word(truncateTo<std::uint32_t>(contentAt + content.bytes.size()));
    table.word(truncateTo<std::uint32_t>(bytes.size()));
    content.bytes.insert(content.bytes.end(), bytes.begin(), bytes.end());
    content.zerosTo((content.bytes.size() + 3) / 4 * 4);
  }
  plist::Data profile = headerFor(contentAt + content.bytes.size()).bytes;
  profile.insert(profile.end(), table.bytes.begin(), table.bytes.end());
  profile.insert(profile.end(), content.bytes.begin(), content.bytes.end());
  return profile;
}

}  // namespace vlm::sim
