#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace vlm::sim {

class Simulator;

/// How a command, or a whole scenario, ended. The numbers are the program's exit statuses.
struct Outcome {
  enum class Status { held = 0, notHeld = 1, refused = 2 };
  Status status = Status::held;
  std::string reason;  ///< empty when it held

  static Outcome notHeld(std::string why) { return {.status = Status::notHeld, .reason = std::move(why)}; }
  static Outcome refused(std::string why) { return {.status = Status::refused, .reason = std::move(why)}; }
  bool held() const { return status == Status::held; }
};

using Arguments = std::span<const std::string>;

/// One command of the simulator: what the prompt, scenarios and `help` know of it.
struct Command {
  std::string_view name;  ///< one word or more: "show displays"
  std::string_view argumentHelp;
  std::size_t fewest = 0, most = 0;  ///< arguments
  std::string_view help;
  std::string_view example;
  Outcome (*run)(Simulator& simulator, Arguments arguments) = nullptr;
  /// Takes "--json" behind its name, and then answers in JSON; see Simulator::wantsJson.
  bool offersJson = false;
};

}  // namespace vlm::sim
