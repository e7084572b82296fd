#include "Simulator/Program/OverrideEntries.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>

#include "Models/VLMStandardResolutions.h"
#include "Platform/Numbers.h"
#include "Simulator/Program/DisplayTexts.h"

namespace vlm::sim {

namespace {

/// What a DisplayID Type I timing can hold (DisplayID 1.3, 4.4.1).
constexpr std::uint32_t kMostPixels = 65536, kMostFrontPorch = 32768;
constexpr double kMostClock = 167772.16;  ///< MHz
/// Clocks of descriptors that are no timing, in units of 10 kHz.
constexpr std::int64_t kUnusedClock = 0x0000, kMarkClock = 0x0101;
constexpr double kHighestRateHz = 1000;
/// Formulas miss a rate by some hundredths of a Hz; more than this share is not what anybody wants.
constexpr double kLargestMiss = 0.005;
constexpr std::size_t kMostNamed = 5;

using Entry = std::shared_ptr<VLMOverrideResolution>;
using EntryMade = std::variant<MadeEntry, std::string>;

std::string sizeOf(const ModeArgument& mode) { return std::to_string(mode.width) + "x" + std::to_string(mode.height); }

EntryMade scaledEntry(const ResolutionArgument& wanted) {
  if (wanted.interlaced) return "a scaled size is never interlaced";
  if (wanted.mode.refreshHz) return "a scaled size has no rate: " + sizeOf(wanted.mode);
  if (const Refusal reason = faultOfSize(wanted.mode)) return *reason;
  const Entry entry = VLMOverrideResolution::initEmpty();
  entry->resolutionType = VLMOverrideResolution::kScaled;
  entry->scaledNx = wanted.mode.width;
  entry->scaledNy = wanted.mode.height;
  return MadeEntry{.entry = entry, .notes = {}};
}

EntryMade standardEntry(const ResolutionArgument& wanted, const std::string& text) {
  constexpr std::int16_t kMadeNow = 0;
  std::string rates;
  for (const Entry& standard : VLMStandardResolutions::sharedInstance().standardResolutions()) {
    if (wanted.matches(*standard)) {
      return MadeEntry{.entry = VLMOverrideResolution::initWithAppleID(standard->appleID, kMadeNow,
                                                                       VLMOverrideResolution::kOriginFile),
                       .notes = {}};
    }
    if (standard->activeNx != wanted.mode.width || standard->activeNy != wanted.mode.height) continue;
    const std::string rate = shortNumber(standard->vfreq) + " Hz" + (standard->interlaced ? " interlaced" : "");
    if (("; " + rates + ", ").find((rates.empty() ? "; " : ", ") + rate + ", ") != std::string::npos) continue;
    rates += (rates.empty() ? "" : ", ") + rate;
  }
  return quoted(text) + " is not in the platform's table of standard modes; it has " +
         (rates.empty() ? "nothing of that size" : "that size at " + rates);
}

// --- Timings by formula ---

struct Figure {
  const char* name;
  const char* unit;
  std::uint32_t value, most;
};

/// Formulas give figures without meaning for sizes and rates that no monitor has.
Refusal faultOf(const VLMOverrideResolution& timing, const std::string& text) {
  const auto reason = [&](const std::string& why) { return "there is no timing for " + quoted(text) + ": " + why; };
  const Figure figures[] = {{"width", " pixels", timing.activeNx, kMostPixels},
                            {"horizontal front porch", " pixels", timing.frontNx, kMostFrontPorch},
                            {"horizontal sync", " pixels", timing.syncNx, kMostPixels},
                            {"horizontal back porch", " pixels", timing.backNx, kMostPixels},
                            {"horizontal blanking", " pixels", timing.blankingNx, kMostPixels},
                            {"height", " lines", timing.activeNy, kMostPixels},
                            {"vertical front porch", " lines", timing.frontNy, kMostFrontPorch},
                            {"vertical sync", " lines", timing.syncNy, kMostPixels},
                            {"vertical back porch", " lines", timing.backNy, kMostPixels},
                            {"vertical blanking", " lines", timing.blankingNy, kMostPixels}};
  for (const Figure& figure : figures) {
    if (figure.value <= figure.most) continue;
    const auto asNumber = truncateTo<std::int32_t>(figure.value);
    return reason(std::string(figure.name) + " would be " + std::to_string(asNumber) + figure.unit);
  }
  const std::string clock = "a pixel clock of " + shortNumber(timing.pixelClock) + " MHz";
  if (!(timing.pixelClock > 0) || timing.pixelClock > kMostClock) return reason(clock + " is none");
  const std::int64_t units = wholePartTo<std::int64_t>(1e6 * timing.pixelClock) / 10000;
  if (!timing.extended && (units == kUnusedClock || units == kMarkClock)) {
    return reason(clock + " marks what is no timing");
  }
  return std::nullopt;
}

EntryMade generatedEntry(const VLMDisplay& display, const ResolutionArgument& wanted, const std::string& text,
                         std::uint32_t type) {
  const Entry entry = VLMOverrideResolution::initEmpty();
  entry->activeNx = wanted.mode.width;
  entry->activeNy = wanted.mode.height;
  entry->vfreq = *wanted.mode.refreshHz;
  entry->interlaced = wanted.interlaced;
  std::uint16_t active = 1, sync = 1;
  display.getGranularityActive(active, sync);
  // A driver that says 0 says nothing.
  active = std::max<std::uint16_t>(active, 1);
  const std::string characters = ": the display counts in characters of " + std::to_string(active) + " pixels";
  if (wanted.mode.width < active) return std::to_string(wanted.mode.width) + " is too narrow" + characters;
  entry->generateValuesWithGranAct(active, type);
  if (const Refusal reason = faultOf(*entry, text)) return *reason;
  MadeEntry made{.entry = entry, .notes = {}};
  const auto note = [&](std::uint32_t from, const char* becomes, std::uint32_t to, const std::string& why) {
    if (from != to) made.notes.push_back(std::to_string(from) + becomes + std::to_string(to) + why);
  };
  note(wanted.mode.width, " is cut to ", entry->activeNx, characters);
  note(wanted.mode.height, " lines become ", entry->activeNy, ": an interlaced picture has two equal fields");
  if (std::fabs(entry->vfreq - *wanted.mode.refreshHz) > kLargestMiss * *wanted.mode.refreshHz) {
    made.notes.push_back("the formula comes to " + shortNumber(entry->vfreq) + " Hz there");
  }
  return made;
}

struct Formula {
  std::string_view name;
  std::uint32_t type;
};
constexpr std::array kFormulas{Formula{"gtf", VLMOverrideResolution::kGTF}, Formula{"cvt", VLMOverrideResolution::kCVT},
                               Formula{"cvt-rb", VLMOverrideResolution::kCVTReduced},
                               Formula{"cvt-rb2", VLMOverrideResolution::kCVTReduced2}};

}  // namespace

std::variant<ResolutionArgument, std::string> readResolution(const std::string& text, const std::string& example) {
  const std::size_t at = text.find('@');
  const bool isSize = at != std::string::npos && parseResolution(text.substr(0, at));
  const auto rate = isSize ? parseReal(text.substr(at + 1)) : std::nullopt;
  if (rate && (*rate <= 0 || *rate > kHighestRateHz)) {
    return quoted(text) + ": a rate is above 0 Hz and at most " + shortNumber(kHighestRateHz) + " Hz";
  }
  const auto wanted = parseResolution(text);
  if (!wanted) return quoted(text) + " is no resolution such as " + example;
  return *wanted;
}

Refusal faultOfSize(const ModeArgument& size) {
  const auto [smaller, larger] = std::minmax({size.width, size.height});
  if (smaller >= kSmallestSide && larger <= kLargestSide) return std::nullopt;
  return sizeOf(size) + ": a side has " + std::to_string(kSmallestSide) + " to " + std::to_string(kLargestSide) +
         " pixels";
}

std::variant<MadeEntry, std::string> entryFor(const VLMDisplay& display, const std::string& text,
                                              const std::string& kind) {
  const auto read = readResolution(text, "1600x900@60 or 1920x1080i@50");
  if (const auto* reason = std::get_if<std::string>(&read)) return *reason;
  const auto& wanted = std::get<ResolutionArgument>(read);
  if (kind == "scaled") return scaledEntry(wanted);
  const auto* const formula = std::ranges::find(kFormulas, kind, &Formula::name);
  if (formula == kFormulas.end() && kind != "standard") {
    return quoted(kind) + " is none of gtf, cvt, cvt-rb, cvt-rb2, scaled, standard";
  }
  if (!wanted.mode.refreshHz) return "a " + kind + " resolution needs a rate: " + text + "@60";
  if (kind == "standard") return standardEntry(wanted, text);
  // Formulas count in numbers of 32 bits.
  if (std::max(wanted.mode.width, wanted.mode.height) > kMostPixels) {
    return quoted(text) + " is beyond the " + std::to_string(kMostPixels) + " pixels that a timing can hold";
  }
  return generatedEntry(display, wanted, text, formula->type);
}

std::string nearestOf(const OverrideResolutions& entries, const ModeArgument& wanted) {
  OverrideResolutions nearest;
  std::ranges::copy_if(entries, std::back_inserter(nearest), [](const Entry& entry) { return entry->toInstall; });
  const auto distance = [&](const Entry& entry) {
    const bool isScaled = entry->resolutionType == VLMOverrideResolution::kScaled;
    const double width = isScaled ? entry->scaledNx : entry->activeNx;
    const double height = isScaled ? entry->scaledNy : entry->activeNy;
    return std::tuple(std::fabs(width - wanted.width) + std::fabs(height - wanted.height),
                      std::fabs(entry->vfreq - wanted.refreshHz.value_or(0)));
  };
  std::ranges::stable_sort(nearest, {}, distance);
  std::string names;
  for (std::size_t i = 0; i < std::min(nearest.size(), kMostNamed); ++i) {
    names += (i == 0 ? "; it has " : "; ") + shortName(*nearest[i]);
  }
  return names + (nearest.size() > kMostNamed ? "; and more" : "");
}

}  // namespace vlm::sim
