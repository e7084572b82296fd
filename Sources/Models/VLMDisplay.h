#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "Models/DisplayTransaction.h"
#include "Models/NotOwned.h"
#include "Models/SignalRange.h"
#include "Models/VLMDisplayContainer.h"
#include "Models/VLMMode.h"
#include "Models/VLMOverrideBoolSettting.h"
#include "Models/VLMOverrideDefaultResolution.h"
#include "Models/VLMOverrideDisplayName.h"
#include "Models/VLMOverrideDisplayPixelDimensions.h"
#include "Models/VLMOverrideMonitorRange.h"
#include "Models/VLMOverrideResolution.h"
#include "Platform/Geometry.h"
#include "Platform/IORegistry.h"
#include "Platform/PropertyList.h"
#include "Platform/Quartz.h"

namespace vlm {

class VLMColorPreset;
class VLMColorProfile;

/// What shall stand in the override file for one display.
struct OverrideComposition {
  plist::Dictionary content;
  /// What could not be put in, and what may make the picture unusable, a text each.
  std::vector<std::string> findings;
};

/// One monitor: who it is, what it can do, its modes, how it is and was configured, and the user's options for it. The
/// document keeps records of the monitors attached now and of those known from earlier; records are replaced by every
/// rebuild, so nothing keeps a bare pointer to one across a turn of the run loop.
class VLMDisplay : public std::enable_shared_from_this<VLMDisplay> {
 public:
  using Modes = std::vector<std::shared_ptr<VLMMode>>;

  /// Vendor and product of a display that has no monitor behind it, as four-character codes.
  static constexpr std::uint32_t kVendorUnknown = 0x756E6B6E, kProductVirtual = 0x76697274;
  /// `monitorResID` of a live record that has not been matched yet.
  static constexpr std::int64_t kUnmatchedResID = -1;
  /// `driverLocationName` of a display without a registry entry; it counts as a remote-desktop one.
  static constexpr const char* kUnknownLocation = "unknown";
  /// Identifiers of monitors begin above this number.
  static constexpr std::int64_t kResIDsBeginAbove = 1000;

  /// A fresh record.
  static std::shared_ptr<VLMDisplay> init();
  /// From the settings file; never fails, what is missing takes its default.
  static std::shared_ptr<VLMDisplay> initAndDecodeReadableWith(const plist::Dictionary& dict,
                                                               VLMDisplayContainer* container);
  plist::Dictionary encodeReadable() const;
  ~VLMDisplay();
  VLMDisplay(const VLMDisplay&) = delete;
  VLMDisplay& operator=(const VLMDisplay&) = delete;

  // --- Who it is ---

  std::optional<std::string> sysMonitorName;      ///< as the system gives it
  std::optional<std::string> driverLocationName;  ///< "unknown" for a remote-desktop display
  std::optional<std::int64_t> monitorResID;       ///< our own identifier, 1001 and up
  std::optional<std::string> edidSerialString;
  std::optional<std::string> displayUUIDString;
  std::uint32_t cgID = 0;  ///< 0: not attached
  std::uint32_t displayVendorID = 0;
  std::uint32_t displayProductID = 0;
  std::uint32_t manufactureYear = 0;
  std::uint32_t manufactureWeek = 0;
  std::uint32_t serialNumber = 0;
  std::int32_t connection = 0;
  bool isDigital = false;
  std::int16_t displayNumber = 0;  ///< 1, 2, 3 … while several are attached, else 0
  VLMDisplayContainer* container = nullptr;
  bool dispIsPresent = false;
  bool isDuplicate = false;
  NotOwned<VLMDisplay> duplicateDisp;

  // --- What it can do ---

  bool canRotate = false;
  bool canOverscan = false;
  bool canUnderscan = false;
  /// 0 none, 1 over DDC/CI, 2 through the system's display services.
  std::int32_t canBrightness = 0;
  std::optional<double> minUnderscan, maxUnderscan;
  bool hasSupplementalCAFreq = false;
  std::int32_t numberOfModesInCG = 0;  ///< as listed by the system when the modes were read

  // --- Modes ---

  Modes allDisplayModes;
  Modes validDisplayModes;               ///< each is also in `allDisplayModes`, as the same object
  std::vector<Modes> setsOfModesByFreq;  ///< valid modes that differ in refresh rate alone
  NotOwned<VLMMode> nativeMode;

  // --- How it is configured, and was ---

