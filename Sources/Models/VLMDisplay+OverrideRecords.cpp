#include <algorithm>
#include <string_view>
#include <tuple>
#include <unordered_set>

#include "Models/BigEndian.h"
#include "Models/OverrideContent.h"
#include "Models/VLMDisplay.h"
#include "Shared/Log.h"
#include "Shared/VLMExtension.h"

/// What override files, and the display itself, say to the records.
namespace vlm {

namespace {

constexpr std::uint32_t kDisplayModeNativeFlag = 0x2000000;

std::string describe(const OverrideResolutions& resolutions) {
  std::string text = "(";
  for (const auto& resolution : resolutions) text += "\n    \"" + resolution->description() + "\"";
  return text + "\n)";
}

std::optional<plist::Data> dataIn(const plist::Dictionary& content, const char* key) {
  const plist::Data* const data = content.data(key);
  return data == nullptr ? std::nullopt : std::optional(*data);
}

std::optional<std::string> nameWithoutPrefix(const std::optional<std::string>& name) {
  if (!name) return name;
  std::string rest;
  std::size_t from = 0;
  for (std::size_t at = name->find(kOverrideNamePrefix); at != std::string::npos;
       at = name->find(kOverrideNamePrefix, from)) {
    rest.append(*name, from, at - from);
    from = at + kOverrideNamePrefix.size();
  }
  return rest.append(*name, from);
}

/// Reads one section of an override file into the custom resolutions.
class SectionReader {
 public:
  SectionReader(OverrideResolutions& resolutions, std::unordered_set<std::size_t>& items, bool isBackup)
      : resolutions_(resolutions),
        items_(items),
        origin_(isBackup ? VLMOverrideResolution::kOriginBackup : VLMOverrideResolution::kOriginFile),
        isBackup_(isBackup) {}

  void read(const plist::Dictionary& section) {
    if (const auto* records = section.dictionary(OverrideKey::standardModes)) readStandardModes(*records);
    if (const auto* items = section.array(OverrideKey::timings)) readTimings(*items);
    if (const auto* items = section.array(OverrideKey::scaledSizes)) readScaledSizes(*items);
    if (const auto* edid = section.data(OverrideKey::edid)) readExtensionTimings(*edid);
  }

 private:
  void readStandardModes(const plist::Dictionary& records) {
    std::size_t count = 0;
    for (const plist::Entry& entry : records) {
      if (!isOurStandardMode(entry.value) || ++count > kMostOverrideItems) continue;
      remember(hashOfKey(entry.key));
      take(VLMOverrideResolution::initWithAppleID(appleIDOfKey(entry.key), kOverrideFoundInOverrideFile, origin_));
    }
  }

  void readTimings(const plist::Array& items) {
    for (std::size_t i = 0; i < items.size() && i < kMostOverrideItems; ++i) {
      remember(hashOfItem(items[i]));
      const plist::Data* const data = items[i].data();
      const auto resolution = VLMOverrideResolution::initWithDTDData(data == nullptr ? plist::Data() : *data, origin_);
      VLMLog("Read custom resolution from override file - %@", lazily([&] { return resolution->description(); }));
      take(resolution);
    }
  }

  void readScaledSizes(const plist::Array& items) {
    for (std::size_t i = 0; i < items.size() && i < kMostOverrideItems; ++i) {
      const auto resolution = VLMOverrideResolution::initWithScaleData(&items[i], origin_);
      remember(hashOfItem(items[i]));
      if (resolution->scaledNx == 0) continue;
      VLMLog("Read scaled resolution from override file - %@", lazily([&] { return resolution->description(); }));
      take(resolution);
    }
  }

  void readExtensionTimings(const plist::Data& edid) {
    for (const VLMTiming& timing : timingsInVLMExtensions(edid)) {
      remember(hashOfItem(plist::Data(timing.begin(), timing.end())));
      const auto resolution = VLMOverrideResolution::initWithDisplayIdType1Data(timing, origin_);
      VLMLog("Read DisplayID resolution from override file - %@", lazily([&] { return resolution->description(); }));
      take(resolution);
    }
  }

  void remember(std::size_t hash) {
    if (!isBackup_) items_.insert(hash);
  }

  void take(const std::shared_ptr<VLMOverrideResolution>& resolution) {
    resolution->toInstall = !isBackup_;
    resolution->copyBackupWith(*resolution);
    mergeObject(resolutions_, resolution, !isBackup_);
  }

