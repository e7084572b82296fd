#include "Simulator/Program/Explanation.h"

#include <array>
#include <utility>

#include "Models/SetFindings.h"
#include "Models/VLMGlobals.h"
#include "Platform/Numbers.h"
#include "Simulator/Mac/SimulatedMac.h"
#include "Simulator/Program/DaemonView.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Output.h"
#include "Simulator/Program/Views.h"

namespace vlm::sim {

namespace {

using Findings = std::vector<SetFinding>;

struct AspectName {
  SetAspect aspect;
  const char* key;   ///< in JSON
  const char* text;  ///< for people
};
constexpr std::array kAspects{
    AspectName{SetAspect::mode, "mode", "resolution"},
    AspectName{SetAspect::depth, "depth", "colour depth in bits"},
    AspectName{SetAspect::overscan, "overscan", "overscan"},
    AspectName{SetAspect::underscan, "underscan", "underscan"},
    AspectName{SetAspect::origin, "origin", "position"},
    AspectName{SetAspect::hdr, "hdr", "HDR"},
    AspectName{SetAspect::orientation, "orientation", "orientation"},
    AspectName{SetAspect::colorPreset, "colorPreset", "colour preset"},
    AspectName{SetAspect::colorProfile, "colorProfile", "colour profile"},
    AspectName{SetAspect::activity, "active", "being on"},
    AspectName{SetAspect::mirroring, "mirroring", "mirroring"},
    AspectName{SetAspect::mainDisplay, "main", "main display"},
    AspectName{SetAspect::gray, "grayscale", "grey scale"},
};

const char* keyOf(SetAspect aspect) {
  for (const AspectName& name : kAspects) {
    if (name.aspect == aspect) return name.key;
  }
  return "";
}

std::string textOfKey(const std::string& key) {
  for (const AspectName& name : kAspects) {
    if (key == name.key) return name.text;
  }
  return key;
}

/// Lets the machine's processes log nothing for as long as it lives.
class Unlogged {
 public:
  explicit Unlogged(SimulatedMac& mac) : mac_(mac), before_(std::exchange(mac.logEnabled, false)) {}
  ~Unlogged() { mac_.logEnabled = before_; }
  Unlogged(const Unlogged&) = delete;
  Unlogged& operator=(const Unlogged&) = delete;

