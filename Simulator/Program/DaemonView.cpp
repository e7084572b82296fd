#include "Simulator/Program/DaemonView.h"

#include <array>

#include "Models/VLMGlobals.h"
#include "Platform/Numbers.h"
#include "Shared/Shortcuts.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/DisplayTexts.h"

namespace vlm::sim {

namespace {

struct DepthName {
  std::int32_t mask;
  const char* bits;
};
constexpr std::array kDepths{DepthName{8, "8"},    DepthName{16, "16"},  DepthName{32, "32"}, DepthName{64, "30"},
                             DepthName{128, "64"}, DepthName{256, "48"}, DepthName{512, "96"}};

std::string depthsText(std::int64_t mask) {
  std::string text;
  for (const DepthName& depth : kDepths) {
    if ((mask & depth.mask) != 0) text += (text.empty() ? "" : ", ") + std::string(depth.bits);
  }
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

std::shared_ptr<VLMDisplaySet> setNamed(const VLMGlobals& document, const std::string& text) {
  std::shared_ptr<VLMDisplaySet> found;
  bool isOnlyOne = true;
  for (const auto& set : document.displaySetsArray) {
    const std::string name = set->name.value_or("");
    if (isSameName(text, name)) return set;
    if (!isBeginning(text, name)) continue;
    isOnlyOne = found == nullptr;
    found = set;
  }
  return isOnlyOne ? found : nullptr;
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

}  // namespace vlm::sim
