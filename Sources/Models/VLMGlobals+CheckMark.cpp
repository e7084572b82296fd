#include <array>
#include <cmath>
#include <optional>

#include "Models/SetFindings.h"
#include "Models/VLMGlobals.h"
#include "Shared/FileURL.h"
#include "Shared/Log.h"

namespace vlm {

namespace {

/// Marks beside a set.
constexpr std::int16_t kMarkNone = 0, kMarkCheck = 1, kMarkDash = 2, kMarkDiamond = 3;
constexpr float kUnderscanTolerance = 0.01F;

/// What the mark needs to know of one monitor of the set.
struct MonitorState {
  const VLMMonitorInSet* monitor = nullptr;
  std::shared_ptr<VLMDisplay> display;  ///< none when it is not attached
  bool isEnabled = false;               ///< attached and active
  bool hasSetting = false;
  bool isRelevant = false;  ///< has a setting, or says whether the display is on
  int number = 0;           ///< position in the set, for the log

  bool isPresent() const { return display != nullptr; }
  long resID() const { return static_cast<long>(monitor->monitorResID.value_or(0)); }
};

/// What a set wants and what there is instead; see SetFinding.
struct Difference {
  std::optional<plist::Value> wanted, found;
};

/// Judges one set against the displays as they are.
class Marker {
 public:
  /// Without `findings` it stops at the first difference.
  Marker(VLMGlobals& document, const VLMDisplaySet& set, std::vector<SetFinding>* findings = nullptr)
      : document_(document),
        set_(set),
        findings_(findings),
        name_(set.name.value_or(std::string())),
        checkOrigin_(static_cast<std::int64_t>(document.displayArray.size()) > document.nDispHardMirrored()) {
    gather();
  }

  bool hasOneSetting() const { return hasOneSetting_; }
  std::int16_t mark();

 private:
  void gather();
  void findDiamonds();
  void findDashes();
  bool monitorMatches(const MonitorState& state);
  bool activityMatches(const MonitorState& state);
  bool mirroringMatches();
  bool complexMirroringMatches();
  bool mainDisplayMatches();
  bool grayMatches();
  void noteMainDisplay(const MonitorState& wanted, SetFinding::Kind kind);
  void note(SetFinding finding) {
    if (findings_ != nullptr) findings_->push_back(std::move(finding));
  }
  /// Logs and notes what differs; the answer of a comparison that failed.
  bool differs(const MonitorState& state, SetAspect aspect, const char* what, Difference difference);
  bool looksForAll() const { return findings_ != nullptr; }

