#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Simulator/Program/Command.h"

namespace vlm::sim {

/// Every command, theme by theme, in the order in which `help` lists them.
const std::vector<Command>& allCommands();

/// The themes' own tables.
std::span<const Command> showCommands();
std::span<const Command> setCommands();
std::span<const Command> setEditingCommands();
std::span<const Command> overrideCommands();
std::span<const Command> machineCommands();
std::span<const Command> displayCommands();
std::span<const Command> monitorCommands();
std::span<const Command> inputCommands();
std::span<const Command> eventCommands();
std::span<const Command> daemonCommands();
std::span<const Command> settingsCommands();
std::span<const Command> diskCommands();
std::span<const Command> fileCommands();
std::span<const Command> displayExpectations();
std::span<const Command> overrideExpectations();
std::span<const Command> daemonExpectations();

/// The word that asks a command for its answer in JSON.
constexpr std::string_view kJsonOption = "--json";

/// "show modes DISPLAY [N] [--json]".
std::string usage(const Command& command);

/// A line's command and what stands behind its name.
struct Call {
  const Command* command = nullptr;
  std::vector<std::string> arguments;
  bool wantsJson = false;
};

/// Finds the command that the words begin with and counts its arguments; the reason when there is no such call. Nothing
/// is done yet.
std::variant<Call, std::string> callFor(const std::vector<std::string>& words);

/// Does it. A fault that the machine notices meanwhile is one that did not hold.
Outcome runCall(Simulator& simulator, const Call& call);

}  // namespace vlm::sim
