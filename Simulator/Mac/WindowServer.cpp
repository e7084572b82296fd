#include "Simulator/Mac/WindowServer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "Simulator/Mac/DdcMonitor.h"
#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/WindowServerParts.h"

namespace vlm::sim {
namespace {

/// Distance between the identifiers of displays that are connected one after the other.
constexpr CGDirectDisplayID kDisplayIDStep = 0x40;

/// Two rates that a user would write the same: 59.94 and 60.
constexpr double kRateTolerance = 0.51;

/// "1440x900@60" as width, height and rate. Nothing when it is no mode text.
struct ModeText {
  std::uint32_t width = 0, height = 0;
  std::optional<double> refreshHz;
};
std::optional<ModeText> readModeText(const std::string& text) {
  unsigned width = 0, height = 0;
  double refreshHz = 0;
  const int count = std::sscanf(text.c_str(), "%5ux%5u@%lf", &width, &height, &refreshHz);
  if (count < 2) return std::nullopt;
  return ModeText{.width = width, .height = height, .refreshHz = count == 3 ? std::optional(refreshHz) : std::nullopt};
}

/// A few of a display's modes, from the largest, as texts.
std::string someModesOf(const SimulatedDisplay& display) {
  constexpr std::size_t kFew = 5;
  std::map<std::pair<std::uint32_t, std::uint32_t>, double, std::greater<>> rates;
  for (const SimulatedMode& mode : display.modes.modes) {
    if ((mode.flags & kModeHiddenFlag) == 0) rates.emplace(std::pair(mode.width, mode.height), mode.refreshRateHz());
  }
  std::string text;
  std::size_t count = 0;
  for (const auto& [size, rate] : rates) {
    if (++count > kFew) return text + " …";
    text += (text.empty() ? "" : ", ") + std::to_string(size.first) + "x" + std::to_string(size.second) + "@" +
            numberText(std::round(rate * 100) / 100);
  }
  return text.empty() ? "none at all" : text;
}

}  // namespace

// --- A display ---

std::optional<std::string> SimulatedDisplay::whyInactive() const {
  if (!plugged) return description.name + " is not plugged in";
  if (!enabled) return description.name + " is off";
  return asleep ? std::optional(description.name + " is asleep") : std::nullopt;
}

const SimulatedMode* SimulatedDisplay::modeNumbered(std::int64_t number) const {
  const auto found = std::find_if(modes.modes.begin(), modes.modes.end(),
                                  [&](const SimulatedMode& mode) { return mode.number == number; });
  return found == modes.modes.end() ? nullptr : &*found;
}

const SimulatedMode& SimulatedDisplay::mode() const {
  static const SimulatedMode none;
  const SimulatedMode* current = modeNumbered(modeNumber);
  return current == nullptr ? none : *current;
}

// --- The machine's displays ---

WindowServer::WindowServer(const MachineDescription& machine, Journal& journal, const std::string& root)
    : implementation_(std::make_unique<Implementation>(*this, machine, journal, root)) {
  Registry& tree = registry();
  const io_service_t resources = tree.add(tree.root(), {"IOResources", "IOService"}, "IOResources");
  if (machine.processor == Processor::intel) {
    tree.add(resources, {"IODisplayWrangler", "IOService"}, "IODisplayWrangler", {{"IORequestIdle", false}});
  }
  if (machine.graphicsControl) {
    tree.add(tree.root(), {"AppleGraphicsControl", "IOService"}, "AppleGraphicsControl");
  }
  for (const DisplayDescription& description : machine.displays) addDisplay(description);
  std::stable_partition(displays_.begin(), displays_.end(),
                        [](const auto& display) { return display->description.builtIn; });
  const DisplayConfiguration before = implementation_->configuration();
  for (const auto& display : displays_) {
    if (display->description.plugged) implementation_->connect(*display);
  }
  for (const auto& display : displays_) {
    SimulatedDisplay* const panel = displayNamed(display->description.hardwareMirrorOf);
    if (panel != nullptr) panel->alwaysMirrored = display->alwaysMirrored = true;
  }
  DisplayConfiguration after = implementation_->configuration();
  after.keepOneOn();
  after.settleMirroring();
  settle(before, after, {});
  implementation_->takeEffect(after);
}

WindowServer::~WindowServer() = default;

SimulatedDisplay& WindowServer::addDisplay(const DisplayDescription& description) {
  displays_.push_back(std::make_unique<SimulatedDisplay>());
  SimulatedDisplay& display = *displays_.back();
  display.description = description;
  implementation_->prepare(display);
  return display;
}

/// Everything of a display that does not depend on whether it is plugged in.
void WindowServer::Implementation::prepare(SimulatedDisplay& display) {
  const DisplayDescription& description = display.description;
  auto edid = readEdid(description.edid);
  if (const auto* reason = std::get_if<std::string>(&edid)) {
    server.addFault("display " + description.name + ": EDID: " + *reason);
  } else {
    display.edid = std::get<ParsedEdid>(std::move(edid));
  }
  readOverride(display);
  makeModes(display, ParsedEdid(display.edid), description.modeOptions.firstModeNumber);
  logFindings(display);
  display.uuid = uuidOf(display);
  display.plugged = false;
  display.enabled = description.enabled;
  display.brightness = description.brightness;
  display.ddcCurrent = description.ddcCurrent;
  display.turn = {};
  display.hdr = false;
  display.monitor =
      std::make_shared<DdcMonitor>(description.ddc, description.edid, description.ddcMaximum, display.ddcCurrent);
  if (description.origin) display.origin = *description.origin;
  display.placed = description.origin.has_value();
  display.modeNumber = display.modes.defaultModeNumber;
  if (description.mode.empty()) return;
  const auto text = readModeText(description.mode);
  const auto mode = text ? server.findMode(display, text->width, text->height, text->refreshHz) : std::nullopt;
  if (!mode) {
    server.addFault("display " + description.name + ": key \"mode\": it has no mode " + description.mode + ", but " +
                    someModesOf(display));
  }
  display.modeNumber = mode.value_or(display.modeNumber);
}

void WindowServer::Implementation::connect(SimulatedDisplay& display) {
  const bool isFirst = connectedBefore.insert(&display).second;
  if (readOverride(display)) {
    makeModesAnew(display);
    if (isFirst && display.description.mode.empty()) display.modeNumber = display.modes.defaultModeNumber;
    logFindings(display);
  } else if (!isFirst) {
    numberModesAnew(display);
  }
  display.plugged = true;
  display.asleep = asleep;
  display.id = nextDisplayID;
  nextDisplayID += kDisplayIDStep;
  publishServices(display);
}

/// A driver may number a display's modes anew when it comes back: this one always does, so that nobody can rely on it.
void WindowServer::Implementation::numberModesAnew(SimulatedDisplay& display) {
  const auto step = static_cast<std::uint32_t>(display.modes.modes.size());
  for (SimulatedMode& mode : display.modes.modes) mode.number += step;
  display.modes.nativeModeNumber += step;
  display.modes.defaultModeNumber += step;
  display.modeNumber += step;
  std::set<std::pair<const SimulatedDisplay*, std::uint32_t>> refused;
  for (const auto& [of, number] : refusedModes) refused.emplace(of, of == &display ? number + step : number);
  refusedModes = std::move(refused);
}

void WindowServer::Implementation::disconnect(SimulatedDisplay& display) {
  withdrawServices(display);
  display.plugged = false;
  display.id = 0;
  display.gamma = {};
}

/// The system lists displays in the order in which they were plugged in, built-in panels before all others.
void WindowServer::Implementation::moveToEnd(const SimulatedDisplay& display) {
  auto& displays = server.displays_;
  const auto found =
      std::find_if(displays.begin(), displays.end(), [&](const auto& other) { return other.get() == &display; });
  std::rotate(found, found + 1, displays.end());
  std::stable_partition(displays.begin(), displays.end(), [](const auto& other) { return other->description.builtIn; });
}

std::optional<std::string> WindowServer::plug(SimulatedDisplay& display) {
  if (display.plugged) return display.description.name + " is plugged in already";
  implementation_->moveToEnd(display);
  const DisplayConfiguration before = implementation_->configuration();
  implementation_->connect(display);
  DisplayConfiguration after = implementation_->configuration();
  after.keepOneOn();
  after.settleMirroring();
  settle(before, after, {});
  display.unnoticed = false;
  implementation_->journal.add("user: plug(" + display.description.name + ")");
  implementation_->takeEffect(after);
  implementation_->notify(before, after, nullptr);
  return std::nullopt;
}

std::optional<std::string> WindowServer::unplug(SimulatedDisplay& display) {
  const std::string& name = display.description.name;
  if (!display.plugged && !std::exchange(display.unnoticed, false)) return name + " is not plugged in";
  if (!display.plugged) return std::nullopt;
  const DisplayConfiguration before = implementation_->configuration();
  DisplayConfiguration after = before;
  after.of(display).plugged = false;
  after.settleMirroring();
  // Without any, the Mac runs on in the dark.
  if (after.keepOneOn()) settle(before, after, {});
  implementation_->journal.add("user: unplug(" + name + ")");
  implementation_->takeEffect(after);
  implementation_->disconnect(display);
  implementation_->notify(before, after, nullptr);
  return std::nullopt;
}

std::optional<std::string> WindowServer::turn(SimulatedDisplay& display, Turn turn, const Session* by) {
  const std::string& name = display.description.name;
  if (auto reason = display.whyInactive()) return reason;
  if (!display.description.canRotate) return name + " cannot be turned";
  const DisplayConfiguration before = implementation_->configuration();
  DisplayConfiguration after = before;
  after.of(display).turn = turn;
  settle(before, after, {});
  implementation_->takeEffect(after);
  implementation_->notify(before, after, by);
  return std::nullopt;
}

void WindowServer::sleepDisplays() {
  implementation_->asleep = true;
  for (const auto& display : displays_) display->asleep = display->plugged;
}

void WindowServer::wakeDisplays() {
  implementation_->asleep = false;
  for (const auto& display : displays_) display->asleep = false;
}

// --- Looking up ---

Registry& WindowServer::registry() { return implementation_->registry; }

OverrideFolder& WindowServer::overrideFolder() { return implementation_->overrides; }

SimulatedDisplay* WindowServer::displayNamed(const std::string& name) {
  const auto found = std::find_if(displays_.begin(), displays_.end(),
                                  [&](const auto& display) { return display->description.name == name; });
  return found == displays_.end() ? nullptr : found->get();
}

SimulatedDisplay* WindowServer::displayWithID(CGDirectDisplayID id) {
  const auto found =
      std::find_if(displays_.begin(), displays_.end(), [&](const auto& display) { return display->id == id; });
  return id == kCGNullDirectDisplay || found == displays_.end() ? nullptr : found->get();
}

SimulatedDisplay* WindowServer::displayWithFrameBuffer(io_service_t frameBuffer) {
  const auto found = std::find_if(displays_.begin(), displays_.end(),
                                  [&](const auto& display) { return display->frameBuffer == frameBuffer; });
  return frameBuffer == 0 || found == displays_.end() ? nullptr : found->get();
}

SimulatedDisplay* WindowServer::displayWithService(io_service_t service) {
  for (const RegistryEntry* entry = registry().find(service); entry != nullptr;
       entry = registry().find(entry->parent)) {
    for (const auto& display : displays_) {
      if (display->frameBuffer == entry->number || display->avService == entry->number) return display.get();
    }
  }
  return nullptr;
}

Rect WindowServer::bounds(const SimulatedDisplay& display) const {
  for (const auto& master : displays_) {
    if (display.mirrors != kCGNullDirectDisplay && master->id == display.mirrors) return bounds(*master);
  }
  return {.origin = display.origin, .size = sizeOnDesktop(display, display.modeNumber, display.turn)};
}

SimulatedDisplay* WindowServer::mainDisplay() {
  const DisplayConfiguration now = implementation_->configuration();
  const DisplayState* main = now.main();
  return main == nullptr ? nullptr : main->display;
}

bool WindowServer::isMirrored(const SimulatedDisplay& display) const {
  return std::any_of(displays_.begin(), displays_.end(), [&](const auto& other) {
    return display.id != kCGNullDirectDisplay && other->mirrors == display.id;
  });
}

std::optional<std::uint32_t> WindowServer::findMode(const SimulatedDisplay& display, std::uint32_t width,
                                                    std::uint32_t height, std::optional<double> refreshHz) const {
  const SimulatedMode& current = display.mode();
  // Without a rate that of the moment is the natural one; with equal rates the scale of the moment.
  const double wantedHz = refreshHz.value_or(current.refreshRateHz());
  const SimulatedMode* best = nullptr;
  const auto rank = [&](const SimulatedMode& mode) {
    return std::pair(std::abs(mode.refreshRateHz() - wantedHz), mode.scale == current.scale ? 0 : 1);
  };
  for (const SimulatedMode& mode : display.modes.modes) {
    if (mode.width != width || mode.height != height || mode.pixelEncoding != current.pixelEncoding) continue;
    if ((mode.flags & kModeHiddenFlag) != 0) continue;
    if (refreshHz && std::abs(mode.refreshRateHz() - *refreshHz) > kRateTolerance) continue;
    if (best == nullptr || rank(mode) < rank(*best)) best = &mode;
  }
  return best == nullptr ? std::nullopt : std::optional(best->number);
}

void WindowServer::refuseMode(const SimulatedDisplay& display, std::uint32_t modeNumber) {
  implementation_->refusedModes.emplace(&display, modeNumber);
}

// --- Configurations ---

DisplayConfiguration WindowServer::Implementation::configuration() const {
  DisplayConfiguration configuration;
  for (const auto& display : server.displays_) {
    configuration.states.push_back(DisplayState::of(*display, server.displayWithID(display->mirrors)));
  }
  return configuration;
}

void WindowServer::Implementation::takeEffect(const DisplayConfiguration& configuration) {
  for (const DisplayState& state : configuration.states) {
    SimulatedDisplay& display = *state.display;
    display.plugged = state.plugged;
    display.enabled = state.enabled;
    display.modeNumber = state.modeNumber;
    display.mirrors = state.master == nullptr ? kCGNullDirectDisplay : state.master->id;
    display.origin = state.origin;
    display.placed = state.placed;
    if (std::exchange(display.turn, state.turn) != state.turn) publishTurn(display);
  }
}

}  // namespace vlm::sim
