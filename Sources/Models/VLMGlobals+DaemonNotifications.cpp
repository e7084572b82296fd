#include <array>

#include "Models/DisplayList.h"
#include "Models/Script_Send.h"
#include "Models/VLMApplicationObject.h"
#include "Models/VLMChangeRecorder.h"
#include "Models/VLMDesktopLayout.h"
#include "Models/VLMGlobals.h"
#include "Platform/IORegistry.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/Workspace.h"

namespace vlm {

namespace {

/// Option of a probe: look for displays.
constexpr IOOptionBits kProbeForDisplays = 1;

struct Command {
  const char* object;
  void (VLMGlobals::*handler)(const Notification&);
};

}  // namespace

void VLMGlobals::installDaemonObservers() {
  const std::array commands{
      Command{"ScanDisp", &VLMGlobals::rescanDisp},
      Command{"QuitAndRun", &VLMGlobals::relaunchDaemon},
      Command{"kVLMUseThisMode", &VLMGlobals::useMode},
      Command{"rearrangeD", &VLMGlobals::rearrangeDesktop},
      Command{"replaceD", &VLMGlobals::replaceDesktop},
      Command{"saveD", &VLMGlobals::saveDesktop},
      Command{"openSysPref", &VLMGlobals::openSysPrefPane},
      Command{"openCDEV", &VLMGlobals::openControlApp},
      Command{"doAddStatusItem", &VLMGlobals::showStatusItemCommand},
      Command{"doRemoveStatusItem", &VLMGlobals::removeStatusItem},
      Command{"reloadPreferences", &VLMGlobals::reloadSettings},
      Command{"EnableHotKeys", &VLMGlobals::enableHotKeys},
      Command{"DisableHotKeys", &VLMGlobals::disableHotkeys},
      Command{"QuitVLMDaemon", &VLMGlobals::quitDaemon},
      Command{"kVLMNotifyNewVersion", &VLMGlobals::hasReceivedVersionNumber},
  };
  for (const Command& command : commands) {
    // In the background too: a daemon is never in front.
    os().notifications.addObserver(
        NotificationCenter::distributed, kDaemonNotificationName, command.object,
        SuspensionBehavior::deliverImmediately,
        [this, handler = command.handler](const Notification& notification) { (this->*handler)(notification); });
  }
  os().notifications.addObserver(NotificationCenter::local, "NSScreenColorSpaceDidChangeNotification", std::nullopt,
                                 SuspensionBehavior::deliverImmediately,
                                 [this](const Notification& notification) { colorSyncProfileChanged(notification); });
  os().notifications.addObserver(NotificationCenter::workspace, "NSWorkspaceSessionDidBecomeActiveNotification",
                                 std::nullopt, SuspensionBehavior::deliverImmediately,
                                 [this](const Notification& notification) { fastUserSwitch(notification); });
  sendThatImLaunching();
}

void VLMGlobals::removeDaemonObservers() { sendThatImClosing(); }

void VLMGlobals::rescanDisp(const Notification& /*notification*/) {
  for (const CGDirectDisplayID display : displayList()) {
    const io_service_t frameBuffer = os().quartz.CGDisplayIOServicePort(display);
    if (frameBuffer == 0) continue;
    const auto options = os().registry.IORegistryEntryCreateCFProperty(frameBuffer, "IOFBProbeOptions");
    if (!options || !options->isNumber() || truncateTo<std::int32_t>(options->sInt64()) == 0) continue;
    os().registry.IOServiceRequestProbe(frameBuffer, kProbeForDisplays);
  }
}

void VLMGlobals::relaunchDaemon(const Notification& /*notification*/) {
  if (applicationObject != nullptr) applicationObject->closeUtilityPanel();
}

void VLMGlobals::useMode(const Notification& notification) {
  if (!notification.userInfo) return;
  const plist::Value* const displayID = notification.userInfo->find(kParameter1Key);
  const plist::Value* const modeID = notification.userInfo->find(kParameter2Key);
  // Any process of the session can post this; what is not a number names nothing.
  if (displayID == nullptr || modeID == nullptr || !displayID->isNumber() || !modeID->isNumber()) return;
  const auto display = displayWithID(displayID->sInt64());
  if (!display) return;
  const auto mode = display->validModeWithUniqueID(truncateTo<std::uint32_t>(modeID->sInt64()));
  if (!mode || !mode->isValidAct) return;
  if (saveAutoDesktop && desktopLayout != nullptr) desktopLayout->saveDesktopAll();
  // Nothing is known of it right after a wake, and another program may have changed it since the last tick.
  display->updateCurrentMode();
  display->setDisplayMode(mode, 0, false, true, nullptr, false);
}

void VLMGlobals::rearrangeDesktop(const Notification& /*notification*/) {
  if (desktopLayout != nullptr) desktopLayout->reArrangeDesktop();
}

void VLMGlobals::replaceDesktop(const Notification& /*notification*/) {
  if (recorder != nullptr) recorder->recordRestoreDesktop();
  if (applicationObject != nullptr) applicationObject->restoreDesktop();
}

void VLMGlobals::saveDesktop(const Notification& /*notification*/) {
  if (recorder != nullptr) recorder->recordSaveDesktop();
  if (applicationObject != nullptr) applicationObject->saveDesktop();
}

void VLMGlobals::openSysPrefPane(const Notification& /*notification*/) {
  os().workspace.openFile("/System/Library/PreferencePanes/Displays.prefPane");
}

void VLMGlobals::openControlApp(const Notification& /*notification*/) {
  if (applicationObject != nullptr) applicationObject->openControlApp();
}

void VLMGlobals::showStatusItemCommand(const Notification& /*notification*/) {
  if (applicationObject != nullptr) applicationObject->loadStatusItem(true);
}

void VLMGlobals::removeStatusItem(const Notification& /*notification*/) {
  if (applicationObject != nullptr) applicationObject->loadStatusItem(false);
}

void VLMGlobals::reloadSettings(const Notification& /*notification*/) {
  if (applicationObject == nullptr) return;
  // One mark, no count: two posts of our own in a row are followed by one reload.
  if (applicationObject->loadPrefsOriginatedFromMe()) {
    applicationObject->setLoadPrefsOriginatedFromMe(false);
    return;
  }
  applicationObject->reloadPrefsFromFile();
}

void VLMGlobals::enableHotKeys(const Notification& /*notification*/) {
  if (applicationObject != nullptr) applicationObject->daemonInstallHotKeys();
}

void VLMGlobals::disableHotkeys(const Notification& /*notification*/) {
  if (applicationObject != nullptr) applicationObject->daemonRemoveHotKeys();
}

void VLMGlobals::quitDaemon(const Notification& /*notification*/) {
  if (applicationObject != nullptr) applicationObject->quitDaemon();
}

void VLMGlobals::hasReceivedVersionNumber(const Notification& /*notification*/) {
  if (applicationObject != nullptr) applicationObject->compareVersions();
}

void VLMGlobals::colorSyncProfileChanged(const Notification& /*notification*/) {
  if (applicationObject != nullptr) applicationObject->updateColorSync();
}

void VLMGlobals::fastUserSwitch(const Notification& /*notification*/) { hasFastUserSwitchOccurred = true; }

}  // namespace vlm