 private:
  SimulatedMac& mac_;
  bool before_;
};

/// Whose document is explained, and on which machine.
struct Subject {
  SimulatedMac& mac;
  const VLMGlobals& document;
};

std::string nameOf(const Subject& subject, std::optional<std::int64_t> monitorResID) {
  return nameOfMonitor(subject.mac, subject.document, monitorResID).value_or("unknown");
}

plist::Dictionary monitorReference(const Subject& subject, std::optional<std::int64_t> monitorResID) {
  return {{"monitorResID", monitorResID.value_or(0)}, {"name", nameOf(subject, monitorResID)}};
}

/// A stored value as people and JSON have it.
plist::Value readable(const Subject& subject, const SetFinding& finding, const plist::Value& value) {
  switch (*finding.aspect) {
    case SetAspect::mode:
      return modeView(subject.document.extraDisplayWithID(finding.monitorResID).get(), value.uInt64());
    case SetAspect::depth:
      return bitsOfDepth(value.uInt64());
    case SetAspect::origin: {
      const auto origin = DisplayPosition::unpack(truncateTo<std::uint32_t>(value.uInt64()));
      return pointView(origin.h, origin.v);
    }
    case SetAspect::mainDisplay:
      return monitorReference(subject, value.sInt64());
    case SetAspect::mirroring:
      // Of one display: the one that shall show its picture.
      return finding.monitorResID ? plist::Value(monitorReference(subject, value.sInt64())) : value;
    default:
      return value;
  }
}

plist::Dictionary differenceView(const Subject& subject, const SetFinding& finding) {
  plist::Dictionary view{{"aspect", keyOf(*finding.aspect)}};
  if (finding.wanted) view.set("wanted", readable(subject, finding, *finding.wanted));
  if (finding.found) view.set("found", readable(subject, finding, *finding.found));
  return view;
}

bool isOfDesk(const SetFinding& finding) { return finding.aspect && *finding.aspect >= SetAspect::mirroring; }

std::string stateOf(const VLMMonitorInSet& monitor, const Subject& subject, const Findings& findings) {
  using Kind = SetFinding::Kind;
  constexpr std::array kStates{std::pair{Kind::differs, "differs"}, std::pair{Kind::notAttached, "notAttached"},
                               std::pair{Kind::off, "off"}, std::pair{Kind::silent, "silent"}};
  for (const auto& [kind, name] : kStates) {
    for (const SetFinding& finding : findings) {
      if (finding.kind == kind && finding.monitorResID == monitor.monitorResID && !isOfDesk(finding)) return name;
    }
  }
  const auto display = subject.document.displayWithID(monitor.monitorResID);
  const bool isCompared = display != nullptr && (display->isActive() || monitor.hasActivity);
  return isCompared ? "matches" : "notAsked";
}

plist::Dictionary monitorView(const VLMMonitorInSet& monitor, const Subject& subject, const Findings& findings) {
  plist::Array differences;
  for (const SetFinding& finding : findings) {
    if (finding.kind != SetFinding::Kind::differs || isOfDesk(finding)) continue;
    if (finding.monitorResID == monitor.monitorResID) differences.emplace_back(differenceView(subject, finding));
  }
  plist::Dictionary view = monitorReference(subject, monitor.monitorResID);
  view.set("state", stateOf(monitor, subject, findings));
  view.set("differences", std::move(differences));
  return view;
}

plist::Array deskDifferences(const Subject& subject, const Findings& findings) {
  plist::Array view;
  for (const SetFinding& finding : findings) {
    if (!isOfDesk(finding)) continue;
    plist::Dictionary difference = differenceView(subject, finding);
    if (finding.monitorResID) difference.set("monitor", nameOf(subject, finding.monitorResID));
    view.emplace_back(std::move(difference));
  }
  return view;
}

}  // namespace

plist::Dictionary explanationOf(SimulatedMac& mac, VLMGlobals& document, const VLMDisplaySet& set) {
  const Unlogged unlogged(mac);
  const Subject subject{.mac = mac, .document = document};
  Findings findings;
  const std::int16_t mark = explainMarkForSet(document, set, findings);
  plist::Array monitors;
  for (const auto& monitor : set.monitorArray) monitors.emplace_back(monitorView(*monitor, subject, findings));
  for (const auto& display : document.displayArray) {
    if (set.monitorWithID(display->monitorResID)) continue;
    plist::Dictionary view = monitorReference(subject, display->monitorResID);
    view.set("state", "notInSet");
    view.set("differences", plist::Array());
    monitors.emplace_back(std::move(view));
  }
  return {{"set", set.name.value_or("")},
          {"mark", markName(mark)},
          {"monitors", std::move(monitors)},
          {"differences", deskDifferences(subject, findings)}};
}

// --- As text ---

namespace {

std::string stateText(const std::string& state) {
  constexpr std::array kTexts{std::pair{"matches", "as the set says"},
                              std::pair{"notAttached", "not attached, though the set says something of it"},
                              std::pair{"off", "off, though the set says something of it"},
                              std::pair{"silent", "on, and the set says nothing of it"},
                              std::pair{"notAsked", "nothing to compare"},
                              std::pair{"notInSet", "attached, and not in the set: does not count"}};
  for (const auto& [key, text] : kTexts) {
    if (state == key) return text;
  }
  return state;
}

std::string meaningOf(const std::string& mark) {
  constexpr std::array kMeanings{std::pair{"none", "it does not describe how things are"},
                                 std::pair{"check", "it is in force"},
                                 std::pair{"dash", "it is in force as far as displays are there and on"},
                                 std::pair{"diamond", "it is in force, and says nothing of some display that is on"}};
  for (const auto& [name, meaning] : kMeanings) {
    if (mark == name) return meaning;
  }
  return {};
}

using Rows = std::vector<std::vector<std::string>>;

void addDifferences(Rows& rows, const std::string& first, const plist::Array& differences) {
  for (const plist::Value& value : differences) {
    const plist::Dictionary& difference = *value.dictionary();
    const std::string aspect = textOfKey(difference.string("aspect").value_or(""));
    const auto monitor = difference.string("monitor");
    rows.push_back({first, aspect + (monitor ? " of " + *monitor : ""), viewText(difference.find("wanted")),
                    viewText(difference.find("found"))});
  }
}

}  // namespace

std::string explanationText(const plist::Dictionary& explanation) {
  Rows rows{{"MONITOR", "WHAT", "WANTED", "FOUND"}};
  for (const plist::Value& value : *explanation.array("monitors")) {
    const plist::Dictionary& monitor = *value.dictionary();
    const std::string state = monitor.string("state").value_or("");
    const std::string name = monitor.string("name").value_or("");
    if (state == "differs") {
      addDifferences(rows, name, *monitor.array("differences"));
    } else {
      rows.push_back({name, stateText(state)});
    }
  }
  addDifferences(rows, "(all)", *explanation.array("differences"));
  const std::string mark = explanation.string("mark").value_or("");
  return tableOf(rows) + "The mark of " + quoted(explanation.string("set").value_or("")) + " is " + mark + ": " +
         meaningOf(mark) + ".\n";
}

}  // namespace vlm::sim
