#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "Platform/PropertyList.h"

/// Numbers of 32 bits in the order in which override files keep them, the high byte first.
namespace vlm {

/// The caller has checked that the bytes are there.
inline std::uint32_t bigEndian32(std::span<const std::uint8_t> bytes, std::size_t at) {
  return static_cast<std::uint32_t>(bytes[at]) << 24 | static_cast<std::uint32_t>(bytes[at + 1]) << 16 |
         static_cast<std::uint32_t>(bytes[at + 2]) << 8 | static_cast<std::uint32_t>(bytes[at + 3]);
}

inline void putBigEndian32(std::span<std::uint8_t> bytes, std::size_t at, std::uint32_t number) {
  for (const unsigned shift : {24U, 16U, 8U, 0U}) bytes[at++] = static_cast<std::uint8_t>(number >> shift & 0xFFU);
}

inline void appendBigEndian32(plist::Data& data, std::uint32_t number) {
  for (const unsigned shift : {24U, 16U, 8U, 0U}) data.push_back(static_cast<std::uint8_t>(number >> shift & 0xFFU));
}

}  // namespace vlm
