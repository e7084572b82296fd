#include "Daemon/Controllers/VLMDaemonMainController.h"
#include "Models/VLMDisplaySet.h"

// Rooms that are built later. Each function is called at its moment already.
namespace vlm {

void VLMDaemonMainController::newApplicationWillStart(const Notification& /*notification*/) {
  // Applies the set of a rule for the application that starts.
}

void VLMDaemonMainController::newApplicationActivate(const Notification& /*notification*/) {
  // Applies the set of a rule for the application that comes to the front.
}

void VLMDaemonMainController::applicationQuitted(const ProcessSerialNumber& /*psn*/) {
  // Puts back what was in force when the application started.
}

void VLMDaemonMainController::installUtilityPanel() {
  // Builds the hidden information panel.
}

void VLMDaemonMainController::closeUtilityPanel() {
  // Closes the information panel.
}

void VLMDaemonMainController::compareVersions() {
  // Compares the newest version known with this one.
}

void VLMDaemonMainController::saveDesktop() {
  // Saves the desktop layout at the control application's command.
}

void VLMDaemonMainController::restoreDesktop() {
  // Restores the desktop layout at the control application's command.
}

void VLMDaemonMainController::recordUseSet(const std::shared_ptr<VLMDisplaySet>& set) { lastUsedSet = set; }

// What changed, for whoever replays it: nothing is recorded yet.

void VLMDaemonMainController::recordOrientationFromDisp(const VLMDisplay& /*display*/, std::int32_t /*isNow*/) {}
void VLMDaemonMainController::recordDepthFromDisp(const VLMDisplay& /*display*/, std::int32_t /*isNow*/) {}
void VLMDaemonMainController::recordModeFromDisp(const VLMDisplay& /*display*/,
                                                 const std::shared_ptr<VLMMode>& /*isNow*/) {}
void VLMDaemonMainController::recordPositionFromDisp(const VLMDisplay& /*display*/, DisplayPosition /*isNow*/) {}
void VLMDaemonMainController::recordMainDisplayIsNow(const VLMDisplay& /*display*/) {}
void VLMDaemonMainController::recordMirroringIsNow(bool /*isNow*/) {}
void VLMDaemonMainController::recordGrayIsNow(bool /*isNow*/) {}
void VLMDaemonMainController::recordOverscanFromDisp(const VLMDisplay& /*display*/, bool /*isNow*/) {}
void VLMDaemonMainController::recordUnderscanFromDisp(const VLMDisplay& /*display*/, float /*isNow*/) {}
void VLMDaemonMainController::recordHDRFromDisp(const VLMDisplay& /*display*/, bool /*isNow*/) {}
void VLMDaemonMainController::recordEnabledFromDisp(const VLMDisplay& /*display*/, bool /*isNow*/) {}
void VLMDaemonMainController::recordBrightnessFromDisp(const VLMDisplay& /*display*/, float /*isNow*/) {}
void VLMDaemonMainController::recordPresetFromDisp(const VLMDisplay& /*display*/,
                                                   const std::optional<std::string>& /*isNow*/) {}
void VLMDaemonMainController::recordProfileFromDisp(const VLMDisplay& /*display*/,
                                                    const std::optional<std::string>& /*isNow*/) {}
void VLMDaemonMainController::recordSaveDesktop() {}
void VLMDaemonMainController::recordRestoreDesktop() {}

}  // namespace vlm
