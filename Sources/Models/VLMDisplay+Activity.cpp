#include <cmath>
#include <map>
#include <set>

#include "Models/VLMChangeRecorder.h"
#include "Models/VLMDisplay.h"
#include "Platform/Process.h"
#include "Platform/RunLoop.h"
#include "Platform/SkyLight.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

/// What tells a stored brightness of 0 from none at all.
constexpr float kSavedBrightnessOffset = 1.0F;
/// The system's display services get nothing above this.
constexpr float kMostForDisplayServices = 2.0F;
/// DDC/CI maximum of monitors in general, for one that has not told its own.
constexpr float kUsualMaxBrightness = 100.0F;

/// The transfer formula kept last. There is one for all displays, and it is the identity until one has been kept.
struct KeptGamma {
  DisplayTransferFormula formula;
};

/// Displays that were turned off and whose picture will be darkened, with the perform that does it.
struct PendingDarkenings {
  std::map<CGDirectDisplayID, RunLoopToken> performs;
};

/// Displays, by `monitorResID`, that were made dark when they were turned off: by their brightness, by their gamma.
struct DarkDisplays {
  std::set<std::int64_t> dimmed, darkened;
};

bool isLit(CGDirectDisplayID display) {
  return os().quartz.CGDisplayIsActive(display) || os().quartz.CGDisplayIsInMirrorSet(display);
}

void keepGammaOf(CGDirectDisplayID display) {
  const auto formula = os().quartz.CGGetDisplayTransferByFormula(display);
  // A picture that is dark already has nothing that anybody would want back.
  const bool isDark = formula && formula->redMax == 0 && formula->greenMax == 0 && formula->blueMax == 0;
  if (formula && !isDark) Process::current().state<KeptGamma>().formula = *formula;
}

void setGammaOf(CGDirectDisplayID display, float factor) {
  DisplayTransferFormula formula = Process::current().state<KeptGamma>().formula;
  formula.redMax *= factor;
  formula.greenMax *= factor;
  formula.blueMax *= factor;
  os().quartz.CGSetDisplayTransferByFormula(display, formula);
}

void cancelDarkening(CGDirectDisplayID display) {
  auto& performs = Process::current().state<PendingDarkenings>().performs;
  const auto pending = performs.find(display);
  if (pending == performs.end()) return;
  os().runLoop.cancelPerform(pending->second);
  performs.erase(pending);
}

/// The display's record may be another one by then, so only its identifiers are kept.
void darkenAfterDelay(CGDirectDisplayID display, std::int64_t monitorResID, double delay) {
  cancelDarkening(display);
  const RunLoopToken perform = os().runLoop.performAfterDelay(delay, [display, monitorResID] {
    Process::current().state<PendingDarkenings>().performs.erase(display);
    // Somebody has lit it meanwhile; it may be the only one that its user has.
    if (isLit(display) || !os().quartz.CGDisplayIsOnline(display)) return;
    keepGammaOf(display);
    setGammaOf(display, 0);
    Process::current().state<DarkDisplays>().darkened.insert(monitorResID);
  });
  Process::current().state<PendingDarkenings>().performs[display] = perform;
}

/// Lets the system's display driver go idle, which takes the signal from a display that was turned off.
void requestIdle() {
  const IOObject wrangler = os().registry.IORegistryEntryFromPath("IOService:/IOResources/IODisplayWrangler");
  if (wrangler) os().registry.IORegistryEntrySetCFProperty(wrangler.get(), "IORequestIdle", true);
}

}  // namespace

bool VLMDisplay::willChangeActiveIn(bool active) const {
  if (container == nullptr || container->attachedDisplays().size() < 2) return false;
  if (os().quartz.CGDisplayIsInMirrorSet(cgID)) return false;
  const bool isOnAfterwards =
      DisplayTransaction::isGoingOn(cgID) || (isActive() && !DisplayTransaction::isGoingOff(cgID));
  return isOnAfterwards != active;
}