  std::int32_t currentDepth = 0;  ///< mask form
  NotOwned<VLMMode> currentMode;  ///< one of `validDisplayModes`
  std::int32_t transfType = 0;    ///< rotation code 0 to 7, see orientation()
  bool isEnabled = false;
  float underscan = 0;
  float brightness = 0;  ///< 0 to 1, as read last
  std::optional<std::string> currentProfile;
  std::optional<std::string> currentPresetUUID;

  std::int32_t previousDepth = 0;
  NotOwned<VLMMode> previousMode;
  std::int32_t previousTransfType = 0;
  bool previousOverscan = false;
  bool previousHDR = false;
  bool previousEnabled = false;
  DisplayPosition previousPos;
  float previousUnderscan = 0;
  std::int32_t shutdownDepth = 0;  ///< what the settings file held at the daemon's start
  NotOwned<VLMMode> shutdownMode;
  bool shutdownEnabled = false;
  std::int32_t initialDepth = 0;  ///< what was found when the display was first seen in this run
  NotOwned<VLMMode> initialMode;
  bool initialEnabled = false;
  /// The last mode change was the daemon's own.
  bool rezChangeOriginatedFromMe = false;

  // --- Brightness and gamma ---

  bool useBrightness = false;
  float savedBrightness = 0;  ///< brightness before it was turned off, plus 1.0; 0: none saved
  bool useGamma = false;
  float gammaDelay = 0;     ///< seconds
  float maxBrightness = 0;  ///< largest DDC/CI value that the monitor reported; 0: it never answered
  float savedLastSetBrightness = 0;

  // --- Options for its menu ---

  bool showNativeInBold = false;
  bool showFrequenciesApart = true;
  bool showFrequenciesSubMenu = false;
  bool showFrequenciesGrouped = true;

  // --- Overrides ---

  // Each record is null until the settings file, the override file or the system has given one.

  OverrideResolutions overridenModes;
  std::shared_ptr<VLMOverrideMonitorRange> monitorTiming;
  std::shared_ptr<VLMOverrideDefaultResolution> defaultResolution;
  std::shared_ptr<VLMOverrideDisplayPixelDimensions> displayPixelDimensions;
  std::shared_ptr<VLMOverrideDisplayName> displayName;
  std::shared_ptr<VLMOverrideBoolSettting> displayFreqPolicy;
  std::int64_t countOfBackupedModes = 0;  ///< timings and scaled sizes of the override file's backup
  std::int64_t countOfOriginalModes = 0;  ///< `overridenModes` when they were read last
  /// Name of the override file that was found: 0 none, 1 by product, 2 by year and week of manufacture.
  std::int32_t typeOfOverrideFile = 0;
  std::optional<plist::Data> inOverrideFileEDID;  ///< as it was read last; absent without one
  std::optional<plist::Data> importedEDID;        ///< by the user; absent when the monitor's own shall be shown
  /// An imported EDID is installed with the manufacturer, product and date of the monitor's own.
  bool importedEDIDKeepsID = false;
  std::optional<plist::Data> cachedEDIDData;

  // --- Names ---

  /// Empty when there is no name record.
  std::string displayedName() const;
  /// With " (2)" behind it while several displays are attached.
  std::string displayedNameForMenu() const;
  std::string description() const;
  bool hasEDID() const { return true; }
  bool hasFakeEDID();

  // --- Look-ups; the first match, or null ---

  std::shared_ptr<VLMMode> anyModeWithAppleID(std::int32_t appleID) const;
  std::shared_ptr<VLMMode> validModeWithAppleID(std::int32_t appleID) const;
  std::shared_ptr<VLMMode> anyModeWithUniqueID(std::uint32_t uniqueID) const;
  std::shared_ptr<VLMMode> validModeWithUniqueID(std::uint32_t uniqueID) const;
  std::shared_ptr<VLMMode> validModeWithIOFBMode(std::int64_t frameBufferMode) const;
  std::shared_ptr<VLMMode> validModeAtIndex(std::size_t index) const;
  std::shared_ptr<VLMOverrideResolution> overridenModeAtIndex(std::size_t index) const;

  // --- Live state, asked of the system at each call ---

