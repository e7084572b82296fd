#include <array>
#include <cstdlib>
#include <limits>
#include <numeric>

#include "Platform/Numbers.h"
#include "Simulator/Mac/FileLocation.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/EdidView.h"
#include "Simulator/Program/OnDisplay.h"
#include "Simulator/Program/Paths.h"
#include "Simulator/Program/Simulator.h"

/// What befalls the machine as a whole, and what others do behind everybody's back: sleep, ports, monitors that are not
/// what they were, other users, power, storms of callbacks.
namespace vlm::sim {

namespace {

/// More callbacks, ports and seconds than these are a slip of the pen.
constexpr std::int64_t kLongestStorm = 1000, kHighestPort = 63;
constexpr double kLatest = 3600;

/// What the words of an argument stand for.
template <class Value>
struct Word {
  std::string_view word;
  Value value;
};

template <class Value, std::size_t kCount>
const Value* valueOf(const std::string& word, const std::array<Word<Value>, kCount>& words) {
  for (const auto& known : words) {
    if (word == known.word) return &known.value;
  }
  return nullptr;
}

template <class Value, std::size_t kCount>
Outcome notAmong(const std::string& word, const std::array<Word<Value>, kCount>& words) {
  std::string choices;
  for (const auto& known : words) choices += (choices.empty() ? "" : ", ") + std::string(known.word);
  return Outcome::refused(quoted(word) + " is none of " + choices);
}

std::optional<std::int64_t> integerWithin(const std::string& text, std::int64_t lowest, std::int64_t highest) {
  const auto number = parseInteger(text);
  return number && *number >= lowest && *number <= highest ? number : std::nullopt;
}

Outcome outOfRange(const std::string& text, std::int64_t lowest, std::int64_t highest) {
  return Outcome::refused(quoted(text) + " is no number from " + std::to_string(lowest) + " to " +
                          std::to_string(highest));
}

// --- Sleep ---

Outcome sleep(Simulator& simulator, Arguments /*arguments*/) {
  return settled(simulator, simulator.mac().events().sleep());
}

Outcome wake(Simulator& simulator, Arguments arguments) {
  if (arguments.empty()) return settled(simulator, simulator.mac().events().wake());
  if (arguments[0] != "late" || arguments.size() != 3) return Outcome::refused("wake, or wake late DISPLAY SECONDS");
  const auto seconds = parseReal(arguments[2]);
  if (!seconds || *seconds < 0 || *seconds > kLatest) {
    return outOfRange(arguments[2], 0, static_cast<std::int64_t>(kLatest));
  }
  const auto found = simulator.displayNamed(arguments[1]);
  if (const auto* reason = std::get_if<std::string>(&found)) return Outcome::refused(*reason);
  const std::string& display = std::get<SimulatedDisplay*>(found)->description.name;
  return settled(simulator, simulator.mac().events().wake(MachineEvents::LateDisplay{display, *seconds}));
}

Outcome lid(Simulator& simulator, Arguments arguments) {
  constexpr std::array<Word<MachineEvents::Refusal (MachineEvents::*)()>, 2> kMoves{
      {{"close", &MachineEvents::closeLid}, {"open", &MachineEvents::openLid}}};
  const auto* move = valueOf(arguments[0], kMoves);
  if (move == nullptr) return notAmong(arguments[0], kMoves);
  return settled(simulator, (simulator.mac().events().**move)());
}

// --- Cables and monitors ---

Outcome port(Simulator& simulator, Arguments arguments) {
  const auto number = integerWithin(arguments[1], 0, kHighestPort);
  if (!number) return outOfRange(arguments[1], 0, kHighestPort);
  return onDisplay(simulator, arguments[0], &MachineEvents::setPort, truncateTo<std::uint32_t>(*number));
}

Outcome plugUnnoticed(Simulator& simulator, Arguments arguments) {
  return onDisplay(simulator, arguments[0], &MachineEvents::plugUnnoticed);
}

Outcome uuid(Simulator& simulator, Arguments arguments) {
  return onDisplay(simulator, arguments[0], &MachineEvents::setUuid, arguments[1]);
}

/// A number that an EDID's first block holds, lowest byte first.
struct EdidField {
  std::size_t offset = 0, size = 0;
  std::int64_t base = 0;  ///< what a stored 0 means
};
constexpr std::array<Word<EdidField>, 4> kEdidFields{{{"product", {.offset = 10, .size = 2}},
                                                      {"serial", {.offset = 12, .size = 4}},
                                                      {"week", {.offset = 16, .size = 1}},
                                                      {"year", {.offset = 17, .size = 1, .base = 1990}}}};

void putField(plist::Data& edid, const EdidField& field, std::int64_t value) {
  constexpr std::ptrdiff_t kChecksum = 127;
  for (std::size_t i = 0; i < field.size; ++i) {
    edid[field.offset + i] = truncateTo<std::uint8_t>((value - field.base) >> (8 * i));
  }
  const unsigned sum = std::accumulate(edid.begin(), edid.begin() + kChecksum, 0U);
  edid[kChecksum] = truncateTo<std::uint8_t>(256 - sum % 256);
}

Outcome edid(Simulator& simulator, Arguments arguments) {
  if (arguments.size() == 1) return showEdid(simulator, arguments[0]);
  if (arguments[1] == "--raw") {
    if (arguments.size() == 2) return Outcome::refused("behind --raw stands a file");
    return saveEdid(simulator, arguments[0], arguments[2]);
  }
  const auto found = simulator.displayNamed(arguments[0]);
  if (const auto* reason = std::get_if<std::string>(&found)) return Outcome::refused(*reason);
  const SimulatedDisplay& display = *std::get<SimulatedDisplay*>(found);
  if (arguments.size() == 2 && valueOf(arguments[1], kEdidFields) != nullptr) {
    return Outcome::refused("behind " + arguments[1] + " stands a number");
  }
  if (arguments.size() == 2) {
    const auto read = readDisplay(arguments[1], display.description.name);
    if (const auto* reason = std::get_if<std::string>(&read)) return Outcome::refused(*reason);
    return onDisplay(simulator, arguments[0], &MachineEvents::setEdid, std::get<DisplayDescription>(read).edid);
  }
  const EdidField* field = valueOf(arguments[1], kEdidFields);
  if (field == nullptr) return notAmong(arguments[1], kEdidFields);
  const std::int64_t highest = field->base + (std::int64_t{1} << (8 * field->size)) - 1;
  const auto value = integerWithin(arguments[2], field->base, highest);
  if (!value) return outOfRange(arguments[2], field->base, highest);
  plist::Data changed = display.description.edid;
  putField(changed, *field, *value);
  return onDisplay(simulator, arguments[0], &MachineEvents::setEdid, changed);
}

// --- Other users, other programs, power ---

Outcome switchUser(Simulator& simulator, Arguments arguments) {
  MachineEvents& events = simulator.mac().events();
  const std::string way = arguments.empty() ? "" : arguments[0];
  if (way == "away") return settled(simulator, events.switchAway());
  if (way == "back") return settled(simulator, events.switchBack());
  if (!way.empty()) return Outcome::refused(quoted(way) + " is neither away nor back");
  const Outcome away = settled(simulator, events.switchAway());
  return away.held() ? settled(simulator, events.switchBack()) : away;
}

Outcome storm(Simulator& simulator, Arguments arguments) {
  constexpr std::array<Word<CGDisplayChangeSummaryFlags>, 3> kKinds{
      {{"mode", kCGDisplaySetModeFlag | kCGDisplayDesktopShapeChangedFlag},
       {"added", kCGDisplayAddFlag},
       {"removed", kCGDisplayRemoveFlag}}};
  const auto count = integerWithin(arguments[1], 1, kLongestStorm);
  if (!count) return outOfRange(arguments[1], 1, kLongestStorm);
  const std::string kind = arguments.size() == 3 ? arguments[2] : "mode";
  const auto* flags = valueOf(kind, kKinds);
  if (flags == nullptr) return notAmong(kind, kKinds);
  return onDisplay(simulator, arguments[0], &MachineEvents::storm, static_cast<std::size_t>(*count), *flags);
}

Outcome preset(Simulator& simulator, Arguments arguments) {
  return onDisplay(simulator, arguments[0], &MachineEvents::choosePreset, arguments[1]);
}

Outcome profile(Simulator& simulator, Arguments arguments) {
  std::optional<std::string> location;
  if (arguments[1] != "factory") {
    const auto path = readProfilePath(simulator.mac(), arguments[1]);
    if (const auto* reason = std::get_if<std::string>(&path)) return Outcome::refused(*reason);
    location = locationOfPath(std::get<std::filesystem::path>(path));
  }
  return onDisplay(simulator, arguments[0], &MachineEvents::chooseProfile, location);
}

Outcome power(Simulator& simulator, Arguments arguments) {
  constexpr std::array<Word<const char*>, 3> kSources{
      {{"ac", "AC Power"}, {"battery", "Battery Power"}, {"ups", "Off Line"}}};
  const auto* source = valueOf(arguments[0], kSources);
  if (source == nullptr) return notAmong(arguments[0], kSources);
  simulator.mac().setPowerSource(*source);
  return settled(simulator, std::nullopt);
}

Outcome answer(Simulator& simulator, Arguments arguments) {
  constexpr std::uint32_t kDefaultResponse = 0, kOtherResponse = 2;
  constexpr std::array<Word<std::optional<std::uint32_t>>, 3> kAnswers{
      {{"keep", kOtherResponse}, {"revert", kDefaultResponse}, {"none", std::nullopt}}};
  const auto* chosen = valueOf(arguments[0], kAnswers);
  if (chosen == nullptr) return notAmong(arguments[0], kAnswers);
  simulator.mac().alertAnswer = *chosen;
  return {};
}

constexpr std::array kCommands{
    Command{"sleep", "", 0, 0, "the machine goes to sleep; time passes for nobody", "sleep", sleep},
    Command{"wake", "[late DISPLAY SECONDS]", 0, 3, "it wakes; one display may come back late", "wake late Right 5",
            wake},
    Command{"lid", "close|open", 1, 1, "the laptop's lid; closed, its panel is gone, or the machine sleeps",
            "lid close", lid},
    Command{"port", "DISPLAY NUMBER", 2, 2, "plugs a cable into another port; who is there takes the old one",
            "port Left 3", port},
    Command{"plug-unnoticed", "DISPLAY", 1, 1, "plugs a display in; only probing finds it", "plug-unnoticed Left",
            plugUnnoticed},
    Command{"uuid", "DISPLAY UUID", 2, 2, "the system knows a display by another UUID",
            "uuid Left 11111111-2222-3333-4444-555555555555", uuid},
    Command{
        "edid", "DISPLAY [--raw|product|serial|week|year|FILE] [FILE|NUMBER]", 1, 3,
        "what its EDID says, or its bytes into a file; an unplugged monitor has another one, or another number in it",
        "edid Left", edid, true},
    Command{"switch-user", "[away|back]", 0, 1, "to another user and back", "switch-user away", switchUser},
    Command{"storm", "DISPLAY COUNT [mode|added|removed]", 2, 3, "callbacks for nothing: repeated, out of order, late",
            "storm Left 5", storm},
    Command{"preset", "DISPLAY NAME", 2, 2, "another program chooses a colour preset", "preset Left \"HDR Video\"",
            preset},
    Command{"profile", "DISPLAY FILE|factory", 2, 2, "another program chooses a colour profile",
            "profile Left \"/System/Library/ColorSync/Profiles/sRGB Profile.icc\"", profile},
    Command{"power", "ac|battery|ups", 1, 1, "what the machine lives on from now", "power battery", power},
    Command{"answer", "keep|revert|none", 1, 1, "how the user answers questions from now", "answer keep", answer},
};

}  // namespace

std::span<const Command> eventCommands() { return kCommands; }

}  // namespace vlm::sim
