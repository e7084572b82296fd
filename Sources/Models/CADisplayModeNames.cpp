#include "Models/CADisplayModeNames.h"

#include <array>
#include <string_view>

#include "Shared/Format.h"

namespace vlm {

namespace {

struct DepthName {
  std::string_view mark;
  std::string_view name;
};

// In this order: the longer mark contains the shorter one.
constexpr std::array kDepthNames{
    DepthName{"444", "4:4:4"},
    DepthName{"422", "4:2:2"},
    DepthName{"420", "4:2:0"},
    DepthName{"DolbyVisionLowLatency", "DolbyVision LowLatency"},
    DepthName{"DolbyVision", "DolbyVision"},
};

/// What an empty part leaves between its neighbours, and what shall stand there.
constexpr std::string_view kGap = "-  -";
constexpr std::string_view kDash = "-";

std::string withoutGaps(std::string text) {
  for (auto gap = text.find(kGap); gap != std::string::npos; gap = text.find(kGap, gap + kDash.size())) {
    text.replace(gap, kGap.size(), kDash);
  }
  return text;
}

bool contains(const std::string& text, std::string_view part) { return text.find(part) != std::string::npos; }

}  // namespace

std::string ycbcrMode(const CADisplayModeValues& mode) { return mode.colorModeIsYCbCr ? "YCbCr" : "RGB"; }

std::string rangeMode(const CADisplayModeValues& mode) {
  return contains(mode.colorMode, "Limited") ? "Limited Range" : "Full Range";
}

std::string depthMode(const CADisplayModeValues& mode) {
  for (const DepthName& row : kDepthNames) {
    if (contains(mode.colorMode, row.mark)) return std::string(row.name);
  }
  return {};
}

std::string colorModeString(const CADisplayModeValues& mode) {
  const std::string depth =
      mode.isExternal ? format("%llu-bit", mode.bitDepth) : format("Internal (%llu-bit)", mode.bitDepth);
  return withoutGaps(
      format("%@ - %@ - %@ - %@ - %@", depth, mode.hdrMode, ycbcrMode(mode), depthMode(mode), rangeMode(mode)));
}

std::string menuModeString(const CADisplayModeValues& mode) { return colorModeString(mode); }

std::string description(const CADisplayModeValues& mode) {
  return format("CADisplayMode %dx%d %gHz %dbit %@ %@ %@ %@", mode.width, mode.height, mode.refreshRate, mode.bitDepth,
                mode.colorModeIsYCbCr ? "YCbCr" : "", mode.colorMode, mode.hdrMode, mode.colorGamut);
}

}  // namespace vlm