  bool isActive() const;
  bool isMainDisplay() const;
  DisplayPosition displayPosition() const;
  /// Degrees 0, 90, 180, 270, or -1 to -4 for the mirrored ones.
  std::int32_t orientation() const;
  bool isInOverscan() const;
  float underscanValue() const;
  bool isInHDR() const;
  /// 0 to 1; -1 when it cannot be read. Over DDC/CI this takes time and renews `maxBrightness`.
  float readBrightness();
  bool isMirroring(const VLMDisplay& other) const;
  /// 0 when offline, and on systems without frame-buffer services.
  io_service_t framebuffer() const;
  std::optional<plist::Dictionary> contentOfIOFBConfigRegDictionary() const;
  std::optional<plist::Array> getDetailedModesArray() const;
  std::optional<plist::Data> contentOfIOFBTimingRangeRegData() const;
  std::optional<plist::Dictionary> contentOfIODisplayRegDictionary() const;
  /// Character sizes of the display's timing generator; 1 when the system does not tell.
  void getGranularityActive(std::uint16_t& active, std::uint16_t& sync) const;

  // --- Dirty state ---

  bool isDirty() const { return isDirty_; }
  bool isDirtyStandardMenu() const { return isDirtyStandardMenu_; }
  bool isDirtyViewOptions() const { return isDirtyViewOptions_; }
  bool isDirtyEDIDOptions() const { return isDirtyEDIDOptions_; }
  void setIsDirty(bool dirty);
  void setIsDirtyStandardMenu(bool dirty);
  void setIsDirtyViewOptions(bool dirty);
  void setIsDirtyEDIDOptions(bool dirty);
  void checkIsDirty();
  bool blockEditingDuplicatedTabs() const;
  bool isADisplayableUnattachedMonitor() const;
  /// Whether the override file must be written again.
  bool willNeedToSaveOverride() const;

  // --- Identity ---

  /// How surely the saved record `candidate` is this live display: 0, or points for date, serial numbers, driver
  /// location and UUID. -1 when it is no candidate at all (taken, or of another model).
  int identityScoreOf(const VLMDisplay& candidate) const;

  // --- Overrides ---

  void mergeMonitorTiming(const std::shared_ptr<VLMOverrideMonitorRange>& range);
  void mergeDefaultResolution(const std::shared_ptr<VLMOverrideDefaultResolution>& resolution);
  void mergeDisplayPixelDimensions(const std::shared_ptr<VLMOverrideDisplayPixelDimensions>& dimensions);
  void mergeDisplayName(const std::shared_ptr<VLMOverrideDisplayName>& name);
  /// Takes the single records back to what they were when they were read.
  void restoreOriginalSettings();
  void gatherModesInFrequencySets();
  bool areAllOverridenModesOriginal() const;
  /// A scaled size stands in both files, and the display does not offer it.
  bool isANonActiveScaledMode() const;
  /// Why the picture may be unusable with a custom resolution on this display; see VLMOverrideResolution::findings.
  std::vector<std::string> findingsOf(const VLMOverrideResolution& resolution);

  // --- The override file ---

  /// What the directories hold for this display: a dictionary (empty when there is no file) or an array; renews
  /// `typeOfOverrideFile`.
  plist::Value readAllOverrides(bool includingLibDir);
  /// The one dictionary that is for this display; with just its numbers when there is no file. Absent when the file has
  /// none for it.
  std::optional<plist::Dictionary> makeContentOfOverrideDictionary(bool includingLibDir);
  /// The whole content of the file with this in the place of the display's own.
  plist::Value modifiedOverrideContentWith(const plist::Dictionary& content, bool includingLibDir);
  /// Brings keys of earlier versions to today's names and keeps a snapshot of the whole content, once and for good.
  static void makeBackupOfOverrides(plist::Dictionary& content);
  /// Joins what the override file says to the records.
  void completeOverridesWithDictionary();
  /// Whether it is one of its document's attached displays now. Its `cgID` may be that of the last time.
  bool isAttached() const;
  /// Joins what the display offers now to the records.
  void completeOverridesWithActualSettings();
  /// Both for a file that somebody else has written: what was changed here and not written yet stays, but for
  /// resolutions that were only removed; all else is what the file says.
  void readOverrideFileAnew();
  /// The content for this display as the records want it; what nobody here understands is carried over from the file.
  OverrideComposition composeOverrides();
  /// The content as it was found at first, with the snapshot of it.
  std::optional<plist::Dictionary> contentBeforeOverrides();
  /// The place of the file that is written.
  std::string overridePathForSaving() const;
  /// Writes a composed content into the file; from then on the records are what stands there. The reason of a failure,
  /// which changes nothing, or nothing.
  std::optional<std::string> writeOverrides(const plist::Dictionary& content);
  /// Brings the file back to what it was before us, and the records with it. The reason of a failure, or nothing.
  std::optional<std::string> restoreOverrides();
  /// Lets the override file's EDID be this one. Leaves out extensions that an earlier import has added. The reason why
  /// it cannot be used, or nothing.
  std::optional<std::string> importEDID(plist::Data edid, bool keepsID);

