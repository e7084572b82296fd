#include "Models/DisplaySetApplication.h"

#include <algorithm>

#include "Colour/VLMColorPreset.h"
#include "Models/VLMGlobals.h"
#include "Platform/IORegistry.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/RunLoop.h"
#include "Shared/FileURL.h"

namespace vlm {

namespace {

constexpr const char* kDisplayWranglerPath = "IOService:/IOResources/IODisplayWrangler";

void wakeDisplaySystem() {
  const IOObject wrangler = os().registry.IORegistryEntryFromPath(kDisplayWranglerPath);
  if (wrangler) os().registry.IORegistryEntrySetCFProperty(wrangler.get(), "IORequestIdle", false);
}

/// One file has several URLs.
bool isInUse(const std::string& profile, const VLMDisplay& display) {
  const auto current = display.currentColorProfileURL();
  return current && pathOfFileURL(*current) == pathOfFileURL(profile);
}

}  // namespace

DisplaySetApplication::DisplaySetApplication(VLMGlobals& document, const VLMDisplaySet& set, bool mirroringWasOn)
    : document_(document), set_(set), mirroringWasOn_(mirroringWasOn) {}

std::shared_ptr<VLMDisplay> DisplaySetApplication::displayOf(std::optional<std::int64_t> monitorResID) const {
  auto display = document_.displayWithID(monitorResID);
  // Its record stays until the next look, but a change of a display that is gone spoils the whole transaction.
  return display && os().quartz.CGDisplayIsOnline(display->cgID) ? display : nullptr;
}

void DisplaySetApplication::forEachPresent(const Step& step) const {
  for (const auto& monitor : set_.monitorArray) {
    if (const auto display = displayOf(monitor->monitorResID)) step(*monitor, *display);
  }
}

void DisplaySetApplication::forEachPresentAndOn(const Step& step) const {
  forEachPresent([&](const VLMMonitorInSet& monitor, VLMDisplay& display) {
    if (!monitor.mustBeInactive()) step(monitor, display);
  });
}

void DisplaySetApplication::run() {
  turnDisplaysOn();
  turnDisplaysOff();
  // What was refused so far has been dealt with.
  transaction_.takeRefusal();
  noteWhoIsShown();
  setMirroring();
  setOrientations();
  setModesAndDepths();
  findMainMonitor();
  endMirroringForPositions();
  placeDisplays();
  setPictureOptions();
  transaction_.complete();
  if (transaction_.takeRefusal()) goOnOneByOne();
}

/// One change that is refused takes with it all others that wait for the same completion.
void DisplaySetApplication::goOnOneByOne() {
  isOneByOne_ = true;
  transaction_.restart();
  setMirroring();
  setModesAndDepths();
  if (hasEndedMirroring_ && !set_.usesMirroring() && document_.isMirroringEnabled()) {
    // Its end was refused together with something else, and the places were judged as if it were over.
    endMirroring();
    isOneByOne_ = false;
    placeDisplays();
  } else if (!(set_.hasMirroring && set_.inMirroring)) {
    setPositions();
  }
  transaction_.complete();
}

void DisplaySetApplication::placeDisplays() {
  readPositions();
  if (set_.hasMirroring && set_.inMirroring) return;
  moveMainToOrigin();
  takeStoredOrigins();
  setPositions();
}

void DisplaySetApplication::completeWhenOneByOne() {
  if (isOneByOne_) transaction_.restart();
}

void DisplaySetApplication::turnDisplaysOn() {
  bool isAwake = false;
  std::vector<VLMDisplay*> turnedOn;
  forEachPresent([&](const VLMMonitorInSet& monitor, VLMDisplay& display) {
    if (!monitor.mustBeActive() && !set_.usesMirroring()) return;
    if (!isAwake) wakeDisplaySystem();
    isAwake = true;
    if (display.willChangeActiveIn(true) && display.setIsActive(true, &transaction_)) turnedOn.push_back(&display);
  });
  if (!turnedOn.empty() && completeSwitching(turnedOn, true) && document_.quitDockAfterEnabling) {
    document_.relaunchDockLater();
  }
}

/// One display that cannot be switched takes the others with it: each by itself then. Whether any was switched.
bool DisplaySetApplication::completeSwitching(const std::vector<VLMDisplay*>& displays, bool active) {
  // A setter may have completed on its own: whatever was refused since the step began counts.
  const auto isDone = [&] {
    transaction_.restart();
    return !transaction_.takeRefusal();
  };
  bool isAnyDone = isDone();
  if (isAnyDone || displays.size() < 2) return isAnyDone;
  for (VLMDisplay* const display : displays) {
    if (display->setIsActive(active, &transaction_)) isAnyDone = isDone() || isAnyDone;
  }
  return isAnyDone;
}

void DisplaySetApplication::turnDisplaysOff() {
  std::vector<VLMDisplay*> turnedOff;
  forEachPresent([&](const VLMMonitorInSet& monitor, VLMDisplay& display) {
    if (!monitor.mustBeInactive() || !document_.canDisableDisplay(display)) return;
    // A mirrored display cannot be turned off.
    if (mirroringWasOn_ && !hasEndedMirroring_) endMirroring();
    if (display.willChangeActiveIn(false) && display.setIsActive(false, &transaction_)) turnedOff.push_back(&display);
  });
  if (turnedOff.empty()) return;
  if (!completeSwitching(turnedOff, false)) return;
  // The brightness to come back to; whoever quits the daemon now must not lose it.
  const bool isAnyDimmed =
      std::any_of(turnedOff.begin(), turnedOff.end(), [](auto* off) { return off->useBrightness; });
  if (isAnyDimmed) document_.savePrefs(SettingsGroup::watched);
  if (document_.quitDockAfterDisabling) document_.relaunchDockLater();
}

void DisplaySetApplication::endMirroring() {
  document_.setIsMirroringEnabled(false, &transaction_, false);
  transaction_.restart();
  hasEndedMirroring_ = true;
}

void DisplaySetApplication::setMirroring() {
  // Pairs that were recorded, and are not enforced, are left alone like everything else of that kind.
  if (!set_.hasMirroring) return;
  document_.setIsMirroringEnabled(set_.inMirroring, &transaction_, false);
  // What follows is held against the state that the system answers: mirroring that was ended has to be over by then.
  if (!set_.inMirroring && mirroringWasOn_ && !hasEndedMirroring_) transaction_.restart();
  for (const auto& [shown, shows] : set_.complexMirroringSet) {
    const auto a = displayOf(shown);
    const auto b = displayOf(shows);
    if (a && b) a->setMirroringWith(*b, true, &transaction_);
    completeWhenOneByOne();
  }
  changesShape_ = changesShape_ || mirroringWasOn_ || set_.usesMirroring();
  completeWhenOneByOne();
}

void DisplaySetApplication::setOrientations() {
  forEachPresent([&](const VLMMonitorInSet& monitor, VLMDisplay& display) {
    if (monitor.hasOrientation) display.setOrientation(monitor.orientation, &transaction_);
  });
}

bool DisplaySetApplication::isCopy(const VLMDisplay& display) const {
  if (!set_.usesMirroring()) return os().quartz.CGDisplayMirrorsDisplay(display.cgID) != kCGNullDirectDisplay;
  if (set_.inMirroring) return !document_.isFirstActive(display);
  return std::any_of(set_.complexMirroringSet.begin(), set_.complexMirroringSet.end(),
                     [&](const auto& pair) { return pair.second == display.monitorResID; });
}

void DisplaySetApplication::setModesAndDepths() {
  // Turning displays on and off, and ending mirroring, may have changed them.
  document_.updateCurrentModes();
  // A display that shows another one's picture becomes the one that is shown for as long as its mode is set. Those that
  // are to be shown come last, and stay it.
  for (const bool ofCopies : {true, false}) {
    forEachPresentAndOn([&](const VLMMonitorInSet& monitor, VLMDisplay& display) {
      if (copies_.contains(display.cgID) == ofCopies) setModeAndDepth(monitor, display);
    });
  }
  showAgain();
}

void DisplaySetApplication::noteWhoIsShown() {
  for (const auto& display : document_.displayArray) {
    if (isCopy(*display)) copies_.insert(display->cgID);
  }
  // A set that says nothing of mirroring leaves it as it is.
  for (const auto& display : document_.displayArray) {
    const CGDirectDisplayID master = os().quartz.CGDisplayMirrorsDisplay(display->cgID);
    if (!set_.hasMirroring && master != kCGNullDirectDisplay) shown_.insert(master);
  }
  for (const auto& [shown, shows] : set_.complexMirroringSet) {
    const auto display = displayOf(shown);
    if (set_.usesMirroring() && display && !copies_.contains(display->cgID)) shown_.insert(display->cgID);
  }
}

/// Those that are to be shown, but have no mode of their own in the set, have not become it again.
void DisplaySetApplication::showAgain() {
  if (set_.hasMirroring && set_.inMirroring) {
    if (!document_.isFirstActiveShown()) document_.setIsMirroringEnabled(true, &transaction_, false);
    return;
  }
  for (const CGDirectDisplayID display : shown_) {
    const CGDirectDisplayID shownNow = os().quartz.CGDisplayMirrorsDisplay(display);
    if (shownNow == kCGNullDirectDisplay) continue;
    os().quartz.CGConfigureDisplayMirrorOfDisplay(transaction_.config(), shownNow, display);
  }
}

void DisplaySetApplication::setModeAndDepth(const VLMMonitorInSet& monitor, VLMDisplay& display) {
  std::shared_ptr<VLMMode> mode;
  // Negative as a signed number: no mode is asked for.
  if (static_cast<std::int64_t>(monitor.modeUniqueID) >= 0) {
    mode = display.validModeWithUniqueID(truncateTo<std::uint32_t>(monitor.modeUniqueID));
  }
  std::optional<std::int64_t> depth;
  if (monitor.hasDepthSetting()) depth = static_cast<std::int64_t>(monitor.selDepth);
  if (!mode && !depth) return;
  changesShape_ = changesShape_ || display.willChangeModeAndDepth(mode, depth.value_or(0));
  display.setDisplayMode(mode, depth, set_.hasMirroring, false, &transaction_, true);
  completeWhenOneByOne();
}

void DisplaySetApplication::findMainMonitor() {
  for (const auto& monitor : set_.monitorArray) {
    if (monitor->isMainDisplay) mainMonitor_ = monitor;
  }
}

void DisplaySetApplication::endMirroringForPositions() {
  // The pairs that were just made stay: mirroring of before is over already.
  if (set_.usesMirroring()) return;
  bool needsPositions = mainMonitor_ != nullptr;
  forEachPresent([&](const VLMMonitorInSet& monitor, VLMDisplay& /*display*/) {
    needsPositions = needsPositions || monitor.hasOrigin;
  });
  if (needsPositions && mirroringWasOn_) endMirroring();
}

void DisplaySetApplication::readPositions() {
  places_.clear();
  for (const auto& monitor : set_.monitorArray) {
    const auto display = displayOf(monitor->monitorResID);
    places_.push_back({.position = display ? display->displayPosition() : DisplayPosition{}});
  }
}

void DisplaySetApplication::moveMainToOrigin() {
  if (!mainMonitor_) return;
  const auto main = displayOf(mainMonitor_->monitorResID);
  // One that is off has no place that the others could be moved by; they would lose their main display for nothing.
  if (!main || !main->isActive()) return;
  const DisplayPosition shift = main->displayPosition();
  for (Place& place : places_) {
    place.position.v = truncateTo<std::int16_t>(place.position.v - shift.v);
    place.position.h = truncateTo<std::int16_t>(place.position.h - shift.h);
    place.isMarked = true;
  }
}

void DisplaySetApplication::takeStoredOrigins() {
  for (std::size_t i = 0; i < places_.size(); ++i) {
    const VLMMonitorInSet& monitor = *set_.monitorArray[i];
    if (!monitor.hasOrigin || !displayOf(monitor.monitorResID)) continue;
    places_[i] = {.position = DisplayPosition::unpack(monitor.origin), .isMarked = true, .isStored = true};
  }
}

void DisplaySetApplication::setPositions() {
  bool isAnyMoved = false;
  forEachPlaced([&](VLMDisplay& display, Place& place) {
    // Judged once: what follows may move displays of which the set says nothing.
    if (!isOneByOne_) place.isToMove = place.isStored || display.willChangePosition(place.position);
    isAnyMoved = isAnyMoved || (place.isToMove && display.willChangePosition(place.position));
  });
  if (!isAnyMoved && !changesShape_) return;
  forEachPlaced([&](VLMDisplay& display, const Place& place) {
    if (!place.isToMove) return;
    // Also one that stands well when others move: the system would push it out of their way.
    os().quartz.CGSConfigureDisplayOrigin(transaction_.config(), display.cgID, place.position.h, place.position.v);
  });
}

void DisplaySetApplication::forEachPlaced(const std::function<void(VLMDisplay&, Place&)>& step) {
  for (std::size_t i = 0; i < places_.size(); ++i) {
    const VLMMonitorInSet& monitor = *set_.monitorArray[i];
    const auto display = displayOf(monitor.monitorResID);
    if (display && places_[i].isMarked && !monitor.mustBeInactive()) step(*display, places_[i]);
  }
}

void DisplaySetApplication::setPictureOptions() {
  forEachPresentAndOn([&](const VLMMonitorInSet& monitor, VLMDisplay& display) {
    if (monitor.hasOverscan) display.setInOverscan(monitor.inOverscan, &transaction_);
  });
  forEachPresentAndOn([&](const VLMMonitorInSet& monitor, VLMDisplay& display) {
    if (monitor.hasUnderscan) display.setUnderscan(monitor.underscan, &transaction_);
  });
  forEachPresentAndOn([&](const VLMMonitorInSet& monitor, VLMDisplay& display) {
    if (monitor.hasHDR) display.setHDR(monitor.isInHDR, &transaction_);
  });
  forEachPresentAndOn([&](const VLMMonitorInSet& monitor, VLMDisplay& display) {
    if (!monitor.hasColorProfile) return;
    if (display.hasDisplayPresets() && monitor.colorPreset) {
      const auto preset = VLMColorPreset::presetWithUUID(*monitor.colorPreset, display.shared_from_this());
      if (preset) display.setDisplayPreset(preset->index);
    }
    // One that is in use already may be the factory's, which is not to become the user's choice.
    if (monitor.colorProfile && !isInUse(*monitor.colorProfile, display))
      display.setDisplayProfile(monitor.colorProfile);
  });
  if (set_.hasGray) document_.setIsGrayEnabled(set_.inGray);
}

}  // namespace vlm
