#include <algorithm>
#include <array>

#include "Models/VLMOverrideResolution.h"
#include "Platform/Numbers.h"

/// Timings after GTF 1.1 and CVT 1.2, in single precision and with roundings of their own, which stay: a timing that
/// the user has installed must be recognised as the generated one. No expression here may be regrouped.
namespace vlm {

namespace {

// Limits of an EDID detailed timing descriptor (E-EDID 1.4, 3.10.2). They are powers of two: numbers that are OR-ed
// together are below one when each of them is.
constexpr std::uint32_t kActiveAndBlankingLimit = 4096, kHorizontalSyncLimit = 1024, kVerticalSyncLimit = 64;
/// The largest single-precision number that is not above 655.35 MHz, so that 655.35 itself is too much.
constexpr double kMostPixelClock = 655.3499755859375;

}  // namespace

void VLMOverrideResolution::consolidateTotals() {
  blankingNx = frontNx + syncNx + backNx;
  blankingNy = frontNy + syncNy + backNy;
  totalNx = activeNx + blankingNx;
  totalNy = activeNy + blankingNy;
  extended = (activeNx | activeNy | blankingNx | blankingNy) >= kActiveAndBlankingLimit ||
             (frontNx | syncNx) >= kHorizontalSyncLimit || (frontNy | syncNy) >= kVerticalSyncLimit ||
             !(pixelClock <= kMostPixelClock);
}

void VLMOverrideResolution::consolidateHFreq() { hfreq = totalNx == 0 ? 0 : pixelClock * 1000 / totalNx; }

void VLMOverrideResolution::consolidateVFreq() {
  vfreq = 0;
  if (totalNx == 0 || totalNy == 0) return;
  vfreq = pixelClock * 1e6 / (static_cast<double>(totalNx) * totalNy);
  if (interlaced) vfreq *= 2;
}

namespace {

constexpr float kUsualRate = 60;
/// Duty cycle of the blanking (percent, and percent per kHz of line rate): C' and M' of both standards.
constexpr float kBlankingOffset = 30, kBlankingGradient = 300, kLeastDutyCycle = 20;
/// Seconds of sync and back porch, and of all vertical blanking when it is reduced.
constexpr float kSyncAndBackSeconds = 0.00055F, kReducedBlankingSeconds = 0.00046F;
constexpr float kSyncShareOfLine = 0.08F;
/// Lines.
constexpr float kFrontPorchOfGTF = 1, kFrontPorchOfCVT = 3, kLeastBackPorch = 6;
/// Lines that the reduced blanking must have beyond its sync.
constexpr float kLeastReducedPorches = 9;
/// Pixels.
constexpr float kReducedBlanking = 160, kReduced2Blanking = 80, kReducedSync = 32;
constexpr std::uint32_t kFrontPorchOfOwnBlanking = 8;
/// Hz. A clock stands a part of a step above the multiple below it, on purpose.
constexpr float kClockStep = 250000, kReduced2ClockStep = 1000;
constexpr float kSyncLinesOfGTF = 3, kSyncLinesOfReduced2 = 8;

// Numbers of four timings, which cost no more than those of one: processors have registers of that width, and the long
// chain of divisions is worked off once.
constexpr std::size_t kLanes = 4;
using Lanes [[gnu::vector_size(16)]] = float;
using WholeLanes [[gnu::vector_size(16)]] = std::int32_t;
using FigureLanes [[gnu::vector_size(16)]] = std::uint32_t;

/// What timings are made for: pixels a line, lines and rate (Hz) of a field, the half line of interlacing, pixels a
/// character, lines of vertical sync.
struct Raster {
  Lanes width, lines, rate, halfLine, character, syncLines;
};

/// Pixels, lines of a field, and Hz.
struct Blanking {
  Lanes horizontal, horizontalSync, frontPorch, syncAndBack, clock;
};

Lanes all(float number) { return Lanes{number, number, number, number}; }
Lanes lanesOf(FigureLanes figures) {
  return __builtin_convertvector(__builtin_convertvector(figures, WholeLanes), Lanes);
}
Lanes atLeast(Lanes numbers, Lanes least) { return numbers < least ? least : numbers; }

/// The whole parts. What is beyond 32 bits, in figures without meaning, is held to them.
WholeLanes whole(Lanes numbers) {
  const Lanes least = all(-0x1p31F), most = all(0x1.FFFFFEp30F);
  const Lanes held = numbers > least ? numbers : least;
  return __builtin_convertvector(held < most ? held : most, WholeLanes);
}
FigureLanes figuresOf(Lanes numbers) { return __builtin_convertvector(whole(numbers), FigureLanes); }
Lanes truncated(Lanes numbers) { return __builtin_convertvector(whole(numbers), Lanes); }
/// Halves away from zero.
Lanes rounded(Lanes numbers) {
  const Lanes towardsZero = truncated(numbers), rest = numbers - towardsZero;
  return towardsZero + (rest >= 0.5F ? all(1) : all(0)) - (rest <= -0.5F ? all(1) : all(0));
}

Lanes dutyCycle(Lanes linePeriod) { return kBlankingOffset - kBlankingGradient * (linePeriod * 1000000.0F) / 1000.0F; }

Blanking blankingOfGTF(const Raster& raster) {
  Lanes period = (1.0F / raster.rate - kSyncAndBackSeconds) / (raster.lines + kFrontPorchOfGTF + raster.halfLine);
  const Lanes syncAndBack = rounded(kSyncAndBackSeconds / period);
  period = 1.0F / (raster.rate * (raster.lines + syncAndBack + raster.halfLine + kFrontPorchOfGTF));
  const Lanes duty = dutyCycle(period), twoCharacters = 2.0F * raster.character;
  const Lanes horizontal = rounded(raster.width * duty / (100.0F - duty) / twoCharacters) * twoCharacters;
  const Lanes total = raster.width + horizontal;
  return {.horizontal = horizontal,
          .horizontalSync = rounded(kSyncShareOfLine * total / raster.character) * raster.character,
          .frontPorch = all(kFrontPorchOfGTF),
          .syncAndBack = syncAndBack,
          .clock = total / period};
}

Blanking blankingOfCVT(const Raster& raster) {
  const Lanes period = (1.0F / raster.rate - kSyncAndBackSeconds) / (raster.lines + kFrontPorchOfCVT + raster.halfLine);
  const Lanes duty = atLeast(dutyCycle(period), all(kLeastDutyCycle)), twoCharacters = 2.0F * raster.character;
  const Lanes horizontal = truncated(raster.width * duty / (100.0F - duty) / twoCharacters) * twoCharacters;
  const Lanes total = raster.width + horizontal;
  return {.horizontal = horizontal,
          .horizontalSync = truncated(kSyncShareOfLine * total / raster.character) * raster.character,
          .frontPorch = all(kFrontPorchOfCVT),
          .syncAndBack = atLeast(truncated(kSyncAndBackSeconds / period) + 1.0F, raster.syncLines + kLeastBackPorch),
          .clock = kClockStep * (truncated(total / period / kClockStep) + 0.5F)};
}

/// All kinds of reduced blanking.
Blanking reducedBlanking(const Raster& raster, std::uint32_t type, Lanes horizontal) {
  const Lanes period = (1.0F / raster.rate - kReducedBlankingSeconds) / raster.lines;
  const Lanes lines =
      atLeast(truncated(kReducedBlankingSeconds / period) + 1.0F, raster.syncLines + kLeastReducedPorches);
  const Lanes clock = (raster.width + horizontal) * (lines + raster.lines) * raster.rate;
  if (type == VLMOverrideResolution::kCVTReduced) {
    const Lanes above = raster.halfLine > 0.0F ? all(0.5F) : all(0.25F);
    return {.horizontal = horizontal,
            .horizontalSync = all(kReducedSync),
            .frontPorch = all(kFrontPorchOfCVT),
            .syncAndBack = lines - kFrontPorchOfCVT,
            .clock = kClockStep * (truncated(clock / kClockStep) + above)};
  }
  const Lanes syncAndBack = raster.syncLines + kLeastBackPorch;
  return {.horizontal = horizontal,
          .horizontalSync = all(kReducedSync),
          .frontPorch = lines - syncAndBack,
          .syncAndBack = syncAndBack,
          .clock = kReduced2ClockStep * truncated(clock / kReduced2ClockStep)};
}

Blanking blankingOf(const Raster& raster, std::uint32_t type, Lanes ownBlanking) {
  switch (type) {
    case VLMOverrideResolution::kGTF:
      return blankingOfGTF(raster);
    case VLMOverrideResolution::kCVT:
      return blankingOfCVT(raster);
    case VLMOverrideResolution::kCVTReduced:
      return reducedBlanking(raster, type, all(kReducedBlanking));
    case VLMOverrideResolution::kCVTReduced2:
      return reducedBlanking(raster, type, all(kReduced2Blanking));
    default:
      return reducedBlanking(raster, type, ownBlanking);
  }
}

/// Kept to a thousandth of a Hz.
Lanes roundedRate(Lanes rate) {
  const Lanes thousandths = 1000.0F * rate;
  return truncated(thousandths + 0.5F) / 1000.0F;
}

/// IODisplayGetCVTSyncWidth of four: of the low 16 bits, with their sign. A test holds one against the other.
Lanes syncLinesOf(FigureLanes width, FigureLanes height) {
  const auto signed16 = [](FigureLanes figures) {
    return __builtin_convertvector(__builtin_convertvector(figures << 16, WholeLanes) >> 16, Lanes);
  };
  const Lanes ratio = signed16(width) / signed16(height);
  Lanes lines = all(10);
  const auto choose = [&](float named, float wanted) {
    const Lanes other = all(named);
    const WholeLanes isLarger = ratio > other;
    const Lanes over = (isLarger ? ratio : other) / (isLarger ? other : ratio);
    lines = over <= 1.03125F ? all(wanted) : lines;
  };
  // The last one that is near counts.
  choose(5.0F / 3, 7);
  choose(1.25F, 7);
  choose(1.6F, 6);
  choose(16.0F / 9, 5);
  choose(4.0F / 3, 4);
  return lines;
}

Lanes syncLinesOf(FigureLanes width, FigureLanes height, std::uint32_t type) {
  if (type == VLMOverrideResolution::kGTF) return all(kSyncLinesOfGTF);
  return type < VLMOverrideResolution::kCVTReduced2 ? syncLinesOf(width, height) : all(kSyncLinesOfReduced2);
}

/// Timings that are generated side by side. In a group that is not full the last one stands several times.
struct Group {
  std::array<VLMOverrideResolution*, kLanes> timings;
  FigureLanes width, height;
  /// All bits or none.
  FigureLanes interlaced;
  Raster raster;
  Lanes ownBlanking;
  Blanking blanking;

