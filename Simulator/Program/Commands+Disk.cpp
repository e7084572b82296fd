#include <algorithm>
#include <array>
#include <filesystem>

#include "Simulator/Mac/AtomicFile.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Settings.h"
#include "Simulator/Program/Simulator.h"

/// What happens to the disk and to the settings file on it: faults, damage, and the control application that edits the
/// file too.
namespace vlm::sim {

namespace {

namespace fs = std::filesystem;

Outcome disk(Simulator& simulator, Arguments arguments) {
  struct Row {
    std::string_view name;
    DiskFault fault;
  };
  constexpr std::array kRows{Row{"ok", DiskFault::none}, Row{"full", DiskFault::full},
                             Row{"read-only", DiskFault::readOnly}, Row{"failing-flush", DiskFault::failingFlush},
                             Row{"failing-rename", DiskFault::failingRename}};
  for (const Row& row : kRows) {
    if (row.name != arguments[0]) continue;
    simulator.mac().diskFault = row.fault;
    return {};
  }
  return Outcome::refused(quoted(arguments[0]) + " is none of ok, full, read-only, failing-flush, failing-rename");
}

Outcome fileOutcome(const std::error_code& error, const std::string& path) {
  return error ? Outcome::refused(path + ": " + error.message()) : Outcome{};
}

Outcome cutSettings(Simulator& simulator, Arguments arguments) {
  const auto bytes = parseInteger(arguments[0]);
  if (!bytes || *bytes < 0) return Outcome::refused(quoted(arguments[0]) + " is no number of bytes");
  const std::string path = simulator.settingsPath();
  std::error_code error;
  const auto size = fs::file_size(path, error);
  if (!error && size < static_cast<std::uintmax_t>(*bytes)) {
    return Outcome::refused("the settings file has " + std::to_string(size) + " bytes only");
  }
  if (!error) fs::resize_file(path, static_cast<std::uintmax_t>(*bytes), error);
  return fileOutcome(error, path);
}

Outcome installMachineWide(Simulator& simulator, Arguments) {
  const fs::path own = simulator.settingsPath();
  std::error_code error;
  fs::rename(own, fs::path(simulator.mac().localFolder()) / "Library" / "Preferences" / own.filename(), error);
  return fileOutcome(error, own.string());
}

// --- The control application edits ---

Outcome openSettings(Simulator& simulator, Arguments) {
  simulator.openSettings = simulator.settings().value_or(plist::Dictionary());
  return {};
}

Outcome notOpen() { return Outcome::refused("the control application has not read the settings: settings open"); }

Outcome setSetting(Simulator& simulator, Arguments arguments) {
  if (!simulator.openSettings) return notOpen();
  plist::Value root = *simulator.openSettings;
  if (!setValueAt(root, arguments[0], valueFrom(arguments[1]))) {
    return Outcome::refused("the settings have no place " + arguments[0]);
  }
  simulator.openSettings = *root.dictionary();
  return {};
}

Outcome saveSettings(Simulator& simulator, Arguments) {
  if (!simulator.openSettings) return notOpen();
  const auto failure =
      replaceFile(simulator.settingsPath(), composePropertyList(*simulator.openSettings), simulator.mac().diskFault);
  return failure ? Outcome::notHeld("the control application cannot write: " + *failure) : Outcome{};
}

constexpr std::array kCommands{
    Command{"disk", "full|read-only|failing-flush|failing-rename|ok", 1, 1, "lets writing of files fail, or work again",
            "disk full", disk},
    Command{"settings cut", "BYTES", 1, 1, "cuts the user's settings file off", "settings cut 100", cutSettings},
    Command{"settings machine-wide", "", 0, 0, "makes the user's settings file the machine-wide one",
            "settings machine-wide", installMachineWide},
    Command{"settings open", "", 0, 0, "the control application reads the settings file", "settings open",
            openSettings},
    Command{"settings set", "KEYPATH VALUE", 2, 2,
            "it changes what it has read; true, false, numbers, other texts; text:12 for a text, data:0A1F for bytes",
            "settings set launchShortCut 28421", setSetting},
    Command{"settings save", "", 0, 0, "it writes that back; nobody is told", "settings save", saveSettings},
};

}  // namespace

std::span<const Command> diskCommands() { return kCommands; }

}  // namespace vlm::sim
