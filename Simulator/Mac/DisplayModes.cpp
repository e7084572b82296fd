#include "Simulator/Mac/DisplayModes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "Simulator/Mac/ModeTableBuilder.h"
#include "Simulator/Mac/TimingFormulas.h"

namespace vlm::sim {
namespace {

using Line = ModeTableBuilder::Line;

constexpr float kHiDPIScale = 2.0F;

struct Size {
  std::uint32_t width = 0, height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

// --- The sizes that a Mac offers beside the native one ---

constexpr std::array<Size, 8> kSizes16To10 = {
    {{2560, 1600}, {2048, 1280}, {1920, 1200}, {1680, 1050}, {1440, 900}, {1280, 800}, {1152, 720}, {1024, 640}}};
constexpr std::array<Size, 12> kSizes16To9 = {{{3840, 2160},
                                               {3200, 1800},
                                               {2880, 1620},
                                               {2560, 1440},
                                               {2304, 1296},
                                               {2048, 1152},
                                               {1920, 1080},
                                               {1600, 900},
                                               {1344, 756},
                                               {1280, 720},
                                               {1152, 648},
                                               {1024, 576}}};
constexpr std::array<Size, 8> kSizes4To3 = {
    {{2048, 1536}, {1920, 1440}, {1600, 1200}, {1400, 1050}, {1280, 960}, {1152, 864}, {1024, 768}, {800, 600}}};
/// Offered to panels of any other shape too, stretched over them.
constexpr std::array<Size, 2> kStretchedSizes = {{{1024, 768}, {800, 600}}};

bool hasShape(const Timing& timing, double ratio) {
  constexpr double kShapeTolerance = 0.01;
  return std::abs(static_cast<double>(timing.horizontalActive) / timing.verticalActive / ratio - 1) < kShapeTolerance;
}

/// Shapes without usual sizes of their own get even fractions of the native one.
std::vector<Size> fractionsOf(const Timing& native) {
  std::vector<Size> sizes;
  for (const std::uint32_t twelfths : {10U, 9U, 8U, 7U, 6U, 5U, 4U}) {
    const auto part = [twelfths](std::uint32_t whole) { return whole * twelfths / 24 * 2; };
    const Size size = {part(native.horizontalActive), part(native.verticalActive)};
    if (size.width > 0 && size.height > 0) sizes.push_back(size);
  }
  return sizes;
}

std::vector<Size> ladderOf(const Timing& native) {
  if (hasShape(native, 16.0 / 10)) return {kSizes16To10.begin(), kSizes16To10.end()};
  if (hasShape(native, 16.0 / 9)) return {kSizes16To9.begin(), kSizes16To9.end()};
  if (hasShape(native, 4.0 / 3)) return {kSizes4To3.begin(), kSizes4To3.end()};
  return fractionsOf(native);
}

// --- Deriving ---

class Deriver {
 public:
  Deriver(const ParsedEdid& edid, const ModeOptions& options, const ModeAdditions& additions)
      : edid_(edid), options_(options), additions_(additions), native_(edid.timings.front()), builder_(options) {}

  ModeTable derive() {
    addTimings();
    if (options_.variableRefresh) addVariableRefresh();
    collectPanelModes();
    if (options_.hiDPI) addHiDPISizes();
    if (options_.scaledSizes) addScaledSizes();
    if (options_.oddities) addOddities();
    builder_.addInstalled(additions_, options_.firstFrameBufferModeID);
    builder_.sortLines();
    ModeTable table = builder_.finish(options_.firstFrameBufferModeID, defaultScale());
    table.digital = edid_.digital;
    settleInstalled(table, additions_);
    return table;
  }

 private:
  bool canHalve() const { return native_.horizontalActive % 2 == 0 && native_.verticalActive % 2 == 0; }

  /// A laptop's panel, and one with that many pixels, starts at two pixels a point.
  float defaultScale() const {
    constexpr std::uint32_t kDenseWidth = 3840;
    const bool isDense = options_.builtIn || native_.horizontalActive >= kDenseWidth;
    return options_.hiDPI && canHalve() && isDense && !native_.interlaced ? kHiDPIScale : 1.0F;
  }

  bool isNativeSize(const Timing& timing) const {
    return timing.horizontalActive == native_.horizontalActive && timing.verticalActive == native_.verticalActive;
  }

