#include "Shared/EDIDIdentity.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "Shared/EDIDLayout.h"

namespace vlm {

namespace {

// Text descriptors carry a tag in bytes 2 and 3, and up to 13 characters from byte 5, ended by a line feed.
constexpr std::size_t kDescriptorTextAt = 5;
constexpr std::uint32_t kMonitorNameTag = 0x00FC, kSerialTextTag = 0x00FF;
constexpr std::uint8_t kEndOfText = '\n';
/// Name and serial text together.
constexpr std::size_t kMostCharacters = 63;
/// Serial number of monitors whose maker filled the field instead of numbering.
constexpr std::uint32_t kNoSerialNumber = 0x01010101;
constexpr std::uint32_t kFirstYear = 1990;

using BaseBlock = std::array<std::uint8_t, kEDIDBlockLength>;

BaseBlock baseBlockOf(std::span<const std::uint8_t> edid) {
  BaseBlock block{};
  std::copy_n(edid.begin(), std::min(edid.size(), block.size()), block.begin());
  return block;
}

/// The text of every descriptor with the tag. The characters of name and serial text are counted together, so that a
/// long name leaves less of the serial text.
std::string descriptorTexts(const BaseBlock& block, std::uint32_t tag, std::size_t& charactersSoFar) {
  std::string text;
  for (std::size_t i = 0; i < kEDIDDescriptorCount; ++i) {
    const std::span descriptor(block.data() + kEDIDDescriptorsAt + i * kEDIDDescriptorLength, kEDIDDescriptorLength);
    if ((static_cast<std::uint32_t>(descriptor[2]) << 8 | descriptor[3]) != tag) continue;
    for (const std::uint8_t byte : descriptor.subspan(kDescriptorTextAt)) {
      if (byte == kEndOfText || charactersSoFar >= kMostCharacters) break;
      ++charactersSoFar;
      // Control characters cannot stand in a settings file.
      if (byte < 0x20 || byte == 0x7F) continue;
      if (byte < 0x80) {
        text += static_cast<char>(byte);
      } else {
        text += static_cast<char>(0xC0 | byte >> 6);
        text += static_cast<char>(0x80 | (byte & 0x3F));
      }
    }
  }
  return text;
}

}  // namespace

EDIDIdentity identityInEDID(std::span<const std::uint8_t> edid) {
  const BaseBlock block = baseBlockOf(edid);
  EDIDIdentity identity;
  identity.isDigital = (block[20] & 0x80) != 0;
  identity.manufactureYear = block[17] + kFirstYear;
  identity.manufactureWeek = block[16];
  identity.serialNumber = static_cast<std::uint32_t>(block[12]) | static_cast<std::uint32_t>(block[13]) << 8 |
                          static_cast<std::uint32_t>(block[14]) << 16 | static_cast<std::uint32_t>(block[15]) << 24;
  if (identity.serialNumber == kNoSerialNumber) identity.serialNumber = 0;
  std::size_t characters = 0;
  identity.name = descriptorTexts(block, kMonitorNameTag, characters);
  identity.serialText = descriptorTexts(block, kSerialTextTag, characters);
  return identity;
}

}  // namespace vlm
