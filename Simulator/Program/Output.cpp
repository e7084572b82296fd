#include "Simulator/Program/Output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <sstream>

namespace vlm::sim {

namespace {

constexpr std::size_t kBetweenColumns = 2;

bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

/// By the environment alone: a locale that is named but not installed still says what the terminal can show.
bool isUtf8Locale() {
  for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const std::string value = environment(name);
    if (value.empty()) continue;
    return value.find("UTF-8") != std::string::npos || value.find("utf8") != std::string::npos;
  }
  return false;
}

}  // namespace

Output Output::standard() {
  Output output{.data = std::cout, .diagnostics = std::cerr};
  output.isTerminal = isatty(STDOUT_FILENO) == 1;
  output.isUtf8 = output.isTerminal && isUtf8Locale();
  output.hasColours = output.isTerminal && environment("NO_COLOR").empty() && environment("TERM") != "dumb";
  return output;
}

std::size_t Output::columns() const {
  constexpr std::size_t kUsual = 98, kFewest = 40, kMost = 160;
  winsize size{};
  if (!isTerminal || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsual;
  return std::clamp<std::size_t>(size.ws_col, kFewest, kMost);
}

std::string Output::coloured(std::string_view code, std::string_view text) const {
  if (!hasColours) return std::string(text);
  return "\033[" + std::string(code) + "m" + std::string(text) + "\033[0m";
}

std::string printable(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte >= ' ' && byte != 0x7F) || c == '\n') {
      result += c;
    } else {
      result += {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
    }
  }
  return result;
}

std::size_t columnsOf(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

std::string cutToColumns(std::string_view text, std::size_t columns) {
  if (columnsOf(text) <= columns) return std::string(text);
  if (columns == 0) return {};
  std::size_t end = 0, kept = 0;
  while (end < text.size() && (isContinuation(text[end]) || kept < columns - 1)) {
    if (!isContinuation(text[end])) ++kept;
    ++end;
  }
  return std::string(text.substr(0, end)) + "~";
}

std::vector<std::string> wrapped(std::string_view text, std::size_t columns) {
  std::vector<std::string> lines;
  std::istringstream words{std::string(text)};
  for (std::string word; words >> word;) {
    if (lines.empty() || columnsOf(lines.back()) + 1 + columnsOf(word) > columns) {
      lines.push_back(word);
    } else {
      lines.back() += " " + word;
    }
  }
  return lines;
}

std::string tableOf(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    if (widths.size() < row.size()) widths.resize(row.size());
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], columnsOf(row[i]));
  }
  std::string text;
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i] + std::string(widths[i] - columnsOf(row[i]) + kBetweenColumns, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + "\n";
  }
  return text;
}

}  // namespace vlm::sim