  VLMGlobals& document_;
  const VLMDisplaySet& set_;
  std::vector<SetFinding>* findings_;
  std::string name_;
  bool checkOrigin_;
  std::vector<MonitorState> monitors_;
  std::optional<std::size_t> mainIndex_;
  bool hasOneSetting_ = false;
  std::int16_t result_ = kMarkCheck;
};

void Marker::gather() {
  hasOneSetting_ = set_.hasMirroring || set_.hasGray;
  for (const auto& monitor : set_.monitorArray) {
    MonitorState state{.monitor = monitor.get(), .display = {}, .number = static_cast<int>(monitors_.size())};
    if (monitor->dispIsPresent) state.display = document_.displayWithID(monitor->monitorResID);
    state.isEnabled = state.isPresent() && state.display->isActive();
    VLMLog("Display Set %@ - for display #%d (resID = %d) - monitorIsEnabled[] = %d", name_, state.number,
           state.resID(), state.isEnabled);
    state.hasSetting = monitor->hasADisplaySetting(state.display.get(), checkOrigin_);
    VLMLog("Display Set %@ - for display #%d (resID = %d) - settingForThisDisp[] = %d", name_, state.number,
           state.resID(), state.hasSetting);
    state.isRelevant = state.hasSetting || monitor->hasActivity;
    hasOneSetting_ = hasOneSetting_ || (state.isPresent() && state.isRelevant);
    if (monitor->isMainDisplay) {
      mainIndex_ = monitors_.size();
      state.hasSetting = true;
      hasOneSetting_ = true;
    }
    monitors_.push_back(std::move(state));
  }
}

void Marker::findDiamonds() {
  for (const MonitorState& state : monitors_) {
    if (!state.isPresent() || !state.isEnabled || state.hasSetting) continue;
    if (state.monitor->hasActivity || set_.hasMirroring || state.monitor->isMainDisplay || set_.hasGray) continue;
    result_ = kMarkDiamond;
    note({.kind = SetFinding::Kind::silent, .monitorResID = state.monitor->monitorResID});
    VLMLog("Display Set %@ - for display #%d (resID = %d) - returnValue set to DIAMOND", name_, state.number,
           state.resID());
  }
}

void Marker::findDashes() {
  for (const MonitorState& state : monitors_) {
    if (state.isRelevant && !state.isPresent()) {
      result_ = kMarkDash;
      note({.kind = SetFinding::Kind::notAttached, .monitorResID = state.monitor->monitorResID});
      VLMLog("Display Set %@ - for display #%d (resID = %d) - returnValue set to DASH - condition #1", name_,
             state.number, state.resID());
    }
    if (state.hasSetting && !state.isEnabled && !state.monitor->mustBeInactive()) {
      result_ = kMarkDash;
      if (state.isPresent()) {
        note({.kind = SetFinding::Kind::off, .monitorResID = state.monitor->monitorResID});
      }
      VLMLog("Display Set %@ - for display #%d (resID = %d) - returnValue set to DASH - condition #2", name_,
             state.number, state.resID());
    }
  }
}

bool Marker::differs(const MonitorState& state, SetAspect aspect, const char* what, Difference difference) {
  VLMLog("Display Set %@ - Display #%d (resID = %d) - %s doesn't match", name_, state.number, state.resID(), what);
  note({.kind = SetFinding::Kind::differs,
        .aspect = aspect,
        .monitorResID = state.monitor->monitorResID,
        .wanted = std::move(difference.wanted),
        .found = std::move(difference.found)});
  return false;
}

// --- One monitor's aspects: nothing, or how the display differs ---

using Compare = std::optional<Difference> (*)(const VLMMonitorInSet& monitor, const VLMDisplay& display);

template <class T>
std::optional<plist::Value> asValue(const std::optional<T>& value) {
  return value ? std::optional<plist::Value>(*value) : std::nullopt;
}

std::optional<Difference> compareMode(const VLMMonitorInSet& monitor, const VLMDisplay& display) {
  if (!monitor.hasModeSetting()) return std::nullopt;
  const auto mode = display.currentMode.get();
  if (mode && mode->modeUniqueID == monitor.modeUniqueID) return std::nullopt;
  const auto found = mode ? std::optional<plist::Value>(mode->modeUniqueID) : std::nullopt;
  return Difference{.wanted = monitor.modeUniqueID, .found = found};
}

std::optional<Difference> compareDepth(const VLMMonitorInSet& monitor, const VLMDisplay& display) {
  if (!monitor.hasDepthSetting() || monitor.selDepth == static_cast<std::uint64_t>(display.currentDepth)) {
    return std::nullopt;
  }
  return Difference{.wanted = monitor.selDepth, .found = display.currentDepth};
}

std::optional<Difference> compareOverscan(const VLMMonitorInSet& monitor, const VLMDisplay& display) {
  if (!monitor.hasOverscan || !display.canOverscan) return std::nullopt;
  const bool found = display.isInOverscan();
  if (monitor.inOverscan == found) return std::nullopt;
  return Difference{.wanted = monitor.inOverscan, .found = found};
}

std::optional<Difference> compareUnderscan(const VLMMonitorInSet& monitor, const VLMDisplay& display) {
  if (!monitor.hasUnderscan || !display.canUnderscan) return std::nullopt;
  const float found = display.underscanValue();
  // A value that is no number differs from every other.
  if (std::fabs(monitor.underscan - found) < kUnderscanTolerance) return std::nullopt;
  return Difference{.wanted = monitor.underscan, .found = found};
}

std::optional<Difference> compareOrigin(const VLMMonitorInSet& monitor, const VLMDisplay& display) {
  if (!monitor.hasOrigin) return std::nullopt;
  const std::uint32_t found = display.displayPosition().packed();
  if (monitor.origin == found) return std::nullopt;
  return Difference{.wanted = monitor.origin, .found = found};
}

std::optional<Difference> compareHDR(const VLMMonitorInSet& monitor, const VLMDisplay& display) {
  if (!monitor.hasHDR || !display.doesSupportHDR()) return std::nullopt;
  const bool found = display.isInHDR();
  if (monitor.isInHDR == found) return std::nullopt;
  return Difference{.wanted = monitor.isInHDR, .found = found};
}

std::optional<Difference> compareOrientation(const VLMMonitorInSet& monitor, const VLMDisplay& display) {
  if (!monitor.hasOrientation) return std::nullopt;
  const std::int32_t found = display.orientation();
  if (monitor.orientation == found) return std::nullopt;
  return Difference{.wanted = monitor.orientation, .found = found};
}

std::optional<Difference> compareColorPreset(const VLMMonitorInSet& monitor, const VLMDisplay& display) {
  if (!monitor.hasColorProfile || !monitor.colorPreset || !display.hasDisplayPresets()) return std::nullopt;
  const auto found = display.currentColorPresetUUID();
  if (monitor.colorPreset == found) return std::nullopt;
  return Difference{.wanted = asValue(monitor.colorPreset), .found = asValue(found)};
}

std::optional<Difference> compareColorProfile(const VLMMonitorInSet& monitor, const VLMDisplay& display) {
  // Also of a display without presets: a set whose business is its profile could otherwise never be applied.
  if (!monitor.hasColorProfile || !monitor.colorProfile) return std::nullopt;
  const auto found = display.currentColorProfileURL();
  // One file has several URLs: which characters are escaped is the writer's choice.
  if (found && pathOfFileURL(*monitor.colorProfile) == pathOfFileURL(*found)) return std::nullopt;
  return Difference{.wanted = asValue(monitor.colorProfile), .found = asValue(found)};
}

struct Comparison {
  SetAspect aspect;
  const char* logged;
  Compare compare;
};

/// In the order in which they are logged.
constexpr std::array kComparisons{
    Comparison{SetAspect::mode, "current MODE", compareMode},
    Comparison{SetAspect::depth, "current DEPTH", compareDepth},
    Comparison{SetAspect::overscan, "OVERSCAN", compareOverscan},
    Comparison{SetAspect::underscan, "UNDERSCAN", compareUnderscan},
    Comparison{SetAspect::origin, "ORIGIN", compareOrigin},
    Comparison{SetAspect::hdr, "HDR", compareHDR},
    Comparison{SetAspect::orientation, "ORIENTATION", compareOrientation},
    Comparison{SetAspect::colorPreset, "COLOR PRESET", compareColorPreset},
    Comparison{SetAspect::colorProfile, "COLOR PROFILE", compareColorProfile},
};

bool Marker::monitorMatches(const MonitorState& state) {
  bool matches = true;
  for (const Comparison& comparison : kComparisons) {
    // Displays that all show one picture stand in one place; the places of a set that mirrors them wait for its end.
    if (comparison.aspect == SetAspect::origin && set_.hasMirroring && set_.inMirroring) continue;
    auto difference = comparison.compare(*state.monitor, *state.display);
    if (!difference) continue;
    matches = differs(state, comparison.aspect, comparison.logged, *std::move(difference));
    if (!looksForAll()) break;
  }
  return matches;
}

bool Marker::activityMatches(const MonitorState& state) {
  // Asked of every attached display, on or off, and also when the set enforces nothing else of it: a set whose business
  // is to turn displays on or off would otherwise count as in force before it was ever applied.
  if (!state.monitor->hasActivity || state.monitor->isActive == state.isEnabled) return true;
  return differs(state, SetAspect::activity, "ACTIVITY", {.wanted = state.monitor->isActive, .found = state.isEnabled});
}

// --- The desk as a whole ---

bool Marker::mirroringMatches() {
  if (!checkOrigin_ || !set_.hasMirroring) return true;
  if (!set_.complexMirroringSet.empty()) return complexMirroringMatches();
  const bool found = document_.isMirroringEnabled();
  if (found == set_.inMirroring) return true;
  VLMLog("Display Set %@ -  - MIRRORING doesn't match", name_);
  note({.aspect = SetAspect::mirroring, .wanted = set_.inMirroring, .found = found});
  return false;
}

bool Marker::complexMirroringMatches() {
  bool matches = true;
  for (const auto& [shown, shows] : set_.complexMirroringSet) {
    const auto a = document_.displayWithID(shown);
    const auto b = document_.displayWithID(shows);
    if (a && b && a->isMirroring(*b)) continue;
    VLMLog("Display Set %@ -  - COMPLEX MIRRORING doesn't match - no mirroring from Display %@ with %@", name_, shown,
           shows);
    note({.aspect = SetAspect::mirroring, .monitorResID = shown, .wanted = shows});
    matches = false;
    if (!looksForAll()) break;
  }
  return matches;
}

bool Marker::mainDisplayMatches() {
  if (!checkOrigin_ || !mainIndex_) return true;
  const MonitorState& main = monitors_[*mainIndex_];
  if (!main.isPresent() || !main.isEnabled) {
    result_ = kMarkDash;
    VLMLog("Display Set %@ - - MAIN DISP is not present - returnValue set to DASH", name_);
    noteMainDisplay(main, main.isPresent() ? SetFinding::Kind::off : SetFinding::Kind::notAttached);
    return true;
  }
  if (main.display->isMainDisplay()) {
    VLMLog("Display Set %@ -  - MAIN DISP match", name_);
    return true;
  }
  VLMLog("Display Set %@ -  - MAIN DISP doesn't match", name_);
  noteMainDisplay(main, SetFinding::Kind::differs);
  return false;
}

void Marker::noteMainDisplay(const MonitorState& wanted, SetFinding::Kind kind) {
  if (findings_ == nullptr) return;
  const auto found = document_.mainDisplay();
  note({.kind = kind,
        .aspect = SetAspect::mainDisplay,
        .wanted = asValue(wanted.monitor->monitorResID),
        .found = found ? asValue(found->monitorResID) : std::nullopt});
}

bool Marker::grayMatches() {
  if (!set_.hasGray || set_.inGray == document_.isGrayEnabled()) return true;
  VLMLog("Display Set %@ -  - GRAYS doesn't match", name_);
  note({.aspect = SetAspect::gray, .wanted = set_.inGray, .found = !set_.inGray});
  return false;
}

std::int16_t Marker::mark() {
  findDiamonds();
  findDashes();
  bool matches = true;
  // Whether to go on; a difference ends the search unless every one is looked for.
  const auto take = [&](bool good) {
    matches = matches && good;
    return matches || looksForAll();
  };
  for (const MonitorState& state : monitors_) {
    if (state.isEnabled && state.hasSetting && !take(monitorMatches(state))) return kMarkNone;
    if (state.isPresent() && !take(activityMatches(state))) return kMarkNone;
  }
  const bool isThrough = take(mirroringMatches()) && take(mainDisplayMatches()) && take(grayMatches());
  if (!isThrough || !matches) return kMarkNone;
  VLMLog("Display Set %@ - EVERYTHING MATCHES - returns = %d", name_, result_);
  return result_;
}

}  // namespace

std::int16_t VLMGlobals::checkMarkForSet(const VLMDisplaySet& set, bool* hasOneMonitorSetting) {
  Marker marker(*this, set);
  if (hasOneMonitorSetting != nullptr) *hasOneMonitorSetting = marker.hasOneSetting();
  return marker.mark();
}

std::int16_t explainMarkForSet(VLMGlobals& document, const VLMDisplaySet& set, std::vector<SetFinding>& findings) {
  findings.clear();
  return Marker(document, set, &findings).mark();
}

}  // namespace vlm
