#include <algorithm>
#include <array>

#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Simulator/Mac/FileLocation.h"
#include "Simulator/Mac/Mouse.h"
#include "Simulator/Mac/Turn.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DaemonView.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Paths.h"
#include "Simulator/Program/Simulator.h"
#include "Simulator/Program/Views.h"

/// Expectations of the displays and of the daemon: each holds, or says what was found instead.
namespace vlm::sim {

namespace {

// --- Displays ---

/// Judges a display that is named by its beginning.
template <class Judge>
Outcome ofDisplay(Simulator& simulator, const std::string& name, Judge judge) {
  const auto found = simulator.displayNamed(name);
  if (const auto* reason = std::get_if<std::string>(&found)) return Outcome::refused(*reason);
  return judge(*std::get<SimulatedDisplay*>(found));
}

/// A display without a place on the desktop has neither mode nor origin.
std::optional<Outcome> notArranged(const SimulatedDisplay& display) {
  if (display.isArranged()) return std::nullopt;
  return Outcome::notHeld(quoted(display.description.name) + " is " + stateText(display));
}

Outcome expectMode(Simulator& simulator, Arguments arguments) {
  const auto wanted = parseMode(arguments[1]);
  if (!wanted) return Outcome::refused(quoted(arguments[1]) + " is no mode such as 1920x1080 or 1920x1080@60");
  return ofDisplay(simulator, arguments[0], [&](const SimulatedDisplay& display) {
    if (const auto off = notArranged(display)) return *off;
    const SimulatedMode& mode = display.mode();
    if (wanted->matches(mode.width, mode.height, mode.refreshRateHz())) return Outcome{};
    return Outcome::notHeld(quoted(display.description.name) + " shows " + modeText(mode));
  });
}

Outcome expectOrigin(Simulator& simulator, Arguments arguments) {
  const auto wanted = parsePoint(arguments[1]);
  if (!wanted) return Outcome::refused(quoted(arguments[1]) + " is no point such as -1920,0");
  return ofDisplay(simulator, arguments[0], [&](const SimulatedDisplay& display) {
    if (const auto off = notArranged(display)) return *off;
    const Point origin = simulator.mac().windowServer().bounds(display).origin;
    if (origin == Point{.x = static_cast<double>(wanted->x), .y = static_cast<double>(wanted->y)}) return Outcome{};
    return Outcome::notHeld(quoted(display.description.name) + " is at " + pointText(origin));
  });
}

Outcome expectMain(Simulator& simulator, Arguments arguments) {
  return ofDisplay(simulator, arguments[0], [&](const SimulatedDisplay& display) {
    const SimulatedDisplay* main = simulator.mac().windowServer().mainDisplay();
    if (main == &display) return Outcome{};
    return Outcome::notHeld(main == nullptr ? "no display is on"
                                            : quoted(main->description.name) + " is the main display");
  });
}

/// Why a text cannot be what a view has; absent when it can.
using Refusal = std::optional<std::string>;

Refusal unlessAngle(const std::string& text) {
  const auto angle = parseInteger(text);
  if (angle && turnOfAngle(*angle)) return std::nullopt;
  return quoted(text) + " is none of 0, 90, 180, 270 and -1 to -4";
}

Refusal unlessShare(const std::string& text) {
  const auto share = parseReal(text);
  if (share && *share >= 0 && *share <= 1) return std::nullopt;
  return quoted(text) + " is no number from 0 to 1";
}

Refusal unlessSwitch(const std::string& text) { return parseSwitch(text) ? std::nullopt : Refusal(notASwitch(text)); }

Refusal unlessHideOrShow(const std::string& text) {
  return parseSwitch(text, "hide", "show") ? std::nullopt : Refusal(notASwitch(text, "hide", "show"));
}

/// What a view has under a key, by the word that people have for it.
struct Aspect {
  std::string_view word;
  const char* key;
  Refusal (*unless)(const std::string& text);  ///< null: any text, or it is read elsewhere
  std::string_view absent = "none";            ///< empty: it is always there
};
constexpr std::array kDisplayAspects{
    Aspect{"rotation", "rotation", unlessAngle},     Aspect{"mirrors", "mirrors", nullptr},
    Aspect{"brightness", "brightness", unlessShare}, Aspect{"hdr", "hdr", unlessSwitch},
    Aspect{"overscan", "overscan", unlessSwitch},    Aspect{"underscan", "underscan", unlessShare},
    Aspect{"preset", "colorPreset", nullptr},        Aspect{"profile", "colorProfile", nullptr, "factory"}};
constexpr std::array kMachineAspects{Aspect{"gray", "grayscale", unlessSwitch, ""},
                                     Aspect{"dock", "dockAutoHides", unlessHideOrShow, ""},
                                     Aspect{"volume", "volume", unlessShare}};

bool isAbsence(const Aspect& aspect, const std::string& text) {
  return !aspect.absent.empty() && text == aspect.absent;
}

template <std::size_t kCount>
const Aspect* aspectCalled(const std::string& word, const std::array<Aspect, kCount>& aspects) {
  const auto found = std::find_if(aspects.begin(), aspects.end(), [&](const Aspect& one) { return one.word == word; });
  return found == aspects.end() ? nullptr : &*found;
}

/// Numbers in the two decimals that they are shown with, texts and names of displays in any case of letters.
Outcome expectAspect(const std::string& whose, const plist::Dictionary& view, const Aspect& aspect,
                     const std::string& wanted) {
  if (aspect.unless != nullptr && !isAbsence(aspect, wanted)) {
    if (const Refusal reason = aspect.unless(wanted)) return Outcome::refused(*reason);
  }
  const plist::Value* const value = view.find(aspect.key);
  const std::string found = value == nullptr ? std::string(aspect.absent) : viewText(value);
  const auto number = parseReal(wanted);
  if (isSameName(number ? shortNumber(*number) : wanted, found)) return {};
  return Outcome::notHeld("the " + std::string(aspect.word) + " of " + whose + " is " + found);
}

/// A value as the view has it; displays are named by their beginnings, and profiles by their paths.
std::variant<std::string, Refusal> valueIn(Simulator& simulator, const Aspect& aspect, const std::string& text) {
  if (aspect.word == "mirrors" && !isAbsence(aspect, text)) {
    const auto master = simulator.displayNamed(text);
    if (const auto* reason = std::get_if<std::string>(&master)) return Refusal(*reason);
    return std::get<SimulatedDisplay*>(master)->description.name;
  }
  if (aspect.word == "profile" && !isAbsence(aspect, text)) {
    const auto path = readProfilePath(simulator.mac(), text);
    if (const auto* reason = std::get_if<std::string>(&path)) return Refusal(*reason);
    return locationOfPath(std::get<std::filesystem::path>(path));
  }
  return text;
}

Outcome expectDisplay(Simulator& simulator, Arguments arguments) {
  const std::string& wanted = arguments[1];
  if (const Aspect* const aspect = aspectCalled(wanted, kDisplayAspects)) {
    if (arguments.size() != 3) return Outcome::refused("after " + wanted + " stands a value");
    const auto value = valueIn(simulator, *aspect, arguments[2]);
    if (const auto* reason = std::get_if<Refusal>(&value)) return Outcome::refused(**reason);
    return ofDisplay(simulator, arguments[0], [&](const SimulatedDisplay& display) {
      const plist::Dictionary view = displayView(simulator.mac(), display);
      return expectAspect(display.description.name, view, *aspect, std::get<std::string>(value));
    });
  }
  if (wanted != "on" && wanted != "off" && wanted != "gone") {
    return Outcome::refused(quoted(wanted) + " is none of on, off, gone, and no aspect with a value");
  }
  if (arguments.size() != 2) return Outcome::refused("after " + wanted + " stands nothing else");
  return ofDisplay(simulator, arguments[0], [&](const SimulatedDisplay& display) {
    if (stateText(display) == wanted) return Outcome{};
    return Outcome::notHeld(quoted(display.description.name) + " is " + stateText(display));
  });
}

Outcome expectMachine(Simulator& simulator, Arguments arguments) {
  const Aspect* const aspect = aspectCalled(arguments[0], kMachineAspects);
  if (aspect == nullptr) return Outcome::refused(quoted(arguments[0]) + " is none of gray, dock, volume");
  plist::Dictionary view = machineView(simulator.mac());
  view.set("dockAutoHides", view.boolean("dockAutoHides") ? "hide" : "show");
  return expectAspect("the machine", view, *aspect, arguments[1]);
}

Outcome expectCursor(Simulator& simulator, Arguments arguments) {
  const auto wanted = parsePoint(arguments[0]);
  if (!wanted) return Outcome::refused(quoted(arguments[0]) + " is no point such as -1920,0");
  const Point now = simulator.mac().mouse().cursor;
  return now == Point{.x = static_cast<double>(wanted->x), .y = static_cast<double>(wanted->y)}
             ? Outcome{}
             : Outcome::notHeld("the cursor is at " + pointText(now));
}

constexpr std::array kDisplayExpectations{
    Command{"expect mode", "DISPLAY WIDTHxHEIGHT[@HZ]", 2, 2, "the display shows that mode",
            "expect mode Left 1920x1080@60", expectMode},
    Command{"expect origin", "DISPLAY X,Y", 2, 2, "its top left corner is there", "expect origin Left 1440,0",
            expectOrigin},
    Command{"expect main", "DISPLAY", 1, 1, "it is the main display", "expect main Built-in", expectMain},
    Command{"expect display",
            "DISPLAY on|off|gone|rotation|mirrors|brightness|hdr|overscan|underscan|preset|profile [VALUE]", 2, 3,
            "it is on, plugged but off, or unplugged; or what another aspect of it is",
            "expect display Left rotation 90", expectDisplay},
    Command{"expect machine", "gray|dock|volume VALUE", 2, 2, "what the grey scale, the Dock or the volume is",
            "expect machine gray on", expectMachine},
    Command{"expect cursor", "X,Y", 1, 1, "the cursor is there", "expect cursor 0,0", expectCursor},
};

// --- The daemon ---

/// `one`: what is counted, in the singular; `many` in the plural.
Outcome expectCount(const std::string& text, std::size_t found, const char* one, const char* many) {
  const auto wanted = parseInteger(text);
  if (!wanted || *wanted < 0) return Outcome::refused(quoted(text) + " is no count");
  if (static_cast<std::size_t>(*wanted) == found) return {};
  return Outcome::notHeld(found == 1 ? std::string("there is 1 ") + one
                                     : "there are " + std::to_string(found) + " " + many);
}

/// Judges the running daemon's document.
template <class Judge>
Outcome ofDocument(Simulator& simulator, Judge judge) {
  Session* session = simulator.daemon();
  if (session == nullptr) return Outcome::notHeld("no daemon runs");
  const Process::Scope inDaemon(session->process());
  return judge(VLMGlobals::sharedInstance());
}

Outcome expectSets(Simulator& simulator, Arguments arguments) {
  return ofDocument(simulator, [&](const VLMGlobals& document) {
    return expectCount(arguments[0], document.displaySetsArray.size(), "set", "sets");
  });
}

Outcome expectSet(Simulator& simulator, Arguments arguments) {
  constexpr std::array<std::string_view, 4> kMarks{"none", "check", "dash", "diamond"};
  if (arguments[1] != "mark") return Outcome::refused("after the set's name stands: mark none|check|dash|diamond");
  if (std::find(kMarks.begin(), kMarks.end(), arguments[2]) == kMarks.end()) {
    return Outcome::refused(quoted(arguments[2]) + " is none of none, check, dash, diamond");
  }
  return ofDocument(simulator, [&](VLMGlobals& document) {
    const auto set = setNamed(document, arguments[0]);
    if (const auto* reason = std::get_if<std::string>(&set)) return Outcome::notHeld(*reason);
    const std::string found = markName(document.checkMarkForSet(*std::get<0>(set), nullptr));
    return found == arguments[2] ? Outcome{} : Outcome::notHeld("the mark is " + found);
  });
}

Outcome expectRunning(Simulator& simulator, Arguments arguments) {
  return expectCount(arguments[0], simulator.runningDaemons(), "copy of the daemon", "copies of the daemon");
}

Outcome expectDaemon(Simulator& simulator, Arguments arguments) {
  const bool wantsRunning = arguments[1] == "running";
  if (!wantsRunning && arguments[1] != "gone")
    return Outcome::refused(quoted(arguments[1]) + " is none of running, gone");
  if (!simulator.wasLaunched(arguments[0])) return Outcome::refused("no daemon " + arguments[0] + " was ever started");
  if (simulator.isRunning(arguments[0]) == wantsRunning) return {};
  return Outcome::notHeld("daemon " + arguments[0] + (wantsRunning ? " is gone" : " runs"));
}

constexpr std::array kDaemonExpectations{
    Command{"expect sets", "N", 1, 1, "the daemon knows N display sets", "expect sets 1", expectSets},
    Command{"expect set", "SET mark none|check|dash|diamond", 3, 3, "the mark beside a set",
            "expect set \"First\" mark check", expectSet},
    Command{"expect running", "N", 1, 1, "N copies of the daemon run", "expect running 1", expectRunning},
    Command{"expect daemon", "VERSION running|gone", 2, 2, "a copy of that version runs, or none does any more",
            "expect daemon 4.16 running", expectDaemon},
};

}  // namespace

std::span<const Command> displayExpectations() { return kDisplayExpectations; }
std::span<const Command> daemonExpectations() { return kDaemonExpectations; }

}  // namespace vlm::sim