  void addLine(Size size, float scale, std::int32_t frameBufferModeID, std::uint32_t flags = 0) {
    const std::optional<Timing>& timing = builder_.frameBufferMode(frameBufferModeID).timing;
    constexpr std::uint32_t kUsualRate = 60U << 16;
    builder_.addLine({.width = size.width,
                      .height = size.height,
                      .scale = scale,
                      .frameBufferModeID = frameBufferModeID,
                      .refreshRateFixed = timing ? refreshRateFixedOf(*timing) : kUsualRate,
                      .flags = flags,
                      .depths = {}});
  }

  /// The first timing of the EDID is the preferred one, so its frame-buffer mode has the first number.
  void addTimings() {
    for (const Timing& timing : edid_.timings) {
      std::uint32_t flags = kDisplayModeValidFlag | kDisplayModeSafeFlag;
      if (timing.preferred) flags |= kDisplayModeDefaultFlag | kDisplayModeNativeFlag;
      // Code 1 is the computers' 640x480, which every television knows.
      if (timing.videoCode > 1) flags |= kDisplayModeTelevisionFlag;
      const std::int32_t id = builder_.addFrameBufferMode({.ioFlags = flags, .timing = timing});
      addLine({timing.horizontalActive, timing.verticalActive}, 1.0F, id);
    }
  }

  /// The fastest timing of the panel once more, with a blanking that can grow to the lowest rate.
  void addVariableRefresh() {
    const Timing* fastest = nullptr;
    for (const Timing& timing : edid_.timings) {
      if (!isNativeSize(timing) || timing.interlaced) continue;
      if (fastest == nullptr || timing.refreshRateHz() > fastest->refreshRateHz()) fastest = &timing;
    }
    const double lowestHz = options_.builtIn ? 24 : 40;
    if (fastest == nullptr || fastest->refreshRateHz() <= lowestHz) return;
    const double frame = fastest->verticalActive + fastest->verticalBlanking;
    const double extension = std::round(frame * (fastest->refreshRateHz() / lowestHz - 1));
    constexpr double kLongestExtension = 0xffffff;
    const std::int32_t id = builder_.addFrameBufferMode(
        {.ioFlags = kDisplayModeValidFlag | kDisplayModeSafeFlag,
         .timing = *fastest,
         .verticalBlankingExtension = static_cast<std::uint32_t>(std::min(extension, kLongestExtension))});
    addLine({fastest->horizontalActive, fastest->verticalActive}, 1.0F, id);
  }

  /// The native size at each of its rates: what other sizes can be shown with.
  void collectPanelModes() {
    for (const FrameBufferMode& mode : builder_.frameBufferModes()) {
      if (!isNativeSize(*mode.timing) || mode.timing->interlaced) continue;
      const bool isKnown = std::ranges::any_of(panelModes_, [&](std::int32_t id) {
        const FrameBufferMode& known = builder_.frameBufferMode(id);
        constexpr double kSameRate = 0.01;
        return std::abs(known.timing->refreshRateHz() - mode.timing->refreshRateHz()) < kSameRate &&
               known.verticalBlankingExtension == mode.verticalBlankingExtension;
      });
      if (!isKnown) panelModes_.push_back(mode.id);
    }
    ladder_ = ladderOf(native_);
  }

  /// The frame-buffer mode that shows an image of this size with a panel timing; the panel's own for its own size.
  /// `flags` tells scaled modes of one size apart.
  std::int32_t scaledMode(std::int32_t panel, Size image, std::uint32_t flags) {
    constexpr std::uint32_t kKindFlags = kDisplayModeStretchedFlag | kDisplayModeSimulscanFlag;
    const FrameBufferMode own = builder_.frameBufferMode(panel);
    if (image.width == native_.horizontalActive && image.height == native_.verticalActive) return panel;
    for (const FrameBufferMode& mode : builder_.frameBufferModes()) {
      const bool isSame = mode.scaledWidth == image.width && mode.scaledHeight == image.height &&
                          mode.timing == own.timing && (mode.ioFlags & kKindFlags) == flags &&
                          mode.verticalBlankingExtension == own.verticalBlankingExtension;
      if (isSame) return mode.id;
    }
    // The timing is the monitor's own, so a scaled size is as safe as the native one.
    return builder_.addFrameBufferMode({.ioFlags = kDisplayModeValidFlag | kDisplayModeSafeFlag | flags,
                                        .timing = own.timing,
                                        .scaledWidth = image.width,
                                        .scaledHeight = image.height,
                                        .verticalBlankingExtension = own.verticalBlankingExtension});
  }

