#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Simulator/Program/Command.h"

namespace vlm::sim {

/// Larger scenario files are refused.
constexpr std::size_t kLargestScenario = 1024 * 1024;

/// Commands to be played, one a line.
struct Scenario {
  std::string name;  ///< of the file, for reasons
  std::vector<std::string> lines;

  /// What the first line asks for: "# machine: NAME".
  std::optional<std::string> machine() const;
};

/// From a file, or from standard input for "-". The reason, with the file's name, when it cannot be read.
std::variant<Scenario, std::string> readScenario(const std::string& path);

/// The words of a line; "..." keeps blanks together, with \" and \\ in it. A "#" that begins a word begins a comment.
/// The reason when a quote stands open.
std::variant<std::vector<std::string>, std::string> splitWords(std::string_view line);

/// A text as one word of a line, in quotes.
std::string asWord(std::string_view text);

/// Whether the lines are shown as they are played, for somebody who watches.
enum class Echo { no, yes };

/// Plays a scenario until a line does not hold. All lines are looked through before the first is played, so that wrong
/// ones are refused at once. Each reason begins with file and line.
Outcome playScenario(Simulator& simulator, const Scenario& scenario, Echo echo);

}  // namespace vlm::sim
