#include <algorithm>
#include <cmath>

#include "Simulator/Mac/ModeTableBuilder.h"
#include "Simulator/Mac/StandardTimings.h"
#include "Simulator/Mac/TimingLimits.h"

/// What an override file does to a mode table.
namespace vlm::sim {
namespace {

/// Two rates that a user would write the same: 59.94 and 60.
constexpr double kRateTolerance = 0.51;
constexpr float kHiDPIScale = 2.0F;

bool isInstalled(const FrameBufferMode& mode) {
  return mode.timing && mode.timing->source == Timing::Source::installed;
}

/// What a display can come up with: picture on, at the depth that people use.
bool canBeDefault(const ModeTable& table, const SimulatedMode& mode, const std::string& depth) {
  return (mode.flags & kModeHiddenFlag) == 0 && mode.pixelEncoding == depth &&
         frameBufferModeOf(table, mode).darkBecause.empty();
}

/// The mode of that size, of the nearest rate and then of the native scale; null when there is none.
const SimulatedMode* modeOf(const ModeTable& table, const ModeAdditions::Resolution& wanted,
                            const SimulatedMode& native) {
  const SimulatedMode* best = nullptr;
  const auto rank = [&](const SimulatedMode& mode) {
    const double wantedHz = wanted.refreshHz > 0 ? wanted.refreshHz : native.refreshRateHz();
    return std::pair(std::abs(mode.refreshRateHz() - wantedHz), mode.scale == native.scale ? 0 : 1);
  };
  for (const SimulatedMode& mode : table.modes) {
    if (mode.width != wanted.width || mode.height != wanted.height) continue;
    if (wanted.refreshHz > 0 && std::abs(mode.refreshRateHz() - wanted.refreshHz) > kRateTolerance) continue;
    if (!canBeDefault(table, mode, native.pixelEncoding)) continue;
    if (best == nullptr || rank(mode) < rank(*best)) best = &mode;
  }
  return best;
}

const SimulatedMode* largestShown(const ModeTable& table, const SimulatedMode& native) {
  const SimulatedMode* best = nullptr;
  const auto area = [](const SimulatedMode& mode) { return std::uint64_t{mode.width} * mode.height; };
  for (const SimulatedMode& mode : table.modes) {
    if (!canBeDefault(table, mode, native.pixelEncoding)) continue;
    if (best == nullptr || area(mode) > area(*best)) best = &mode;
  }
  return best;
}

void setFlag(ModeTable& table, std::int32_t frameBufferModeID, std::uint32_t flag, bool isSet) {
  const auto change = [&](std::uint32_t& flags) { flags = isSet ? flags | flag : flags & ~flag; };
  for (FrameBufferMode& mode : table.frameBufferModes) {
    if (mode.id == frameBufferModeID) change(mode.ioFlags);
  }
  for (SimulatedMode& mode : table.modes) {
    if (mode.frameBufferModeID == frameBufferModeID) change(mode.ioFlags);
  }
}

void markInstalled(ModeTable& table, const ModeAdditions& additions) {
  std::vector<std::int32_t> unsafe;
  for (FrameBufferMode& mode : table.frameBufferModes) {
    if (!isInstalled(mode)) continue;
    mode.darkBecause = reasonOutside(additions.shown, *mode.timing).value_or("");
    if (reasonOutside(additions.safe, *mode.timing)) unsafe.push_back(mode.id);
  }
  for (const std::int32_t id : unsafe) setFlag(table, id, kDisplayModeSafeFlag, false);
}

void chooseDefault(ModeTable& table, const ModeAdditions& additions) {
  table.defaultModeNumber = table.nativeModeNumber;
  const auto native = std::ranges::find(table.modes, table.nativeModeNumber, &SimulatedMode::number);
  if (native == table.modes.end()) return;
  const SimulatedMode* chosen =
      additions.defaultResolution ? modeOf(table, *additions.defaultResolution, *native) : nullptr;
  const bool isDark = !frameBufferModeOf(table, *native).darkBecause.empty();
  if (chosen == nullptr && isDark) chosen = largestShown(table, *native);
  if (chosen == nullptr) return;
  table.defaultModeNumber = chosen->number;
  const std::int32_t id = chosen->frameBufferModeID;
  for (const FrameBufferMode& mode : table.frameBufferModes) setFlag(table, mode.id, kDisplayModeDefaultFlag, false);
  setFlag(table, id, kDisplayModeDefaultFlag, true);
}

}  // namespace

const FrameBufferMode& frameBufferModeOf(const ModeTable& table, const SimulatedMode& mode) {
  return *std::ranges::find(table.frameBufferModes, mode.frameBufferModeID, &FrameBufferMode::id);
}

bool isOffered(const ModeAdditions& additions, const Timing& timing) {
  return !reasonOutside(additions.offered, timing);
}

void ModeTableBuilder::addInstalled(const ModeAdditions& additions, std::int32_t nativeFrameBufferModeID) {
  for (const Timing& timing : additions.timings) addInstalledTiming(timing, additions);
  const auto native = std::ranges::find(frameBufferModes_, nativeFrameBufferModeID, &FrameBufferMode::id);
  if (native == frameBufferModes_.end() || !native->timing) return;
  const FrameBufferMode copy = *native;
  for (const ModeAdditions::ScaledSize& size : additions.scaledSizes) addInstalledSize(size, copy);
}

void ModeTableBuilder::addInstalledTiming(const Timing& timing, const ModeAdditions& additions) {
  const bool isThere = std::ranges::any_of(frameBufferModes_, [&](const FrameBufferMode& mode) {
    return mode.timing && mode.scaledWidth == 0 && isSameSignal(*mode.timing, timing);
  });
  if (isThere || !isOffered(additions, timing)) return;
  const std::int32_t id =
      addFrameBufferMode({.ioFlags = kDisplayModeValidFlag | kDisplayModeSafeFlag, .timing = timing});
  addLine({.width = timing.horizontalActive,
           .height = timing.verticalActive,
           .frameBufferModeID = id,
           .refreshRateFixed = refreshRateFixedOf(timing),
           .depths = {}});
}

void ModeTableBuilder::addInstalledSize(const ModeAdditions::ScaledSize& size, const FrameBufferMode& native) {
  const bool isNative = size.width == native.timing->horizontalActive && size.height == native.timing->verticalActive;
  auto mode = std::ranges::find_if(frameBufferModes_, [&](const FrameBufferMode& known) {
    return isNative ? known.id == native.id
                    : known.scaledWidth == size.width && known.scaledHeight == size.height &&
                          known.timing == native.timing && (known.ioFlags & kDisplayModeStretchedFlag) == 0;
  });
  const std::int32_t id = mode != frameBufferModes_.end()
                              ? mode->id
                              : addFrameBufferMode({.ioFlags = kDisplayModeValidFlag | kDisplayModeSafeFlag,
                                                    .timing = native.timing,
                                                    .scaledWidth = size.width,
                                                    .scaledHeight = size.height,
                                                    .verticalBlankingExtension = native.verticalBlankingExtension});
  const auto addOnce = [&](std::uint32_t width, std::uint32_t height, float scale) {
    const bool isThere = std::ranges::any_of(lines_, [&](const Line& line) {
      return line.frameBufferModeID == id && line.width == width && line.height == height && line.scale == scale &&
             (line.flags & kModeHiddenFlag) == 0;
    });
    if (isThere) return;
    addLine({.width = width,
             .height = height,
             .scale = scale,
             .frameBufferModeID = id,
             .refreshRateFixed = refreshRateFixedOf(*native.timing),
             .depths = {}});
  };
  addOnce(size.width, size.height, 1.0F);
  if (size.hiDPI) addOnce(size.width / 2, size.height / 2, kHiDPIScale);
}

void settleInstalled(ModeTable& table, const ModeAdditions& additions) {
  markInstalled(table, additions);
  chooseDefault(table, additions);
}

}  // namespace vlm::sim
