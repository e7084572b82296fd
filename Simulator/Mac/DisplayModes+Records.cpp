#include <algorithm>
#include <bit>
#include <span>

#include "Simulator/Mac/DisplayModes.h"
#include "Simulator/Mac/ModeTableBuilder.h"
#include "Simulator/Mac/StandardTimings.h"

/// Mode descriptions and timing records as bytes, in the host's order of every Mac that still runs: the low byte first.
namespace vlm::sim {
namespace {

void put(std::span<std::uint8_t> record, std::size_t offset, std::size_t length, std::uint64_t value) {
  for (std::size_t i = 0; i < length; ++i) record[offset + i] = static_cast<std::uint8_t>(value >> (8 * i) & 0xff);
}

void put32(std::span<std::uint8_t> record, std::size_t offset, std::uint32_t value) { put(record, offset, 4, value); }

/// The highest index of the depths that a frame-buffer mode is offered at; some scale of it may have fewer.
std::uint32_t largestDepthIndex(const ModeTable& table, std::int32_t frameBufferModeID) {
  std::vector<std::string_view> encodings;
  for (const SimulatedMode& mode : table.modes) {
    if (mode.frameBufferModeID != frameBufferModeID) continue;
    if (std::ranges::find(encodings, mode.pixelEncoding) == encodings.end()) encodings.push_back(mode.pixelEncoding);
  }
  return encodings.empty() ? 0 : static_cast<std::uint32_t>(encodings.size() - 1);
}

const SimulatedMode* firstModeOf(const ModeTable& table, std::int32_t frameBufferModeID) {
  const auto mode = std::ranges::find(table.modes, frameBufferModeID, &SimulatedMode::frameBufferModeID);
  return mode == table.modes.end() ? nullptr : &*mode;
}

/// IODisplayModeInformation: size, rate (16.16), depth index, flags, image size in millimetres (not known here).
plist::Data displayModeInformation(const ModeTable& table, const FrameBufferMode& mode) {
  constexpr std::size_t kLength = 36;
  plist::Data record(kLength);
  const SimulatedMode* shown = firstModeOf(table, mode.id);
  std::uint32_t width = mode.scaledWidth, height = mode.scaledHeight;
  if (width == 0 || height == 0) {
    width = mode.timing ? mode.timing->horizontalActive : shown != nullptr ? shown->width : 0;
    height = mode.timing ? mode.timing->verticalActive : shown != nullptr ? shown->height : 0;
  }
  put32(record, 0, width);
  put32(record, 4, height);
  put32(record, 8, shown != nullptr ? shown->refreshRateFixed : mode.timing ? refreshRateFixedOf(*mode.timing) : 0);
  put32(record, 12, largestDepthIndex(table, mode.id));
  put32(record, 16, mode.ioFlags);
  return record;
}

void putScaler(std::span<std::uint8_t> record, const FrameBufferMode& mode) {
  constexpr std::uint32_t kStretchToFit = 1;
  put32(record, 20, (mode.ioFlags & kDisplayModeStretchedFlag) != 0 ? kStretchToFit : 0);
  put32(record, 24, mode.scaledWidth);
  put32(record, 28, mode.scaledHeight);
}

void putSignal(std::span<std::uint8_t> record, const Timing& timing, bool digital) {
  constexpr std::uint32_t kDigitalSignal = 1, kInterlacedCeaTiming = 4;
  put32(record, 32, (digital ? kDigitalSignal : 0) | (timing.interlaced ? kInterlacedCeaTiming : 0));
  for (const std::size_t clock : {40U, 48U, 56U}) put(record, clock, 8, timing.pixelClockHz);  // exact: least, most too
}

void putGeometry(std::span<std::uint8_t> record, const Timing& timing) {
  const std::uint32_t figures[] = {timing.horizontalActive,    timing.horizontalBlanking, timing.horizontalSyncOffset,
                                   timing.horizontalSyncWidth, timing.verticalActive,     timing.verticalBlanking,
                                   timing.verticalSyncOffset,  timing.verticalSyncWidth};
  std::size_t offset = 64;
  for (const std::uint32_t figure : figures) {
    put32(record, offset, figure);
    offset += 4;
  }
  put32(record, 112, timing.positiveHorizontalSync ? 1 : 0);
  put32(record, 120, timing.positiveVerticalSync ? 1 : 0);
}

/// IODetailedTimingInformationV2. Frames, not fields, also when interlaced; no borders, one link.
plist::Data detailedTimingInformation(const FrameBufferMode& mode, const Timing& timing, bool digital) {
  constexpr std::size_t kLength = 160;
  constexpr std::uint32_t kRgb444 = 1, kEightBits = 2, kNativeRgb = 1, kStandardRange = 1;
  plist::Data record(kLength);
  putScaler(record, mode);
  putSignal(record, timing, digital);
  putGeometry(record, timing);
  put32(record, 132, mode.verticalBlankingExtension);
  put(record, 136, 2, kRgb444);
  put(record, 138, 2, kEightBits);
  put(record, 140, 2, kNativeRgb);
  put(record, 142, 2, kStandardRange);
  return record;
}

}  // namespace

std::string pixelEncodingOfDepth(std::uint32_t visibleDepth) {
  switch (visibleDepth) {
    case 8:
      return "PPPPPPPP";
    case 16:
      return "-RRRRRGGGGGBBBBB";
    case 30:
      return "--RRRRRRRRRRGGGGGGGGGGBBBBBBBBBB";
    case 32:
      return "--------RRRRRRRRGGGGGGGGBBBBBBBB";
    case 48:
      return "-16FR16FG16FB16";
    case 64:
      return "-16R16G16B16";
    case 96:
      return "-32FR32FG32FB32";
    default:
      return {};
  }
}

std::array<std::uint8_t, kModeDescriptionLength> modeDescription(const SimulatedMode& mode) {
  /// Room for the encoding text with its zero; texts of the platform are much shorter.
  constexpr std::size_t kEncodingAt = 48, kEncodingRoom = 64;
  std::array<std::uint8_t, kModeDescriptionLength> record = {};
  put32(record, 0, mode.number);
  put32(record, 4, mode.flags);
  put32(record, 8, mode.width);
  put32(record, 12, mode.height);
  std::copy_n(mode.pixelEncoding.begin(), std::min(mode.pixelEncoding.size(), kEncodingRoom - 1),
              record.begin() + kEncodingAt);
  put32(record, 188, mode.refreshRateFixed);
  put32(record, 192, mode.ioFlags);
  put32(record, 196, static_cast<std::uint32_t>(mode.frameBufferModeID));
  put32(record, 208, std::bit_cast<std::uint32_t>(mode.scale));
  return record;
}

plist::Dictionary frameBufferConfig(const ModeTable& table) {
  plist::Array modes;
  for (const FrameBufferMode& mode : table.frameBufferModes) {
    plist::Dictionary entry = {{"ID", mode.id}, {"DM", displayModeInformation(table, mode)}};
    if (mode.timing) {
      entry.set("TM", detailedTimingInformation(mode, *mode.timing, table.digital));
      const bool isScaled = mode.scaledWidth != 0;
      const auto number = isScaled ? std::nullopt : appleTimingNumberOf(*mode.timing);
      if (number) entry.set("AID", *number);
    }
    modes.emplace_back(std::move(entry));
  }
  return {{"IOFBModes", std::move(modes)}};
}

}  // namespace vlm::sim
