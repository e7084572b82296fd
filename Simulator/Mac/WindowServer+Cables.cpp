#include <algorithm>
#include <string>
#include <utility>

#include "Simulator/Mac/DdcMonitor.h"
#include "Simulator/Mac/UuidText.h"
#include "Simulator/Mac/WindowServerParts.h"

/// Cables that go to other ports, and what hangs at their ends.
namespace vlm::sim {

namespace {

std::size_t currentModeIndex(const SimulatedDisplay& display) {
  const auto& modes = display.modes.modes;
  const auto found =
      std::find_if(modes.begin(), modes.end(), [&](const auto& mode) { return mode.number == display.modeNumber; });
  return static_cast<std::size_t>(found - modes.begin());
}

void useModeAt(SimulatedDisplay& display, std::size_t index) {
  if (index < display.modes.modes.size()) display.modeNumber = display.modes.modes[index].number;
}

/// What the system keeps by UUID, once two monitors have each the other's.
void swapWhatIsKept(SimulatedDisplay& first, SimulatedDisplay& second) {
  const std::size_t firstMode = currentModeIndex(first), secondMode = currentModeIndex(second);
  useModeAt(first, secondMode);
  useModeAt(second, firstMode);
  std::swap(first.origin, second.origin);
  std::swap(first.placed, second.placed);
  std::swap(first.enabled, second.enabled);
  std::swap(first.turn, second.turn);
  std::swap(first.hdr, second.hdr);
}

}  // namespace

std::string uuidOf(const SimulatedDisplay& display) {
  const ParsedEdid& edid = display.edid;
  const std::string identity =
      std::to_string(edid.vendor) + "/" + std::to_string(edid.product) + "/" +
      (edid.serial != 0 ? "serial " + std::to_string(edid.serial) : "port " + std::to_string(display.description.port));
  return uuidText(identity);
}

void WindowServer::Implementation::replug(const std::vector<SimulatedDisplay*>& displays,
                                          const std::function<void()>& change) {
  const DisplayConfiguration before = configuration();
  DisplayConfiguration without = before;
  for (const SimulatedDisplay* const display : displays) without.of(*display).plugged = false;
  without.settleMirroring();
  // The screen may be dark for this moment.
  if (without.keepOneOn()) settle(before, without, {});
  notify(before, without, nullptr);
  for (SimulatedDisplay* const display : displays) disconnect(*display);
  change();
  for (SimulatedDisplay* const display : displays) {
    moveToEnd(*display);
    connect(*display);
  }
  // The same displays are there as before: each comes back to the place that it had.
  const DisplayConfiguration kept = configuration();
  DisplayConfiguration after = kept;
  after.keepOneOn();
  after.settleMirroring();
  settle(kept, after, {});
  takeEffect(after);
  notify(without, after, nullptr);
}

std::optional<std::string> WindowServer::moveToPort(SimulatedDisplay& display, std::uint32_t port) {
  const std::string& name = display.description.name;
  const auto there = std::find_if(displays_.begin(), displays_.end(),
                                  [&](const auto& other) { return other->description.port == port; });
  SimulatedDisplay* const other = there == displays_.end() ? nullptr : there->get();
  if (other == &display) return name + " is on port " + std::to_string(port) + " already";
  if (display.description.builtIn) return name + " has no cable";
  if (other != nullptr && other->description.builtIn)
    return "port " + std::to_string(port) + " is the built-in panel's";

  implementation_->journal.add("user: port(" + name + ", " + std::to_string(port) + ")");
  std::vector<SimulatedDisplay*> plugged;
  for (SimulatedDisplay* const moved : {&display, other}) {
    if (moved != nullptr && moved->plugged) plugged.push_back(moved);
  }
  implementation_->replug(plugged, [&] {
    const std::string before = display.uuid;
    if (other != nullptr) other->description.port = display.description.port;
    display.description.port = port;
    for (SimulatedDisplay* const moved : {&display, other}) {
      if (moved != nullptr && moved->edid.serial == 0) moved->uuid = uuidOf(*moved);
    }
    if (other != nullptr && other->uuid == before) swapWhatIsKept(display, *other);
  });
  return std::nullopt;
}

std::optional<std::string> WindowServer::replaceEdid(SimulatedDisplay& display, const plist::Data& edid) {
  const std::string& name = display.description.name;
  if (display.plugged) return name + " is plugged in; another EDID takes another plugging in";
  const auto read = readEdid(edid);
  if (const auto* const reason = std::get_if<std::string>(&read)) return "EDID: " + *reason;
  const SimulatedDisplay before = display;
  display.description.edid = edid;
  display.description.mode.clear();
  display.description.origin.reset();
  implementation_->prepare(display);
  implementation_->journal.add("user: edid(" + name + ")");
  if (display.uuid != before.uuid) return std::nullopt;
  display.origin = before.origin;
  display.placed = before.placed;
  display.enabled = before.enabled;
  display.turn = before.turn;
  display.hdr = before.hdr;
  const SimulatedMode& mode = before.mode();
  const auto kept = findMode(display, mode.width, mode.height, mode.refreshRateHz());
  display.modeNumber = kept.value_or(display.modeNumber);
  return std::nullopt;
}

std::optional<std::string> WindowServer::plugUnnoticed(SimulatedDisplay& display) {
  if (display.plugged || display.unnoticed) return display.description.name + " is plugged in already";
  display.unnoticed = true;
  implementation_->journal.add("user: plug(" + display.description.name + ", unnoticed)");
  return std::nullopt;
}

void WindowServer::probe() {
  std::vector<SimulatedDisplay*> found;
  for (const auto& display : displays_) {
    if (display->unnoticed) found.push_back(display.get());
  }
  for (SimulatedDisplay* const display : found) plug(*display);
}

}  // namespace vlm::sim
