#include "Models/ModeDescription.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string>

#include "Platform/Process.h"
#include "Shared/ModeMath.h"

namespace vlm {

namespace {

constexpr std::size_t kModeAt = 0, kFlagsAt = 4, kWidthAt = 8, kHeightAt = 12, kEncodingAt = 48, kRateAt = 188,
                      kIOFlagsAt = 192, kIOModeAt = 196, kScaleAt = 208;
/// Refresh rates are 16.16 fixed-point numbers.
constexpr double kFixedPointOne = 65536.0;

using Record = std::span<const std::uint8_t, ModeDescription::kLength>;

std::uint32_t uint32At(Record record, std::size_t offset) {
  return static_cast<std::uint32_t>(record[offset]) | static_cast<std::uint32_t>(record[offset + 1]) << 8 |
         static_cast<std::uint32_t>(record[offset + 2]) << 16 | static_cast<std::uint32_t>(record[offset + 3]) << 24;
}

std::int32_t sint32At(Record record, std::size_t offset) { return static_cast<std::int32_t>(uint32At(record, offset)); }

/// Up to its zero, and not into the fields behind it.
std::string encodingIn(Record record) {
  const auto begin = record.begin() + kEncodingAt;
  return {begin, std::find(begin, record.begin() + kRateAt, std::uint8_t{0})};
}

}  // namespace

ModeDescription ModeDescription::read(Record record) {
  return {.mode = sint32At(record, kModeAt),
          .flags = uint32At(record, kFlagsAt),
          .width = sint32At(record, kWidthAt),
          .height = sint32At(record, kHeightAt),
          .bitsPerPixel = bitDepthFromPixelEncoding(encodingIn(record)),
          .refreshRate = uint32At(record, kRateAt) / kFixedPointOne,
          .ioFlags = uint32At(record, kIOFlagsAt),
          .ioDisplayModeID = sint32At(record, kIOModeAt),
          .resolution = std::bit_cast<float>(uint32At(record, kScaleAt))};
}

std::optional<ModeDescription> ModeDescription::ofDisplay(CGDirectDisplayID display, std::int32_t index) {
  std::array<std::uint8_t, kLength> record{};
  if (os().quartz.CGSGetDisplayModeDescriptionOfLength(display, index, record) != kCGErrorSuccess) return std::nullopt;
  return read(record);
}

}  // namespace vlm
