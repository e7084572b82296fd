#include "Simulator/Program/DaemonView.h"

#include <array>

#include "Models/VLMGlobals.h"
#include "Platform/Numbers.h"
#include "Shared/Shortcuts.h"
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
  if (!mode.isValidAct) addWord(notes, "not to be chosen");
  return notes;
}

/// What the set remembers of a monitor.
std::string monitorText(const VLMMonitorInSet& monitor, const VLMDisplay* display) {
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
  if (!monitor.dispIsPresent) addWord(text, "not attached");
  return text;
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

std::variant<std::shared_ptr<VLMDisplaySet>, std::string> setNamed(const VLMGlobals& document,
                                                                   const std::string& text) {
  DisplaySets found;
  std::string names;
  for (const auto& set : document.displaySetsArray) {
    const std::string name = set->name.value_or("");
    if (isSameName(text, name)) return set;
    if (isBeginning(text, name)) found.push_back(set);
    names += (names.empty() ? "" : ", ") + quoted(name);
  }
  if (found.size() == 1) return found.front();
  const std::string begin = found.empty() ? "there is no set " : "several sets could be ";
  return begin + quoted(text) + (names.empty() ? "; there are none" : "; there are " + names);
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

std::vector<std::vector<std::string>> setRows(VLMGlobals& document) {
  std::vector<std::vector<std::string>> rows{{"SET", "MARK", "HOT KEY", "MONITOR", "REMEMBERS"}};
  for (const auto& set : document.displaySetsArray) {
    std::vector<std::string> first{set->name.value_or("(no name)"), markName(document.checkMarkForSet(*set, nullptr)),
                                   shortcutText(*set)};
    for (const auto& monitor : set->monitorArray) {
      const auto display = document.extraDisplayWithID(monitor->monitorResID);
      std::vector<std::string> row = first;
      row.push_back(display ? display->displayedName() : "unknown");
      row.push_back(monitorText(*monitor, display.get()));
      rows.push_back(std::move(row));
      first = {"", "", ""};
    }
    if (set->monitorArray.empty()) rows.push_back(first);
  }
  return rows;
}

// --- Views ---

namespace {

/// What a set enforces of a monitor, by the names of the keys that tell what.
plist::Array enforced(const VLMMonitorInSet& monitor) {
  const std::array kAspects{std::pair{"mode", monitor.hasModeSetting()},
                            std::pair{"depth", monitor.hasDepthSetting()},
                            std::pair{"origin", monitor.hasOrigin},
                            std::pair{"active", monitor.hasActivity},
                            std::pair{"orientation", monitor.hasOrientation},
                            std::pair{"overscan", monitor.hasOverscan},
                            std::pair{"underscan", monitor.hasUnderscan},
                            std::pair{"hdr", monitor.hasHDR},
                            std::pair{"colorProfile", monitor.hasColorProfile}};
  plist::Array names;
  for (const auto& [name, isEnforced] : kAspects) {
    if (isEnforced) names.emplace_back(name);
  }
  return names;
}

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
                         {"enforces", enforced(monitor)}};
  if (display != nullptr) view.set("name", display->displayedName());
  if (monitor.hasModeSetting()) view.set("mode", modeView(display, monitor.modeUniqueID));
  if (monitor.hasDepthSetting()) view.set("depth", bitsOfDepth(monitor.selDepth));
  if (monitor.colorPreset) view.set("colorPreset", *monitor.colorPreset);
  if (monitor.colorProfile) view.set("colorProfile", *monitor.colorProfile);
  return view;
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
                                        {"mayBeChosen", (*mode)->isValidAct}});
  }
  return view;
}

plist::Array setsView(VLMGlobals& document) {
  plist::Array view;
  for (const auto& set : document.displaySetsArray) {
    plist::Array monitors;
    for (const auto& monitor : set->monitorArray) {
      monitors.emplace_back(monitorView(*monitor, document.extraDisplayWithID(monitor->monitorResID).get()));
    }
    plist::Dictionary entry{{"name", set->name.value_or("")},
                            {"uniqueID", set->uniqueID.value_or(0)},
                            {"mark", markName(document.checkMarkForSet(*set, nullptr))},
                            {"hotKey", shortcutText(*set)},
                            {"keyCode", set->keyCode.value_or(VLMDisplaySet::kNoHotKey)},
                            {"monitors", std::move(monitors)}};
    if (set->hasMirroring) entry.set("mirroring", set->inMirroring);
    if (set->hasGray) entry.set("grayscale", set->inGray);
    view.emplace_back(std::move(entry));
  }
  return view;
}

}  // namespace vlm::sim
