#include <algorithm>
#include <cmath>

#include "Platform/Numbers.h"
#include "Simulator/Mac/DisplayModes.h"
#include "Simulator/Mac/ModeTableBuilder.h"
#include "Simulator/Mac/TimingFormulas.h"

/// Mode tables that a machine file lists by hand.
namespace vlm::sim {
namespace {

std::uint32_t fixedRate(double hz) { return wholePartTo<std::uint32_t>(std::round(hz * 65536)); }

/// A frame of two fields: half the frame rate, and an odd number of lines.
Timing interlacedTiming(Timing timing, double fieldsHz) {
  timing.interlaced = true;
  timing.verticalBlanking |= (timing.verticalActive + timing.verticalBlanking + 1) % 2;
  const double total = static_cast<double>(timing.horizontalActive + timing.horizontalBlanking) *
                       (timing.verticalActive + timing.verticalBlanking);
  timing.pixelClockHz = static_cast<std::uint64_t>(std::llround(total * fieldsHz / 2));
  return timing;
}

/// The listed rate kept to the hertz of the clock: who lists a mode expects to find it so. Nothing for what no timing
/// can be: an absurd size or scale is offered all the same, without timing data.
std::optional<Timing> timingOf(const ListedMode& mode) {
  if (mode.noTimingData || !(mode.scale > 0)) return std::nullopt;
  const auto pixels = [&](std::uint32_t points) {
    return wholePartTo<std::uint32_t>(std::round(points * static_cast<double>(mode.scale)));
  };
  auto timing = coordinatedVideoTiming(pixels(mode.width), pixels(mode.height), mode.refreshHz, Blanking::reduced, 1);
  if (!timing) return timing;
  timing->source = Timing::Source::detailed;
  return mode.interlaced ? interlacedTiming(*timing, mode.refreshHz) : timing;
}

/// A mode of another scale already shows the same pixels.
std::optional<std::int32_t> sharedMode(const ModeTableBuilder& builder, const Timing& timing, float scale) {
  for (const FrameBufferMode& mode : builder.frameBufferModes()) {
    if (!mode.timing || *mode.timing != timing) continue;
    const bool isTaken = std::ranges::any_of(builder.lines(), [&](const ModeTableBuilder::Line& line) {
      return line.frameBufferModeID == mode.id && line.scale == scale;
    });
    if (!isTaken) return mode.id;
  }
  return std::nullopt;
}

std::int32_t frameBufferModeFor(const ListedMode& mode, const std::optional<Timing>& timing, bool isNative,
                                ModeTableBuilder& builder) {
  if (timing) {
    if (const auto shared = sharedMode(builder, *timing, mode.scale)) return *shared;
  }
  std::uint32_t flags = kDisplayModeValidFlag;
  if (!mode.unsafe) flags |= kDisplayModeSafeFlag;
  if (isNative) flags |= kDisplayModeDefaultFlag | kDisplayModeNativeFlag;
  if (mode.interlaced) flags |= kDisplayModeInterlacedFlag;
  return builder.addFrameBufferMode({.ioFlags = flags, .timing = timing});
}

}  // namespace

ModeTable listModes(const std::vector<ListedMode>& modes, const ModeOptions& options, const ModeAdditions& additions) {
  ModeTableBuilder builder(options);
  const auto native = std::ranges::find(modes, false, &ListedMode::hidden);
  std::int32_t nativeFrameBufferModeID = 0;
  for (auto mode = modes.begin(); mode != modes.end(); ++mode) {
    const std::optional<Timing> timing = timingOf(*mode);
    if (mode != native && timing && !isOffered(additions, *timing)) continue;
    const std::int32_t id = frameBufferModeFor(*mode, timing, mode == native, builder);
    if (mode == native) nativeFrameBufferModeID = id;
    builder.addLine({.width = mode->width,
                     .height = mode->height,
                     .scale = mode->scale,
                     .frameBufferModeID = id,
                     .refreshRateFixed = fixedRate(mode->refreshHz),
                     .flags = mode->hidden ? kModeHiddenFlag : 0,
                     .depths = mode->depths});
  }
  builder.addInstalled(additions, nativeFrameBufferModeID);
  ModeTable table = builder.finish(nativeFrameBufferModeID, native == modes.end() ? 1.0F : native->scale);
  settleInstalled(table, additions);
  return table;
}

}  // namespace vlm::sim
