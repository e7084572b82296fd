#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "Models/VLMDisplay.h"
#include "Simulator/Program/Arguments.h"

/// Overrides of a display as the daemon's model has them, in the words of commands. To be asked for within its process.
namespace vlm::sim {

/// "1920x1080i@50": a mode that may be interlaced; its rate then counts fields.
struct ResolutionArgument {
  ModeArgument mode;
  bool interlaced = false;

  /// Whether an entry is of that size, and, where one is said, of that rate; scaled ones have none.
  bool matches(const VLMOverrideResolution& entry) const;
};
std::optional<ResolutionArgument> parseResolution(std::string_view text);

/// "30-81"; whole or broken numbers.
struct SpanArgument {
  double lowest = 0, highest = 0;
};
std::optional<SpanArgument> parseSpan(std::string_view text);

/// A text of the daemon's with names of resolutions in it, without the blanks that let them stand below each other.
std::string withoutPadding(std::string text);
/// "640 × 480, 60 Hz".
std::string shortName(const VLMOverrideResolution& entry);
/// "custom", "scaled", "standard".
std::string kindText(const VLMOverrideResolution& entry);
/// "118.96 MHz, 55.88 kHz, 1600 + 48 + 32 + 80 pixels, 900 + 3 + 5 + 18 lines (active, front porch, sync, back porch)".
std::string timingText(const VLMOverrideResolution& entry);

/// What the override commands take for a record (name, range, default, pixels, policy, import) and its present value in
/// that form: "30-81 56-76 25-170", "on"; "off" where the file shall not have it. Absent: there is no such record.
std::optional<std::string> recordText(const VLMDisplay& display, std::string_view record);
/// What is expected of a record must be something that recordText can answer. Why it is not, or nothing.
std::optional<std::string> faultOfRecordText(std::string_view record, const std::string& text);
/// "name, range, default, pixels, policy, import".
std::string recordNames();

/// All of it: where the file lies, entries with their state and findings, records. Keys stay: `override show --json`.
plist::Dictionary overridesView(VLMDisplay& display, const std::string& name);

}  // namespace vlm::sim
