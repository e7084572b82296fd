#include "Simulator/Program/Tour.h"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>

#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Simulator/Program/DaemonView.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Simulator.h"

namespace vlm::sim {

namespace {

/// Modes shown of each display, and displays whose modes are shown.
constexpr const char* kModesShown = " 4";
constexpr std::size_t kDisplaysShown = 3;
/// The daemon lists no mode that is both narrower and lower.
constexpr std::uint32_t kNarrowest = 800, kLowest = 600;

/// Command and Option with F11: the hot key that the daemon gives the set of its first start.
constexpr std::int64_t kFirstSetKeyCode = 0x670D;
constexpr const char* kPressIt = "press cmd+opt+f11";
/// The set is in force; a diamond: but says nothing about some display, such as one that shows a mode too small for the
/// daemon's lists.
constexpr std::int16_t kMarkCheck = 1, kMarkDiamond = 3;

/// A display, and the size that another program shall set there.
struct Victim {
  std::string name;
  std::string original, spoiled;  ///< as the command `mode` takes them
};

bool isListed(const SimulatedMode& mode) { return mode.width >= kNarrowest || mode.height >= kLowest; }

/// Of the sizes that anybody may choose, the one nearest to half the width of the present one.
const SimulatedMode* spoilingMode(const SimulatedDisplay& display) {
  constexpr std::uint32_t kUsable = kDisplayModeValidFlag | kDisplayModeSafeFlag;
  const SimulatedMode& current = display.mode();
  const auto distance = [&](const SimulatedMode& mode) {
    return std::abs(static_cast<std::int64_t>(mode.width) - static_cast<std::int64_t>(current.width / 2));
  };
  const SimulatedMode* best = nullptr;
  for (const SimulatedMode& mode : display.modes.modes) {
    if ((mode.flags & kModeHiddenFlag) != 0 || (mode.ioFlags & kUsable) != kUsable) continue;
    if (!isListed(mode) || mode.width >= current.width || mode.pixelEncoding != current.pixelEncoding) continue;
    if (best == nullptr || distance(mode) < distance(*best)) best = &mode;
  }
  return best;
}

/// The last display that has a second size: the one that --display added, if there is one.
std::optional<Victim> findVictim(Simulator& simulator) {
  const auto& displays = simulator.mac().windowServer().displays();
  for (auto display = displays.rbegin(); display != displays.rend(); ++display) {
    const bool isKnown = (*display)->isActive() && isListed((*display)->mode());
    const SimulatedMode* mode = isKnown ? spoilingMode(**display) : nullptr;
    if (mode == nullptr) continue;
    return Victim{.name = asWord((*display)->description.name),
                  .original = modeText((*display)->mode()),
                  .spoiled = std::to_string(mode->width) + "x" + std::to_string(mode->height)};
  }
  return std::nullopt;
}

/// A set that is in force and that the hot key of the tour applies.
struct RememberedSet {
  std::string name;  ///< as a word of a line
  std::string mark = "check";
};

std::optional<RememberedSet> rememberedSet(Simulator& simulator) {
  Session* session = simulator.daemon();
  if (session == nullptr) return std::nullopt;
  const Process::Scope inDaemon(session->process());
  VLMGlobals& document = VLMGlobals::sharedInstance();
  for (const auto& set : document.displaySetsArray) {
    if (set->keyCode != kFirstSetKeyCode || !set->name) continue;
    const std::int16_t mark = document.checkMarkForSet(*set, nullptr);
    if (mark == kMarkCheck || mark == kMarkDiamond) return RememberedSet{asWord(*set->name), markName(mark)};
  }
  return std::nullopt;
}

std::string machineText(const SimulatedMac& mac) {
  const MachineDescription& machine = mac.machine();
  const auto& version = machine.systemVersion;
  const std::string processor = machine.processor == Processor::intel ? "Intel processor" : "Apple silicon";
  return "A simulated Mac, " + quoted(machine.name) + ": " + processor + ", macOS " +
         std::to_string(version.majorVersion) + "." + std::to_string(version.minorVersion) + ", " +
         std::to_string(machine.displays.size()) + (machine.displays.size() == 1 ? " display." : " displays.");
}

void say(Scenario& tour, const std::string& text) { tour.lines.push_back("say " + asWord(text)); }

void add(Scenario& tour, std::initializer_list<std::string> lines) {
  tour.lines.insert(tour.lines.end(), lines.begin(), lines.end());
}

std::size_t pluggedDisplays(Simulator& simulator) {
  const auto& displays = simulator.mac().windowServer().displays();
  return static_cast<std::size_t>(
      std::count_if(displays.begin(), displays.end(), [](const auto& display) { return display->plugged; }));
}

void showMachine(Scenario& tour, Simulator& simulator) {
  say(tour, machineText(simulator.mac()) + " Nothing here touches the computer that you sit at. " +
                "The displays stand on the desk like this:");
  add(tour, {"show picture"});
  say(tour,
      "The daemon has just come up on it. It asked the system, the drivers and the monitors' own data for every "
      "display "
      "and mode. The largest ones of each:");
  std::size_t shown = 0;
  for (const auto& display : simulator.mac().windowServer().displays()) {
    if (!display->isActive() || shown == kDisplaysShown) continue;
    ++shown;
    add(tour, {"show modes " + asWord(display->description.name) + kModesShown});
  }
  add(tour, {"expect running 1", "expect posted daemonLaunched"});
}

void showSets(Scenario& tour, Simulator& simulator, const std::optional<RememberedSet>& remembered) {
  if (simulator.hadSettings) {
    say(tour, "It has run on this home before, and read what it knew from its settings file:");
    add(tour, {"show sets"});
    return;
  }
  // Without a set that is in force the daemon has not done its job: then this does not hold.
  const RememberedSet set = remembered.value_or(RememberedSet{.name = asWord("")});
  say(tour,
      "At its first start it remembered the configuration that it found as a display set with a hot key, and wrote its "
      "settings file, an ordinary property list:");
  add(tour, {"show sets", "show settings displaySetsArray.0.name", "expect sets 1",
             "expect set " + set.name + " mark " + set.mark,
             "expect setting displaySetsArray.0.keyCode " + std::to_string(kFirstSetKeyCode),
             "expect records " + std::to_string(pluggedDisplays(simulator))});
  say(tour, "The file: " + simulator.settingsPath());
}

void spoilAndRestore(Scenario& tour, const Victim& victim, const RememberedSet& set) {
  say(tour,
      "Now another program spoils the resolution of one display. The daemon sees it at its next look, and the set's "
      "check mark goes:");
  add(tour, {"mode " + victim.name + " " + victim.spoiled, "advance 2", "show picture",
             "expect mode " + victim.name + " " + victim.spoiled, "expect set " + set.name + " mark none"});
  say(tour, "The user presses the set's hot key. What the daemon then asks of the system, and the picture is back:");
  add(tour, {"clear", kPressIt, "show journal", "show picture", "expect mode " + victim.name + " " + victim.original,
             "advance 2", "expect set " + set.name + " mark " + set.mark});
}

}  // namespace

Scenario tourOf(Simulator& simulator) {
  Scenario tour{.name = "the tour", .lines = {}};
  const auto set = rememberedSet(simulator);
  const auto victim = findVictim(simulator);
  showMachine(tour, simulator);
  showSets(tour, simulator, set);
  if (victim && set) {
    spoilAndRestore(tour, *victim, *set);
  } else {
    say(tour, "Here is no second size that another program could set, or no set that the hot key could bring back.");
  }
  say(tour, "The user quits the daemon; it says so to the control application, and leaves the displays alone.");
  add(tour, {"quit", "expect running 0", "expect posted daemonStopped"});
  say(tour,
      "That was the main job. At a terminal the same program gives a prompt (begin with help); --machine chooses "
      "another "
      "Mac, --display adds a display from any EDID file, --script plays a scenario, --home keeps the settings file.");
  return tour;
}

}  // namespace vlm::sim