  OverrideResolutions& resolutions_;
  std::unordered_set<std::size_t>& items_;
  const std::uint16_t origin_;
  const bool isBackup_;
};

/// Whether the file holds, to the byte, what the record would write. It may read otherwise: not every number has a form
/// there.
template <class Record>
bool isWrittenIn(const plist::Dictionary& content, const Record& record) {
  plist::Dictionary own;
  record.addInOverrideDictionary(own);
  return !own.empty() && std::all_of(own.begin(), own.end(), [&](const plist::Entry& entry) {
    const plist::Value* const value = content.find(entry.key);
    return value != nullptr && *value == entry.value;
  });
}

/// What a record is held against, from now on, to tell whether the file must be written: what the file says. One that
/// was to be taken out has nothing more to say when it is out.
template <class Record>
void compareWithFile(std::shared_ptr<Record>& kept, const std::shared_ptr<Record>& inFile,
                     const plist::Dictionary& content) {
  if (kept == nullptr || kept == inFile) return;
  if (inFile != nullptr) {
    kept->copyBackupWith(isWrittenIn(content, *kept) ? *kept : *inFile);
  } else if (kept->original != nullptr && kept->original->shouldOverride) {
    kept->original = nullptr;
    if (!kept->shouldOverride) kept = nullptr;
  }
}

/// Joins a single record of the file to the display's. A record that shall not override holds what the system said when
/// the settings were saved: nobody chose it, and it would hide the file's for good, or take it out. Unless it was in
/// the file before, and the user has just taken it out.
template <class Record>
void joinFromFile(std::shared_ptr<Record>& kept, const std::shared_ptr<Record>& inFile,
                  const plist::Dictionary& content) {
  if (inFile != nullptr && kept != nullptr && !kept->shouldOverride && !kept->isModified()) kept = nullptr;
  mergeOverrideRecord(kept, inFile);
  compareWithFile(kept, inFile, content);
}

/// The same with what the system says now; what it said at an earlier time is not of interest.
template <class Record>
void joinFromSystem(std::shared_ptr<Record>& kept, const std::shared_ptr<Record>& now) {
  if (now != nullptr && kept != nullptr && !kept->shouldOverride && !kept->isModified()) {
    now->status = truncateTo<std::int16_t>(now->status | (kept->status & kOverrideFoundInSettings));
    kept = nullptr;
  }
  mergeOverrideRecord(kept, now);
}

/// Those that the file installs are not those that shall be installed. To be asked between its own keys and the
/// snapshot, which both count as found in the file.
bool hasOtherResolutions(const OverrideResolutions& resolutions) {
  return std::any_of(resolutions.begin(), resolutions.end(), [](const auto& resolution) {
    const bool isInFile = (resolution->status & kOverrideFoundInOverrideFile) != 0;
    return !resolution->isDuplicate && !isUnfilled(*resolution) && resolution->toInstall != isInFile;
  });
}

std::size_t countIn(const plist::Dictionary& section, const char* key) {
  const plist::Array* const items = section.array(key);
  return items == nullptr ? 0 : items->size();
}

}  // namespace

// --- From the file ---

void VLMDisplay::completeOverridesWithDictionary() {
  VLMLog("Before beginning treatment: Custom resolutions array = %@", lazily([&] { return describe(overridenModes); }));
  const auto found = makeContentOfOverrideDictionary(true);
  VLMLog("Content of overrides = %@", lazily([&] { return found ? plist::describe(*found) : std::string("(null)"); }));
  plist::Dictionary content;
  if (found) {
    content = *found;
    makeBackupOfOverrides(content);
  }
  const plist::Dictionary* const snapshot = content.dictionary(OverrideKey::backup);
  const plist::Dictionary backup = snapshot == nullptr ? plist::Dictionary() : *snapshot;
  itemsReadLast_.clear();
  for (const auto& resolution : overridenModes) {
    resolution->status = truncateTo<std::int16_t>(resolution->status & ~kOverrideFoundInOverrideFile);
  }
  SectionReader(overridenModes, itemsReadLast_, false).read(content);
  inOverrideFileEDID = dataIn(content, OverrideKey::edid);
  takeImportOfTwins();
  fileHasOtherResolutions_ = hasOtherResolutions(overridenModes);
  SectionReader(overridenModes, itemsReadLast_, true).read(backup);
  VLMLog("After reading overrides : Custom resolutions array = %@", lazily([&] { return describe(overridenModes); }));
  countOfBackupedModes =
      static_cast<std::int64_t>(countIn(backup, OverrideKey::scaledSizes) + countIn(backup, OverrideKey::timings));
  countOfOriginalModes = static_cast<std::int64_t>(overridenModes.size());
  joinRecordsOf(content);
}

void VLMDisplay::joinRecordsOf(const plist::Dictionary& content) {
  constexpr auto kStatus = kOverrideFoundInOverrideFile;
  joinFromFile(
      monitorTiming,
      VLMOverrideMonitorRange::initWithIODisplayTimingRange(dataIn(content, OverrideKey::timingRange), kStatus, true),
      content);
  joinFromFile(defaultResolution,
               VLMOverrideDefaultResolution::initWithDefaultResolutionData(
                   dataIn(content, OverrideKey::defaultResolution), kStatus, true),
               content);
  joinFromFile(displayPixelDimensions,
               VLMOverrideDisplayPixelDimensions::initWithDisplayPixelDimensionsData(
                   dataIn(content, OverrideKey::pixelDimensions), kStatus, true),
               content);
  const auto name = VLMOverrideDisplayName::initWithString(nameWithoutPrefix(productNameIn(content)), kStatus, true);
  joinName(name, content);

  const bool hasPolicy = content.contains(OverrideKey::refreshRatePolicy);
  if (displayFreqPolicy == nullptr) {
    displayFreqPolicy = std::make_shared<VLMOverrideBoolSettting>();
    displayFreqPolicy->settingActual = hasPolicy;
    displayFreqPolicy->fillWithValue(hasPolicy, kOverrideFoundInSettings);
  }
  displayFreqPolicy->fillWithValue(hasPolicy, kOverrideFoundInOverrideFile);
}

// The system's own name stands here since the display was discovered, and must not keep the file's out; once the file
// is in force the two are often the same. A name of the user's own does keep it out.
void VLMDisplay::joinName(const std::shared_ptr<VLMOverrideDisplayName>& inFile, const plist::Dictionary& content) {
  if (inFile != nullptr && displayName != nullptr && !displayName->shouldOverride && !displayName->isModified()) {
    const bool isSame = displayName->isEqualToDisplayName(inFile.get());
    if (isSame) inFile->status = truncateTo<std::int16_t>(inFile->status | displayName->status);
    if (isSame || displayName->name == sysMonitorName) displayName = nullptr;
  }
  mergeDisplayName(inFile);
  // A name of the user's own that is kept beside the file's is not meant to take that out.
  const bool isOwn = displayName != nullptr && !displayName->shouldOverride && !displayName->isModified();
  if (!isOwn || inFile == nullptr) compareWithFile(displayName, inFile, content);
}

// --- From the display ---

void VLMDisplay::completeOverridesWithActualSettings() {
  emptyCache();
  markOfferedResolutions();
  VLMLog("After reading current settings : Custom resolutions array = %@",
         lazily([&] { return describe(overridenModes); }));
  countOfOriginalModes = static_cast<std::int64_t>(overridenModes.size());

  const auto range = VLMOverrideMonitorRange::initWithIODisplayTimingRange(contentOfIOFBTimingRangeRegData(),
                                                                           kOverrideFoundInSystem, false);
  // Of a display that is attached the system knows all that there is: what was saved may be what the user took back.
  const bool isOutdated = range == nullptr && isAttached() && monitorTiming != nullptr &&
                          !monitorTiming->shouldOverride && !monitorTiming->isModified();
  if (isOutdated) monitorTiming = nullptr;
  joinFromSystem(monitorTiming, range);
  if (monitorTiming == nullptr) monitorTiming = std::make_shared<VLMOverrideMonitorRange>();
  nativeMode = findNativeMode();
  if (const auto mode = currentMode.get()) joinCurrentMode(*mode);
  mergeDisplayName(VLMOverrideDisplayName::initWithString(sysMonitorName, kOverrideFoundInSystem, false));
  const auto native = nativeMode.get();
  for (const auto& resolution : overridenModes) {
    const bool hasNoSize = resolution->activeNx == 0 || resolution->activeNy == 0;
    if (native == nullptr || resolution->resolutionType != VLMOverrideResolution::kScaled || !hasNoSize) continue;
    resolution->activeNx = native->pixelsOf(native->Nx);
    resolution->activeNy = native->pixelsOf(native->Ny);
  }
}

bool VLMDisplay::isAttached() const {
  if (container == nullptr) return false;
  const auto& attached = container->attachedDisplays();
  return std::any_of(attached.begin(), attached.end(), [this](const auto& other) { return other.get() == this; });
}

void VLMDisplay::markOfferedResolutions() {
  if (overridenModes.empty()) return;
  const auto detailedModes = getDetailedModesArray();
  if (!detailedModes) return;
  std::unordered_set<std::int32_t> offered;
  for (const auto& mode : validDisplayModes) offered.insert(mode->IOFBModeID);
  for (const plist::Value& entry : *detailedModes) {
    const plist::Dictionary* const detailed = entry.dictionary();
    const plist::Data* const timing = detailed == nullptr ? nullptr : detailed->data("TM");
    // Some drivers give numbers above the largest signed one, which modes have as negative ones.
    const auto identifier = detailed == nullptr ? std::nullopt : detailed->number("ID");
    if (timing == nullptr || !identifier || !offered.contains(truncateTo<std::int32_t>(*identifier))) continue;
    const plist::Data* const information = detailed->data("DM");
    const auto number = detailed->number("AID");
    const auto resolution = VLMOverrideResolution::initWithTM(
        *timing, information == nullptr ? plist::Data() : *information,
        number ? std::optional(truncateTo<std::int16_t>(*number)) : std::nullopt, false);
    resolution->copyBackupWith(*resolution);
    VLMLog("Read resolution from current settings - %@", lazily([&] { return resolution->description(); }));
    mergeObject(overridenModes, resolution, false);
  }
}

void VLMDisplay::joinCurrentMode(const VLMMode& mode) {
  plist::Data data;
  appendBigEndian32(data, mode.Nx);
  appendBigEndian32(data, mode.Ny);
  constexpr double kFixedPointOne = 65536;
  appendBigEndian32(data, wholePartTo<std::uint32_t>(static_cast<double>(mode.Hz) * kFixedPointOne));
  joinFromSystem(defaultResolution,
                 VLMOverrideDefaultResolution::initWithDefaultResolutionData(data, kOverrideFoundInSystem, false));
  const auto native = nativeMode.get();
  const VLMMode& panel = native == nullptr ? mode : *native;
  data.clear();
  appendBigEndian32(data, panel.pixelsOf(panel.Nx));
  appendBigEndian32(data, panel.pixelsOf(panel.Ny));
  joinFromSystem(displayPixelDimensions, VLMOverrideDisplayPixelDimensions::initWithDisplayPixelDimensionsData(
                                             data, kOverrideFoundInSystem, false));
}

// The largest of those that the driver calls native; where it calls none so, of those that are not scaled.
std::shared_ptr<VLMMode> VLMDisplay::findNativeMode() const {
  std::shared_ptr<VLMMode> best;
  const auto rank = [](const VLMMode& mode) {
    const bool isFlagged = (mode.sysFlags & kDisplayModeNativeFlag) != 0;
    return std::tuple(isFlagged, mode.isNative, std::uint64_t{mode.pixelsOf(mode.Nx)} * mode.pixelsOf(mode.Ny));
  };
  for (const auto& mode : validDisplayModes) {
    if (mode->isScaled || (best != nullptr && rank(*mode) <= rank(*best))) continue;
    best = mode;
  }
  return best;
}

// --- Merging, and back ---

void VLMDisplay::mergeMonitorTiming(const std::shared_ptr<VLMOverrideMonitorRange>& range) {
  mergeOverrideRecord(monitorTiming, range);
}

void VLMDisplay::mergeDefaultResolution(const std::shared_ptr<VLMOverrideDefaultResolution>& resolution) {
  mergeOverrideRecord(defaultResolution, resolution);
}

void VLMDisplay::mergeDisplayPixelDimensions(const std::shared_ptr<VLMOverrideDisplayPixelDimensions>& dimensions) {
  mergeOverrideRecord(displayPixelDimensions, dimensions);
}

void VLMDisplay::mergeDisplayName(const std::shared_ptr<VLMOverrideDisplayName>& name) {
  mergeOverrideRecord(displayName, name);
}

namespace {

template <class Record>
void restore(const std::shared_ptr<Record>& record) {
  if (record == nullptr) return;
  if (const auto original = record->original) {
    ((*record).*Record::kFill)(*original);
  } else {
    // It was not in the override file.
    record->shouldOverride = false;
  }
  record->status = kOverrideFoundInSettings;
}

}  // namespace

void VLMDisplay::restoreOriginalSettings() {
  restore(monitorTiming);
  restore(defaultResolution);
  restore(displayPixelDimensions);
  restore(displayName);
  if (displayFreqPolicy != nullptr) displayFreqPolicy->settingActual = displayFreqPolicy->settingInOverride;
}

bool VLMDisplay::areAllOverridenModesOriginal() const {
  return std::none_of(overridenModes.begin(), overridenModes.end(),
                      [](const auto& resolution) { return resolution->isModified(); });
}

bool VLMDisplay::isANonActiveScaledMode() const {
  return std::any_of(overridenModes.begin(), overridenModes.end(), [](const auto& resolution) {
    return resolution->resolutionType == VLMOverrideResolution::kScaled &&
           resolution->status == (kOverrideFoundInSettings | kOverrideFoundInOverrideFile);
  });
}

}  // namespace vlm
