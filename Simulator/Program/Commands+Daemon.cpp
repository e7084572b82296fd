#include <algorithm>
#include <array>
#include <csignal>
#include <optional>
#include <ostream>

#include "Simulator/Mac/MachineEvents.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Simulator.h"

/// What is done to the daemon: messages of the control application, starting and ending it.
namespace vlm::sim {

namespace {

/// More copies at one moment are a slip of the pen.
constexpr std::size_t kMostCopies = 8;

Outcome post(Simulator& simulator, Arguments arguments) {
  plist::Dictionary userInfo;
  if (arguments.size() > 1) {
    const auto number = parseInteger(arguments[1]);
    userInfo.set("parameter1", number ? plist::Value(*number) : plist::Value(arguments[1]));
  }
  if (arguments.size() > 2) {
    const auto number = parseInteger(arguments[2]);
    if (!number) return Outcome::refused(quoted(arguments[2]) + " is no whole number");
    userInfo.set("parameter2", *number);
  }
  const auto known = simulator.knownMessages();
  if (!known.empty() && std::find(known.begin(), known.end(), arguments[0]) == known.end()) {
    simulator.output().diagnostics << "note: the daemon does not listen for " << quoted(arguments[0]) << "\n";
  }
  simulator.post(arguments[0], userInfo);
  simulator.mac().turn();
  return {};
}

bool isVersion(const std::string& text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return (c >= '0' && c <= '9') || c == '.'; });
}

Outcome launchDaemon(Simulator& simulator, Arguments arguments) {
  for (const std::string& version : arguments) {
    if (!isVersion(version)) return Outcome::refused(quoted(version) + " is no version such as 4.15.1");
  }
  simulator.launchDaemons({arguments.begin(), arguments.end()});
  return {};
}

/// Nobody hears that he shall quit.
std::optional<Outcome> asleep(Simulator& simulator) {
  if (!simulator.mac().events().isAsleep()) return std::nullopt;
  return Outcome::refused("the machine sleeps; wake it first");
}

Outcome restart(Simulator& simulator, Arguments) {
  if (const auto refusal = asleep(simulator)) return *refusal;
  if (simulator.daemon() == nullptr) return Outcome::refused("no daemon runs; launch-daemon starts one");
  if (!simulator.restartDaemon()) return Outcome::notHeld("the daemon was told to quit and still runs");
  return {};
}

Outcome interrupt(Simulator& simulator, Arguments) {
  Session* session = simulator.daemon();
  if (session == nullptr) return Outcome::refused("no daemon runs");
  simulator.mac().signal(*session, SIGINT);
  simulator.mac().turn();
  return {};
}

Outcome quit(Simulator& simulator, Arguments) {
  if (const auto refusal = asleep(simulator)) return *refusal;
  simulator.quitDaemons();
  simulator.hasQuit = true;
  if (simulator.runningDaemons() != 0) return Outcome::notHeld("the daemon was told to quit and still runs");
  return {};
}

constexpr std::array kCommands{
    Command{"post", "MESSAGE [PARAMETER1 [PARAMETER2]]", 1, 3, "the control application sends the daemon a message",
            "post kVLMUseThisMode 1001 42", post},
    Command{"launch-daemon", "VERSION...", 1, kMostCopies,
            "starts a copy of the daemon; several versions: copies at the same moment", "launch-daemon 4.14 4.16",
            launchDaemon},
    Command{"restart", "", 0, 0, "quits the daemon and starts it anew", "restart", restart},
    Command{"interrupt", "", 0, 0, "interrupts the daemon (SIGINT)", "interrupt", interrupt},
    Command{"quit", "", 0, 0, "quits the daemon; at the prompt the simulator ends, too", "quit", quit},
};

}  // namespace

std::span<const Command> daemonCommands() { return kCommands; }

}  // namespace vlm::sim