bool VLMDisplay::setIsActive(bool active, DisplayTransaction* transaction) {
  if (container == nullptr) return false;
  if (!active && !container->canDisableDisplay(*this)) return false;
  // Also when somebody else has lit it already: it must not go dark under its user's eyes.
  if (active) cancelDarkening(cgID);
  if (!willChangeActiveIn(active)) return false;
  JoinedTransaction changes(transaction);
  container->markActivityChangeOriginatedFromMe();
  if (active) {
    turnOnIn(*changes);
  } else {
    turnOffIn(*changes);
  }
  isEnabled = active;
  if (!changes.isOwn()) return true;

  changes.completeWhenOwn();
  if (active ? container->quitsDockAfterEnabling() : container->quitsDockAfterDisabling()) {
    container->relaunchDockLater();
  }
  return true;
}

void VLMDisplay::turnOffIn(DisplayTransaction& transaction) {
  os().quartz.CGSConfigureDisplayEnabled(transaction.config(), cgID, false);
  transaction.willTurnOff(cgID, [display = weak_from_this()] {
    const auto record = display.lock();
    if (record == nullptr) return;
    record->isEnabled = true;
    record->relightWhenActive();
  });
  // Takes the cursor off the display that goes.
  os().quartz.CGDisplayShowCursor(kCGNullDirectDisplay);
  if (useBrightness) turnBrightnessDown();
  if (useGamma) darkenAfterDelay(cgID, identity(), static_cast<double>(gammaDelay));
  if (systemVersion() >= kSystem10_9 && !os().quartz.CGDisplayIsBuiltin(cgID) && container->forcesSleepAfterDisable()) {
    requestIdle();
  }
}

void VLMDisplay::turnBrightnessDown() {
  auto& dimmed = Process::current().state<DarkDisplays>().dimmed;
  const float now = readBrightness();
  // One that cannot be read could not be brought back; of one that is dimmed already the brightness of before counts.
  if (now < 0 || (now == 0 && dimmed.contains(identity()))) return;
  savedBrightness = now + kSavedBrightnessOffset;
  setBrightness(0);
  dimmed.insert(identity());
}

void VLMDisplay::rememberThatItIsDimmed() const {
  if (!isEnabled && useBrightness && savedBrightness != 0) {
    Process::current().state<DarkDisplays>().dimmed.insert(identity());
  }
}

void VLMDisplay::turnOnIn(DisplayTransaction& transaction) {
  os().quartz.CGSConfigureDisplayEnabled(transaction.config(), cgID, true);
  transaction.willTurnOn(cgID);
  auto& dark = Process::current().state<DarkDisplays>();
  dark.dimmed.erase(identity());
  dark.darkened.erase(identity());
  if (savedBrightness != 0 && useBrightness) setBrightness(savedBrightness - kSavedBrightnessOffset);
  if (useGamma) setGamma(1.0F, &transaction);
}

void VLMDisplay::relightWhenActive() {
  if (!isLit(cgID)) return;
  cancelDarkening(cgID);
  auto& dark = Process::current().state<DarkDisplays>();
  if (dark.dimmed.contains(identity())) {
    // One that is not dark any more has been set by its user since. One that does not answer, as monitors do while they
    // wake, may well hear; it is tried again at the next rebuild.
    const float now = readBrightness();
    if (now <= 0 && savedBrightness != 0) setBrightness(savedBrightness - kSavedBrightnessOffset);
    if (now >= 0) dark.dimmed.erase(identity());
  }
  if (dark.darkened.erase(identity()) != 0) setGammaOf(cgID, 1.0F);
}

void VLMDisplay::keepGamma() { keepGammaOf(cgID); }

void VLMDisplay::setGamma(float factor, DisplayTransaction* transaction) {
  if (transaction != nullptr) transaction->restart();
  setGammaOf(cgID, factor);
}

bool VLMDisplay::willSetBrightness(float value) { return canBrightness >= 1 && readBrightness() != value; }

void VLMDisplay::setBrightness(float value) {
  if (value < 0 || readBrightness() == value) return;
  if (canBrightness == 2 && value <= kMostForDisplayServices) {
    os().skyLight.DisplayServicesSetBrightness(cgID, value);
  } else if (canBrightness == 1 && maxBrightness != 0) {
    setBrightnessviaDDC(value * maxBrightness);
  } else if (canBrightness == 1) {
    setBrightnessviaDDC(value * kUsualMaxBrightness);
    savedLastSetBrightness = value;
  }
  brightness = value;
  VLMChangeRecorder* const recorder = container != nullptr ? container->changeRecorder() : nullptr;
  if (recorder != nullptr) recorder->recordBrightnessFromDisp(*this, value);
}

}  // namespace vlm
