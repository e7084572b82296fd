#include "Models/VLMOverrideDisplayName.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "Models/OverrideContent.h"

namespace vlm {

namespace {

/// The characters of MacRoman above ASCII, from 0x80 on.
constexpr std::array<std::string_view, 128> kMacRoman{
    "Ä", "Å", "Ç", "É", "Ñ", "Ö", "Ü", "á", "à", "â", "ä", "ã", "å", "ç", "é", "è", "ê", "ë",      "í",
    "ì", "î", "ï", "ñ", "ó", "ò", "ô", "ö", "õ", "ú", "ù", "û", "ü", "†", "°", "¢", "£", "§",      "•",
    "¶", "ß", "®", "©", "™", "´", "¨", "≠", "Æ", "Ø", "∞", "±", "≤", "≥", "¥", "µ", "∂", "∑",      "∏",
    "π", "∫", "ª", "º", "Ω", "æ", "ø", "¿", "¡", "¬", "√", "ƒ", "≈", "∆", "«", "»", "…", "\u00a0", "À",
    "Ã", "Õ", "Œ", "œ", "–", "—", "“", "”", "‘", "’", "÷", "◊", "ÿ", "Ÿ", "⁄", "€", "‹", "›",      "ﬁ",
    "ﬂ", "‡", "·", "‚", "„", "‰", "Â", "Ê", "Á", "Ë", "È", "Í", "Î", "Ï", "Ì", "Ó", "Ô", "\uf8ff", "Ò",
    "Ú", "Û", "Ù", "ı", "ˆ", "˜", "¯", "˘", "˙", "˚", "¸", "˝", "˛", "ˇ"};

}  // namespace

std::shared_ptr<VLMOverrideDisplayName> VLMOverrideDisplayName::initWithString(const std::optional<std::string>& name,
                                                                               std::int16_t status,
                                                                               bool shouldOverride) {
  if (!name) return nullptr;
  auto record = std::make_shared<VLMOverrideDisplayName>();
  record->name = name;
  record->status = status;
  record->shouldOverride = shouldOverride;
  record->copyBackupWith(*record);
  return record;
}

std::shared_ptr<VLMOverrideDisplayName> VLMOverrideDisplayName::initWithPascalString(std::span<const std::uint8_t> text,
                                                                                     bool shouldOverride) {
  if (text.empty() || text[0] == 0) return nullptr;
  const auto characters = text.subspan(1, std::min<std::size_t>(text[0], text.size() - 1));
  if (characters.empty()) return nullptr;
  auto record = std::make_shared<VLMOverrideDisplayName>();
  record->name.emplace();
  for (const std::uint8_t character : characters) {
    if (character < 0x80) {
      record->name->push_back(static_cast<char>(character));
    } else {
      *record->name += kMacRoman[character - 0x80U];
    }
  }
  record->status = kOverrideFoundInSettings;
  record->shouldOverride = shouldOverride;
  return record;
}

std::shared_ptr<VLMOverrideDisplayName> VLMOverrideDisplayName::initAndDecodeReadableWith(
    const plist::Dictionary& dict) {
  auto record = std::make_shared<VLMOverrideDisplayName>();
  record->name = dict.string("name");
  record->shouldOverride = dict.boolean("shouldOverride");
  record->status = kOverrideFoundInSettings;
  return record;
}

plist::Dictionary VLMOverrideDisplayName::encodeReadable() const {
  plist::Dictionary dict;
  if (name) dict.set("name", *name);
  dict.set("shouldOverride", shouldOverride);
  return dict;
}

void VLMOverrideDisplayName::addInOverrideDictionary(plist::Dictionary& content) const {
  if (shouldOverride && name) {
    content.set(OverrideKey::productName, *name);
  } else {
    content.remove(OverrideKey::productName);
  }
}

void VLMOverrideDisplayName::fillWithDisplayName(const VLMOverrideDisplayName& other) {
  name = other.name;
  shouldOverride = other.shouldOverride;
}

bool VLMOverrideDisplayName::isEqualToDisplayName(const VLMOverrideDisplayName* other) const {
  return other != nullptr && name == other->name;
}

}  // namespace vlm
