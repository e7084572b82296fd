#include "Simulator/Mac/MachineEvents.h"

#include <algorithm>
#include <cctype>

#include "Simulator/Mac/FileLocation.h"
#include "Simulator/Mac/IccFolders.h"
#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/Scheduler.h"
#include "Simulator/Mac/SessionPorts.h"
#include "Simulator/Mac/SimulatedMac.h"
#include "Simulator/Mac/UuidText.h"

namespace vlm::sim {

namespace {

/// Between the late callbacks of a storm; no divisor of the second that the daemon counts by.
constexpr double kStormDelay = 0.4;

}  // namespace

// --- Helpers ---

MachineEvents::Refusal MachineEvents::onDisplay(const std::string& name,
                                                const std::function<Refusal(SimulatedDisplay&)>& action) {
  SimulatedDisplay* const found = mac_.windowServer().displayNamed(name);
  if (found == nullptr) return "there is no display " + quoted(name);
  return action(*found);
}

SimulatedDisplay* MachineEvents::panel() {
  const auto& displays = mac_.windowServer().displays();
  const auto found =
      std::find_if(displays.begin(), displays.end(), [](const auto& display) { return display->description.builtIn; });
  return found == displays.end() ? nullptr : found->get();
}

bool MachineEvents::isAnyOtherArranged(const SimulatedDisplay& display) {
  const auto& displays = mac_.windowServer().displays();
  return std::any_of(displays.begin(), displays.end(),
                     [&](const auto& other) { return other.get() != &display && other->isArranged(); });
}

void MachineEvents::postToWorkspace(const char* name) {
  mac_.postWorkspace({.name = name, .object = {}, .sender = nullptr, .userInfo = {}});
}

void MachineEvents::callBackForAll(CGDisplayChangeSummaryFlags flags) {
  std::vector<CGDirectDisplayID> online;
  for (const auto& display : mac_.windowServer().displays()) {
    if (display->isOnline()) online.push_back(display->id);
  }
  for (const CGDirectDisplayID id : online) mac_.windowServer().callBack(id, flags);
}

// --- Sleep ---

MachineEvents::Refusal MachineEvents::sleep() {
  if (asleep_) return "the machine sleeps already";
  mac_.journal().add("user: sleep()");
  postToWorkspace("NSWorkspaceWillSleepNotification");
  mac_.turn();
  mac_.windowServer().sleepDisplays();
  asleep_ = true;
  return std::nullopt;
}

MachineEvents::Refusal MachineEvents::wake(const std::optional<LateDisplay>& late) {
  if (!asleep_) return "the machine is awake";
  SimulatedDisplay* const builtIn = panel();
  const bool losesPanel = lidClosed_ && builtIn != nullptr && builtIn->plugged;
  if (losesPanel && !isAnyOtherArranged(*builtIn)) return "the lid is closed";
  SimulatedDisplay* const lateDisplay = late ? mac_.windowServer().displayNamed(late->name) : nullptr;
  if (late && lateDisplay == nullptr) return "there is no display " + quoted(late->name);
  if (late) {
    if (auto refusal = mac_.windowServer().unplug(*lateDisplay)) return refusal;
    mac_.scheduler().add({.seconds = late->seconds, .body = [this, lateDisplay] {
                            if (!lateDisplay->plugged) mac_.windowServer().plug(*lateDisplay);
                          }});
  }
  if (losesPanel) mac_.windowServer().unplug(*builtIn);
  mac_.journal().add("user: wake()");
  mac_.windowServer().wakeDisplays();
  asleep_ = false;
  postToWorkspace("NSWorkspaceDidWakeNotification");
  // The links are set up anew, though nothing may have changed.
  mac_.scheduler().onNextTurn(nullptr, [this] {
    callBackForAll(kCGDisplayBeginConfigurationFlag);
    callBackForAll(kCGDisplaySetModeFlag);
  });
  return std::nullopt;
}

MachineEvents::Refusal MachineEvents::closeLid() {
  SimulatedDisplay* const builtIn = panel();
  if (builtIn == nullptr) return "the machine has no lid";
  if (lidClosed_) return "the lid is closed already";
  lidClosed_ = true;
  mac_.journal().add("user: lid(close)");
  if (asleep_ || !builtIn->plugged) return std::nullopt;
  return isAnyOtherArranged(*builtIn) ? mac_.windowServer().unplug(*builtIn) : sleep();
}

MachineEvents::Refusal MachineEvents::openLid() {
  if (!lidClosed_) return "the lid is open";
  lidClosed_ = false;
  mac_.journal().add("user: lid(open)");
  if (!panel()->plugged) mac_.windowServer().plug(*panel());
  return asleep_ ? wake() : std::nullopt;
}

// --- Cables and monitors ---

MachineEvents::Refusal MachineEvents::setPort(const std::string& display, std::uint32_t port) {
  return onDisplay(display, [&](SimulatedDisplay& found) { return mac_.windowServer().moveToPort(found, port); });
}

MachineEvents::Refusal MachineEvents::setUuid(const std::string& display, const std::string& uuid) {
  return onDisplay(display, [&](SimulatedDisplay& found) -> Refusal {
    if (!isUuidText(uuid)) return quoted(uuid) + " is no UUID";
    found.uuid = uuid;
    std::transform(uuid.begin(), uuid.end(), found.uuid.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    mac_.journal().add("user: uuid(" + display + ", " + found.uuid + ")");
    return std::nullopt;
  });
}

MachineEvents::Refusal MachineEvents::setEdid(const std::string& display, const plist::Data& edid) {
  return onDisplay(display, [&](SimulatedDisplay& found) { return mac_.windowServer().replaceEdid(found, edid); });
}

MachineEvents::Refusal MachineEvents::plugUnnoticed(const std::string& display) {
  return onDisplay(display, [&](SimulatedDisplay& found) { return mac_.windowServer().plugUnnoticed(found); });
}

// --- Other users, other programs ---

MachineEvents::Refusal MachineEvents::switchAway() {
  if (away_) return "another user's session is in front already";
  away_ = true;
  mac_.journal().add("user: switch(away)");
  postToWorkspace("NSWorkspaceSessionDidResignActiveNotification");
  mac_.windowServer().leaveSession();
  return std::nullopt;
}

MachineEvents::Refusal MachineEvents::switchBack() {
  if (!away_) return "no other user's session is in front";
  away_ = false;
  mac_.journal().add("user: switch(back)");
  postToWorkspace("NSWorkspaceSessionDidBecomeActiveNotification");
  mac_.windowServer().returnToSession();
  return std::nullopt;
}

MachineEvents::Refusal MachineEvents::storm(const std::string& display, std::size_t count,
                                            CGDisplayChangeSummaryFlags flags) {
  return onDisplay(display, [&](const SimulatedDisplay& found) -> Refusal {
    if (!found.plugged) return display + " is not plugged in";
    mac_.journal().add("user: storm(" + display + ", " + std::to_string(count) + ")");
    for (std::size_t i = 0; i < count; ++i) {
      const bool isLate = i % 3 == 2;
      const auto first = i % 3 == 1 ? flags : kCGDisplayBeginConfigurationFlag;
      const auto second = i % 3 == 1 ? kCGDisplayBeginConfigurationFlag : flags;
      mac_.scheduler().add({.seconds = isLate ? kStormDelay * static_cast<double>(i) : 0.0,
                            .body = [this, id = found.id, first, second] {
                              mac_.windowServer().callBack(id, first);
                              mac_.windowServer().callBack(id, second);
                            }});
    }
    return std::nullopt;
  });
}

MachineEvents::Refusal MachineEvents::choosePreset(const std::string& display, const std::string& preset) {
  return onDisplay(display, [&](SimulatedDisplay& found) -> Refusal {
    const auto& presets = found.description.presets;
    const auto chosen = std::find(presets.begin(), presets.end(), preset);
    if (preset.empty() || chosen == presets.end()) return display + " has no preset " + quoted(preset);
    found.activePreset = static_cast<std::uint32_t>(chosen - presets.begin());
    mac_.journal().add("user: preset(" + display + ", " + preset + ")");
    return std::nullopt;
  });
}

MachineEvents::Refusal MachineEvents::chooseProfile(const std::string& display,
                                                    const std::optional<std::string>& location) {
  return onDisplay(display, [&](SimulatedDisplay& found) -> Refusal {
    const auto path = location ? pathAtLocation(*location) : std::nullopt;
    if (location && !path) return quoted(*location) + " is no file URL";
    if (path) {
      const auto read = profileInFile(mac_, *path);
      if (const auto* reason = std::get_if<std::string>(&read)) return *path + ": " + *reason;
    }
    mac_.journal().add("user: profile(" + display + ", " + (path ? mac_.shortPath(*path) : "factory") + ")");
    useProfile(mac_, found, location);
    return std::nullopt;
  });
}

}  // namespace vlm::sim
