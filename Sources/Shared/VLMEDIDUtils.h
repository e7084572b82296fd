#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "Platform/PropertyList.h"
#include "Shared/EDIDLayout.h"

/// Small routines on EDIDs. Offsets and fields: VESA E-EDID, section 3.
namespace vlm {

/// Extension blocks that are declared and, whole, there; 0 for data of less than 128 bytes.
std::size_t extensionBlocksIn(std::span<const std::uint8_t> edid);

/// Sum of bytes[first] to bytes[last], both included, modulo 256: 0 over a whole block that is in order. What lies
/// outside of the bytes is left out; an empty range gives 0.
std::uint32_t VLMEDID_calcChecksum(std::span<const std::uint8_t> bytes, std::int16_t first, std::int16_t last);

/// Answer of VLMEDID_findVLMDisplayIDExtensionInEDID when there is none.
inline constexpr std::uint8_t kNoVLMExtension = 255;
/// The 1-based number of the first extension block that is our own DisplayID extension (see VLMExtension.h). Blocks and
/// lengths that reach beyond the data, or out of their block, are not there.
std::uint8_t VLMEDID_findVLMDisplayIDExtensionInEDID(std::span<const std::uint8_t> edid);

/// Whether two EDIDs count as the same: the base block, and as many extension blocks as the shorter one declares. With
/// `identityOnly` of the base block only header, manufacturer, product, serial number and date; else all but
/// manufacturer, product and date. A block that is declared beyond the data does not count. Never for data of less than
/// 128 bytes.
bool VLMEDID_doEDIDMatch(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b, bool identityOnly);

/// The EDID (128 bytes) for a display that reports none, with the low 16 bits of both numbers. The unknown vendor
/// ("unkn") leaves the manufacturer's bytes empty.
plist::Data syntheticEDID(std::uint32_t vendor, std::uint32_t product);

}  // namespace vlm
