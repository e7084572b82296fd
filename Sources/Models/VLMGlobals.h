#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Models/VLMApplicationSet.h"
#include "Models/VLMDisplay.h"
#include "Models/VLMDisplayContainer.h"
#include "Models/VLMDisplaySet.h"
#include "Models/VLMEvent.h"
#include "Platform/Geometry.h"
#include "Platform/Notifications.h"
#include "Platform/PropertyList.h"
#include "Platform/RunLoop.h"

namespace vlm {

class VLMApplicationObject;
class VLMDesktopLayout;
class VLMLaunchedApplication;

/// Which groups of the document are read or written: an OR of these bits.
namespace SettingsGroup {
constexpr int general = 0x1;
constexpr int contextMenu = 0x4;
constexpr int statusMenu = 0x8;
constexpr int displaySets = 0x10;
constexpr int applicationSets = 0x20;
constexpr int attachedDisplays = 0x80;
constexpr int desktop = 0x100;
constexpr int displayRecords = 0x200;
constexpr int events = 0x400;
constexpr int all = 0x3FFF;
/// A forced save names one bit more; no group answers to it.
constexpr int allForced = 0x7FFF;
/// What the daemon itself changes while it watches the displays.
constexpr int watched = general | attachedDisplays | displayRecords;
}  // namespace SettingsGroup

/// What one of the menus shows. The members carry the names that the settings file's keys end in.
struct MenuOptions {
  bool ShowRez = false, ShowColors = false, ShowRescanCmd = false, ShowSets = false, ShowMirror = false,
       ShowHierarch = false, ShowIconsCmd = false, ShowMainDisp = false, ShowOnlyClicked = false, ShowProfile = false,
       ShowPrefsCmd = false, SetsHierarch = false, ShowGray = false, ShowRotate = false, ShowOverscan = false,
       ShowBrightness = false, ShowBadges = false, ShowEnable = false;
  friend bool operator==(const MenuOptions&, const MenuOptions&) = default;
};

/// The one document: the user's options, the displays known, the display sets, and a few flags of the run. Its groups
/// are replaced whenever the settings file is decoded.
class VLMGlobals final : public VLMDisplayContainer {
 public:
  /// Raised into the file on every save, never lowered.
  static constexpr std::int32_t kSettingsFormatVersion = 4150101;

  /// The process's one document, made on first use.
  static VLMGlobals& sharedInstance();

  VLMGlobals();
  ~VLMGlobals() override;
  VLMGlobals(const VLMGlobals&) = delete;
  VLMGlobals& operator=(const VLMGlobals&) = delete;

  // --- Options ---

  std::optional<std::int64_t> quitShortCut, launchShortCut;  ///< see Shortcuts.h
  std::int32_t savedPrefsVersion = 0;
  MenuOptions statusItem, contextMenu;
  bool showStatusItem = false, statusItemGray = false;
  bool showContextMenu = false;
  std::int64_t contextualMenuModifier = 0;  ///< NSEvent modifier flags
  bool saveAllAppWindows = false, saveIcons = false, saveWindows = false, saveDesktopBySet = false,
       iconsRelative = false, saveAutoDesktop = false, autoCreateSets = false, snapToGrid = false;
  std::int16_t iconsGridH = 0, iconsGridV = 0;  ///< points
  bool replaceAtRestart = false;
  std::int16_t startDelay = 0;  ///< seconds
  bool checkUpdate = false, checkApplics = false, canProbe = false, inLoginItems = false, onlyMeCanActivate = false,
       quitDockAfterEnabling = false, quitDockAfterDisabling = false, monitorMousePosition = false,
       forceSleepAfterDisable = false;
  bool startupDoNothing = false;
  std::int16_t startRestoreDelay = 0;  ///< seconds

  // --- Collections ---

  std::vector<std::shared_ptr<VLMDisplay>> displayArray;       ///< attached now, in display-number order
  std::vector<std::shared_ptr<VLMDisplay>> extraDisplayArray;  ///< every record known
  DisplaySets displaySetsArray;                                ///< in menu order
  ApplicationSets applicationSetsArray;                        ///< the first is the rule for all applications
  Events eventsArray;

  // --- The run ---

  bool isCachedNDispHardMirrored = false;
  bool needToRecheckDisplays = false;  ///< modes, positions and mirroring are compared on the next tick
  bool needsUpdatingDisplays = false;  ///< the displays are rebuilt on the next tick
  bool isSetRecorded = false;
  bool isSetExecuted = false;  ///< a set is being applied at this moment
  bool activityChangeOriginatedFromMe = false;
  bool hasFastUserSwitchOccurred = false;
  bool previousGrays = false;
  std::int32_t previousMirroring = 0;
  std::int32_t previousMainDisplay = 0;  ///< its `monitorResID`
  bool allFrequenciesInScaledMode = false;
  std::vector<std::shared_ptr<VLMLaunchedApplication>> launchedApplications;  ///< running applications with a rule

  // --- Who is around; none of them owned, each may be null ---

