#include "Shared/VLMEDIDUtils.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "Platform/Input.h"
#include "Platform/Numbers.h"
#include "Shared/Log.h"

namespace vlm {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Whether the text block at an offset of the extension begins with our mark.
bool isMarkedTextBlock(Bytes extension, std::size_t at) {
  if (at + kDataBlockHeader + kVLMMark.size() > extension.size()) return false;
  const Bytes text = extension.subspan(at + kDataBlockHeader, kVLMMark.size());
  return extension[at] == kTextBlock && extension[at + kDataBlockLengthAt] >= kVLMMark.size() &&
         std::equal(text.begin(), text.end(), kVLMMark.begin(),
                    [](std::uint8_t byte, char wanted) { return byte == static_cast<std::uint8_t>(wanted); });
}

bool isVLMExtension(Bytes extension) {
  const std::uint8_t first = extension[kDisplayIDDataBlocksAt];
  const std::size_t length = extension[kDisplayIDDataBlocksAt + kDataBlockLengthAt];
  if (first == kTextBlock) return isMarkedTextBlock(extension, kDisplayIDDataBlocksAt);
  // Behind the timings; a mark further in does not count.
  return first == kTypeITimingBlock && isMarkedTextBlock(extension, kDisplayIDDataBlocksAt + kDataBlockHeader + length);
}

bool areEqual(Bytes a, Bytes b, std::size_t from, std::size_t to) {
  return std::ranges::equal(a.subspan(from, to - from), b.subspan(from, to - from));
}

/// An EDID 1.1 base block of week 10, 2000, whose first descriptor is the text "VLMFakeEDID". The other descriptors are
/// filled with 0x01, which is no descriptor at all and stays: the checksums of kept EDIDs rest on it.
constexpr std::array<std::uint8_t, kEDIDBlockLength> kTemplate = {
    0x00, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // 0
    0x0a, 0x0a, 0x01, 0x01, 0x0c, 0x1e, 0x17, 0xbe, 0xe8, 0x2d, 0xc9, 0xa0, 0x57, 0x47, 0x98, 0x27,  // 16
    0x12, 0x48, 0x4c, 0x00, 0x00, 0x00, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01,  // 32
    0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x00, 0x00, 0x00, 0xfe, 0x00, 0x56, 0x4c, 0x4d, 0x46, 0x61,  // 48
    0x6b, 0x65, 0x45, 0x44, 0x49, 0x44, 0x0a, 0x20, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01,  // 64
    0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01,  // 80
    0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01,  // 96
    0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x00, 0x00,  // 112
};

}  // namespace

std::size_t extensionBlocksIn(Bytes edid) {
  if (edid.size() < kEDIDBlockLength) return 0;
  return std::min<std::size_t>(edid[kEDIDExtensionCountAt], edid.size() / kEDIDBlockLength - 1);
}

std::uint8_t VLMEDID_findVLMDisplayIDExtensionInEDID(Bytes edid) {
  if (edid.size() < kEDIDBlockLength) return kNoVLMExtension;
  VLMLog("--> searching for VLM extentions in edid - %d extensions to try", edid[kEDIDExtensionCountAt]);
  for (std::size_t number = 1; number <= extensionBlocksIn(edid); ++number) {
    VLMLog("extension number %d ", number);
    const Bytes extension = edid.subspan(number * kEDIDBlockLength, kEDIDBlockLength);
    if (extension[0] != kDisplayIDExtension) {
      VLMLog("Not a DisplayID Extension -> next extension");
      continue;
    }
    if (isVLMExtension(extension)) return static_cast<std::uint8_t>(number);
  }
  return kNoVLMExtension;
}

bool VLMEDID_doEDIDMatch(Bytes a, Bytes b, bool identityOnly) {
  if (a.size() < kEDIDBlockLength || b.size() < kEDIDBlockLength) return false;
  // Header, manufacturer (8, 9), product (10, 11), serial number (12 to 15), week and year (16, 17); the rest from 18
  // on.
  if (identityOnly) {
    if (!areEqual(a, b, 0, 18)) return false;
  } else if (!areEqual(a, b, 0, 8) || !areEqual(a, b, 12, 16) || !areEqual(a, b, 18, kEDIDExtensionCountAt)) {
    return false;
  }
  const std::size_t blocks = std::min(extensionBlocksIn(a), extensionBlocksIn(b));
  return areEqual(a, b, kEDIDBlockLength, kEDIDBlockLength * (blocks + 1));
}

std::uint32_t VLMEDID_calcChecksum(std::span<const std::uint8_t> bytes, std::int16_t first, std::int16_t last) {
  std::uint32_t sum = 0;
  for (int i = std::max<int>(first, 0); i <= last && static_cast<std::size_t>(i) < bytes.size(); ++i) {
    sum += bytes[static_cast<std::size_t>(i)];
  }
  return sum % 256;
}

plist::Data syntheticEDID(std::uint32_t vendor, std::uint32_t product) {
  plist::Data edid(kTemplate.begin(), kTemplate.end());
  if (vendor != fourCharCode("unkn")) {
    edid[8] = truncateTo<std::uint8_t>(vendor >> 8);
    edid[9] = truncateTo<std::uint8_t>(vendor);
  }
  edid[10] = truncateTo<std::uint8_t>(product);
  edid[11] = truncateTo<std::uint8_t>(product >> 8);
  edid[kEDIDChecksumAt] = truncateTo<std::uint8_t>(edid[kEDIDChecksumAt] - VLMEDID_calcChecksum(edid, 0, 127));
  return edid;
}

}  // namespace vlm
