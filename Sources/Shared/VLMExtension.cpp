#include "Shared/VLMExtension.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "Platform/Numbers.h"
#include "Shared/VLMEDIDUtils.h"

namespace vlm {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kTimingsInABlock = 5;
constexpr std::size_t kMostExtensions = 254;  // 255 answers "none" where a block is looked for

// An extension block (E-EDID 1.4, section 3.1) around one section (DisplayID 1.3, sections 2.1 and 2.2).
/// The first and the last version of that layout.
constexpr std::uint8_t kDisplayID1_0 = 0x10, kDisplayID1_3 = 0x13;
constexpr std::size_t kSectionAt = 1, kSectionExtensionsAt = 4;
/// Timings fill the first data block.
constexpr std::size_t kTimingsLengthAt = kDisplayIDDataBlocksAt + kDataBlockLengthAt;
constexpr std::size_t kTimingsAt = kDisplayIDDataBlocksAt + kDataBlockHeader;
/// Both checksums stand at the block's end, whatever is in it: unused data bytes are zeros.
constexpr std::size_t kSectionChecksumAt = 126;
constexpr std::size_t kSectionDataLength = kSectionChecksumAt - kDisplayIDDataBlocksAt;

/// The byte that makes these sum to 0.
std::uint8_t checksumOver(Bytes bytes) {
  return truncateTo<std::uint8_t>(0U - VLMEDID_calcChecksum(bytes, 0, truncateTo<std::int16_t>(bytes.size() - 1)));
}

void setBaseChecksum(plist::Data& edid) { edid[kEDIDChecksumAt] = checksumOver(Bytes(edid).first(kEDIDChecksumAt)); }

void setChecksums(std::span<std::uint8_t> block) {
  block[kSectionChecksumAt] = checksumOver(block.subspan(kSectionAt, kSectionChecksumAt - kSectionAt));
  block[kEDIDChecksumAt] = checksumOver(block.first(kEDIDChecksumAt));
}

std::size_t putDataBlock(std::span<std::uint8_t> block, std::size_t at, std::uint8_t tag, std::size_t length) {
  block[at] = tag;
  block[at + kDataBlockLengthAt] = truncateTo<std::uint8_t>(length);
  return at + kDataBlockHeader;
}

void appendBlock(plist::Data& edid, std::span<const VLMTiming> timings, std::string_view mark, std::uint8_t version) {
  edid.resize(edid.size() + kEDIDBlockLength);
  const auto block = std::span(edid).last(kEDIDBlockLength);
  block[0] = kDisplayIDExtension;
  block[kSectionAt] = version;
  block[kSectionAt + 1] = truncateTo<std::uint8_t>(kSectionDataLength);
  std::size_t at = kDisplayIDDataBlocksAt;
  if (!timings.empty()) {
    at = putDataBlock(block, at, kTypeITimingBlock, timings.size() * kVLMTimingLength);
    for (const VLMTiming& timing : timings) {
      std::ranges::copy(timing, block.begin() + static_cast<std::ptrdiff_t>(at));
      at += kVLMTimingLength;
    }
  }
  at = putDataBlock(block, at, kTextBlock, mark.size());
  std::ranges::copy(mark, block.begin() + static_cast<std::ptrdiff_t>(at));
  setChecksums(block);
}

/// Version of the EDID's first section; absent when it has none.
std::optional<std::uint8_t> sectionVersionIn(Bytes edid) {
  for (std::size_t at = kEDIDBlockLength; at < edid.size(); at += kEDIDBlockLength) {
    if (edid[at] == kDisplayIDExtension) return edid[at + kSectionAt];
  }
  return std::nullopt;
}

}  // namespace

std::vector<VLMTiming> timingsInVLMExtensions(Bytes edid) {
  std::vector<VLMTiming> timings;
  const std::size_t first = VLMEDID_findVLMDisplayIDExtensionInEDID(edid);
  if (first == kNoVLMExtension) return timings;
  // Every block behind the first one, too, whatever it is: nobody else's stands there in what we write.
  for (std::size_t number = first; number <= extensionBlocksIn(edid); ++number) {
    const Bytes block = edid.subspan(number * kEDIDBlockLength, kEDIDBlockLength);
    const std::size_t count = std::min(block[kTimingsLengthAt] / kVLMTimingLength, kTimingsInABlock);
    for (std::size_t i = 0; i < count; ++i) {
      std::ranges::copy(block.subspan(kTimingsAt + i * kVLMTimingLength, kVLMTimingLength),
                        timings.emplace_back().begin());
    }
  }
  return timings;
}

bool hasImportedMark(Bytes edid) {
  if (edid.size() <= kEDIDBlockLength) return false;
  const Bytes extensions = edid.subspan(kEDIDBlockLength);
  const auto isSame = [](std::uint8_t byte, char wanted) { return byte == static_cast<std::uint8_t>(wanted); };
  return std::search(extensions.begin(), extensions.end(), kVLMImportedMark.begin(), kVLMImportedMark.end(), isSame) !=
         extensions.end();
}

plist::Data withoutVLMExtensions(Bytes edid) {
  if (edid.size() < kEDIDBlockLength) return {edid.begin(), edid.end()};
  const std::size_t first = VLMEDID_findVLMDisplayIDExtensionInEDID(edid);
  const std::size_t kept = first == kNoVLMExtension ? extensionBlocksIn(edid) : first - 1;
  plist::Data result(edid.begin(), edid.begin() + static_cast<std::ptrdiff_t>((kept + 1) * kEDIDBlockLength));
  result[kEDIDExtensionCountAt] = truncateTo<std::uint8_t>(kept);
  setBaseChecksum(result);
  return result;
}

plist::Data withVLMExtensions(plist::Data edid, std::span<const VLMTiming> timings, bool imported, std::size_t& left) {
  left = timings.size();
  if (edid.size() < kEDIDBlockLength) return edid;
  const std::size_t before = extensionBlocksIn(edid);
  std::size_t count = before;
  edid.resize((count + 1) * kEDIDBlockLength);
  const auto versionBefore = sectionVersionIn(edid);
  // All sections of an EDID are of one version; but in version 2 our data blocks are none.
  const std::uint8_t version = std::clamp(versionBefore.value_or(kDisplayID1_3), kDisplayID1_0, kDisplayID1_3);
  bool isMarkMissing = imported;
  while ((left > 0 || isMarkMissing) && count < kMostExtensions) {
    const auto next = timings.subspan(timings.size() - left, std::min(left, kTimingsInABlock));
    appendBlock(edid, next, imported ? kVLMImportedMark : kVLMMark, version);
    left -= next.size();
    isMarkMissing = false;
    ++count;
  }
  // An EDID's first section tells how many follow. The monitor's own stays: an EDID is recognised by the monitor's
  // blocks.
  if (!versionBefore && count > before) {
    const auto first = std::span(edid).subspan((before + 1) * kEDIDBlockLength, kEDIDBlockLength);
    first[kSectionExtensionsAt] = truncateTo<std::uint8_t>(count - before - 1);
    setChecksums(first);
  }
  edid[kEDIDExtensionCountAt] = truncateTo<std::uint8_t>(count);
  setBaseChecksum(edid);
  return edid;
}

plist::Data withIdentityOf(plist::Data edid, Bytes other) {
  if (edid.size() < kEDIDBlockLength || other.size() < kEDIDBlockLength) return edid;
  for (const std::size_t at : {8U, 9U, 10U, 11U, 16U, 17U}) edid[at] = other[at];
  setBaseChecksum(edid);
  return edid;
}

}  // namespace vlm
