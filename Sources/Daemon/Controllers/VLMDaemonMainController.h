#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Models/VLMApplicationObject.h"
#include "Models/VLMChangeRecorder.h"
#include "Platform/Application.h"
#include "Platform/Input.h"
#include "Platform/Notifications.h"
#include "Platform/RunLoop.h"
#include "Platform/UserInterface.h"

namespace vlm {

class DesktopIconLayout;
class VersionChecker;
class VLMDaemonEventsObserver;
class VLMGlobals;

/// Hot keys carry this signature ("VLMs"), so that those of others are left alone.
constexpr std::uint32_t kHotKeySignature = fourCharCode("VLMs");
/// Identifiers of the two hot keys that belong to no display set; a set's is its key code.
constexpr std::uint32_t kHotKeyOpenControlApp = 0xFFFF;
constexpr std::uint32_t kHotKeyQuit = 0xFFFE;

/// The application object, its own delegate: starts the daemon, keeps watch, and ends it.
class VLMDaemonMainController final : public ApplicationObject, public VLMApplicationObject, public VLMChangeRecorder {
 public:
  /// Hot key of the set that the first start leaves: Command and Option with F11.
  static constexpr std::int64_t kFirstSetKeyCode = 0x670D;

  static std::unique_ptr<VLMDaemonMainController> init();
  ~VLMDaemonMainController() override;
  VLMDaemonMainController(const VLMDaemonMainController&) = delete;
  VLMDaemonMainController& operator=(const VLMDaemonMainController&) = delete;

  // --- Start and end ---

  void applicationDidFinishLaunching() override;
  /// One copy runs: the newest, and of equals the one that was there.
  void ensureImOnlyLaunchedOnce();
  void installEventHandlers();
  void handleAll() {}
  void handleQuitApplication() { quitDaemon(); }
  /// What an interrupt brings about, on the main thread.
  void Daemon_SignalTrap(int signal);
  /// Every way out goes through it.
  void quitDaemon() override;

  // --- Status item ---

  void loadStatusItem(bool show) override;
  void themeChangeNotification();
  void themeChange(bool force);

  // --- Settings ---

  /// Reads the settings, rebuilds the displays, writes the settings back. Whether this is the first run.
  bool loadPrefsFromFile();
  void reloadPrefsFromFile() override;
  void savePrefsToFileAndForce(bool force) override;
  /// Captures the configuration in force.
  void getCurrentLocalSettings();
  void applySavedSettings();
  void reapplyInitialSettings();
  void computerAwakeFromSleep(const Notification& notification);
  void updateColorPresets();
  void updateColorSync() override;
  void forceResavingSettings();
  bool loadPrefsOriginatedFromMe() const override { return loadPrefsOriginatedFromMe_; }
  void setLoadPrefsOriginatedFromMe(bool fromMe) override { loadPrefsOriginatedFromMe_ = fromMe; }

  // --- Watching ---

  void checkLoop1Sec();
  void checkLoop5Sec();

  // --- Hot keys and monitors ---

  /// Registers a shortcut under an identifier; the null reference when there is none or it is refused.
  EventHotKeyRef daemonInstallHotKeyCode(std::int32_t code, std::uint32_t identifier);
  void daemonInstallHotKeys() override;
  void daemonRemoveHotKeys() override;
  void daemonInstallGlobalMonitors();
  /// Events of the application target. A set's hot key is left unhandled on purpose, also after the set was applied.
  static OSStatus Daemon_AppCommandProcess(const CarbonEvent& event, VLMGlobals& document);

  /// Clicks beside a tap: the menu opens, but the click goes on to the desktop as well.
  void mouseClicked(const MouseEvent& event);
  /// Clicks through the tap; none goes on when it has opened the menu.
  static std::optional<MouseEvent> mouseClickedCallback(const MouseEvent& event, VLMDaemonMainController& self);
  /// Opens the contextual menu for a click on the desktop with the modifiers that the user chose. Whether it did.
  static bool mouseContextualMenuCoreEvent(const MouseEvent& event, VLMDaemonMainController& self);
  /// Holds a cursor that has left all displays at the edge of the one that it came from.
  void mouseMoved(const MouseEvent& event);

  // --- Applications ---

  void newApplicationWillStart(const Notification& notification);
  void newApplicationActivate(const Notification& notification);
  void applicationQuitted(const ProcessSerialNumber& psn) override;

