#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

#include "Simulator/Mac/WindowServerParts.h"

/// Changes by transactions, and by others: checked as a whole, taking effect all or none.
namespace vlm::sim {
namespace {

/// A reference is a number: nobody may look behind it, also when it is stale.
std::uintptr_t numberOf(CGDisplayConfigRef config) { return reinterpret_cast<std::uintptr_t>(config); }
CGDisplayConfigRef referenceOf(std::uintptr_t number) { return reinterpret_cast<CGDisplayConfigRef>(number); }

/// Lets a display show another one's picture, whatever the two were to others before.
void mirror(DisplayConfiguration& configuration, DisplayState& copy, SimulatedDisplay& wanted) {
  DisplayState* master = &configuration.of(wanted);
  if (master->master == copy.display) {
    master->master = nullptr;  // the two change their parts
  } else if (master->master != nullptr) {
    master = &configuration.of(*master->master);
  }
  for (DisplayState& state : configuration.states) {
    if (state.master == copy.display) state.master = master->display;
  }
  copy.master = master->display;
}

}  // namespace

// --- The calls ---

CGDisplayConfigRef WindowServer::begin(Session& session) {
  const std::uintptr_t number = implementation_->nextTransaction++;
  const std::string& process = session.description().name;
  // Those that have ended stay for a while, to tell whose a stale one is; not for ever.
  constexpr std::size_t kMostKept = 64;
  auto& all = implementation_->transactions;
  if (all.size() >= kMostKept) std::erase_if(all, [](const auto& entry) { return !entry.second.open; });
  all[number] = {.session = &session, .process = process, .open = true, .changes = {}};
  implementation_->journal.add(process + ": CGBeginDisplayConfiguration()");
  return referenceOf(number);
}

CGError WindowServer::add(CGDisplayConfigRef config, const DisplayChange& change) {
  const std::string call = implementation_->describe(change);
  Transaction* transaction = implementation_->openTransaction(config, call);
  if (transaction == nullptr) return kCGErrorIllegalArgument;
  implementation_->journal.add(transaction->process + ": " + call);
  transaction->changes.push_back(change);
  return kCGErrorSuccess;
}

CGError WindowServer::complete(CGDisplayConfigRef config, CGConfigureOption option) {
  const std::string call = "CGCompleteDisplayConfiguration(" + std::to_string(option) + ")";
  Transaction* transaction = implementation_->openTransaction(config, call);
  if (transaction == nullptr) return kCGErrorIllegalArgument;
  transaction->open = false;
  Session* const session = std::exchange(transaction->session, nullptr);
  const std::vector<DisplayChange> changes = std::exchange(transaction->changes, {});
  const std::string line = transaction->process + ": " + call + " = ";
  if (failNext_) {
    const CGError error = *std::exchange(failNext_, std::nullopt);
    implementation_->journal.add(line + std::to_string(error) + ": told to fail");
    return error;
  }
  const DisplayConfiguration before = implementation_->configuration();
  const auto result = implementation_->configurationAfter(before, changes);
  if (const auto* reason = std::get_if<std::string>(&result)) {
    implementation_->journal.add(line + std::to_string(kCGErrorIllegalArgument) + ": " + *reason);
    return kCGErrorIllegalArgument;
  }
  implementation_->journal.add(line + std::to_string(kCGErrorSuccess));
  const auto& after = std::get<DisplayConfiguration>(result);
  implementation_->takeEffect(after);
  implementation_->notify(before, after, session);
  return kCGErrorSuccess;
}

std::size_t WindowServer::openTransactions() const {
  const auto& all = implementation_->transactions;
  return static_cast<std::size_t>(
      std::count_if(all.begin(), all.end(), [](const auto& entry) { return entry.second.open; }));
}

std::optional<std::string> WindowServer::changeByAnother(const std::vector<DisplayChange>& changes) {
  const DisplayConfiguration before = implementation_->configuration();
  auto result = implementation_->configurationAfter(before, changes);
  if (auto* reason = std::get_if<std::string>(&result)) return std::move(*reason);
  for (const DisplayChange& change : changes) {
    implementation_->journal.add("another program: " + implementation_->describe(change));
  }
  const auto& after = std::get<DisplayConfiguration>(result);
  implementation_->takeEffect(after);
  implementation_->notify(before, after, nullptr);
  return std::nullopt;
}

Transaction* WindowServer::Implementation::openTransaction(CGDisplayConfigRef config, const std::string& call) {
  if (config == nullptr) {
    server.addFault(call + " without a transaction");
    return nullptr;
  }
  const auto found = transactions.find(numberOf(config));
  if (found != transactions.end() && found->second.open) return &found->second;
  const std::string process = found == transactions.end() ? std::string() : found->second.process + ": ";
  server.addFault(process + call + " in a transaction that is not open");
  return nullptr;
}

// --- Texts ---

std::string WindowServer::Implementation::nameOf(CGDirectDisplayID display) const {
  if (display == kCGNullDirectDisplay) return "none";
  if (const SimulatedDisplay* known = server.displayWithID(display)) return known->description.name;
  char number[16];
  std::snprintf(number, sizeof number, "0x%x", display);
  return number;
}

std::string WindowServer::Implementation::describe(const DisplayChange& change) const {
  const std::string display = "(" + nameOf(change.display) + ", ";
  switch (change.kind) {
    case DisplayChange::Kind::mode:
      return "CGSConfigureDisplayMode" + display + std::to_string(change.modeNumber) + ")";
    case DisplayChange::Kind::enabled:
      return "CGSConfigureDisplayEnabled" + display + (change.enabled ? "true)" : "false)");
    case DisplayChange::Kind::origin:
      return "CGSConfigureDisplayOrigin" + display + std::to_string(change.x) + ", " + std::to_string(change.y) + ")";
    case DisplayChange::Kind::mirror:
      return "CGConfigureDisplayMirrorOfDisplay" + display + nameOf(change.master) + ")";
  }
  return {};
}

// --- The rules ---

std::optional<std::string> WindowServer::Implementation::refusalOfMode(const DisplayChange& change,
                                                                       const SimulatedDisplay& display) const {
  const std::string mode = "mode " + std::to_string(change.modeNumber);
  const SimulatedMode* const wanted = display.modeNumbered(change.modeNumber);
  if (wanted == nullptr) return display.description.name + " has no " + mode;
  const std::string& reason = frameBufferModeOf(display.modes, *wanted).darkBecause;
  if (!reason.empty()) return display.description.name + " shows no picture in " + mode + ": " + reason;
  if (refusedModes.contains({&display, static_cast<std::uint32_t>(change.modeNumber)})) {
    return display.description.name + " refuses " + mode;
  }
  return std::nullopt;
}

std::optional<std::string> WindowServer::Implementation::apply(const DisplayChange& change,
                                                               DisplayConfiguration& configuration,
                                                               std::vector<OriginRequest>& requests) const {
  SimulatedDisplay* display = server.displayWithID(change.display);
  if (display == nullptr) return "there is no display " + nameOf(change.display);
  DisplayState& state = configuration.of(*display);
  switch (change.kind) {
    case DisplayChange::Kind::mode:
      if (auto reason = refusalOfMode(change, *display)) return reason;
      state.modeNumber = static_cast<std::uint32_t>(change.modeNumber);
      break;
    case DisplayChange::Kind::enabled:
      if (!change.enabled && (!display->description.canDisable || display->alwaysMirrored)) {
        return display->description.name + " cannot be turned off";
      }
      state.enabled = change.enabled;
      break;
    case DisplayChange::Kind::origin:
      requests.push_back({.display = display, .origin = {.x = double(change.x), .y = double(change.y)}});
      break;
    case DisplayChange::Kind::mirror: {
      SimulatedDisplay* master = server.displayWithID(change.master);
      if (master == display) return display->description.name + " cannot mirror itself";
      if (master == nullptr && change.master != kCGNullDirectDisplay) {
        return "there is no display " + nameOf(change.master);
      }
      state.master = nullptr;
      if (master != nullptr) mirror(configuration, state, *master);
      break;
    }
  }
  return std::nullopt;
}

std::optional<std::string> WindowServer::Implementation::refusalOfMirrors(const std::vector<DisplayChange>& changes,
                                                                          const DisplayConfiguration& after) const {
  for (const DisplayChange& change : changes) {
    if (change.kind != DisplayChange::Kind::mirror || change.master == kCGNullDirectDisplay) continue;
    const DisplayState& master = after.of(*server.displayWithID(change.master));
    if (!master.isArranged()) return nameOf(change.master) + " is off and cannot be mirrored";
    const DisplayState& copy = after.of(*server.displayWithID(change.display));
    if (!copy.isArranged()) return nameOf(change.display) + " is off and mirrors nothing";
    // A panel with two cables may mirror another display, as a whole; one of its cables alone may not.
    const bool isWired = !copy.display->description.hardwareMirrorOf.empty() && copy.master != nullptr;
    if (isWired && copy.master != master.display && copy.master != master.master) {
      return nameOf(change.display) + " is wired to " + copy.display->description.hardwareMirrorOf +
             " and cannot mirror " + nameOf(change.master);
    }
  }
  return std::nullopt;
}

std::variant<DisplayConfiguration, std::string> WindowServer::Implementation::configurationAfter(
    const DisplayConfiguration& before, const std::vector<DisplayChange>& changes) const {
  DisplayConfiguration after = before;
  std::vector<OriginRequest> requests;
  for (const DisplayChange& change : changes) {
    if (auto reason = apply(change, after, requests)) return std::move(*reason);
  }
  after.settleMirroring();
  if (auto reason = refusalOfMirrors(changes, after)) return std::move(*reason);
  if (before.isAnyOn() && !after.isAnyOn()) return "no display would be left on";
  settle(before, after, requests);
  return after;
}

}  // namespace vlm::sim
