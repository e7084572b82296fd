#include "Simulator/Program/DaemonView.h"

#include <array>
#include <utility>

#include "Colour/VLMColorPreset.h"
#include "Models/VLMGlobals.h"
#include "Platform/Numbers.h"
#include "Shared/Shortcuts.h"
#include "Simulator/Mac/SimulatedMac.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Views.h"

namespace vlm::sim {

namespace {

struct Depth {
  std::uint64_t mask;
  std::int64_t bits;
};
constexpr std::array kDepths{Depth{8, 8},    Depth{16, 16},  Depth{32, 32}, Depth{64, 30},
                             Depth{128, 64}, Depth{256, 48}, Depth{512, 96}};

std::vector<std::int64_t> depthsIn(std::int64_t mask) {
  std::vector<std::int64_t> bits;
  for (const Depth& depth : kDepths) {
    if ((static_cast<std::uint64_t>(mask) & depth.mask) != 0) bits.push_back(depth.bits);
  }
  return bits;
}

std::string depthsText(std::int64_t mask) {
  std::string text;
  for (const std::int64_t bits : depthsIn(mask)) text += (text.empty() ? "" : ", ") + std::to_string(bits);
  return text.empty() ? "-" : text + " bits";
}

void addWord(std::string& text, const std::string& word) { text += (text.empty() ? "" : ", ") + word; }

std::string modeNotes(const VLMMode& mode) {
  std::string notes;
  if (mode.isCurrent()) addWord(notes, "current");
  if (!mode.isNative) addWord(notes, "scaled");
  if (mode.definition > 1) addWord(notes, shortNumber(mode.definition) + " pixels a point");
  if (mode.interlaced) addWord(notes, "interlaced");
  if (mode.isVRR != 0) addWord(notes, "variable rate");
  if (!mode.isValidAct) addWord(notes, "not to be chosen");
  return notes;
}

/// What a set enforces of a monitor, by the names of the keys that tell what.
std::vector<std::string> enforcedOf(const VLMMonitorInSet& monitor) {
  const std::array kAspects{std::pair{"mode", monitor.hasModeSetting()},
                            std::pair{"depth", monitor.hasDepthSetting()},
                            std::pair{"main", monitor.isMainDisplay},
                            std::pair{"origin", monitor.hasOrigin},
                            std::pair{"active", monitor.hasActivity},
                            std::pair{"orientation", monitor.hasOrientation},
                            std::pair{"overscan", monitor.hasOverscan},
                            std::pair{"underscan", monitor.hasUnderscan},
                            std::pair{"hdr", monitor.hasHDR},
                            std::pair{"colorPreset", monitor.hasColorProfile && monitor.colorPreset},
                            std::pair{"colorProfile", monitor.hasColorProfile && monitor.colorProfile}};
  std::vector<std::string> names;
  for (const auto& [name, isEnforced] : kAspects) {
    if (isEnforced) names.emplace_back(name);
  }
  return names;
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) addWord(text, word);
  return text.empty() ? "-" : text;
}

/// Of a display that is not there its identifier.
std::string presetName(const std::string& identifier, const std::shared_ptr<VLMDisplay>& display) {
  const auto preset = display ? VLMColorPreset::presetWithUUID(identifier, display) : nullptr;
  return preset ? preset->name.value_or(identifier) : identifier;
}

/// What is not as it usually is, or enforced.
void addPictureTexts(std::string& text, const VLMMonitorInSet& monitor, const std::shared_ptr<VLMDisplay>& display) {
  if (monitor.hasOrientation || monitor.orientation != 0) {
    addWord(text, "turned by " + std::to_string(monitor.orientation));
  }
  if (monitor.hasOverscan || monitor.inOverscan) addWord(text, monitor.inOverscan ? "overscan" : "no overscan");
  if (monitor.hasUnderscan) addWord(text, "underscan " + shortNumber(monitor.underscan));
  if (monitor.hasHDR || monitor.isInHDR) addWord(text, monitor.isInHDR ? "HDR" : "no HDR");
  if (monitor.hasColorProfile && monitor.colorPreset)
    addWord(text, "preset " + presetName(*monitor.colorPreset, display));
  if (monitor.hasColorProfile && monitor.colorProfile) addWord(text, "profile " + *monitor.colorProfile);
}

/// What the set remembers of a monitor.
std::string monitorText(const VLMMonitorInSet& monitor, const std::shared_ptr<VLMDisplay>& display) {
  std::string text;
  const auto mode = display == nullptr || !monitor.hasModeSetting()
                        ? nullptr
                        : display->validModeWithUniqueID(static_cast<std::uint32_t>(monitor.modeUniqueID));
  if (monitor.hasModeSetting()) addWord(text, mode ? mode->inMenuModeName(true) : "a mode that is not there");
  if (monitor.hasDepthSetting()) addWord(text, depthsText(static_cast<std::int64_t>(monitor.selDepth)));
  const DisplayPosition origin = DisplayPosition::unpack(monitor.origin);
  addWord(text, "at (" + std::to_string(origin.h) + ", " + std::to_string(origin.v) + ")");
  if (monitor.isMainDisplay) addWord(text, "main");
  if (!monitor.isActive) addWord(text, "off");
  addPictureTexts(text, monitor, display);
  if (!monitor.dispIsPresent) addWord(text, "not attached");
  return text;
}

std::string nameOrUnknown(SimulatedMac& mac, const VLMGlobals& document, std::optional<std::int64_t> monitorResID) {
  return nameOfMonitor(mac, document, monitorResID).value_or("unknown");
}

/// What a set says beside its monitors; empty when that is nothing.
std::string deskText(SimulatedMac& mac, const VLMGlobals& document, const VLMDisplaySet& set) {
  std::string text;
  for (const auto& [shown, shows] : set.complexMirroringSet) {
    addWord(text, nameOrUnknown(mac, document, shows) + " mirrors " + nameOrUnknown(mac, document, shown));
  }
  if (set.hasMirroring && set.complexMirroringSet.empty()) {
    addWord(text, set.inMirroring ? "mirroring" : "no mirroring");
  }
  if (set.hasGray) addWord(text, set.inGray ? "grey scale" : "no grey scale");
  if (!set.isInMenu) addWord(text, "not in the menus");
  if (set.theScriptBookmark) addWord(text, "script " + set.scriptBookMarkName().value_or("that is gone"));
  if (const auto& next = set.chainedDisplaySet()) addWord(text, "then " + quoted(next->name.value_or("")));
  return text;
}

std::vector<std::string> enforcedOfDesk(const VLMDisplaySet& set) {
  std::vector<std::string> names;
  if (set.hasMirroring) names.emplace_back("mirroring");
  if (set.hasGray) names.emplace_back("grayscale");
  return names;
}

}  // namespace