  // --- What the document asks ---

  void openControlApp() override;
  /// The user clicked a notice.
  void userNotificationCenter(const std::string& didActivateNotification);
  void closeUtilityPanel() override;
  void compareVersions() override;
  void saveDesktop() override;
  void restoreDesktop() override;
  void postDirectNotificationName(const std::string& name) override;
  void recordUseSet(const std::shared_ptr<VLMDisplaySet>& set) override;

  // --- Recording ---

  bool isRecordingOn() const override { return false; }
  void recordOrientationFromDisp(const VLMDisplay& display, std::int32_t isNow) override;
  void recordDepthFromDisp(const VLMDisplay& display, std::int32_t isNow) override;
  void recordModeFromDisp(const VLMDisplay& display, const std::shared_ptr<VLMMode>& isNow) override;
  void recordPositionFromDisp(const VLMDisplay& display, DisplayPosition isNow) override;
  void recordMainDisplayIsNow(const VLMDisplay& display) override;
  void recordMirroringIsNow(bool isNow) override;
  void recordGrayIsNow(bool isNow) override;
  void recordOverscanFromDisp(const VLMDisplay& display, bool isNow) override;
  void recordUnderscanFromDisp(const VLMDisplay& display, float isNow) override;
  void recordHDRFromDisp(const VLMDisplay& display, bool isNow) override;
  void recordEnabledFromDisp(const VLMDisplay& display, bool isNow) override;
  void recordBrightnessFromDisp(const VLMDisplay& display, float isNow) override;
  void recordPresetFromDisp(const VLMDisplay& display, const std::optional<std::string>& isNow) override;
  void recordProfileFromDisp(const VLMDisplay& display, const std::optional<std::string>& isNow) override;
  void recordSaveDesktop() override;
  void recordRestoreDesktop() override;

 private:
  VLMDaemonMainController();

  void initStatusItemNeeds();
  void initContextMenuNeeds();
  void installUtilityPanel();
  void rememberFirstConfiguration();
  void installWorkspaceObservers();
  void unregisterHotKeys();
  void installMouseMonitors();
  void removeMouseMonitors();

  /// A tick that rebuilds the displays.
  void retreatWholeDisplays();
  /// A tick that compares; true when something changed.
  bool compareDisplays();
  bool recheckDisplays();
  bool recheckDisplay(VLMDisplay& display, bool isMirrorOrigin);
  // Always true: something changed.
  bool recordDepthChange(VLMDisplay& display, std::int32_t depth);
  bool recordModeChange(VLMDisplay& display, const std::shared_ptr<VLMMode>& mode);
  bool recordPositionChange(VLMDisplay& display, DisplayPosition position);
  bool checkMainDisplay();
  bool checkMirroring();
  bool checkGrays();
  bool checkOverscan(VLMDisplay& display);
  bool checkUnderscan(VLMDisplay& display);
  bool checkHDR(VLMDisplay& display);
  bool checkActivities();
  /// Only the daemon may switch a display on, if the user wants it so: switches off again what somebody else has
  /// switched on since the last look, and answers these displays.
  std::vector<std::shared_ptr<VLMDisplay>> undoForbiddenActivations();
  void rememberDiscreteGPUUsers();
  std::int32_t changeResOfApplicationInFront() const;

  VLMGlobals& prefs;
  VersionChecker& versionChecker;
  StatusItemRef velmoratixStatusItem = 0;
  std::shared_ptr<Menu> statusItemMenu;
  std::shared_ptr<Menu> contextualMenu;
  std::unique_ptr<VLMDaemonEventsObserver> eventsObserver;
  std::unique_ptr<DesktopIconLayout> desktopLayout;
  RunLoopToken checkLoopTimer1Sec = 0;
  /// No timer is ever scheduled for the five-second check; whoever wants it calls it.
  RunLoopToken checkLoopTimer5Sec = 0;
  std::vector<EventHotKeyRef> hotKeys;
  EventMonitorRef mouseMovedMonitor = 0, mouseClickedMonitor = 0;
  std::shared_ptr<VLMDisplaySet> lastUsedSet;
  bool loadPrefsOriginatedFromMe_ = false;
  bool drawDarkTheme = false;
};

}  // namespace vlm
