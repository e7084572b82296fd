#include <cmath>
#include <optional>

#include "Models/VLMGlobals.h"
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

/// Judges one set against the displays as they are.
class Marker {
 public:
  Marker(VLMGlobals& document, const VLMDisplaySet& set)
      : document_(document),
        set_(set),
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
  bool monitorMatches(const MonitorState& state) const;
  bool activityMatches(const MonitorState& state) const;
  bool mirroringMatches() const;
  bool mainDisplayMatches();
  /// Logs what differs; the answer of a comparison that failed.
  bool differs(const MonitorState& state, const char* what) const;

  VLMGlobals& document_;
  const VLMDisplaySet& set_;
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
    VLMLog("Display Set %@ - for display #%d (resID = %d) - returnValue set to DIAMOND", name_, state.number,
           state.resID());
  }
}

void Marker::findDashes() {
  for (const MonitorState& state : monitors_) {
    if (state.isRelevant && !state.isPresent()) {
      result_ = kMarkDash;
      VLMLog("Display Set %@ - for display #%d (resID = %d) - returnValue set to DASH - condition #1", name_,
             state.number, state.resID());
    }
    if (state.hasSetting && !state.isEnabled && !state.monitor->mustBeInactive()) {
      result_ = kMarkDash;
      VLMLog("Display Set %@ - for display #%d (resID = %d) - returnValue set to DASH - condition #2", name_,
             state.number, state.resID());
    }
  }
}

bool Marker::differs(const MonitorState& state, const char* what) const {
  VLMLog("Display Set %@ - Display #%d (resID = %d) - %s doesn't match", name_, state.number, state.resID(), what);
  return false;
}

bool Marker::monitorMatches(const MonitorState& state) const {
  const VLMMonitorInSet& monitor = *state.monitor;
  const VLMDisplay& display = *state.display;
  if (monitor.hasModeSetting()) {
    const auto mode = display.currentMode.get();
    if (!mode || mode->modeUniqueID != monitor.modeUniqueID) return differs(state, "current MODE");
  }
  if (monitor.hasDepthSetting() && monitor.selDepth != static_cast<std::uint64_t>(display.currentDepth)) {
    return differs(state, "current DEPTH");
  }
  if (monitor.hasOverscan && display.canOverscan && monitor.inOverscan != display.isInOverscan()) {
    return differs(state, "OVERSCAN");
  }
  // Written so that a value that is no number differs from every other.
  if (monitor.hasUnderscan && display.canUnderscan &&
      !(std::fabs(monitor.underscan - display.underscanValue()) < kUnderscanTolerance)) {
    return differs(state, "UNDERSCAN");
  }
  if (monitor.hasOrigin && monitor.origin != display.displayPosition().packed()) return differs(state, "ORIGIN");
  if (monitor.hasHDR && display.doesSupportHDR() && monitor.isInHDR != display.isInHDR()) return differs(state, "HDR");
  if (monitor.hasOrientation && monitor.orientation != display.orientation()) return differs(state, "ORIENTATION");
  if (monitor.hasColorProfile && display.hasDisplayPresets()) {
    if (monitor.colorPreset && monitor.colorPreset != display.currentColorPresetUUID()) {
      return differs(state, "COLOR PRESET");
    }
    if (monitor.colorProfile && monitor.colorProfile != display.currentColorProfileURL()) {
      return differs(state, "COLOR PROFILE");
    }
  }
  return true;
}

bool Marker::activityMatches(const MonitorState& state) const {
  // Asked of every attached display, on or off, and also when the set enforces nothing else of it: a set whose business
  // is to turn displays on or off would otherwise count as in force before it was ever applied.
  if (!state.monitor->hasActivity || state.monitor->isActive == state.isEnabled) return true;
  return differs(state, "ACTIVITY");
}

bool Marker::mirroringMatches() const {
  if (!checkOrigin_ || !set_.hasMirroring) return true;
  if (set_.complexMirroringSet.empty()) {
    if (document_.isMirroringEnabled() == set_.inMirroring) return true;
    VLMLog("Display Set %@ -  - MIRRORING doesn't match", name_);
    return false;
  }
  for (const auto& [shown, shows] : set_.complexMirroringSet) {
    const auto a = document_.displayWithID(shown);
    const auto b = document_.displayWithID(shows);
    if (a && b && a->isMirroring(*b)) continue;
    VLMLog("Display Set %@ -  - COMPLEX MIRRORING doesn't match - no mirroring from Display %@ with %@", name_, shown,
           shows);
    return false;
  }
  return true;
}

bool Marker::mainDisplayMatches() {
  if (!checkOrigin_ || !mainIndex_) return true;
  const MonitorState& main = monitors_[*mainIndex_];
  if (!main.isPresent() || !main.isEnabled) {
    result_ = kMarkDash;
    VLMLog("Display Set %@ - - MAIN DISP is not present - returnValue set to DASH", name_);
    return true;
  }
  if (main.display->isMainDisplay()) {
    VLMLog("Display Set %@ -  - MAIN DISP match", name_);
    return true;
  }
  VLMLog("Display Set %@ -  - MAIN DISP doesn't match", name_);
  return false;
}

std::int16_t Marker::mark() {
  findDiamonds();
  findDashes();
  for (const MonitorState& state : monitors_) {
    if (state.isEnabled && state.hasSetting && !monitorMatches(state)) return kMarkNone;
    if (state.isPresent() && !activityMatches(state)) return kMarkNone;
  }
  if (!mirroringMatches() || !mainDisplayMatches()) return kMarkNone;
  if (set_.hasGray && set_.inGray != document_.isGrayEnabled()) {
    VLMLog("Display Set %@ -  - GRAYS doesn't match", name_);
    return kMarkNone;
  }
  VLMLog("Display Set %@ - EVERYTHING MATCHES - returns = %d", name_, result_);
  return result_;
}

}  // namespace

std::int16_t VLMGlobals::checkMarkForSet(const VLMDisplaySet& set, bool* hasOneMonitorSetting) {
  Marker marker(*this, set);
  if (hasOneMonitorSetting != nullptr) *hasOneMonitorSetting = marker.hasOneSetting();
  return marker.mark();
}

}  // namespace vlm