  // --- EDID ---

  /// The monitor's EDID, or a synthetic one; kept until emptyCache().
  plist::Data edidDataActual();
  void emptyCache();
  /// The monitor's own EDID: neither a synthetic one nor one that we have installed; absent when nobody tells it.
  std::optional<plist::Data> ownEDID();
  /// Whether the display does not show the imported EDID yet, or still shows one that was taken back.
  bool hasToSaveImportedEDID();
  /// The same of the override file.
  bool hasToOverrideImportedEDID() const;
  /// Apple silicon keeps EDIDs out of the registry: whether the AV service tells this display's.
  bool canOverrideWithAVEDID() const { return edidFromAVService().has_value(); }

  // --- Discovery ---

  /// Fills the identity of a live record; 0, or -1 when the system has no registry entry for it.
  std::int32_t initializeRegistryData();
  /// Sets the system's and the shown name: `name` (the EDID's; may be empty), else the system's name of the product.
  void initDisplayNamesWith(const std::string& name);
  /// Builds both mode lists from the system.
  void countAndFillAllModes();
  /// Marks what the user may choose, and forgets names and aliases, of every valid mode.
  void prepareValidModes();
  /// Finds the current mode and depth among the valid modes.
  void updateCurrentMode();
  /// Gives every mode that has none an identifier, stable from start to start, and a desktop identifier.
  void consolidateUniqueModesID();
  /// Takes over what the user owns from a saved record of the same monitor.
  void copyDisplayFrom(const VLMDisplay& saved);
  bool doesSupportRotating() const;
  /// Rotation code 0 to 7.
  std::int16_t getDisplayTansfType() const;
  bool doesSupportOverscan() const;
  bool doesSupportUnderscan() const;
  bool doesSupportHDR() const;
  bool doesSupportDisabling() const;
  /// The way to the brightness (see `canBrightness`); asks the monitor over DDC/CI and remembers its maximum.
  std::int32_t brightnessMethod();

  // --- Changing it: whether, and doing it ---
  // The tests do not share one sense: some answer whether the state differs, others whether it is already so.

  bool willChangeActiveIn(bool active) const;
  bool willChangePosition(DisplayPosition position) const;
  /// Depth in mask form; 0 keeps the current one where the mode has it, 127 is the mode's deepest.
  bool willChangeModeAndDepth(const std::shared_ptr<VLMMode>& mode, std::int64_t depth) const;
  bool willSetBrightness(float value);

  /// Whether it acted.
  bool setIsActive(bool active, DisplayTransaction* transaction);
  /// Brings back the brightness and gamma of a display that was made dark as it was turned off, and that is on:
  /// somebody else has lit it, or turning it off was refused.
  void relightWhenActive();
  /// Of a record that a start finds: the daemon that turned it off has gone since.
  void rememberThatItIsDimmed() const;
  void setDisplayPositionTo(DisplayPosition position, DisplayTransaction* transaction);
  /// No mode: keeps the mode. No depth: nothing but the mode's own rule for depth 0. Nothing at all without both.
  void setDisplayMode(const std::shared_ptr<VLMMode>& mode, std::optional<std::int64_t> depth, bool force, bool warning,
                      DisplayTransaction* transaction, bool inADisplaySet);
  void keepGamma();
  void setGamma(float factor, DisplayTransaction* transaction);
  void setBrightness(float value);
  bool willChangeOverscanIn(bool overscan) const;
  bool willChangeUnderscanIn(float value) const;
  bool willChangeHDRIn(bool hdr) const;
  bool willChangeOrientationIn(std::int32_t angle) const;
  bool willSetMirroringWith(const VLMDisplay& other, bool value) const;
  void setInOverscan(bool overscan, DisplayTransaction* transaction);
  void setUnderscan(float value, DisplayTransaction* transaction);
  void setHDR(bool hdr, DisplayTransaction* transaction);
  void setOrientation(std::int32_t angle, DisplayTransaction* transaction);
  bool willToggleMirroringWith(const VLMDisplay& /*other*/) const { return true; }
  void setMirroringWith(VLMDisplay& other, bool value, DisplayTransaction* transaction);
  void setToggleMirroringWith(VLMDisplay& other, DisplayTransaction* transaction);