  VLMApplicationObject* applicationObject = nullptr;
  VLMChangeRecorder* recorder = nullptr;
  VLMDesktopLayout* desktopLayout = nullptr;

  // --- Settings file ---

  /// Reads the file and decodes the groups; a missing file gives every default.
  void loadPrefs(int flags);
  /// Writes the groups over what the file holds now; all else in it stays. What cannot be written is tried again later.
  void savePrefs(int flags);
  /// Tries at once to write what a failed save has left; nothing when none has failed since the last that succeeded.
  void saveWhatIsPending();
  /// What savePrefs would write.
  plist::Dictionary getPrefs(int flags);
  void decodeReadableWith(const plist::Dictionary& dict, int flags);
  plist::Dictionary encodeReadableInDict(const plist::Dictionary* dict, int flags);
  /// Drops what was loaded.
  void forget();

  const std::shared_ptr<VLMDisplaySet>& startupSet() const { return startupSet_; }
  void setStartupDisplaySet(std::shared_ptr<VLMDisplaySet> set);

  // --- Look-ups; null when nothing matches ---

  std::shared_ptr<VLMDisplay> displayAtIndex(std::size_t index) const;
  std::shared_ptr<VLMDisplay> displayWithcgID(CGDirectDisplayID cgID) const;
  std::shared_ptr<VLMDisplay> displayWithID(std::optional<std::int64_t> monitorResID) const;
  std::shared_ptr<VLMDisplay> extraDisplayWithID(std::optional<std::int64_t> monitorResID) const;
  std::shared_ptr<VLMDisplay> getDispWithPoint(Point point) const;
  std::shared_ptr<VLMDisplay> mainDisplay() const;

  // --- Queries ---

  /// Active displays that are mirrored by the hardware for good. Counted once, until the attached displays change.
  std::int32_t nDispHardMirrored();
  bool isMirroringEnabled() const;
  bool canComplexMirroring() const { return displayArray.size() > 2; }
  bool haveAllDisplaySameDepth() const;
  bool isGrayEnabled() const override;
  bool canDisableDisplay(const VLMDisplay& display) const override;
  /// The one that is shown when all are mirrored.
  bool isFirstActive(const VLMDisplay& display) const;
  /// Whether that one shows its own picture.
  bool isFirstActiveShown() const;
  bool showEnableDisableOption(const VLMDisplay& display) const;
  /// The mark beside a set: 0 none, 1 check (in force), 2 dash (in force as far as displays are there), 3 diamond (in
  /// force, but says nothing about some display). `hasOneMonitorSetting`: whether it enforces anything at all.
  std::int16_t checkMarkForSet(const VLMDisplaySet& set, bool* hasOneMonitorSetting);
  /// Finds every display's current mode and rotation again, for whoever must not judge by what the last tick saw: a
  /// mode may have changed since, by this daemon or by others.
  void updateCurrentModes();
  std::int64_t findNextSetUniqueID() const;
  void resortDisplaySetsMenuOrder();
  /// Kept for those who call it; duplicates are not looked for.
  void findDuplicateDisplays() {}

  // --- Discovery ---

  std::int32_t getNumberOfDisplays() const;
  void initializeCurrentDisplays();
  void initializeAllDisplaysFromSystemData();
  /// Reads every known display's override file into its records.
  void completeOverridesWithDictionaries();
  /// Marks what the displays offer now; comes behind the other.
  void completeOverridesWithActualSettings();
  /// The platform's override directories, in the order in which they are read, and the one that is written.
  /// `includingLibDir`: the one below /Library counts, too, on the systems that have it.
  static std::vector<std::string> overridesPathsForReadingIncludingLibDir(bool includingLibDir);
  static std::string overridesPathForSavingIncludingLibDir(bool includingLibDir);

  // --- Changing the displays ---

  /// Brings a set about, or nothing when it was applied less than a second ago. Asked for while another one is being
  /// applied, it waits for its end.
  void applyDisplaySet(const std::shared_ptr<VLMDisplaySet>& set, bool save);
  /// The same `delay` seconds later, on the run loop; 0 is its next turn.
  void applyDisplaySetAfterDelay(double delay, const std::shared_ptr<VLMDisplaySet>& set, bool save);
  /// Brings a rule about: its set, the volume, the Dock, the other applications.
  void applyApplicationSet(const std::shared_ptr<VLMApplicationSet>& rule);
  /// Puts back how things stood when an application started, when its rule says so.
  void applyOldApplicationSet(const std::shared_ptr<VLMLaunchedApplication>& application);
  bool willChangeGraysInto(bool gray) const { return gray != isGrayEnabled(); }
  void setIsGrayEnabled(bool gray) override;
  bool willChangeMirrorInto(bool on) const { return on != isMirroringEnabled(); }
  void setIsMirroringEnabled(bool on, DisplayTransaction* transaction, bool touch);
  bool willChangeMainDisplayInto(const VLMDisplay& display) const;
  void setMainDisplay(VLMDisplay& display, DisplayTransaction* transaction);
  void relaunchDock();
  void relaunchDockLater() override;

