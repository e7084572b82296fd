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
  std::size_t begin = 0;           ///< where that begins in the line, with its quote; bytes
  bool inQuotes = false;           ///< a quote stands open
};
TypedLine typedLine(std::string_view line);

/// What the fragment may become: words of commands, names of displays and sets, keys, modes, words to choose from. In
/// ascending order, not quoted. Empty when nothing is known to stand there.
std::vector<std::string> completionsOf(Simulator& simulator, const TypedLine& line);

/// What becomes of the last word of a line.
struct Completed {
  std::vector<std::string> choices;  ///< as completionsOf
  std::size_t from = 0;              ///< where the word begins in the line, with its quote; bytes
  /// What stands there from now on: as typed when that is all that is certain; with a blank behind it, and in quotes
  /// where it needs them, when there is one choice.
  std::string word;
  bool wasInQuotes = false;
};
Completed completedWord(Simulator& simulator, std::string_view line);

}  // namespace vlm::sim