  /// From a third to two thirds of the native size, in points: what the scaler can shrink or enlarge decently.
  void addHiDPISizes() {
    constexpr std::uint32_t kLeastWidth = 640;
    const Size half = {native_.horizontalActive / 2, native_.verticalActive / 2};
    for (const std::int32_t panel : panelModes_) {
      if (canHalve()) addLine(half, kHiDPIScale, panel);
      for (const Size size : ladder_) {
        const bool isInRange =
            size.width * 3 >= native_.horizontalActive && size.width * 3 <= native_.horizontalActive * 2;
        if (!isInRange || size.width < kLeastWidth || size == half) continue;
        addLine(size, kHiDPIScale, scaledMode(panel, {2 * size.width, 2 * size.height}, 0));
      }
    }
  }

  void addScaledSizes() {
    constexpr std::uint32_t kLeastWidth = 800;
    for (const std::int32_t panel : panelModes_) {
      for (const Size size : ladder_) {
        const bool isInRange = size.width * 3 >= native_.horizontalActive && size.width < native_.horizontalActive;
        if (!isInRange || size.width < kLeastWidth || hasTimingOfSize(size)) continue;
        addLine(size, 1.0F, scaledMode(panel, size, 0));
      }
      addStretchedSizes(panel);
    }
  }

  void addStretchedSizes(std::int32_t panel) {
    if (hasShape(native_, 4.0 / 3)) return;
    for (const Size size : kStretchedSizes) {
      if (size.width >= native_.horizontalActive || size.height >= native_.verticalActive) continue;
      if (hasTimingOfSize(size)) continue;
      addLine(size, 1.0F, scaledMode(panel, size, kDisplayModeStretchedFlag));
    }
  }

  bool hasTimingOfSize(Size size) const {
    return std::ranges::any_of(edid_.timings, [&](const Timing& timing) {
      return timing.horizontalActive == size.width && timing.verticalActive == size.height && !timing.interlaced;
    });
  }

  // --- What makes a list hard to read ---

  void addOddities() {
    const std::int32_t nativeMode = options_.firstFrameBufferModeID;
    const Size size = {native_.horizontalActive, native_.verticalActive};
    // Three of a kind in a row, and a pair.
    addRepetition(nativeMode);
    addRepetition(nativeMode);
    if (edid_.timings.size() > 1) addRepetition(nativeMode + 1);
    const Size threeQuarters = {size.width / 8 * 6, size.height / 8 * 6};
    if (threeQuarters.width > 0 && threeQuarters.height > 0) {
      addLine(threeQuarters, 1.0F, scaledMode(nativeMode, threeQuarters, kDisplayModeSimulscanFlag), kModeHiddenFlag);
    }
    addLine({1, 1}, 1.0F, modeWithoutTiming());
    addTinyMode();
    constexpr float kAbsurdScale = 6.0F;
    addLine(size, kAbsurdScale, modeWithoutTiming());
    // Without timing data nobody can tell that these two are the same.
    addLine({1600, 900}, 1.0F, modeWithoutTiming());
    addLine({1600, 900}, 1.0F, modeWithoutTiming());
  }

  void addRepetition(std::int32_t of) {
    const FrameBufferMode original = builder_.frameBufferMode(of);
    addLine({original.timing->horizontalActive, original.timing->verticalActive}, 1.0F,
            builder_.addFrameBufferMode(original));
  }

  std::int32_t modeWithoutTiming() { return builder_.addFrameBufferMode({.ioFlags = kDisplayModeValidFlag}); }

  void addTinyMode() {
    constexpr Size kTiny = {640, 400};
    const auto timing = coordinatedVideoTiming(kTiny.width, kTiny.height, 60, Blanking::reduced);
    addLine(kTiny, 1.0F, builder_.addFrameBufferMode({.ioFlags = kDisplayModeValidFlag, .timing = timing}));
  }

  const ParsedEdid& edid_;
  const ModeOptions& options_;
  const ModeAdditions& additions_;
  const Timing& native_;
  ModeTableBuilder builder_;
  std::vector<std::int32_t> panelModes_;
  std::vector<Size> ladder_;
};

}  // namespace

ModeTable deriveModes(const ParsedEdid& edid, const ModeOptions& options, const ModeAdditions& additions) {
  if (edid.timings.empty()) return {};
  ParsedEdid offered = edid;
  std::erase_if(offered.timings,
                [&](const Timing& timing) { return !timing.preferred && !isOffered(additions, timing); });
  return Deriver(offered, options, additions).derive();
}

}  // namespace vlm::sim