  // --- Colour ---

  bool hasDisplayPresets() const;
  std::optional<std::string> currentColorPresetUUID() const;
  /// A file URL, as in `currentProfile` and wherever a profile is named.
  std::optional<std::string> currentColorProfileURL() const;
  /// The profiles for displays: those made for this very model, and the others, each sorted by name.
  std::array<std::vector<std::shared_ptr<VLMColorProfile>>, 2> colorProfilesForThisDisp();
  std::vector<std::shared_ptr<VLMColorPreset>> allColorPresetsForThisDisp();
  bool willSetDisplayProfile(const std::optional<std::string>& url) const;
  bool willSetDisplayPreset(std::int32_t index) const;
  void setDisplayProfile(const std::optional<std::string>& url);
  void setDisplayPreset(std::int32_t index);

  // --- DDC/CI ---

  /// Byte 0: VCP code; 1: value to write, or 1 after a read that succeeded; 2: maximum; 3: current value.
  using DDCCommand = std::array<std::uint8_t, 4>;
  bool canUseDDC() const;
  bool writeDDCCommand(const DDCCommand& command);
  bool readDDCCommand(DDCCommand& command);
  void setBrightnessviaDDC(float value);
  /// The current value; 0.5 and a maximum of 0 when the monitor does not answer.
  float brightnessViaDDCWithMaxValue(float& maximum);
  /// The first 128 bytes of the EDID, asked of the monitor itself.
  std::optional<plist::Data> directEdid();

 private:
  VLMDisplay();

  void copyOptionsFrom(const VLMDisplay& saved);
  void copyOverridesFrom(const VLMDisplay& saved);
  void joinRecordsOf(const plist::Dictionary& content);
  void joinCurrentMode(const VLMMode& mode);
  void markOfferedResolutions();
  std::shared_ptr<VLMMode> findNativeMode() const;
  void followOverrideFile(const VLMDisplay& writer);
  /// As people know the other displays that the same override is for.
  std::vector<std::string> namesOfTwins() const;
  std::vector<SignalRange> signalRanges();
  void composeResolutions(OverrideComposition& composition, plist::Array& extensionTimings);
  void composeEDID(OverrideComposition& composition, const plist::Array& extensionTimings);
  /// The EDID that extension timings can be put into, without ours; the reason when there is none.
  std::optional<plist::Data> baseOfExtensions(const plist::Dictionary& content, std::string& reason);
  std::optional<std::string> writeContent(const plist::Dictionary& content);
  /// What writing the file has changed for this display and for all others that it is for.
  void overrideFileWasWritten();
  /// An EDID with the numbers and the date by which the monitor is known; an unknown date is the imported one's.
  plist::Data ownIdentity(const plist::Data& imported);
  /// The same part of the same file is for both.
  bool sharesOverrideWith(const VLMDisplay& other) const;
  void takeImportFrom(const VLMDisplay& other);
  /// An EDID that was imported for another display of the model is in force for this one, too.
  void takeImportOfTwins();
  void joinName(const std::shared_ptr<VLMOverrideDisplayName>& inFile, const plist::Dictionary& content);
  void copyModesFrom(const VLMDisplay& saved);
  void linkAliases();
  void readRegistry(const plist::Dictionary& registry);
  void readEDID(std::string& nameText);
  /// The name in the EDID of an Apple-silicon machine's AV service; empty when there is none.
  std::string nameFromAVService() const;
  std::optional<plist::Data> edidFromAVService() const;
  void turnOnIn(DisplayTransaction& transaction);
  void turnOffIn(DisplayTransaction& transaction);
  void turnBrightnessDown();
  /// What it is known by as long as the process lives, over rebuilds and reconnections.
  std::int64_t identity() const { return monitorResID.value_or(kUnmatchedResID); }

  /// Hashes of the override file's items as they were read last: what came into the file since is not ours to remove.
  std::unordered_set<std::size_t> itemsReadLast_;
  /// The file, as it was read last, installs other resolutions than those that shall be.
  bool fileHasOtherResolutions_ = false;

  bool isDirty_ = false;
  bool isDirtyStandardMenu_ = false;
  bool isDirtyViewOptions_ = false;
  bool isDirtyEDIDOptions_ = false;
};

}  // namespace vlm
