#include <algorithm>
#include <cmath>
#include <unordered_set>

#include "Models/EDIDRangeLimits.h"
#include "Models/OverrideContent.h"
#include "Models/VLMDisplay.h"
#include "Platform/Files.h"
#include "Platform/Process.h"
#include "Shared/VLMEDIDUtils.h"
#include "Shared/VLMExtension.h"

/// The content of an override file as the records want it. Whatever in the file we do not understand stays in it.
namespace vlm {

namespace {

/// An EDID that we have put timings or a mark into.
bool isOurEDID(const plist::Data& edid) {
  return hasImportedMark(edid) || VLMEDID_findVLMDisplayIDExtensionInEDID(edid) != kNoVLMExtension;
}

/// The EDID that the file held before us, if it held one.
std::optional<plist::Data> edidBeforeOurs(const plist::Dictionary& content) {
  const plist::Dictionary* const before = content.dictionary(OverrideKey::backup);
  const plist::Data* const edid = before == nullptr ? nullptr : before->data(OverrideKey::edid);
  if (edid == nullptr || edid->size() < kEDIDBlockLength || hasImportedMark(*edid)) return std::nullopt;
  return isOurEDID(*edid) ? withoutVLMExtensions(*edid) : *edid;
}

using Resolution = std::shared_ptr<VLMOverrideResolution>;
using Read = Resolution (*)(const plist::Value& item);

/// Null when the item is no timing.
Resolution readTiming(const plist::Value& item) {
  const plist::Data* const data = item.data();
  if (data == nullptr) return nullptr;
  auto resolution = VLMOverrideResolution::initWithDTDData(*data, VLMOverrideResolution::kOriginFile);
  return isUnfilled(*resolution) ? nullptr : resolution;
}

/// Null when the item is no size.
Resolution readScaledSize(const plist::Value& item) {
  auto resolution = VLMOverrideResolution::initWithScaleData(&item, VLMOverrideResolution::kOriginFile);
  return resolution->scaledNx == 0 ? nullptr : resolution;
}

/// The items of a list of the file that stay as they are: what is no business of ours, what came into it since it was
/// read, and the resolutions that nobody has changed, for others may have put more into them than we read. The last are
/// taken off `wanted`.
plist::Array keptItems(const plist::Dictionary& content, const char* key, Read read,
                       const std::unordered_set<std::size_t>& itemsReadLast, OverrideResolutions& wanted) {
  plist::Array kept;
  const plist::Array* const items = content.array(key);
  for (std::size_t i = 0; items != nullptr && i < items->size(); ++i) {
    const plist::Value& item = (*items)[i];
    const Resolution resolution = i < kMostOverrideItems ? read(item) : nullptr;
    if (resolution == nullptr) {
      kept.push_back(item);
      continue;
    }
    const auto same = std::find_if(wanted.begin(), wanted.end(),
                                   [&](const auto& one) { return one->isEqualToRes(resolution.get()); });
    if (same == wanted.end() && itemsReadLast.contains(hashOfItem(item))) continue;
    kept.push_back(item);
    if (same != wanted.end()) wanted.erase(same);
  }
  return kept;
}

/// What shall be installed, each once.
OverrideResolutions wantedOf(const OverrideResolutions& resolutions) {
  OverrideResolutions wanted;
  for (const auto& resolution : resolutions) {
    if (!resolution->toInstall || isUnfilled(*resolution)) continue;
    const bool isThere = wanted.size() < kMostOverrideItems && std::ranges::any_of(wanted, [&](const auto& other) {
                           return other->isEqualToRes(resolution.get());
                         });
    if (!isThere) wanted.push_back(resolution);
  }
  return wanted;
}

/// Of two items with the same bytes the second goes: a timing that its form cuts is not known again when it is read.
void removeRepeated(plist::Array& items) {
  std::vector<plist::Value> once;
  std::unordered_set<std::size_t> known;
  for (plist::Value& item : items) {
    if (item.data() == nullptr || known.insert(hashOfItem(item)).second) once.push_back(std::move(item));
  }
  items = std::move(once);
}

plist::Dictionary unreadStandardModes(const plist::Dictionary& content) {
  const plist::Dictionary* const records = content.dictionary(OverrideKey::standardModes);
  plist::Dictionary unread;
  std::size_t ours = 0;
  for (const plist::Entry& entry : records == nullptr ? plist::Dictionary() : *records) {
    if (!isOurStandardMode(entry.value) || ++ours > kMostOverrideItems) unread.set(entry.key, entry.value);
  }
  return unread;
}

/// Sets a key that has something to say, else removes it; one whose value is of a kind that nobody knows stays.
template <class List>
void setOrRemove(plist::Dictionary& content, const char* key, List list, bool isKnownKind) {
  if (!list.empty()) {
    content.set(key, std::move(list));
  } else if (isKnownKind) {
    content.remove(key);
  }
}

/// A record that is as it was found in the file leaves its key alone: there is more in some values than we read.
template <class Record>
void addRecord(const std::shared_ptr<Record>& record, plist::Dictionary& content, const char* key) {
  if (record == nullptr) return;
  const bool isMissing = record->shouldOverride && !content.contains(key);
  if (record->isModified() || isMissing) record->addInOverrideDictionary(content);
}

std::vector<VLMTiming> timingsIn(const plist::Array& extensionTimings) {
  std::vector<VLMTiming> timings;
  for (const plist::Value& item : extensionTimings) {
    const plist::Data* const data = item.data();
    if (data == nullptr || data->size() != kVLMTimingLength) continue;
    std::ranges::copy(*data, timings.emplace_back().begin());
  }
  return timings;
}

std::optional<TimingLimits> limitsOf(const std::shared_ptr<VLMOverrideMonitorRange>& range, const char* source) {
  if (range == nullptr || range->isEmpty()) return std::nullopt;
  return TimingLimits{.source = source,
                      .minH = range->minH,
                      .maxH = range->maxH,
                      .minV = static_cast<double>(range->minV),
                      .maxV = static_cast<double>(range->maxV),
                      .minPClock = range->minPClock,
                      .maxPClock = range->maxPClock};
}

std::uint32_t nativePixels(std::uint32_t points, const VLMMode& mode) {
  return wholePartTo<std::uint32_t>(std::round(static_cast<double>(points) * static_cast<double>(mode.definition)));
}

}  // namespace

std::vector<TimingLimits> VLMDisplay::timingLimits() {
  std::vector<TimingLimits> limits;
  auto edid = importedEDID ? importedEDID : ownEDID();
  if (!edid) edid = inOverrideFileEDID;
  if (auto range = edid ? rangeLimitsInEDID(*edid) : std::nullopt) limits.push_back(std::move(*range));
  const bool isSystems = monitorTiming == nullptr || !monitorTiming->shouldOverride;
  if (auto range = limitsOf(monitorTiming, isSystems ? "the system's timing range" : "the timing range that is set")) {
    limits.push_back(std::move(*range));
  }
  return limits;
}

std::vector<std::string> VLMDisplay::findingsOf(const VLMOverrideResolution& resolution) {
  return resolution.findings(timingLimits());
}

OverrideComposition VLMDisplay::composeOverrides() {
  OverrideComposition composition;
  if (auto content = makeContentOfOverrideDictionary(true)) {
    composition.content = std::move(*content);
  } else {
    composition.findings.emplace_back("the override file has no entry for this display's kind of connection");
  }
  makeBackupOfOverrides(composition.content);
  plist::Array extensionTimings;
  composeResolutions(composition, extensionTimings);
  composeEDID(composition, extensionTimings);
  plist::Dictionary& content = composition.content;
  addRecord(monitorTiming, content, OverrideKey::timingRange);
  addRecord(defaultResolution, content, OverrideKey::defaultResolution);
  addRecord(displayPixelDimensions, content, OverrideKey::pixelDimensions);
  addRecord(displayName, content, OverrideKey::productName);
  if (displayFreqPolicy != nullptr) {
    displayFreqPolicy->addInOverrideDictionary(content, OverrideKey::refreshRatePolicy);
  }
  return composition;
}

void VLMDisplay::composeResolutions(OverrideComposition& composition, plist::Array& extensionTimings) {
  plist::Dictionary& content = composition.content;
  OverrideResolutions wanted = wantedOf(overridenModes);
  const auto limits = timingLimits();
  for (const auto& resolution : wanted) {
    for (const std::string& finding : resolution->findings(limits)) {
      composition.findings.push_back(resolution->displayedModeName() + ": " + finding);
    }
  }
  plist::Array timings = keptItems(content, OverrideKey::timings, readTiming, itemsReadLast_, wanted);
  plist::Array scaledSizes = keptItems(content, OverrideKey::scaledSizes, readScaledSize, itemsReadLast_, wanted);
  plist::Dictionary standardModes = unreadStandardModes(content);
  const auto native = findNativeMode();
  const std::uint32_t nativeNx = native == nullptr ? 0 : nativePixels(native->Nx, *native);
  const std::uint32_t nativeNy = native == nullptr ? 0 : nativePixels(native->Ny, *native);
  for (const auto& resolution : wanted) {
    resolution->addInOverridesDspc(timings, scaledSizes, standardModes, extensionTimings, nativeNx, nativeNy);
  }
  removeRepeated(timings);
  removeRepeated(extensionTimings);
  setOrRemove(content, OverrideKey::timings, std::move(timings), content.array(OverrideKey::timings) != nullptr);
  setOrRemove(content, OverrideKey::scaledSizes, std::move(scaledSizes),
              content.array(OverrideKey::scaledSizes) != nullptr);
  setOrRemove(content, OverrideKey::standardModes, std::move(standardModes),
              content.dictionary(OverrideKey::standardModes) != nullptr);
}

// The file holds: the imported EDID; else the one that the extension timings are put into; else, where it held one of
// ours, what it held before us.
void VLMDisplay::composeEDID(OverrideComposition& composition, const plist::Array& extensionTimings) {
  plist::Dictionary& content = composition.content;
  const auto timings = timingsIn(extensionTimings);
  std::vector<std::string>& findings = composition.findings;
  if (importedEDID && importedEDID->size() < kEDIDBlockLength) {
    findings.push_back("the imported EDID is " + std::to_string(importedEDID->size()) + " bytes long, 128 at least");
    return;
  }
  std::optional<plist::Data> base;
  if (importedEDID) {
    base = withoutVLMExtensions(*importedEDID);
    if (importedEDIDKeepsID) base = withIdentityOf(std::move(*base), ownIdentity());
  } else if (!timings.empty()) {
    std::string reason;
    base = baseOfExtensions(content, reason);
    if (!base) findings.push_back(reason);
  }
  const plist::Data* const found = content.data(OverrideKey::edid);
  if (!base) {
    if (found == nullptr || !isOurEDID(*found)) return;
    if (!importedEDID && hasImportedMark(*found)) findings.emplace_back("the EDID that was imported goes out");
    if (auto before = edidBeforeOurs(content)) {
      content.set(OverrideKey::edid, std::move(*before));
    } else {
      content.remove(OverrideKey::edid);
    }
    return;
  }
  std::size_t left = 0;
  plist::Data edid = withVLMExtensions(std::move(*base), timings, importedEDID.has_value(), left);
  if (left > 0) findings.push_back(std::to_string(left) + " timings have no room in the EDID");
  if (importedEDID && !hasImportedMark(edid)) findings.emplace_back("the EDID has no room for the mark of an import");
  for (const std::string& name : namesOfTwins()) {
    findings.push_back(name + " is of the same model and gets this EDID, too, with this one's serial number");
  }
  content.set(OverrideKey::edid, std::move(edid));
}

/// An EDID with the numbers and the date by which the monitor is known.
plist::Data VLMDisplay::ownIdentity() {
  if (auto own = ownEDID()) return std::move(*own);
  plist::Data identity = syntheticEDID(displayVendorID, displayProductID);
  constexpr std::size_t kWeekAt = 16, kYearAt = 17;
  constexpr std::uint32_t kFirstYear = 1990;
  if (manufactureYear >= kFirstYear) {
    identity[kWeekAt] = truncateTo<std::uint8_t>(manufactureWeek);
    identity[kYearAt] = truncateTo<std::uint8_t>(manufactureYear - kFirstYear);
  }
  return identity;
}

std::optional<plist::Data> VLMDisplay::baseOfExtensions(const plist::Dictionary& content, std::string& reason) {
  const plist::Data* const inFile = content.data(OverrideKey::edid);
  if (inFile != nullptr && inFile->size() >= kEDIDBlockLength && !hasImportedMark(*inFile)) {
    return withoutVLMExtensions(*inFile);
  }
  if (auto before = edidBeforeOurs(content)) return before;
  if (auto own = ownEDID()) return withoutVLMExtensions(*own);
  reason = hasFakeEDID()
               ? "the display reports no EDID, which the largest timings would be put into"
               : "the display still shows an EDID that was imported; connect it anew for the timings that need its own";
  return std::nullopt;
}

std::optional<std::string> VLMDisplay::writeOverrides(const plist::Dictionary& content) {
  if (auto failure = writeContent(content)) return failure;
  const auto compareWithFile = [](const auto& record) {
    if (record != nullptr) record->copyBackupWith(*record);
  };
  for (const auto& resolution : overridenModes) {
    // Reading the file gives one that got into it its original anew; one that did not stays to be written.
    if (resolution->toInstall) {
      resolution->original = nullptr;
    } else {
      resolution->copyBackupWith(*resolution);
    }
  }
  compareWithFile(monitorTiming);
  compareWithFile(defaultResolution);
  compareWithFile(displayPixelDimensions);
  compareWithFile(displayName);
  overrideFileWasWritten();
  return std::nullopt;
}

std::optional<std::string> VLMDisplay::restoreOverrides() {
  const auto before = contentBeforeOverrides();
  // With the file gone, moved away by hand perhaps, the records alone still want what was in it.
  const bool isFileGone =
      !before && typeOfOverrideFile == 0 && !os().files.checkResourceIsReachable(overridePathForSaving());
  if (!before && !isFileGone) return "nothing is kept of what the override file held before";
  if (before) {
    if (auto failure = writeContent(*before)) return failure;
  }
  overridenModes.clear();
  monitorTiming = nullptr;
  defaultResolution = nullptr;
  displayPixelDimensions = nullptr;
  displayName = VLMOverrideDisplayName::initWithString(sysMonitorName, kOverrideFoundInSystem, false);
  displayFreqPolicy = nullptr;
  importedEDID.reset();
  overrideFileWasWritten();
  return std::nullopt;
}

void VLMDisplay::overrideFileWasWritten() {
  completeOverridesWithDictionary();
  completeOverridesWithActualSettings();
  isDirtyEDIDOptions_ = false;
  checkIsDirty();
  if (container == nullptr) return;
  const std::string path = overridePathForSaving();
  for (const auto& other : container->knownDisplays()) {
    if (other.get() != this && other->overridePathForSaving() == path) other->followOverrideFile(*this);
  }
}

std::vector<std::string> VLMDisplay::namesOfTwins() const {
  std::vector<std::string> names;
  if (container == nullptr) return names;
  for (const auto& other : container->knownDisplays()) {
    if (other.get() != this && other->overridePathForSaving() == overridePathForSaving()) {
      names.push_back(other->displayedName());
    }
  }
  return names;
}

// The file is for every display of a model: what another one has put into it or taken out counts here as well, or the
// next write for this one would undo it. What was changed here and not written yet stays.
void VLMDisplay::followOverrideFile(const VLMDisplay& writer) {
  std::erase_if(overridenModes, [](const auto& resolution) {
    const bool wasInFile = (resolution->status & kOverrideFoundInOverrideFile) != 0;
    return wasInFile && resolution->toInstall && !resolution->isModified();
  });
  const auto takeBack = [](auto& record) {
    if (record != nullptr && record->shouldOverride && !record->isModified()) record = nullptr;
  };
  takeBack(monitorTiming);
  takeBack(defaultResolution);
  takeBack(displayPixelDimensions);
  takeBack(displayName);
  if (displayName == nullptr) {
    displayName = VLMOverrideDisplayName::initWithString(sysMonitorName, kOverrideFoundInSystem, false);
  }
  if (displayFreqPolicy != nullptr && !displayFreqPolicy->isModified()) displayFreqPolicy = nullptr;
  importedEDID = writer.importedEDID;
  importedEDIDKeepsID = writer.importedEDIDKeepsID;
  completeOverridesWithDictionary();
  completeOverridesWithActualSettings();
  // Also of a monitor that is not there, whose record would be kept as it is in the settings file.
  setIsDirtyEDIDOptions(true);
}

std::optional<std::string> VLMDisplay::importEDID(plist::Data edid, bool keepsID) {
  constexpr plist::Data::value_type kHeader[] = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
  if (edid.size() < kEDIDBlockLength) {
    return "the EDID is " + std::to_string(edid.size()) + " bytes long, 128 at least";
  }
  if (!std::equal(std::begin(kHeader), std::end(kHeader), edid.begin())) return "it does not begin as an EDID does";
  if (extensionBlocksIn(edid) < edid[kEDIDExtensionCountAt]) {
    return "the EDID announces " + std::to_string(edid[kEDIDExtensionCountAt]) + " extension blocks and has " +
           std::to_string(edid.size() / kEDIDBlockLength - 1);
  }
  if (VLMEDID_calcChecksum(edid, 0, kEDIDBlockLength - 1) != 0)
    return "the checksum of the EDID's first block is wrong";
  importedEDID = withoutVLMExtensions(edid);
  importedEDIDKeepsID = keepsID;
  setIsDirtyEDIDOptions(true);
  return std::nullopt;
}

}  // namespace vlm
