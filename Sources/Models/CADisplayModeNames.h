#pragma once

#include <cstdint>
#include <string>

namespace vlm {

/// What the platform tells of one of its `CADisplayMode`s: the picture format on the wire.
struct CADisplayModeValues {
  std::uint32_t width = 0, height = 0;
  double refreshRate = 0;  ///< Hz
  std::uint64_t bitDepth = 0;
  std::string colorMode;  ///< "YCbCr422Limited"
  std::string hdrMode;    ///< "SDR"
  std::string colorGamut;
  bool colorModeIsYCbCr = false;
  /// Whether its display is outside of the computer.
  bool isExternal = false;
};

std::string ycbcrMode(const CADisplayModeValues& mode);
std::string rangeMode(const CADisplayModeValues& mode);
/// Chroma subsampling or the kind of Dolby Vision; empty for any other colour mode.
std::string depthMode(const CADisplayModeValues& mode);
/// "10-bit - HDR10 - YCbCr - 4:2:2 - Limited Range".
std::string colorModeString(const CADisplayModeValues& mode);
std::string menuModeString(const CADisplayModeValues& mode);
std::string description(const CADisplayModeValues& mode);

}  // namespace vlm