  // --- Messages with the control application ---

  /// Registers for the commands and announces the daemon.
  void installDaemonObservers();
  /// Announces that the daemon stops; the registrations end with the process.
  void removeDaemonObservers();
  void quitDaemon(const Notification& notification);
  void openControlApp(const Notification& notification);

  // --- What displays ask ---

  const std::vector<std::shared_ptr<VLMDisplay>>& attachedDisplays() const override { return displayArray; }
  const std::vector<std::shared_ptr<VLMDisplay>>& knownDisplays() const override { return extraDisplayArray; }
  void markActivityChangeOriginatedFromMe() override { activityChangeOriginatedFromMe = true; }
  bool quitsDockAfterEnabling() const override { return quitDockAfterEnabling; }
  bool quitsDockAfterDisabling() const override { return quitDockAfterDisabling; }
  bool forcesSleepAfterDisable() const override { return forceSleepAfterDisable; }
  std::map<CGDirectDisplayID, IOObject>& ioServicesCached() override { return ioServicesCached_; }
  VLMChangeRecorder* changeRecorder() const override { return recorder; }
  std::int32_t nextDeskResID() override;

 private:
  // Decoding and encoding, a group each.
  void decodeGeneral(const plist::Dictionary& dict);
  void decodeMenus(const plist::Dictionary& dict, int flags);
  void decodeDesktop(const plist::Dictionary& dict);
  void decodeDisplayRecords(const plist::Dictionary& dict);
  void decodeAttachedDisplays(const plist::Dictionary& dict);
  void decodeDisplaySets(const plist::Dictionary& dict);
  void decodeApplicationSets(const plist::Dictionary& dict);
  void decodeEvents(const plist::Dictionary& dict);
  void encodeGeneral(plist::Dictionary& dict) const;
  void encodeMenus(plist::Dictionary& dict, int flags) const;
  void encodeDesktop(plist::Dictionary& dict) const;
  void encodeDisplays(plist::Dictionary& dict, int flags) const;
  void encodeDisplaySets(plist::Dictionary& dict) const;
  void encodeApplicationSets(plist::Dictionary& dict) const;
  void encodeEvents(plist::Dictionary& dict) const;

  std::shared_ptr<VLMDisplay> newAttachedDisplay(CGDirectDisplayID cgID);
  void matchAttachedDisplays();
  void numberDisplays();
  /// Renews what a set's monitors know of being attached.
  void findAttachedMonitors(VLMDisplaySet& set) const;
  void followTheSetsMadeAnew();
  /// Puts each set's monitors in the order of the attached displays and renews what they know of being attached.
  void alignDisplaySets();
  /// Keeps what the file held when the daemon started, once.
  void rememberSettingsFileState();
  /// Keeps how each display was first seen, and gives every record both remembered states.
  void getInitialSettings();
  void mirrorActiveDisplays(DisplayTransaction& transaction) const;
  void turnOnInactiveDisplays(DisplayTransaction& transaction);
  void cutChains();
  /// Identifiers of the sets that a chain has applied so far.
  using ChainOfSets = std::set<std::int64_t>;
  /// A set that was asked for while another one was applied.
  struct WaitingSet {
    std::shared_ptr<VLMDisplaySet> set;
    bool save = false;
    ChainOfSets chain = {};
  };
  void applyWaitingSets();
  void applyDisplaySetOfChain(const std::shared_ptr<VLMDisplaySet>& requested, bool save, ChainOfSets chain);
  void applyLater(double delay, const std::shared_ptr<VLMDisplaySet>& set, bool save, ChainOfSets chain);
  /// Keeps when the set was applied, over every reload.
  void rememberExecution(const VLMDisplaySet& set);

  // Commands of the control application, in the order of their registration.
  void rescanDisp(const Notification& notification);
  void relaunchDaemon(const Notification& notification);
  void useMode(const Notification& notification);
  void rearrangeDesktop(const Notification& notification);
  void replaceDesktop(const Notification& notification);
  void saveDesktop(const Notification& notification);
  void openSysPrefPane(const Notification& notification);
  void showStatusItemCommand(const Notification& notification);
  void removeStatusItem(const Notification& notification);
  void reloadSettings(const Notification& notification);
  void enableHotKeys(const Notification& notification);
  void disableHotkeys(const Notification& notification);
  void hasReceivedVersionNumber(const Notification& notification);
  // Notices of the system.
  void colorSyncProfileChanged(const Notification& notification);
  void fastUserSwitch(const Notification& notification);

  std::shared_ptr<VLMDisplaySet> startupSet_;
  std::vector<WaitingSet> waitingSets_;
  std::map<CGDirectDisplayID, IOObject> ioServicesCached_;
  /// Groups that were decoded since the start or forget(): of all others memory knows less than the file.
  int loadedGroups_ = 0;
  bool isSaveRetryScheduled_ = false;
  std::int32_t lastDeskResID_ = 0;
};

}  // namespace vlm
