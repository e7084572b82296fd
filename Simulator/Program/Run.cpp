#include "Simulator/Program/Run.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <variant>

#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Prompt.h"
#include "Simulator/Program/Scenario.h"
#include "Simulator/Program/Signals.h"
#include "Simulator/Program/Simulator.h"
#include "Simulator/Program/Tour.h"

namespace vlm::sim {

namespace {

/// Where Debian's packages of colour profiles put them.
constexpr const char* kHostProfiles = "/usr/share/color/icc";

int refuse(Output& output, const std::string& reason) {
  output.diagnostics << "velmoratix-simulator: " << reason << "\n";
  return kStatusOfWrongCall;
}

bool namesFile(const std::string& nameOrFile) {
  return nameOrFile.find('/') != std::string::npos || nameOrFile.ends_with(".plist");
}

std::variant<MachineDescription, std::string> machineFor(const std::string& nameOrFile) {
  if (namesFile(nameOrFile)) return readMachine(nameOrFile);
  const std::string path = std::string(VELMORATIX_MACHINES_FOLDER) + "/" + nameOrFile + ".plist";
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    std::string names;
    for (const std::string& name : namesOfMachines()) names += (names.empty() ? "" : ", ") + name;
    return "there is no machine " + quoted(nameOrFile) + "; there are " + names;
  }
  return readMachine(path);
}

/// What a scenario's first line asks for. A file is looked for from here, then beside the scenario; a reason begins
/// with the line.
std::variant<MachineDescription, std::string> machineOf(const Scenario& scenario, const std::string& asked) {
  std::string name = asked;
  std::error_code error;
  const std::filesystem::path beside = std::filesystem::path(scenario.name).parent_path() / asked;
  const bool isHere = std::filesystem::exists(asked, error);
  if (namesFile(asked) && !isHere && std::filesystem::exists(beside, error)) name = beside.string();
  auto machine = machineFor(name);
  if (auto* reason = std::get_if<std::string>(&machine)) *reason = scenario.name + ":1: " + *reason;
  return machine;
}

/// The machine of the call, of the scenario or the usual one, with the displays that the call adds.
std::variant<MachineDescription, std::string> chosenMachine(const RunOptions& options,
                                                            const std::optional<Scenario>& scenario) {
  const std::optional<std::string> asked = scenario ? scenario->machine() : std::nullopt;
  auto machine =
      asked && !options.machine ? machineOf(*scenario, *asked) : machineFor(options.machine.value_or(kUsualMachine));
  for (const std::string& path : options.displays) {
    if (std::holds_alternative<std::string>(machine)) return machine;
    auto display = readDisplay(path, "");
    if (auto* reason = std::get_if<std::string>(&display)) return std::move(*reason);
    addDisplay(std::get<MachineDescription>(machine), std::get<DisplayDescription>(std::move(display)));
  }
  return machine;
}

/// A file that an option asks for, opened before anything is played. None when nobody asks.
class RecordFile {
 public:
  explicit RecordFile(const std::string& path) : path_(path) {
    if (!path.empty()) file_.open(path, std::ios::binary | std::ios::trunc);
  }
  /// The reason when it cannot be written, now or before.
  std::optional<std::string> fault() const {
    return path_.empty() || file_.good() ? std::nullopt : std::optional(path_ + ": cannot be written");
  }
  void write(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) file_ << line << "\n";
    file_.flush();
  }

 private:
  std::string path_;
  std::ofstream file_;
};

Outcome play(Simulator& simulator, const RunOptions& options, const std::optional<Scenario>& scenario) {
  simulator.launchDaemons({kVersion});
  if (scenario) return playScenario(simulator, *scenario, Echo::no);
  if (!options.isInteractive) return playScenario(simulator, tourOf(simulator), Echo::yes);
  runPrompt(simulator);
  return {};
}

int playOn(Simulator& simulator, const RunOptions& options, const std::optional<Scenario>& scenario) {
  Output& output = simulator.output();
  RecordFile journal(options.journal), log(options.log);
  for (const RecordFile* const file : {&journal, &log}) {
    if (const auto reason = file->fault()) return refuse(output, *reason);
  }
  const Outcome outcome = play(simulator, options, scenario);
  output.data.flush();
  if (!outcome.held()) output.diagnostics << outcome.reason << "\n";
  journal.write(simulator.mac().journal().lines());
  log.write(simulator.mac().log);
  for (const RecordFile* const file : {&journal, &log}) {
    if (const auto reason = file->fault()) return refuse(output, *reason);
  }
  return static_cast<int>(outcome.status);
}

}  // namespace

std::vector<std::string> namesOfMachines() {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& file : std::filesystem::directory_iterator(VELMORATIX_MACHINES_FOLDER, error)) {
    if (file.path().extension() == ".plist") names.push_back(file.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

int runSimulator(const RunOptions& options, Output& output) {
  if (options.home && options.home->empty()) return refuse(output, "--home: the name of the folder is empty");
  std::optional<Scenario> scenario;
  if (options.script) {
    auto read = readScenario(*options.script);
    if (const auto* reason = std::get_if<std::string>(&read)) return refuse(output, *reason);
    scenario = std::get<Scenario>(std::move(read));
  }
  auto machine = chosenMachine(options, scenario);
  if (const auto* reason = std::get_if<std::string>(&machine)) return refuse(output, *reason);
  auto& description = std::get<MachineDescription>(machine);
  description.systemProfiles = kHostProfiles;
  const SignalWatch watch;
  try {
    Simulator simulator(std::move(description), options.home.value_or(""), output);
    return playOn(simulator, options, scenario);
  } catch (const std::filesystem::filesystem_error& error) {
    return refuse(output, "the home folder cannot be used: " + error.path1().string() + ": " + error.code().message());
  }
}

}  // namespace vlm::sim
