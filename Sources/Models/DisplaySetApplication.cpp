#include "Models/DisplaySetApplication.h"

#include <algorithm>

#include "Colour/VLMColorPreset.h"
#include "Models/VLMGlobals.h"
#include "Platform/IORegistry.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/RunLoop.h"

namespace vlm {

namespace {

constexpr const char* kDisplayWranglerPath = "IOService:/IOResources/IODisplayWrangler";

void wakeDisplaySystem() {
  const IOObject wrangler = os().registry.IORegistryEntryFromPath(kDisplayWranglerPath);
  if (wrangler) os().registry.IORegistryEntrySetCFProperty(wrangler.get(), "IORequestIdle", false);
}

}  // namespace

DisplaySetApplication::DisplaySetApplication(VLMGlobals& document, const VLMDisplaySet& set)
    : document_(document), set_(set), mirroringWasOn_(document.isMirroringEnabled()) {}

void DisplaySetApplication::forEachPresent(const Step& step) const {
  for (const auto& monitor : set_.monitorArray) {
    if (const auto display = document_.displayWithID(monitor->monitorResID)) step(*monitor, *display);
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
  setMirroring();
  setOrientations();
  setModesAndDepths();
  findMainMonitor();
  endMirroringForPositions();
  readPositions();
  if (!(set_.hasMirroring && set_.inMirroring)) {
    moveMainToOrigin();
    takeStoredOrigins();
    setPositions();
  }
  setPictureOptions();
  transaction_.complete();
}

void DisplaySetApplication::turnDisplaysOn() {
  bool isAwake = false;
  bool hasTurnedOn = false;
  forEachPresent([&](const VLMMonitorInSet& monitor, VLMDisplay& display) {
    if (!monitor.mustBeActive() && !set_.usesMirroring()) return;
    if (!isAwake) wakeDisplaySystem();
    isAwake = true;
    if (display.willChangeActiveIn(true)) hasTurnedOn = display.setIsActive(true, &transaction_) || hasTurnedOn;
  });
  if (!hasTurnedOn) return;
  transaction_.restart();
  if (document_.quitDockAfterEnabling) document_.relaunchDockLater();
}

void DisplaySetApplication::turnDisplaysOff() {
  bool hasTurnedOff = false;
  forEachPresent([&](const VLMMonitorInSet& monitor, VLMDisplay& display) {
    if (!monitor.mustBeInactive() || !document_.canDisableDisplay(display)) return;
    // A mirrored display cannot be turned off.
    if (mirroringWasOn_) endMirroring();
    if (display.willChangeActiveIn(false)) hasTurnedOff = display.setIsActive(false, &transaction_) || hasTurnedOff;
  });
  if (!hasTurnedOff) return;
  transaction_.restart();
  if (document_.quitDockAfterDisabling) document_.relaunchDockLater();
}

void DisplaySetApplication::endMirroring() {
  document_.setIsMirroringEnabled(false, &transaction_, false);
  transaction_.restart();
}

void DisplaySetApplication::setMirroring() {
  if (set_.hasMirroring) document_.setIsMirroringEnabled(set_.inMirroring, &transaction_, false);
  // What follows is held against the state that the system answers: mirroring that was ended has to be over by then.
  if (set_.hasMirroring && !set_.inMirroring && mirroringWasOn_) transaction_.restart();
  for (const auto& [shown, shows] : set_.complexMirroringSet) {
    const auto a = document_.displayWithID(shown);
    const auto b = document_.displayWithID(shows);
    if (a && b) a->setMirroringWith(*b, true, &transaction_);
  }
}

void DisplaySetApplication::setOrientations() {
  forEachPresent([&](const VLMMonitorInSet& monitor, VLMDisplay& display) {
    if (monitor.hasOrientation) display.setOrientation(monitor.orientation, &transaction_);
  });
}

void DisplaySetApplication::setModesAndDepths() {
  forEachPresentAndOn([&](const VLMMonitorInSet& monitor, VLMDisplay& display) {
    std::shared_ptr<VLMMode> mode;
    // Negative as a signed number: no mode is asked for.
    if (static_cast<std::int64_t>(monitor.modeUniqueID) >= 0) {
      mode = display.validModeWithUniqueID(truncateTo<std::uint32_t>(monitor.modeUniqueID));
    }
    std::optional<std::int64_t> depth;
    if (monitor.hasDepthSetting()) depth = static_cast<std::int64_t>(monitor.selDepth);
    if (mode || depth) display.setDisplayMode(mode, depth, set_.hasMirroring, false, &transaction_, true);
  });
}

void DisplaySetApplication::findMainMonitor() {
  for (const auto& monitor : set_.monitorArray) {
    if (monitor->isMainDisplay) mainMonitor_ = monitor;
  }
}

void DisplaySetApplication::endMirroringForPositions() {
  // The pairs that were just made stay: mirroring of before is over already.
  if (set_.inMirroring || set_.usesMirroring()) return;
  bool needsPositions = mainMonitor_ != nullptr;
  forEachPresent([&](const VLMMonitorInSet& monitor, VLMDisplay& /*display*/) {
    needsPositions = needsPositions || monitor.hasOrigin;
  });
  if (needsPositions && mirroringWasOn_) endMirroring();
}

void DisplaySetApplication::readPositions() {
  for (const auto& monitor : set_.monitorArray) {
    const auto display = document_.displayWithID(monitor->monitorResID);
    places_.push_back({.position = display ? display->displayPosition() : DisplayPosition{}, .isMarked = false});
  }
}

void DisplaySetApplication::moveMainToOrigin() {
  if (!mainMonitor_) return;
  const auto main = document_.displayWithID(mainMonitor_->monitorResID);
  if (!main) return;
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
    if (!monitor.hasOrigin || !document_.displayWithID(monitor.monitorResID)) continue;
    places_[i] = {.position = DisplayPosition::unpack(monitor.origin), .isMarked = true};
  }
}

void DisplaySetApplication::setPositions() {
  for (std::size_t i = 0; i < places_.size(); ++i) {
    const VLMMonitorInSet& monitor = *set_.monitorArray[i];
    const auto display = document_.displayWithID(monitor.monitorResID);
    if (!display || !places_[i].isMarked || monitor.mustBeInactive()) continue;
    display->setDisplayPositionTo(places_[i].position, &transaction_);
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
      if (const auto index = presetIndexWithUUID(*monitor.colorPreset, display)) display.setDisplayPreset(*index);
    }
    if (monitor.colorProfile) display.setDisplayProfile(monitor.colorProfile);
  });
  if (set_.hasGray) document_.setIsGrayEnabled(set_.inGray);
}

}  // namespace vlm