std::string shortcutText(const VLMDisplaySet& set) {
  return Common_MiniShortcuts(truncateTo<std::int32_t>(set.keyCode.value_or(VLMDisplaySet::kNoHotKey)), true);
}

std::string markName(std::int16_t mark) {
  constexpr std::array kNames{"none", "check", "dash", "diamond"};
  const auto index = static_cast<std::size_t>(mark);
  return index < kNames.size() ? kNames[index] : "unknown";
}

std::optional<std::string> nameOfMonitor(SimulatedMac& mac, const VLMGlobals& document,
                                         std::optional<std::int64_t> monitorResID) {
  const auto record = document.extraDisplayWithID(monitorResID);
  if (!record) return std::nullopt;
  const auto attached = document.displayWithID(monitorResID);
  for (const auto& display : mac.windowServer().displays()) {
    const bool isMeant = attached ? display->id != 0 && display->id == attached->cgID
                                  : display->id == 0 && display->uuid == record->displayUUIDString;
    if (isMeant) return display->description.name;
  }
  return record->displayedName();
}

std::variant<std::size_t, std::string> placeOfSet(const std::vector<std::string>& names, const std::string& text) {
  std::vector<std::size_t> found;
  std::string list;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!text.empty() && isSameName(text, names[i])) return i;
    if (!text.empty() && isBeginning(text, names[i])) found.push_back(i);
    list += (list.empty() ? "" : ", ") + quoted(names[i]);
  }
  if (found.size() == 1) return found.front();
  const std::string begin = found.empty() ? "there is no set " : "several sets could be ";
  return begin + quoted(text) + (list.empty() ? "; there are none" : "; there are " + list);
}

