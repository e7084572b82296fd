#include <algorithm>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <variant>

#include "Simulator/Mac/AppliedOverride.h"
#include "Simulator/Mac/WindowServerParts.h"

/// Override files, taken in when a display is connected.
namespace vlm::sim {
namespace {

/// The mode of another table that looks the same.
std::optional<std::uint32_t> sameMode(const ModeTable& table, const SimulatedMode& mode) {
  const auto looks = [](const SimulatedMode& one) {
    return std::tie(one.width, one.height, one.scale, one.refreshRateFixed, one.pixelEncoding, one.flags,
                    one.variableRefresh);
  };
  const auto same =
      std::ranges::find_if(table.modes, [&](const SimulatedMode& other) { return looks(other) == looks(mode); });
  return same == table.modes.end() ? std::nullopt : std::optional(same->number);
}

std::optional<std::string> faultOfDefault(const ModeTable& table,
                                          const std::optional<ModeAdditions::Resolution>& wanted) {
  const auto chosen = std::ranges::find(table.modes, table.defaultModeNumber, &SimulatedMode::number);
  if (!wanted || chosen == table.modes.end()) return std::nullopt;
  if (chosen->width == wanted->width && chosen->height == wanted->height) return std::nullopt;
  return "default-resolution: " + std::to_string(wanted->width) + "x" + std::to_string(wanted->height) +
         " cannot be the default";
}

}  // namespace

bool WindowServer::Implementation::readOverride(SimulatedDisplay& display) const {
  std::optional<OverrideFile> file = overrides.find(display.edid);
  if (file == display.overrideFile) return false;
  display.overrideFile = std::move(file);
  return true;
}

void WindowServer::Implementation::makeModes(SimulatedDisplay& display, const ParsedEdid& monitor,
                                             std::uint32_t firstModeNumber) const {
  const DisplayDescription& description = display.description;
  const plist::Dictionary content = display.overrideFile ? display.overrideFile->content : plist::Dictionary();
  AppliedOverride applied = applyOverride(description.edid, monitor, content);
  display.edid = std::move(applied.edid);
  display.edidBytes = std::move(applied.edidBytes);
  display.productName = std::move(applied.productName);
  display.range = applied.range;
  display.overrideFindings = std::move(applied.findings);
  ModeOptions options = description.modeOptions;
  options.builtIn = options.builtIn || description.builtIn;
  options.firstModeNumber = firstModeNumber;
  display.modes = description.listedModes.empty() ? deriveModes(display.edid, options, applied.additions)
                                                  : listModes(description.listedModes, options, applied.additions);
  if (auto fault = faultOfDefault(display.modes, applied.additions.defaultResolution)) {
    display.overrideFindings.push_back(std::move(*fault));
  }
}

void WindowServer::Implementation::makeModesAnew(SimulatedDisplay& display) {
  auto monitor = readEdid(display.description.edid);
  // Such a display never had modes.
  if (std::holds_alternative<std::string>(monitor)) return;
  const ModeTable before = display.modes;
  const SimulatedMode current = display.mode();
  makeModes(display, std::get<ParsedEdid>(monitor), before.modes.empty() ? 1 : before.modes.back().number + 1);
  display.modeNumber = sameMode(display.modes, current).value_or(display.modes.defaultModeNumber);
  std::set<std::pair<const SimulatedDisplay*, std::uint32_t>> refused;
  for (const auto& [of, number] : refusedModes) {
    if (of != &display) refused.emplace(of, number);
  }
  for (const SimulatedMode& mode : before.modes) {
    if (!refusedModes.contains({&display, mode.number})) continue;
    if (const auto same = sameMode(display.modes, mode)) refused.emplace(&display, *same);
  }
  refusedModes = std::move(refused);
}

void WindowServer::Implementation::logFindings(const SimulatedDisplay& display) const {
  if (!server.log || !display.overrideFile) return;
  for (const std::string& finding : display.overrideFindings) {
    server.log("window server: " + display.description.name + ": " + display.overrideFile->path + ": " + finding);
  }
}

void WindowServer::logOverrideFindings() const {
  for (const auto& display : displays_) implementation_->logFindings(*display);
}

}  // namespace vlm::sim