  FigureLanes inFrame(FigureLanes field) const { return field + (field & interlaced); }
};

/// The number that `read` finds in each timing of the group.
template <class Result, class Read>
Result each(const Group& group, Read read) {
  const auto& t = group.timings;
  return Result{read(*t[0]), read(*t[1]), read(*t[2]), read(*t[3])};
}

void prepare(Group& group, std::uint16_t granAct, std::uint32_t type) {
  using T = const VLMOverrideResolution&;
  group.interlaced = each<FigureLanes>(group, [](T timing) { return timing.interlaced ? ~0U : 0U; });
  // Cut, not rounded: 1366 pixels in characters of 8 are 1360.
  group.width = each<FigureLanes>(group, [&](T timing) { return timing.activeNx - timing.activeNx % granAct; });
  group.height = each<FigureLanes>(group, [](T timing) { return timing.activeNy; });
  // The odd line stands in both fields.
  group.height += group.height & group.interlaced & 1U;
  const Lanes rate = each<Lanes>(group, [](T timing) { return static_cast<float>(timing.vfreq); });
  group.ownBlanking = lanesOf(each<FigureLanes>(group, [](T timing) { return timing.blankingNx; }));
  const WholeLanes isInterlaced = __builtin_convertvector(group.interlaced, WholeLanes);
  group.raster = {.width = lanesOf(group.width),
                  .lines = lanesOf(isInterlaced ? group.height >> 1 : group.height),
                  .rate = roundedRate(rate == 0.0F ? all(kUsualRate) : rate) * (isInterlaced ? all(2) : all(1)),
                  .halfLine = isInterlaced ? all(0.5F) : all(0),
                  .character = all(granAct),
                  .syncLines = syncLinesOf(group.width, group.height, type)};
}

void finish(const Group& group, std::uint32_t type) {
  const FigureLanes blankingX = figuresOf(group.blanking.horizontal), syncX = figuresOf(group.blanking.horizontalSync);
  const FigureLanes half = __builtin_convertvector(whole(group.blanking.horizontal) >> 1, FigureLanes);
  const FigureLanes ownFront = FigureLanes{} + kFrontPorchOfOwnBlanking;
  const FigureLanes frontX = type == VLMOverrideResolution::kOwnBlanking ? ownFront : half - syncX;
  const FigureLanes frontY = group.inFrame(figuresOf(group.blanking.frontPorch));
  const FigureLanes syncY = group.inFrame(figuresOf(group.raster.syncLines));
  const FigureLanes backX = blankingX - frontX - syncX;
  const FigureLanes backY = group.inFrame(figuresOf(group.blanking.syncAndBack)) - syncY;
  for (std::size_t i = 0; i < kLanes; ++i) {
    VLMOverrideResolution& timing = *group.timings[i];
    timing.activeNx = group.width[i];
    timing.frontNx = frontX[i];
    timing.syncNx = syncX[i];
    timing.backNx = backX[i];
    timing.activeNy = group.height[i];
    timing.frontNy = frontY[i];
    timing.syncNy = syncY[i];
    timing.backNy = backY[i];
    timing.pixelClock = static_cast<double>(group.blanking.clock[i]) / (timing.interlaced ? 2e6 : 1e6);
    timing.positiveSyncH = type != VLMOverrideResolution::kCVT;
    timing.positiveSyncV = type == VLMOverrideResolution::kCVT;
    timing.consolidateTotals();
    timing.consolidateHFreq();
    timing.consolidateVFreq();
  }
}

/// Groups whose divisions the processor works on at one time.
constexpr std::size_t kGroups = 4;

/// For kGroups full groups at most.
void generate(std::span<VLMOverrideResolution* const> timings, std::uint16_t granAct, std::uint32_t type) {
  std::array<Group, kGroups> groups;
  const std::span used = std::span(groups).first((timings.size() + kLanes - 1) / kLanes);
  std::size_t next = 0;
  for (Group& group : used) {
    for (auto*& timing : group.timings) timing = timings[std::min(next++, timings.size() - 1)];
    prepare(group, granAct, type);
  }
  for (Group& group : used) group.blanking = blankingOf(group.raster, type, group.ownBlanking);
  for (const Group& group : used) finish(group, type);
}

}  // namespace

void VLMOverrideResolution::generateValuesWithGranAct(std::uint16_t granAct, std::uint32_t type) {
  VLMOverrideResolution* const only = this;
  generateAllValuesWithGranAct({&only, 1}, granAct, type);
}

void VLMOverrideResolution::generateAllValuesWithGranAct(std::span<VLMOverrideResolution* const> resolutions,
                                                         std::uint16_t granAct, std::uint32_t type) {
  if (granAct == 0) return;
  while (!resolutions.empty()) {
    const std::size_t count = std::min(resolutions.size(), kGroups * kLanes);
    generate(resolutions.first(count), granAct, type);
    resolutions = resolutions.subspan(count);
  }
}

bool VLMOverrideResolution::isAValidResolutionWithGranAct(std::uint16_t granAct, std::uint32_t type) const {
  VLMOverrideResolution generated;
  generated.activeNx = activeNx;
  generated.activeNy = activeNy;
  generated.blankingNx = blankingNx;
  generated.vfreq = vfreq;
  generated.interlaced = interlaced;
  generated.generateValuesWithGranAct(granAct, type);
  return generated.isEqualToRes(this);
}

}  // namespace vlm
