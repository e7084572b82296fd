#include "Shared/VLFlippers.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>

#include "Platform/Process.h"
#include "Shared/ModeMath.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

/// Byte offsets of the fields of one width that a converter reverses.
struct Fields {
  std::size_t width;
  std::initializer_list<std::size_t> offsets;
};

void reverse(std::span<std::uint8_t> record, std::initializer_list<Fields> groups) {
  for (const auto& [width, offsets] : groups) {
    for (const std::size_t offset : offsets) {
      const auto field = record.subspan(offset, width);
      std::reverse(field.begin(), field.end());
    }
  }
}

bool mayFlip(bool flip) { return flip && !Common_AmIRunningRosetta1(); }

template <class Number>
std::optional<Number> read(std::span<const std::uint8_t> record, std::size_t offset) {
  if (record.size() < offset + sizeof(Number)) return std::nullopt;
  Number number = 0;
  std::memcpy(&number, record.data() + offset, sizeof(Number));
  return number;
}

}  // namespace

void Common_FlipIOTimingRange(std::span<std::uint8_t, kIOTimingRangeLength> range, bool flip) {
  if (!mayFlip(flip)) return;
  reverse(range, {{8, {32, 40}},            // minimum and maximum pixel clock
                  {4, {64, 68, 72, 76}}});  // minimum and maximum frame rate, minimum and maximum line rate
}

void Common_FlipIODetailedTimingInformationV2(std::span<std::uint8_t, kIODetailedTimingInformationV2Length> timing,
                                              bool flip) {
  if (!mayFlip(flip)) return;
  reverse(timing, {{8, {40, 48, 56}},            // pixel clock, its minimum and maximum
                   {4, {20, 24, 28, 32, 36}},    // scaler flags and sizes, signal config and levels
                   {4, {64, 68, 72, 76}},        // horizontal active, blanking, sync offset and width
                   {4, {80, 84, 88, 92}},        // the same, vertical
                   {4, {96, 100, 104, 108}},     // borders
                   {4, {112, 116, 120, 124}}});  // sync configs and levels
}

void Common_FlipIODisplayModeInformation(std::span<std::uint8_t, kIODisplayModeInformationLength> information,
                                         bool flip) {
  if (!mayFlip(flip)) return;
  reverse(information, {{4, {0, 4, 16}}});  // nominal width, nominal height, flags
}

std::optional<std::uint32_t> DetailedTimingFields::scalerFlags() const { return read<std::uint32_t>(record_, 20); }
std::optional<std::uint32_t> DetailedTimingFields::horizontalScaled() const { return read<std::uint32_t>(record_, 24); }
std::optional<std::uint32_t> DetailedTimingFields::verticalScaled() const { return read<std::uint32_t>(record_, 28); }
std::optional<std::uint64_t> DetailedTimingFields::pixelClock() const { return read<std::uint64_t>(record_, 40); }
std::optional<std::uint64_t> DetailedTimingFields::minPixelClock() const { return read<std::uint64_t>(record_, 48); }
std::optional<std::uint32_t> DetailedTimingFields::horizontalActive() const { return read<std::uint32_t>(record_, 64); }
std::optional<std::uint32_t> DetailedTimingFields::horizontalBlanking() const {
  return read<std::uint32_t>(record_, 68);
}
std::optional<std::uint32_t> DetailedTimingFields::horizontalSyncOffset() const {
  return read<std::uint32_t>(record_, 72);
}
std::optional<std::uint32_t> DetailedTimingFields::horizontalSyncPulseWidth() const {
  return read<std::uint32_t>(record_, 76);
}
std::optional<std::uint32_t> DetailedTimingFields::verticalActive() const { return read<std::uint32_t>(record_, 80); }
std::optional<std::uint32_t> DetailedTimingFields::verticalBlanking() const { return read<std::uint32_t>(record_, 84); }
std::optional<std::uint32_t> DetailedTimingFields::verticalSyncOffset() const {
  return read<std::uint32_t>(record_, 88);
}
std::optional<std::uint32_t> DetailedTimingFields::verticalSyncPulseWidth() const {
  return read<std::uint32_t>(record_, 92);
}
std::optional<std::uint32_t> DetailedTimingFields::horizontalSyncConfig() const {
  return read<std::uint32_t>(record_, 112);
}
std::optional<std::uint32_t> DetailedTimingFields::verticalSyncConfig() const {
  return read<std::uint32_t>(record_, 120);
}
std::optional<std::uint32_t> DetailedTimingFields::verticalBlankingExtension() const {
  return read<std::uint32_t>(record_, 132);
}

std::optional<std::uint32_t> displayModeInformationFlags(std::span<const std::uint8_t> record) {
  return read<std::uint32_t>(record, 16);
}

std::int16_t IODisplayGetCVTSyncWidth(std::int16_t horizontal, std::int16_t vertical, std::int16_t type) {
  constexpr std::int16_t kFirstTypeOfOneWidth = 3, kWidthOfThatType = 8, kWidthOfOtherRatios = 10;
  constexpr double kSameRatio = 1.03125;
  struct Row {
    float ratio;
    std::int16_t lines;
  };
  static constexpr std::array<Row, 5> kRows = {{{4.0F / 3, 4}, {16.0F / 9, 5}, {1.6F, 6}, {1.25F, 7}, {5.0F / 3, 7}}};
  if (type >= kFirstTypeOfOneWidth) return kWidthOfThatType;
  const float ratio = static_cast<float>(horizontal) / static_cast<float>(vertical);
  for (const Row& row : kRows) {
    if (static_cast<double>(ratioOver(ratio, row.ratio)) <= kSameRatio) return row.lines;
  }
  return kWidthOfOtherRatios;
}

namespace {

constexpr const char* kDisplayClass = "IODisplay";

IOObject nextDisplay(const IOObject& iterator) {
  IORegistry& registry = os().registry;
  while (true) {
    IOObject object = registry.IOIteratorNext(iterator);
    if (!object || registry.IOObjectConformsTo(object.get(), kDisplayClass)) return object;
  }
}

}  // namespace

IOObject IODisplayForFramebuffer(io_service_t framebuffer, IOOptionBits) {
  IORegistry& registry = os().registry;
  if (registry.IOObjectConformsTo(framebuffer, kDisplayClass)) return registry.IOObjectRetain(framebuffer);
  const IOObject iterator =
      registry.IORegistryEntryCreateIterator(framebuffer, "IOService", kIORegistryIterateRecursively);
  if (!iterator) return {};
  while (true) {
    IOObject display = nextDisplay(iterator);
    if (display || registry.IOIteratorIsValid(iterator)) return display;
    // The registry changed meanwhile: what was walked may not be what is there.
    registry.IOIteratorReset(iterator);
  }
}

}  // namespace vlm
