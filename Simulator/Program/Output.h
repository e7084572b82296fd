#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace vlm::sim {

/// Where the program writes, and how it may look there.
struct Output {
  std::ostream& data;         ///< what was asked for
  std::ostream& diagnostics;  ///< what is to be said about it
  /// Whether a person looks at `data` on a terminal: pictures instead of tables.
  bool isTerminal = false;
  bool isUtf8 = false;  ///< box-drawing characters; otherwise ASCII
  bool hasColours = false;

  /// The process's standard output and error.
  static Output standard();

  /// Columns to write in: those of the terminal, within reason.
  std::size_t columns() const;

  std::string bold(std::string_view text) const { return coloured("1", text); }
  std::string faint(std::string_view text) const { return coloured("2", text); }
  std::string green(std::string_view text) const { return coloured("32", text); }
  std::string red(std::string_view text) const { return coloured("31", text); }

 private:
  std::string coloured(std::string_view code, std::string_view text) const;
};

/// A text without anything that a terminal would obey: control characters but line ends become "\\x1b".
std::string printable(std::string_view text);
/// How many columns a UTF-8 text takes: its code points.
std::size_t columnsOf(std::string_view text);
/// The text cut to at most so many columns, with a "~" at the end when something is missing.
std::string cutToColumns(std::string_view text, std::size_t columns);
/// Words put into lines of at most so many columns; a longer word has a line of its own.
std::vector<std::string> wrapped(std::string_view text, std::size_t columns);

/// Rows of cells in columns as wide as their widest cell; the first row is the header. A row may be shorter than it.
std::string tableOf(const std::vector<std::vector<std::string>>& rows);

}  // namespace vlm::sim
