#include "Daemon/Controllers/VLMDaemonMainController.h"

#include <csignal>

#include "Daemon/Controllers/VLMDaemonEventsObserver.h"
#include "Daemon/DesktopIconLayout.h"
#include "Models/Monitor.h"
#include "Models/Script_Send.h"
#include "Models/VLMGlobals.h"
#include "Platform/AppleEvents.h"
#include "Platform/Bundle.h"
#include "Platform/Process.h"
#include "Platform/Workspace.h"
#include "Shared/BundleTexts.h"
#include "Shared/Format.h"
#include "Shared/Log.h"
#include "Shared/Prefs.h"
#include "Shared/VersionChecker.h"

namespace vlm {

namespace {

/// Name of the set that the first start leaves, in the table "Daemon".
constexpr int kFirstSetNameText = 4;
constexpr double kCheckInterval = 1.0;  // seconds

/// Whether the copy in that bundle is as new as this one, or newer. One without a version is older.
bool isAsNewAsMe(const std::string& bundlePath, VersionChecker& checker) {
  const auto information = os().bundle.infoDictionaryOfBundleAt(bundlePath);
  const plist::Value* version = information ? information->find("CFBundleVersion") : nullptr;
  return version != nullptr &&
         checker.getVersionFromString(format("%@", *version)) >= checker.currentPackageVersionInteger();
}

}  // namespace

std::unique_ptr<VLMDaemonMainController> VLMDaemonMainController::init() {
  return std::unique_ptr<VLMDaemonMainController>(new VLMDaemonMainController);
}

VLMDaemonMainController::VLMDaemonMainController()
    : prefs(VLMGlobals::sharedInstance()),
      versionChecker(VersionChecker::sharedInstance()),
      desktopLayout(std::make_unique<DesktopIconLayout>(prefs)) {
  os().application.setDelegate(this);
  prefs.launchedApplications = {};
  eventsObserver = std::make_unique<VLMDaemonEventsObserver>();
  prefs.applicationObject = this;
  prefs.recorder = this;
  prefs.desktopLayout = desktopLayout.get();
  VLMLog("VLMDaemon - %@ - Version from: %s", versionChecker.longVersionString(), __TIMESTAMP__);
  VLMLog("VLMDaemonMainController init");
}

VLMDaemonMainController::~VLMDaemonMainController() {
  prefs.applicationObject = nullptr;
  prefs.recorder = nullptr;
  prefs.desktopLayout = nullptr;
}

void VLMDaemonMainController::applicationDidFinishLaunching() {
  // A copy that must not run goes through the rest all the same; its loop ends afterwards.
  ensureImOnlyLaunchedOnce();
  velmoratixStatusItem = 0;
  statusItemMenu = std::make_shared<Menu>();
  initStatusItemNeeds();
  contextualMenu = std::make_shared<Menu>();
  initContextMenuNeeds();
  const bool isFirstRun = loadPrefsFromFile();
  loadStatusItem(prefs.showStatusItem);
  if (isFirstRun) rememberFirstConfiguration();
  prefs.installDaemonObservers();
  Monitor_InstallNotification(prefs);
  os().notifications.addObserver(NotificationCenter::distributed, "AppleInterfaceThemeChangedNotification",
                                 std::nullopt, SuspensionBehavior::coalesce,
                                 [this](const Notification& /*notification*/) { themeChangeNotification(); });
  os().userInterface.setUserNotificationCenterDelegate(
      [this](const std::string& notice) { userNotificationCenter(notice); });
  installUtilityPanel();
  installEventHandlers();
  os().input.InstallApplicationEventHandler(
      {{kEventClassKeyboard, kEventHotKeyPressed}, {kEventClassApplication, kEventAppTerminated}},
      [this](const CarbonEvent& event) { return Daemon_AppCommandProcess(event, prefs); });
  installWorkspaceObservers();
  daemonInstallGlobalMonitors();
  checkLoopTimer1Sec = os().runLoop.scheduledTimerWithTimeInterval(kCheckInterval, true, [this] { checkLoop1Sec(); });
  savePrefsToFileAndForce(false);
  Script_SendDaemonReloadSettings(prefs);
  getCurrentLocalSettings();
  os().runLoop.performAfterDelay(prefs.startRestoreDelay, [this] { applySavedSettings(); });
}

void VLMDaemonMainController::ensureImOnlyLaunchedOnce() {
  const std::int32_t me = os().workspace.processIdentifier();
  const auto copies = os().workspace.runningApplicationsWithBundleIdentifier(kDaemonBundleIdentifier);
  if (copies.size() < 2) return;
  // Never set back: once a copy as new as this one was seen, all behind it in the list are left alone.
  bool killOthers = true;
  for (const RunningApplication& copy : copies) {
    if (copy.processIdentifier == me) continue;
    if (isAsNewAsMe(copy.bundlePath, versionChecker)) killOthers = false;
    if (killOthers) {
      os().workspace.forceTerminate(copy.processIdentifier);
    } else {
      os().application.stop();
    }
  }
}

void VLMDaemonMainController::rememberFirstConfiguration() {
  const auto set = VLMDisplaySet::initWithDisplays(prefs.displayArray, prefs);
  set->container = &prefs;
  set->uniqueID = prefs.findNextSetUniqueID();
  set->name = GetBundleIndNSString("Daemon", kFirstSetNameText);
  set->keyCode = kFirstSetKeyCode;
  prefs.displaySetsArray.push_back(set);
}

void VLMDaemonMainController::installEventHandlers() {
  constexpr std::uint32_t kCoreEventClass = fourCharCode("aevt");
  // Accepted and ignored: there is nothing to open or print.
  for (const std::uint32_t event : {fourCharCode("oapp"), fourCharCode("odoc"), fourCharCode("pdoc")}) {
    os().appleEvents.setEventHandler(kCoreEventClass, event, [this] { handleAll(); });
  }
  os().appleEvents.setEventHandler(kCoreEventClass, fourCharCode("quit"), [this] { handleQuitApplication(); });
  os().runLoop.setSignalHandler(SIGINT, [this] { Daemon_SignalTrap(SIGINT); });
}

void VLMDaemonMainController::Daemon_SignalTrap(int /*signal*/) {
  prefs.savePrefs(SettingsGroup::watched);
  quitDaemon();
}

void VLMDaemonMainController::installWorkspaceObservers() {
  struct Observer {
    const char* name;
    void (VLMDaemonMainController::*handler)(const Notification&);
  };
  for (const Observer& observer : {
           Observer{"NSWorkspaceWillLaunchApplicationNotification", &VLMDaemonMainController::newApplicationWillStart},
           Observer{"NSWorkspaceDidActivateApplicationNotification", &VLMDaemonMainController::newApplicationActivate},
           Observer{"NSWorkspaceDidWakeNotification", &VLMDaemonMainController::computerAwakeFromSleep},
       }) {
    os().notifications.addObserver(
        NotificationCenter::workspace, observer.name, std::nullopt, SuspensionBehavior::deliverImmediately,
        [this, handler = observer.handler](const Notification& notification) { (this->*handler)(notification); });
  }
}

void VLMDaemonMainController::quitDaemon() {
  VLMLog("[Velmoratix4] quitDaemon");
  prefs.removeDaemonObservers();
  prefs.saveWhatIsPending();
  reapplyInitialSettings();
  os().application.terminate();
}

}  // namespace vlm
