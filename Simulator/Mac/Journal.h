#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vlm::sim {

/// What happened on the machine, one line each, in order: every call that changes something, with its arguments.
/// "daemon: CGSConfigureDisplayMode(Left, 12)" begins with the process that called.
class Journal {
 public:
  void add(std::string line) { lines_.push_back(std::move(line)); }
  const std::vector<std::string>& lines() const { return lines_; }
  void clear() { lines_.clear(); }

 private:
  std::vector<std::string> lines_;
};

}  // namespace vlm::sim
