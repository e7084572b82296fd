#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "Simulator/Mac/Edid.h"

/// EDIDs written down byte by byte for tests of their reader: not made by the composer, which is its counterpart.
namespace vlm::sim::testing {

using Bytes = std::vector<std::uint8_t>;

/// CTA-861 video codes 16 and 5 as detailed timing descriptors, as many televisions carry them.
constexpr std::array<std::uint8_t, 18> kFullHd60 = {0x02, 0x3a, 0x80, 0x18, 0x71, 0x38, 0x2d, 0x40, 0x58,
                                                    0x2c, 0x45, 0x00, 0xc4, 0x8e, 0x21, 0x00, 0x00, 0x1e};
constexpr std::array<std::uint8_t, 18> kFullHdInterlaced60 = {0x01, 0x1d, 0x80, 0x18, 0x71, 0x1c, 0x16, 0x20, 0x58,
                                                              0x2c, 0x25, 0x00, 0xc4, 0x8e, 0x21, 0x00, 0x00, 0x9e};

inline void fixChecksum(Bytes& edid, std::size_t block) {
  const auto first = edid.begin() + static_cast<std::ptrdiff_t>(128 * block);
  const unsigned sum = std::accumulate(first, first + 127, 0U);
  *(first + 127) = static_cast<std::uint8_t>((256 - sum % 256) % 256);
}

/// Overwrites bytes of one block, whose checksum is right afterwards.
template <typename Container>
void put(Bytes& edid, std::size_t offset, const Container& bytes) {
  std::copy(std::begin(bytes), std::end(bytes), edid.begin() + static_cast<std::ptrdiff_t>(offset));
  fixChecksum(edid, offset / 128);
}

/// A digital EDID 1.3 of vendor ABC, product 0x1234, week 10 of 2011, 53 by 30 cm, without any timing.
inline Bytes emptyBase() {
  Bytes edid(128, 0);
  put(edid, 0, Bytes{0x00, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x00, 0x04, 0x43, 0x34, 0x12,
                     0x78, 0x56, 0x34, 0x12, 0x0a, 0x15, 0x01, 0x03, 0x80, 0x35, 0x1e, 0x78});
  put(edid, 38, Bytes(16, 1));
  for (std::size_t i = 54; i < 126; i += 18) put(edid, i + 3, Bytes{0x10});
  return edid;
}

/// The same with a first detailed timing.
inline Bytes baseWith(const std::array<std::uint8_t, 18>& descriptor) {
  Bytes edid = emptyBase();
  put(edid, 54, descriptor);
  return edid;
}

/// Appends an extension block that begins with these bytes.
inline Bytes withExtension(Bytes edid, const Bytes& content) {
  const std::size_t block = edid.size() / 128;
  edid.resize(edid.size() + 128);
  put(edid, 128 * block, content);
  put(edid, 126, Bytes{static_cast<std::uint8_t>(edid[126] + 1)});
  return edid;
}

/// The parsed EDID; an empty one and a failure when it is refused.
inline ParsedEdid parsed(const Bytes& edid) {
  auto result = readEdid(edid);
  if (auto* const monitor = std::get_if<ParsedEdid>(&result)) return std::move(*monitor);
  ADD_FAILURE() << std::get<std::string>(result);
  return {};
}

/// "1920x1080@60 1920x1080i@50": its timings, rates rounded.
inline std::string sizesOf(const ParsedEdid& edid) {
  std::string sizes;
  for (const Timing& timing : edid.timings) {
    sizes += (sizes.empty() ? "" : " ") + std::to_string(timing.horizontalActive) + "x" +
             std::to_string(timing.verticalActive) + (timing.interlaced ? "i@" : "@") +
             std::to_string(std::lround(timing.refreshRateHz()));
  }
  return sizes;
}

}  // namespace vlm::sim::testing
