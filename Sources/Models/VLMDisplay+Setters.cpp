#include "Models/VLMDisplay.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/UserInterface.h"
#include "Shared/Dlog.h"
#include "Shared/ModeMath.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

/// Depth that stands for "the deepest that the mode has".
constexpr std::int64_t kDeepest = 127;
/// Answer of the confirmation dialog that keeps the new mode.
constexpr std::uint32_t kKeepMode = kCFUserNotificationOtherResponse;
/// `menuVal` of a mode that the user has not confirmed yet, and of one that was.
constexpr std::int32_t kNotConfirmed = 1, kConfirmed = 2;
/// Grey scale needs to be switched on again only behind a depth that has colours beyond an 8-bit palette.
constexpr std::uint32_t kShallowestGrayDepth = 9;

std::int64_t deepestDepth(const VLMMode& mode) {
  return std::int64_t{1} << maskToIndex(static_cast<std::uint32_t>(mode.colorMask));
}

/// The system's number of a mode at a depth in mask form; -1 when the mode has no such depth.
std::int32_t systemModeNumber(const VLMMode& mode, std::int64_t depth) {
  const int slot = maskToIndex(static_cast<std::uint64_t>(depth)) - 3;
  if (slot < 0 || slot >= VLMMode::kDepthSlots) return -1;
  return mode.sysModeID[static_cast<std::size_t>(slot)];
}

struct ModeChange {
  std::int32_t current = -1;
  std::int32_t target = -1;
};

/// Without a mode the current one is meant, at another depth.
ModeChange modeChangeOf(const VLMDisplay& display, const std::shared_ptr<VLMMode>& mode, std::int64_t depth) {
  ModeChange change;
  const auto currentMode = display.currentMode.get();
  if (currentMode != nullptr) change.current = systemModeNumber(*currentMode, display.currentDepth);
  const auto& wanted = mode != nullptr ? mode : currentMode;
  if (wanted == nullptr) return change;
  const bool keepsDepth = depth == 0 && display.currentDepth != 0 && (wanted->colorMask & display.currentDepth) != 0;
  if (keepsDepth) {
    depth = display.currentDepth;
  } else if (depth == 0 || depth == kDeepest) {
    depth = deepestDepth(*wanted);
  }
  change.target = systemModeNumber(*wanted, depth);
  return change;
}

/// Since this version a mode is refused for a display that only shows another one's picture.
void makePrimaryOfItsMirrorSet(CGDirectDisplayID display, DisplayTransaction& transaction) {
  if (systemVersion() < kSystem10_14 || !os().quartz.CGDisplayIsInMirrorSet(display)) return;
  const CGDirectDisplayID primary = os().quartz.CGDisplayPrimaryDisplay(display);
  if (primary == display) return;
  os().quartz.CGConfigureDisplayMirrorOfDisplay(transaction.config(), primary, display);
  transaction.restart();
}

/// At once: nobody should have to look at a refused mode until the caller's transaction ends.
void restoreMode(CGDirectDisplayID display, std::int32_t modeNumber, DisplayTransaction* given) {
  if (given == nullptr) {
    const DisplayTransaction restoring;
    os().quartz.CGSConfigureDisplayMode(restoring.config(), display, modeNumber);
    return;
  }
  os().quartz.CGSConfigureDisplayMode(given->config(), display, modeNumber);
  given->restart();
}

}  // namespace

bool VLMDisplay::willChangePosition(DisplayPosition position) const { return displayPosition() != position; }

void VLMDisplay::setDisplayPositionTo(DisplayPosition position, DisplayTransaction* transaction) {
  if (!willChangePosition(position)) return;
  const JoinedTransaction changes(transaction);
  os().quartz.CGSConfigureDisplayOrigin(changes->config(), cgID, position.h, position.v);
}

bool VLMDisplay::willChangeModeAndDepth(const std::shared_ptr<VLMMode>& mode, std::int64_t depth) const {
  const ModeChange change = modeChangeOf(*this, mode, depth);
  return change.target != change.current;
}

void VLMDisplay::setDisplayMode(const std::shared_ptr<VLMMode>& mode, std::optional<std::int64_t> depth, bool force,
                                bool warning, DisplayTransaction* transaction, bool /*inADisplaySet*/) {
  if (mode == nullptr && !depth) return;
  const ModeChange change = modeChangeOf(*this, mode, depth.value_or(0));
  if (change.target < 0 || (change.target == change.current && !force)) return;
  const bool wasGray = container != nullptr && container->isGrayEnabled();

  JoinedTransaction changes(transaction);
  makePrimaryOfItsMirrorSet(cgID, *changes);
  os().quartz.CGSConfigureDisplayMode(changes->config(), cgID, change.target);
  changes.completeWhenOwn();
  rezChangeOriginatedFromMe = true;

  if (!warning || mode == nullptr || mode->menuVal != kNotConfirmed) return;
  // The user can only judge what is on the screen.
  if (!changes.isOwn()) changes->restart();
  if (Dlog_ConfirmNewRes() == kKeepMode) {
    mode->menuVal = kConfirmed;
    return;
  }
  if (change.current < 0) return;
  restoreMode(cgID, change.current, changes.isOwn() ? nullptr : &*changes);
  if (wasGray && maskToVisibleDepth(static_cast<std::uint32_t>(currentDepth)) >= kShallowestGrayDepth)
    container->setIsGrayEnabled(true);
}

void VLMDisplay::setMirroringWith(VLMDisplay& other, bool value, DisplayTransaction* transaction) {
  const JoinedTransaction changes(transaction);
  if (isMirroring(other) == value) return;
  os().quartz.CGConfigureDisplayMirrorOfDisplay(changes->config(), other.cgID, value ? cgID : kCGNullDirectDisplay);
}

void VLMDisplay::setToggleMirroringWith(VLMDisplay& other, DisplayTransaction* transaction) {
  JoinedTransaction changes(transaction);
  if (!isMirroring(other)) {
    os().quartz.CGConfigureDisplayMirrorOfDisplay(changes->config(), other.cgID, cgID);
    return;
  }
  bool hasTurnedOn = false;
  for (VLMDisplay* const display : {this, &other}) {
    if (!display->isActive()) hasTurnedOn = display->setIsActive(true, &*changes) || hasTurnedOn;
  }
  if (hasTurnedOn) changes->restart();
  if (hasTurnedOn && container->quitsDockAfterEnabling()) container->relaunchDockLater();
  os().quartz.CGConfigureDisplayMirrorOfDisplay(changes->config(), other.cgID, kCGNullDirectDisplay);
}

bool VLMDisplay::willSetMirroringWith(const VLMDisplay& other, bool value) const { return isMirroring(other) == value; }

}  // namespace vlm
