#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "Platform/IORegistry.h"

/// The platform's timing records as bytes: their byte order and their fields. Layouts: IOGraphicsTypes.h of the macOS
/// SDK, natural alignment.
namespace vlm {

inline constexpr std::size_t kIOTimingRangeLength = 312;
inline constexpr std::size_t kIODetailedTimingInformationV2Length = 160;
inline constexpr std::size_t kIODisplayModeInformationLength = 36;

// Converters between big-endian and little-endian records, in place; each is its own inverse. Nothing happens unless
// `flip` is true. Fields that the system itself writes in host order are left alone, on purpose.

void Common_FlipIOTimingRange(std::span<std::uint8_t, kIOTimingRangeLength> range, bool flip);
void Common_FlipIODetailedTimingInformationV2(std::span<std::uint8_t, kIODetailedTimingInformationV2Length> timing,
                                              bool flip);
void Common_FlipIODisplayModeInformation(std::span<std::uint8_t, kIODisplayModeInformationLength> information,
                                         bool flip);

/// The fields of a detailed timing record in host byte order ("TM" of a frame buffer's mode). A view: the bytes must
/// outlive it. A field that the record is too short for is absent.
class DetailedTimingFields {
 public:
  explicit DetailedTimingFields(std::span<const std::uint8_t> record) : record_(record) {}

  std::optional<std::uint32_t> scalerFlags() const;
  /// Pixels; 0 when the mode is not scaled.
  std::optional<std::uint32_t> horizontalScaled() const;
  /// Lines; 0 when the mode is not scaled.
  std::optional<std::uint32_t> verticalScaled() const;
  /// Hz.
  std::optional<std::uint64_t> pixelClock() const;
  std::optional<std::uint64_t> minPixelClock() const;
  /// Pixels.
  std::optional<std::uint32_t> horizontalActive() const;
  std::optional<std::uint32_t> horizontalBlanking() const;
  /// From the end of the picture.
  std::optional<std::uint32_t> horizontalSyncOffset() const;
  std::optional<std::uint32_t> horizontalSyncPulseWidth() const;
  /// Lines.
  std::optional<std::uint32_t> verticalActive() const;
  std::optional<std::uint32_t> verticalBlanking() const;
  std::optional<std::uint32_t> verticalSyncOffset() const;
  std::optional<std::uint32_t> verticalSyncPulseWidth() const;
  /// Not 0: the sync pulses are positive.
  std::optional<std::uint32_t> horizontalSyncConfig() const;
  std::optional<std::uint32_t> verticalSyncConfig() const;
  /// Lines by which the blanking may grow (variable refresh); 0 when it may not.
  std::optional<std::uint32_t> verticalBlankingExtension() const;

 private:
  std::span<const std::uint8_t> record_;
};

/// Flags of a display-mode information record in host byte order ("DM"); absent when the record is too short.
std::optional<std::uint32_t> displayModeInformationFlags(std::span<const std::uint8_t> record);

/// Lines of vertical sync, by which monitors know the aspect ratio of a CVT timing (VESA CVT 1.2, 3.4.2): a ratio
/// within a 32nd of a named one counts as that. `type` as VLMOverrideResolution numbers them: from 3 on there is but
/// one width.
std::int16_t IODisplayGetCVTSyncWidth(std::int16_t horizontal, std::int16_t vertical, std::int16_t type);

/// The display service that belongs to a frame buffer: the frame buffer itself when it is one, else the first below it.
/// None when there is none. `options` are reserved.
IOObject IODisplayForFramebuffer(io_service_t framebuffer, IOOptionBits options);

}  // namespace vlm