std::variant<std::shared_ptr<VLMDisplaySet>, std::string> setNamed(const VLMGlobals& document,
                                                                   const std::string& text) {
  std::vector<std::string> names;
  for (const auto& set : document.displaySetsArray) names.push_back(set->name.value_or(""));
  const auto place = placeOfSet(names, text);
  if (const auto* reason = std::get_if<std::string>(&place)) return *reason;
  return document.displaySetsArray[std::get<std::size_t>(place)];
}

std::vector<std::vector<std::string>> modeRows(const VLMDisplay& display, std::size_t most) {
  std::vector<std::vector<std::string>> rows{{"IDENTIFIER", "MODE", "COLOURS", "NOTES"}};
  const auto& modes = display.validDisplayModes;
  for (auto mode = modes.rbegin(); mode != modes.rend() && rows.size() <= most; ++mode) {
    rows.push_back({std::to_string((*mode)->modeUniqueID), (*mode)->inMenuModeName(true),
                    depthsText((*mode)->colorMask), modeNotes(**mode)});
  }
  return rows;
}

std::vector<std::vector<std::string>> setRows(SimulatedMac& mac, VLMGlobals& document) {
  std::vector<std::vector<std::string>> rows{{"SET", "MARK", "HOT KEY", "MONITOR", "REMEMBERS", "ENFORCES"}};
  for (const auto& set : document.displaySetsArray) {
    std::vector<std::string> first{set->name.value_or("(no name)"), markName(document.checkMarkForSet(*set, nullptr)),
                                   shortcutText(*set)};
    const auto add = [&](const std::string& monitor, const std::string& remembers, const std::string& enforces) {
      std::vector<std::string> row = std::exchange(first, {"", "", ""});
      row.insert(row.end(), {monitor, remembers, enforces});
      rows.push_back(std::move(row));
    };
    for (const auto& monitor : set->monitorArray) {
      const auto display = document.extraDisplayWithID(monitor->monitorResID);
      add(nameOrUnknown(mac, document, monitor->monitorResID), monitorText(*monitor, display),
          joined(enforcedOf(*monitor)));
    }
    const std::string desk = deskText(mac, document, *set);
    if (!desk.empty()) add("(all)", desk, joined(enforcedOfDesk(*set)));
    if (!first.front().empty()) rows.push_back(first);
  }
  return rows;
}

// --- Views ---

namespace {

plist::Array asList(const std::vector<std::string>& names) { return {names.begin(), names.end()}; }

plist::Dictionary monitorView(const VLMMonitorInSet& monitor, const VLMDisplay* display) {
  const DisplayPosition origin = DisplayPosition::unpack(monitor.origin);
  plist::Dictionary view{{"monitorResID", monitor.monitorResID.value_or(0)},
                         {"attached", monitor.dispIsPresent},
                         {"main", monitor.isMainDisplay},
                         {"active", monitor.isActive},
                         {"origin", pointView(origin.h, origin.v)},
                         {"orientation", monitor.orientation},
                         {"overscan", monitor.inOverscan},
                         {"underscan", monitor.underscan},
                         {"hdr", monitor.isInHDR},
                         {"enforces", asList(enforcedOf(monitor))}};
  if (monitor.hasModeSetting()) view.set("mode", modeView(display, monitor.modeUniqueID));
  if (monitor.hasDepthSetting()) view.set("depth", bitsOfDepth(monitor.selDepth));
  if (monitor.colorPreset) view.set("colorPreset", *monitor.colorPreset);
  if (monitor.colorProfile) view.set("colorProfile", *monitor.colorProfile);
  return view;
}

plist::Array pairsView(SimulatedMac& mac, const VLMGlobals& document, const VLMDisplaySet& set) {
  plist::Array pairs;
  for (const auto& [shown, shows] : set.complexMirroringSet) {
    pairs.emplace_back(plist::Dictionary{{"shown", nameOrUnknown(mac, document, shown)},
                                         {"shows", nameOrUnknown(mac, document, shows)}});
  }
  return pairs;
}

}  // namespace

