#pragma once

#include <cstdint>
#include <span>

#include "Platform/PropertyList.h"

/// Small routines on EDIDs. Offsets and fields: VESA E-EDID, section 3.
namespace vlm {

/// Sum of bytes[first] to bytes[last], both included, modulo 256: 0 over a whole block that is in order. What lies
/// outside of the bytes is left out; an empty range gives 0.
std::uint32_t VLMEDID_calcChecksum(std::span<const std::uint8_t> bytes, std::int16_t first, std::int16_t last);

/// The EDID (128 bytes) for a display that reports none, with the low 16 bits of both numbers. The unknown vendor
/// ("unkn") leaves the manufacturer's bytes empty.
plist::Data syntheticEDID(std::uint32_t vendor, std::uint32_t product);

}  // namespace vlm
