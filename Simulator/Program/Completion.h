#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vlm::sim {

class Simulator;

/// A line as far as it is typed, up to the word that shall be completed.
struct TypedLine {
  std::vector<std::string> words;  ///< whole ones
  std::string fragment;            ///< what is there of the next one, without its quote
  bool inQuotes = false;           ///< a quote stands open
};
TypedLine typedLine(std::string_view line);

/// What the fragment may become: words of commands, names of displays and sets, keys, modes, words to choose from. In
/// ascending order, not quoted. Empty when nothing is known to stand there.
std::vector<std::string> completionsOf(Simulator& simulator, const TypedLine& line);

}  // namespace vlm::sim
