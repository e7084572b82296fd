#pragma once

#include <memory>
#include <optional>
#include <string>

namespace vlm::sim {

class Simulator;

/// Lines typed at the terminal, with those of earlier runs, and completed. One at a time: it reads standard input.
class LineEditor {
 public:
  /// `historyFile`: where lines are kept over runs; empty when there is no such place.
  LineEditor(Simulator& simulator, std::string historyFile);
  /// Keeps the lines.
  ~LineEditor();
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  /// The next line, in UTF-8. Absent at the end of the input, and when a signal came meanwhile (Signals.h).
  std::optional<std::string> read();

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace vlm::sim
