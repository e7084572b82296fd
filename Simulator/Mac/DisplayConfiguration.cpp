#include "Simulator/Mac/DisplayConfiguration.h"

#include <algorithm>
#include <utility>

namespace vlm::sim {
namespace {

using Flags = CGDisplayChangeSummaryFlags;

Flags flagIf(bool condition, Flags flag) { return condition ? flag : 0; }

bool isMain(const DisplayConfiguration& configuration, const DisplayState& state) {
  return configuration.main() == &state;
}

Flags flagsOf(const DisplayConfiguration& before, const DisplayState& was, const DisplayConfiguration& after,
              const DisplayState& is) {
  if (was.plugged != is.plugged) return is.plugged ? kCGDisplayAddFlag : kCGDisplayRemoveFlag;
  const auto boundsBefore = before.bounds(was), boundsAfter = after.bounds(is);
  return flagIf(boundsBefore && boundsAfter && boundsBefore->origin != boundsAfter->origin, kCGDisplayMovedFlag) |
         flagIf(isMain(after, is) && !isMain(before, was), kCGDisplaySetMainFlag) |
         flagIf(was.modeNumber != is.modeNumber || was.turn != is.turn, kCGDisplaySetModeFlag) |
         flagIf(!was.enabled && is.enabled, kCGDisplayEnabledFlag) |
         flagIf(was.enabled && !is.enabled, kCGDisplayDisabledFlag) |
         flagIf(is.master != nullptr && was.master != is.master, kCGDisplayMirrorFlag) |
         flagIf(was.master != nullptr && is.master == nullptr, kCGDisplayUnMirrorFlag);
}

}  // namespace

Size sizeOnDesktop(const SimulatedDisplay& display, std::uint32_t modeNumber, Turn turn) {
  const SimulatedMode* mode = display.modeNumbered(modeNumber);
  if (mode == nullptr) return {.width = 1, .height = 1};
  Size size{.width = std::max(double(mode->width), 1.0), .height = std::max(double(mode->height), 1.0)};
  if (turn.degrees % 180 != 0) std::swap(size.width, size.height);
  return size;
}

DisplayState DisplayState::of(SimulatedDisplay& display, SimulatedDisplay* master) {
  return {.display = &display,
          .id = display.id,
          .plugged = display.plugged,
          .enabled = display.enabled,
          .modeNumber = display.modeNumber,
          .turn = display.turn,
          .master = master,
          .origin = display.origin,
          .placed = display.placed};
}

DisplayState& DisplayConfiguration::of(const SimulatedDisplay& display) {
  return *std::find_if(states.begin(), states.end(),
                       [&](const DisplayState& state) { return state.display == &display; });
}

const DisplayState& DisplayConfiguration::of(const SimulatedDisplay& display) const {
  return *std::find_if(states.begin(), states.end(),
                       [&](const DisplayState& state) { return state.display == &display; });
}

std::optional<Rect> DisplayConfiguration::bounds(const DisplayState& state) const {
  if (!state.isArranged()) return std::nullopt;
  const DisplayState& shown = state.master == nullptr ? state : of(*state.master);
  return Rect{.origin = shown.origin, .size = shown.size()};
}

const DisplayState* DisplayConfiguration::main() const {
  const auto found = std::find_if(states.begin(), states.end(), [](const DisplayState& state) {
    return state.hasOwnPlace() && state.placed && state.origin == Point{};
  });
  return found == states.end() ? nullptr : &*found;
}

bool DisplayConfiguration::isAnyOn() const {
  return std::any_of(states.begin(), states.end(), [](const DisplayState& state) { return state.isArranged(); });
}

bool DisplayConfiguration::keepOneOn() {
  if (isAnyOn()) return true;
  const auto first =
      std::find_if(states.begin(), states.end(), [](const DisplayState& state) { return state.plugged; });
  if (first == states.end()) return false;
  first->enabled = true;
  return true;
}

void DisplayConfiguration::settleMirroring() {
  for (DisplayState& state : states) {
    if (state.master != nullptr && (!state.isArranged() || !of(*state.master).isArranged())) state.master = nullptr;
  }
  for (DisplayState& state : states) {
    const std::string& panel = state.display->description.hardwareMirrorOf;
    if (panel.empty() || !state.isArranged()) continue;
    const auto found = std::find_if(states.begin(), states.end(), [&](const DisplayState& other) {
      return other.display->description.name == panel && other.isArranged();
    });
    if (found == states.end()) continue;
    if (found->master == state.display) found->master = nullptr;
    SimulatedDisplay* const shown = found->master == nullptr ? found->display : found->master;
    state.master = shown;
    for (DisplayState& copy : states) {
      if (copy.master == state.display) copy.master = shown;
    }
  }
}

std::vector<DisplayNotice> noticesOf(const DisplayConfiguration& before, const DisplayConfiguration& after) {
  std::vector<DisplayNotice> notices;
  bool anyFlag = false, shapeChanged = false;
  for (const DisplayState& is : after.states) {
    const DisplayState& was = before.of(*is.display);
    if (!was.plugged && !is.plugged) continue;
    notices.push_back({.id = is.plugged ? is.id : was.id, .flags = flagsOf(before, was, after, is)});
    anyFlag = anyFlag || notices.back().flags != 0;
    shapeChanged = shapeChanged || before.bounds(was) != after.bounds(is);
  }
  if (!anyFlag && !shapeChanged) return {};
  if (shapeChanged) {
    for (DisplayNotice& notice : notices) notice.flags |= kCGDisplayDesktopShapeChangedFlag;
  }
  return notices;
}

}  // namespace vlm::sim
