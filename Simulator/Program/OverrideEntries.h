#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "Models/VLMDisplay.h"
#include "Simulator/Program/OverrideTexts.h"
#include "Simulator/Program/SetEditing.h"

/// Custom resolutions as people ask for them.
namespace vlm::sim {

/// Sides of scaled sizes, panels and default resolutions, pixels: no display has smaller or larger ones.
constexpr std::uint32_t kSmallestSide = 64, kLargestSide = 16384;

/// A size and rate, or the reason why the text is none. `example`: "1600x900@60", for the reason.
std::variant<ResolutionArgument, std::string> readResolution(const std::string& text, const std::string& example);
/// Why that size is none of a panel, or of what is shown on one.
Refusal faultOfSize(const ModeArgument& size);

struct MadeEntry {
  std::shared_ptr<VLMOverrideResolution> entry;
  /// What came out otherwise than it was asked for.
  std::vector<std::string> notes;
};
/// A custom resolution of a kind: "gtf", "cvt", "cvt-rb", "cvt-rb2", "scaled" or "standard". The reason when there is
/// none that a file can hold.
std::variant<MadeEntry, std::string> entryFor(const VLMDisplay& display, const std::string& text,
                                              const std::string& kind);

/// "; it has 1600 × 900, 60 Hz; ...": those entries that shall be installed and are nearest, for a reason.
std::string nearestOf(const OverrideResolutions& entries, const ModeArgument& wanted);

}  // namespace vlm::sim
