#include "Simulator/Mac/ModeTableBuilder.h"

#include <algorithm>
#include <limits>
#include <tuple>

namespace vlm::sim {
namespace {

/// What the deepest usual depth is: millions of colours when offered, else the most bits.
bool isMoreUsual(std::uint32_t depth, std::uint32_t than) {
  constexpr std::uint32_t kMillions = 32;
  if (depth == than || than == kMillions) return false;
  return depth == kMillions || depth > than;
}

}  // namespace

std::uint32_t refreshRateFixedOf(const Timing& timing) {
  const std::uint64_t lineLength = std::uint64_t{timing.horizontalActive} + timing.horizontalBlanking;
  const std::uint64_t total = lineLength * (std::uint64_t{timing.verticalActive} + timing.verticalBlanking);
  if (total == 0) return 0;
  const std::uint64_t scaledClock = timing.pixelClockHz * (timing.interlaced ? 2U << 16 : 1U << 16);
  const std::uint64_t rate = (scaledClock + total / 2) / total;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(rate, std::numeric_limits<std::uint32_t>::max()));
}

std::int32_t ModeTableBuilder::addFrameBufferMode(FrameBufferMode mode) {
  mode.id = options_.firstFrameBufferModeID + static_cast<std::int32_t>(frameBufferModes_.size());
  if (options_.builtIn) mode.ioFlags |= kDisplayModeBuiltInFlag;
  if (mode.timing && mode.timing->interlaced) mode.ioFlags |= kDisplayModeInterlacedFlag;
  frameBufferModes_.push_back(mode);
  return frameBufferModes_.back().id;
}

const FrameBufferMode& ModeTableBuilder::frameBufferMode(std::int32_t id) const {
  return frameBufferModes_.at(static_cast<std::size_t>(id - options_.firstFrameBufferModeID));
}

void ModeTableBuilder::sortLines() {
  const auto key = [](const Line& line) {
    return std::tie(line.width, line.height, line.scale, line.refreshRateFixed, line.frameBufferModeID);
  };
  std::ranges::stable_sort(lines_, [&](const Line& a, const Line& b) { return key(a) < key(b); });
}

void ModeTableBuilder::appendModes(const Line& line, ModeTable& table) const {
  const FrameBufferMode& frameBuffer = frameBufferMode(line.frameBufferModeID);
  for (const std::uint32_t depth : line.depths.empty() ? options_.depths : line.depths) {
    SimulatedMode mode;
    mode.number = options_.firstModeNumber + static_cast<std::uint32_t>(table.modes.size());
    mode.frameBufferModeID = line.frameBufferModeID;
    mode.width = line.width;
    mode.height = line.height;
    mode.scale = line.scale;
    mode.refreshRateFixed = line.refreshRateFixed;
    mode.flags = line.flags;
    mode.ioFlags = frameBuffer.ioFlags;
    mode.pixelEncoding = pixelEncodingOfDepth(depth);
    mode.variableRefresh = frameBuffer.verticalBlankingExtension > 0 ? 1 : 0;
    table.modes.push_back(std::move(mode));
  }
}

ModeTable ModeTableBuilder::finish(std::int32_t nativeFrameBufferModeID, float nativeScale) {
  ModeTable table;
  std::uint32_t nativeDepth = 0;
  for (const Line& line : lines_) {
    const std::size_t first = table.modes.size();
    appendModes(line, table);
    const bool isNative = line.frameBufferModeID == nativeFrameBufferModeID && line.scale == nativeScale &&
                          (line.flags & kModeHiddenFlag) == 0;
    if (!isNative) continue;
    const std::vector<std::uint32_t>& depths = line.depths.empty() ? options_.depths : line.depths;
    for (std::size_t i = 0; i < depths.size(); ++i) {
      if (!isMoreUsual(depths[i], nativeDepth)) continue;
      nativeDepth = depths[i];
      table.nativeModeNumber = table.modes[first + i].number;
    }
  }
  table.frameBufferModes = std::move(frameBufferModes_);
  return table;
}

}  // namespace vlm::sim
