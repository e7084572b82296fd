#include <array>
#include <ostream>

#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Simulator/Mac/MachineEvents.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DaemonView.h"
#include "Simulator/Program/Explanation.h"
#include "Simulator/Program/Json.h"
#include "Simulator/Program/Plan.h"
#include "Simulator/Program/Simulator.h"

/// What a display set is about, and applying it.
namespace vlm::sim {

namespace {

/// Does something with the running daemon's set of that name, within its process.
template <class Action>
Outcome withSet(Simulator& simulator, const std::string& name, Action action) {
  Session* session = simulator.daemon();
  if (session == nullptr) return Outcome::refused("no daemon runs; launch-daemon starts one");
  const Process::Scope inDaemon(session->process());
  VLMGlobals& document = VLMGlobals::sharedInstance();
  const auto set = setNamed(document, name);
  if (const auto* reason = std::get_if<std::string>(&set)) return Outcome::refused(*reason);
  return action(document, std::get<std::shared_ptr<VLMDisplaySet>>(set));
}

Outcome explain(Simulator& simulator, Arguments arguments) {
  return withSet(simulator, arguments[0], [&](VLMGlobals& document, const std::shared_ptr<VLMDisplaySet>& set) {
    const plist::Dictionary explanation = explanationOf(simulator.mac(), document, *set);
    simulator.output().data << (simulator.wantsJson ? jsonText(explanation) + "\n" : explanationText(explanation));
    return Outcome{};
  });
}

Outcome plan(Simulator& simulator, Arguments arguments) {
  return withSet(simulator, arguments[0], [&](VLMGlobals&, const std::shared_ptr<VLMDisplaySet>& set) {
    const auto found = planFor(simulator, set);
    if (const auto* reason = std::get_if<std::string>(&found)) return Outcome::notHeld(*reason);
    const auto& changes = std::get<plist::Dictionary>(found);
    simulator.output().data << (simulator.wantsJson ? jsonText(changes) + "\n" : planText(changes));
    return Outcome{};
  });
}

Outcome apply(Simulator& simulator, Arguments arguments) {
  Session* const session = simulator.daemon();
  if (session == nullptr) return Outcome::refused("no daemon runs; launch-daemon starts one");
  if (simulator.mac().events().isAsleep()) return Outcome::refused("the machine sleeps; wake it first");
  Outcome outcome;
  session->call([&] {
    VLMGlobals& document = VLMGlobals::sharedInstance();
    const auto set = setNamed(document, arguments[0]);
    if (const auto* reason = std::get_if<std::string>(&set)) {
      outcome = Outcome::refused(*reason);
    } else {
      document.applyDisplaySet(std::get<std::shared_ptr<VLMDisplaySet>>(set), true);
    }
  });
  simulator.mac().turn();
  return outcome;
}

constexpr std::array kCommands{
    Command{"apply", "SET", 1, 1, "the user chooses a set in the daemon's menu", "apply \"As found\"", apply},
    Command{"explain", "SET", 1, 1, "why a set's mark is what it is, monitor by monitor", "explain \"As found\"",
            explain, true},
    Command{"plan", "SET", 1, 1, "what applying a set would change; changes nothing", "plan \"As found\" --json", plan,
            true},
};

}  // namespace

std::span<const Command> setCommands() { return kCommands; }

}  // namespace vlm::sim
