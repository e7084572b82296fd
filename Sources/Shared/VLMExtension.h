#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Platform/PropertyList.h"

/// Our own DisplayID extension blocks, which carry the custom timings that no EDID descriptor can hold in the EDID of
/// an override file. They stand behind all other blocks. Layout: E-EDID extension 0x70 with one DisplayID 1.3 section
/// of at most five Type I timings (data block 0x03) and our mark as an ASCII text (data block 0x0B).
namespace vlm {

inline constexpr std::size_t kVLMTimingLength = 20;
using VLMTiming = std::array<std::uint8_t, kVLMTimingLength>;

/// The timings of every block from our first one on, as far as the blocks are there.
std::vector<VLMTiming> timingsInVLMExtensions(std::span<const std::uint8_t> edid);
/// Whether an extension says that the EDID was imported by us.
bool hasImportedMark(std::span<const std::uint8_t> edid);
/// The EDID up to our first block, cut to the blocks that are there, with its count and checksum right.
plist::Data withoutVLMExtensions(std::span<const std::uint8_t> edid);
/// An EDID without our blocks, with as many of them behind it as the timings need; one at least when it is marked as
/// imported. `left` receives the number of timings for which there was no room (an EDID has 254 extension blocks at
/// most).
plist::Data withVLMExtensions(plist::Data edid, std::span<const VLMTiming> timings, bool imported, std::size_t& left);
/// With manufacturer, product and date of another one, of at least 128 bytes each.
plist::Data withIdentityOf(plist::Data edid, std::span<const std::uint8_t> other);

}  // namespace vlm
