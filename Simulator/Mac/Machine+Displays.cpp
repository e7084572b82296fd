#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

#include "Simulator/Mac/Journal.h"
#include "Simulator/Mac/Machine.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/WindowServer.h"

namespace vlm::sim {

namespace {

std::optional<std::string> faultInDisplay(const DisplayDescription& display) {
  if (display.name.empty()) return "a display has no name";
  const std::string place = "display " + display.name + ": ";
  const auto edid = readEdid(display.edid);
  if (const auto* const reason = std::get_if<std::string>(&edid)) return place + "EDID: " + *reason;
  if (display.ddcMaximum == 0) return place + "ddcMaximum is 0";
  if (display.ddcCurrent > display.ddcMaximum) return place + "ddcCurrent is above ddcMaximum";
  return std::nullopt;
}

/// Commands do not tell capital letters from small ones.
bool isSameInAnyCase(const std::string& a, const std::string& b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char one, char other) { return lower(one) == lower(other); });
}

std::optional<std::string> faultBetween(const DisplayDescription& a, const DisplayDescription& b) {
  const std::string both = a.name + " and " + b.name;
  if (a.name == b.name) return "two displays have the name " + a.name;
  if (isSameInAnyCase(a.name, b.name)) return "displays " + both + " differ only in the case of their names";
  if (a.builtIn && b.builtIn) return "displays " + both + " are both built in";
  if (a.port == b.port) return "displays " + both + " are both on port " + std::to_string(a.port);
  return std::nullopt;
}

/// What a monitor says of its name as commands and the journal can bear it: printable ASCII without blanks at the ends.
std::string tidied(std::string name) {
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c < ' ' || c > '~'; }, ' ');
  const std::size_t begin = name.find_first_not_of(' ');
  if (begin == std::string::npos) return {};
  return name.substr(begin, name.find_last_not_of(' ') - begin + 1);
}

/// Two cables of one panel: the second one's display is that of the first one.
std::optional<std::string> faultInHardwareMirror(const MachineDescription& machine, const DisplayDescription& display) {
  const std::string& panel = display.hardwareMirrorOf;
  if (panel.empty()) return std::nullopt;
  const std::string place = "display " + display.name + ": key \"hardwareMirrorOf\": ";
  const auto found = std::find_if(machine.displays.begin(), machine.displays.end(),
                                  [&](const DisplayDescription& other) { return other.name == panel; });
  if (found == machine.displays.end()) return place + "there is no display " + panel;
  if (&*found == &display) return place + "it cannot mirror itself";
  if (!found->hardwareMirrorOf.empty()) return place + panel + " is itself such a mirror";
  return std::nullopt;
}

}  // namespace

std::optional<std::string> faultInMachine(const MachineDescription& machine) {
  const auto& displays = machine.displays;
  if (displays.empty()) return "there is no display";
  for (auto display = displays.begin(); display != displays.end(); ++display) {
    if (auto fault = faultInDisplay(*display)) return fault;
    if (auto fault = faultInHardwareMirror(machine, *display)) return fault;
    for (auto earlier = displays.begin(); earlier != display; ++earlier) {
      if (auto fault = faultBetween(*earlier, *display)) return fault;
    }
  }
  // Whether the displays can be set up as described, the window server knows best.
  Journal journal;
  const WindowServer trial(machine, journal, kNoFolders);
  if (!trial.faults().empty()) return trial.faults().front();
  return std::nullopt;
}

std::variant<DisplayDescription, std::string> readDisplay(const std::string& edidPath, const std::string& name) {
  std::string reason;
  const std::optional<std::string> content = readFile(edidPath, kLongestEdid, reason);
  if (!content) return edidPath + ": " + reason;
  DisplayDescription display;
  display.edid.assign(content->begin(), content->end());
  const auto edid = readEdid(display.edid);
  if (const auto* const fault = std::get_if<std::string>(&edid)) return edidPath + ": " + *fault;
  display.name = name;
  if (display.name.empty()) display.name = tidied(std::get<ParsedEdid>(edid).name);
  if (display.name.empty()) display.name = std::filesystem::path(edidPath).stem().string();
  return display;
}

std::uint32_t firstFreePort(const MachineDescription& machine) {
  std::set<std::uint32_t> taken;
  for (const DisplayDescription& display : machine.displays) taken.insert(display.port);
  std::uint32_t port = 0;
  while (taken.contains(port)) ++port;
  return port;
}

void addDisplay(MachineDescription& machine, DisplayDescription display) {
  const auto isTaken = [&](const std::string& name) {
    return std::any_of(machine.displays.begin(), machine.displays.end(),
                       [&](const DisplayDescription& other) { return isSameInAnyCase(other.name, name); });
  };
  const std::string wanted = display.name;
  for (int number = 2; isTaken(display.name); ++number) display.name = wanted + " " + std::to_string(number);
  display.port = firstFreePort(machine);
  machine.displays.push_back(std::move(display));
}

}  // namespace vlm::sim
