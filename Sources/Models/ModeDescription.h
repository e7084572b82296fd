#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "Platform/Quartz.h"

namespace vlm {

/// What the window server says of one mode at one depth: its mode-description record of 220 bytes, in host byte order
/// (little-endian on every machine that this runs on).
struct ModeDescription {
  static constexpr std::size_t kLength = 220;

  std::int32_t mode = 0;             ///< "Mode": the system's mode number
  std::uint32_t flags = 0;           ///< "flags"
  std::int32_t width = 0;            ///< "Width", of the desktop
  std::int32_t height = 0;           ///< "Height"
  std::uint32_t bitsPerPixel = 0;    ///< "BitsPerPixel": visible depth; 0 when the pixel encoding is not known
  double refreshRate = 0;            ///< "RefreshRate", Hz
  std::uint32_t ioFlags = 0;         ///< "IOFlags"
  std::int32_t ioDisplayModeID = 0;  ///< "IODisplayModeID": the frame buffer's mode number
  float resolution = 0;              ///< "kCGDisplayResolution": pixels a point

  static ModeDescription read(std::span<const std::uint8_t, kLength> record);
  /// The description at an index of the system's list; nothing when the system gives none.
  static std::optional<ModeDescription> ofDisplay(CGDirectDisplayID display, std::int32_t index);
};

}  // namespace vlm
