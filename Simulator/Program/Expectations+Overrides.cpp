#include <algorithm>
#include <array>

#include "Platform/Numbers.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/OnDocument.h"
#include "Simulator/Program/OverrideTexts.h"
#include "Simulator/Program/Settings.h"

/// Expectations of a display's overrides: in the daemon's model, in the file on disk, and of what comes of them.
namespace vlm::sim {

namespace {

/// Judges the daemon's record of a display, within its process.
template <class Judge>
Outcome ofRecord(Simulator& simulator, const std::string& text, Judge judge) {
  Outcome outcome;
  const Refusal reason = withDocument(simulator, [&](const VLMGlobals& document) -> Refusal {
    const auto found = displayIn(document, simulator, text);
    if (const auto* why = std::get_if<std::string>(&found)) return *why;
    outcome = judge(*std::get<EditedDisplay>(found).record);
    return std::nullopt;
  });
  return reason ? Outcome::refused(*reason) : outcome;
}

constexpr const char* kNoResolution = " is no resolution such as 1600x900 or 1600x900@60";

Outcome noResolution(const std::string& text) { return Outcome::refused(quoted(text) + kNoResolution); }

bool hasOverride(const VLMDisplay& display, const ResolutionArgument& wanted) {
  return std::any_of(display.overridenModes.begin(), display.overridenModes.end(),
                     [&](const auto& entry) { return entry->toInstall && wanted.matches(*entry); });
}

Outcome expectRecord(const VLMDisplay& display, const std::string& record, const std::string& wanted) {
  const std::string found = *recordText(display, record);
  return found == wanted ? Outcome{} : Outcome::notHeld("the " + record + " is " + found);
}

Outcome expectOverride(Simulator& simulator, Arguments arguments) {
  const auto wanted = parseResolution(arguments[1]);
  return ofRecord(simulator, arguments[0], [&](const VLMDisplay& display) {
    const bool isRecord = recordText(display, arguments[1]).has_value();
    if (!isRecord && !wanted) {
      return Outcome::refused(quoted(arguments[1]) + kNoResolution + ", and none of " + recordNames());
    }
    if (arguments.size() != (isRecord ? 3U : 2U)) {
      return Outcome::refused("behind " + arguments[1] + " stands " + (isRecord ? "a value" : "nothing else"));
    }
    if (isRecord) {
      if (const Refusal reason = faultOfRecordText(arguments[1], arguments[2])) return Outcome::refused(*reason);
    }
    if (isRecord) return expectRecord(display, arguments[1], arguments[2]);
    return hasOverride(display, *wanted) ? Outcome{} : Outcome::notHeld("it is not among the custom resolutions");
  });
}

Outcome expectNoOverride(Simulator& simulator, Arguments arguments) {
  const auto wanted = parseResolution(arguments[1]);
  if (!wanted) return noResolution(arguments[1]);
  return ofRecord(simulator, arguments[0], [&](const VLMDisplay& display) {
    return hasOverride(display, *wanted) ? Outcome::notHeld("it is among the custom resolutions") : Outcome{};
  });
}

// --- The file ---

/// A value of the display's override file as it lies on the disk. Of a list of overrides the first is 0.
std::optional<plist::Value> valueInFile(Simulator& simulator, VLMDisplay& display, const std::string& keyPath) {
  const auto content = readPropertyList(simulator.mac().hostPath(display.overridePathForSaving())).value;
  if (!content) return std::nullopt;
  const plist::Dictionary root{{"", *content}};
  const plist::Value* const value = valueAt(root, "." + keyPath);
  return value == nullptr ? std::nullopt : std::optional(*value);
}

Outcome expectFile(Simulator& simulator, Arguments arguments) {
  return ofRecord(simulator, arguments[0], [&](VLMDisplay& display) {
    const auto value = valueInFile(simulator, display, arguments[1]);
    if (!value) return Outcome::notHeld("the override file has no " + arguments[1]);
    const std::string found = wholeText(*value);
    const bool holds = arguments.size() == 2 || wholeText(valueFrom(arguments[2])) == found;
    return holds ? Outcome{} : Outcome::notHeld(arguments[1] + " is " + found);
  });
}

Outcome expectNoFile(Simulator& simulator, Arguments arguments) {
  return ofRecord(simulator, arguments[0], [&](VLMDisplay& display) {
    const auto value = valueInFile(simulator, display, arguments[1]);
    return value ? Outcome::notHeld(arguments[1] + " is " + wholeText(*value)) : Outcome{};
  });
}

// --- What comes of it ---

/// The mode of that size and rate that the daemon finds and lets the user choose.
bool hasMode(const VLMDisplay& display, const ResolutionArgument& wanted) {
  return std::any_of(display.validDisplayModes.begin(), display.validDisplayModes.end(), [&](const auto& mode) {
    return wanted.interlaced == mode->interlaced && wanted.mode.matches(mode->Nx, mode->Ny, double(mode->Hz));
  });
}

template <bool wantsIt>
Outcome expectOffer(Simulator& simulator, Arguments arguments) {
  const auto wanted = parseResolution(arguments[1]);
  if (!wanted) return noResolution(arguments[1]);
  return ofRecord(simulator, arguments[0], [&](const VLMDisplay& display) {
    if (!display.dispIsPresent) return Outcome::notHeld("it is not plugged in");
    if (hasMode(display, *wanted) == wantsIt) return Outcome{};
    return Outcome::notHeld(wantsIt ? "the display does not offer it" : "the display offers it");
  });
}

constexpr std::array kOverrideCommands{
    Command{"expect override", "DISPLAY WIDTHxHEIGHT[i][@HZ]|name|range|default|pixels|policy|import [VALUE]", 2, 3,
            "the daemon has that custom resolution; or another override is that, as its command takes it",
            "expect override Left name off", expectOverride},
    Command{"expect no override", "DISPLAY WIDTHxHEIGHT[i][@HZ]", 2, 2, "the daemon has no such custom resolution",
            "expect no override Left 1600x900@60", expectNoOverride},
    Command{"expect override file", "DISPLAY KEYPATH [VALUE]", 2, 3, "a value in the display's override file on disk",
            "expect override file Left DisplayProductName Desk", expectFile},
    Command{"expect no override file", "DISPLAY KEYPATH", 2, 2, "the override file has no such key, or is not there",
            "expect no override file Left dspc.0", expectNoFile},
    Command{"expect offer", "DISPLAY WIDTHxHEIGHT[i][@HZ]", 2, 2, "the display offers that mode",
            "expect offer Left 1920x1080@60", expectOffer<true>},
    Command{"expect no offer", "DISPLAY WIDTHxHEIGHT[i][@HZ]", 2, 2, "the display offers no such mode",
            "expect no offer Left 1600x901", expectOffer<false>},
};

}  // namespace

std::span<const Command> overrideExpectations() { return kOverrideCommands; }

}  // namespace vlm::sim