std::int64_t bitsOfDepth(std::uint64_t mask) {
  for (const Depth& depth : kDepths) {
    if (depth.mask == mask) return depth.bits;
  }
  return 0;
}

plist::Dictionary modeView(const VLMDisplay* display, std::uint64_t identifier) {
  plist::Dictionary view{{"modeUniqueID", identifier}};
  const auto mode =
      display == nullptr ? nullptr : display->validModeWithUniqueID(truncateTo<std::uint32_t>(identifier));
  if (mode) view.set("name", mode->inMenuModeName(true));
  return view;
}

plist::Array modesView(const VLMDisplay& display, std::size_t most) {
  plist::Array view;
  const auto& modes = display.validDisplayModes;
  for (auto mode = modes.rbegin(); mode != modes.rend() && view.size() < most; ++mode) {
    plist::Array depths;
    for (const std::int64_t bits : depthsIn((*mode)->colorMask)) depths.emplace_back(bits);
    view.emplace_back(plist::Dictionary{{"modeUniqueID", (*mode)->modeUniqueID},
                                        {"name", (*mode)->inMenuModeName(true)},
                                        {"width", (*mode)->Nx},
                                        {"height", (*mode)->Ny},
                                        {"refreshHz", rateView((*mode)->Hz)},
                                        {"scale", (*mode)->definition},
                                        {"depths", std::move(depths)},
                                        {"current", (*mode)->isCurrent()},
                                        {"native", (*mode)->isNative},
                                        {"interlaced", (*mode)->interlaced},
                                        {"variableRate", (*mode)->isVRR != 0},
                                        {"mayBeChosen", (*mode)->isValidAct}});
  }
  return view;
}

plist::Array setsView(SimulatedMac& mac, VLMGlobals& document) {
  plist::Array view;
  for (const auto& set : document.displaySetsArray) {
    plist::Array monitors;
    for (const auto& monitor : set->monitorArray) {
      plist::Dictionary one = monitorView(*monitor, document.extraDisplayWithID(monitor->monitorResID).get());
      if (const auto name = nameOfMonitor(mac, document, monitor->monitorResID)) one.set("name", *name);
      monitors.emplace_back(std::move(one));
    }
    plist::Dictionary entry{{"name", set->name.value_or("")},
                            {"uniqueID", set->uniqueID.value_or(0)},
                            {"mark", markName(document.checkMarkForSet(*set, nullptr))},
                            {"hotKey", shortcutText(*set)},
                            {"keyCode", set->keyCode.value_or(VLMDisplaySet::kNoHotKey)},
                            {"monitors", std::move(monitors)}};
    if (set->hasMirroring) entry.set("mirroring", set->inMirroring);
    if (set->hasGray) entry.set("grayscale", set->inGray);
    if (!set->complexMirroringSet.empty()) entry.set("mirroringPairs", pairsView(mac, document, *set));
    entry.set("inMenu", set->isInMenu);
    if (const auto& next = set->chainedDisplaySet()) entry.set("chain", next->name.value_or(""));
    if (const auto script = set->getScriptBookMarkURL()) entry.set("script", *script);
    view.emplace_back(std::move(entry));
  }
  return view;
}

}  // namespace vlm::sim
