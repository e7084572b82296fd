#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Where things stand in an EDID (VESA E-EDID 1.4, section 3), and in its DisplayID extensions (DisplayID 1.3, 2).
namespace vlm {

inline constexpr std::size_t kEDIDBlockLength = 128;
/// Of the base block: the number of extension blocks behind it.
inline constexpr std::size_t kEDIDExtensionCountAt = 126;
/// Of every block: what makes it sum to 0.
inline constexpr std::size_t kEDIDChecksumAt = 127;
/// Of the base block: its descriptors, of timings or of texts and limits.
inline constexpr std::size_t kEDIDDescriptorsAt = 54, kEDIDDescriptorLength = 18, kEDIDDescriptorCount = 4;

/// First byte of an extension block that holds one DisplayID section.
inline constexpr std::uint8_t kDisplayIDExtension = 0x70;
/// The section's first data block, from the extension block's begin. A data block is a tag, a revision, the length of
/// what follows, and that.
inline constexpr std::size_t kDisplayIDDataBlocksAt = 5, kDataBlockLengthAt = 2, kDataBlockHeader = 3;
/// Tags of data blocks.
inline constexpr std::uint8_t kTypeITimingBlock = 0x03, kTextBlock = 0x0B;

/// The text by which our own extensions are known; that of an imported EDID goes on.
inline constexpr std::string_view kVLMMark = "Velmoratix", kVLMImportedMark = "Velmoratix-imp";

}  // namespace vlm
