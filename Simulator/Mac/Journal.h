#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace vlm::sim {

/// What happened on the machine, one line each, in order: every call that changes something, with its arguments.
/// "daemon: CGSConfigureDisplayMode(Left, 12)" begins with the process that called.
class Journal {
 public:
  void add(std::string line) {
    lines_.push_back(std::move(line));
    times_.push_back(clock());
  }
  const std::vector<std::string>& lines() const { return lines_; }
  /// When each was added, by the clock.
  const std::vector<double>& times() const { return times_; }
  void clear() {
    lines_.clear();
    times_.clear();
  }

  /// Seconds since the machine's start; set by the machine.
  std::function<double()> clock = [] { return 0.0; };

 private:
  std::vector<std::string> lines_;
  std::vector<double> times_;
};

}  // namespace vlm::sim
