#include "Simulator/Mac/IccProfile.h"

#include <algorithm>
#include <utility>

namespace vlm::sim {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Places in the header and behind it (ICC.1:2022, 7.2 and 7.3).
constexpr std::size_t kSizeAt = 0, kSignatureAt = 36, kTagCountAt = IccProfile::kHeaderSize;
constexpr std::size_t kTagTableAt = kTagCountAt + 4, kTagEntrySize = 12;
/// Profiles have some dozens.
constexpr std::size_t kMostTags = 1000;
/// Types of texts (10.15, and 6.5.17 of ICC.1:2001): the type, four zeros, and then what follows.
constexpr std::size_t kContentAt = 8;

bool holds(Bytes bytes, std::size_t offset, std::size_t size) {
  return offset <= bytes.size() && size <= bytes.size() - offset;
}

/// The word at an offset that must be inside.
std::uint32_t wordAt(Bytes bytes, std::size_t offset) {
  std::uint32_t word = 0;
  for (const std::uint8_t byte : bytes.subspan(offset, 4)) word = word << 8 | byte;
  return word;
}

std::string charactersAt(Bytes bytes, std::size_t offset, std::size_t count) {
  const Bytes characters = bytes.subspan(offset, count);
  return {characters.begin(), characters.end()};
}

void appendCharacter(std::string& text, std::uint32_t c) {
  const auto add = [&](std::uint32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
  if (c < 0x80) return add(c);
  if (c < 0x800) {
    add(0xC0 | c >> 6);
  } else {
    if (c >= 0x10000) add(0xF0 | c >> 18);
    add(c >= 0x10000 ? 0x80 | (c >> 12 & 0x3F) : 0xE0 | c >> 12);
    add(0x80 | (c >> 6 & 0x3F));
  }
  add(0x80 | (c & 0x3F));
}

/// UTF-16, the high byte first; half a pair becomes the replacement character.
std::string textOfUTF16(Bytes units) {
  constexpr std::uint32_t kReplacement = 0xFFFD;
  std::string text;
  for (std::size_t i = 0; i + 1 < units.size(); i += 2) {
    const auto unitAt = [&](std::size_t at) {
      return static_cast<std::uint32_t>(at + 1 < units.size() ? units[at] << 8 | units[at + 1] : 0);
    };
    const std::uint32_t unit = unitAt(i), next = unitAt(i + 2);
    if (unit == 0) break;
    if ((unit & 0xF800) != 0xD800) {
      appendCharacter(text, unit);
    } else if (unit < 0xDC00 && (next & 0xFC00) == 0xDC00) {
      appendCharacter(text, 0x10000 + ((unit & 0x3FF) << 10 | (next & 0x3FF)));
      i += 2;
    } else {
      appendCharacter(text, kReplacement);
    }
  }
  return text;
}

/// textDescriptionType: a count, then as many bytes of ASCII with a zero at their end.
std::optional<std::string> plainDescription(Bytes tag) {
  if (!holds(tag, kContentAt, 4)) return std::nullopt;
  const std::size_t count = wordAt(tag, kContentAt);
  if (!holds(tag, kContentAt + 4, count)) return std::nullopt;
  std::string text = charactersAt(tag, kContentAt + 4, count);
  text.resize(std::min(text.find('\0'), text.size()));
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c >= 0x80; }, '?');
  return text;
}

/// multiLocalizedUnicodeType: records of language, country, length and offset.
std::optional<std::string> localizedDescription(Bytes tag) {
  constexpr std::size_t kRecordSize = 12, kRecordsAt = kContentAt + 8;
  if (!holds(tag, kContentAt, 8) || wordAt(tag, kContentAt + 4) != kRecordSize) return std::nullopt;
  const std::size_t count = std::min<std::size_t>(wordAt(tag, kContentAt), (tag.size() - kRecordsAt) / kRecordSize);
  std::optional<std::string> found;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t record = kRecordsAt + i * kRecordSize;
    const std::size_t length = wordAt(tag, record + 4), offset = wordAt(tag, record + 8);
    const bool isEnglish = charactersAt(tag, record, 2) == "en";
    if (!holds(tag, offset, length) || (found && !isEnglish)) continue;
    found = textOfUTF16(tag.subspan(offset, length));
    if (isEnglish) break;
  }
  return found;
}

}  // namespace

std::variant<IccProfile, std::string> IccProfile::read(plist::Data bytes) {
  if (bytes.size() < kTagTableAt) {
    return "it is " + std::to_string(bytes.size()) + " bytes long, a colour profile " + std::to_string(kTagTableAt) +
           " at least";
  }
  const std::size_t size = wordAt(bytes, kSizeAt);
  if (charactersAt(bytes, kSignatureAt, 4) != "acsp") return "it is no colour profile";
  if (size < kTagTableAt || size > bytes.size()) {
    return "its header says " + std::to_string(size) + " bytes, and there are " + std::to_string(bytes.size());
  }
  bytes.resize(size);
  const std::size_t count = wordAt(bytes, kTagCountAt);
  if (count > (size - kTagTableAt) / kTagEntrySize) {
    return "its table of " + std::to_string(count) + " tags reaches beyond its end";
  }
  if (count > kMostTags) {
    return "it has " + std::to_string(count) + " tags, a colour profile " + std::to_string(kMostTags) + " at most";
  }
  IccProfile profile;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t entry = kTagTableAt + i * kTagEntrySize;
    Tag tag{charactersAt(bytes, entry, 4), wordAt(bytes, entry + 4), wordAt(bytes, entry + 8)};
    if (tag.offset < kTagTableAt + count * kTagEntrySize || !holds(bytes, tag.offset, tag.size)) {
      return "its tag " + std::to_string(i) + " lies outside of it";
    }
    profile.tags_.push_back(std::move(tag));
  }
  profile.bytes_ = std::move(bytes);
  return profile;
}

std::optional<std::span<const std::uint8_t>> IccProfile::tag(std::string_view signature) const {
  const auto found =
      std::find_if(tags_.begin(), tags_.end(), [&](const Tag& tag) { return tag.signature == signature; });
  if (found == tags_.end()) return std::nullopt;
  return std::span(bytes_).subspan(found->offset, found->size);
}

std::optional<std::string> IccProfile::description() const {
  const auto content = tag("desc");
  if (!content || content->size() < 4) return std::nullopt;
  const std::string type = charactersAt(*content, 0, 4);
  if (type == "desc") return plainDescription(*content);
  return type == "mluc" ? localizedDescription(*content) : std::nullopt;
}

}  // namespace vlm::sim
