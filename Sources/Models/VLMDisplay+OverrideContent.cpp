#include <algorithm>
#include <cmath>
#include <unordered_set>

#include "Models/DDC.h"
#include "Models/EDIDRangeLimits.h"
#include "Models/OverrideContent.h"
#include "Models/VLMDisplay.h"
#include "Models/VLMStandardResolutions.h"
#include "Shared/VLMEDIDUtils.h"
#include "Shared/VLMExtension.h"

/// The content of an override file as the records want it. Whatever in the file we do not understand stays in it.
namespace vlm {

namespace {

/// Nothing was read into it: a descriptor that is no timing.
bool isUnfilled(const VLMOverrideResolution& resolution) {
  return resolution.resolutionType == VLMOverrideResolution::kCustomTiming && resolution.activeNx == 0 &&
         resolution.activeNy == 0;
}

bool isReadTiming(const plist::Value& item) {
  const plist::Data* const data = item.data();
  return data != nullptr &&
         !isUnfilled(*VLMOverrideResolution::initWithDTDData(*data, VLMOverrideResolution::kOriginFile));
}

bool isReadScaledSize(const plist::Value& item) {
  return VLMOverrideResolution::initWithScaleData(&item, VLMOverrideResolution::kOriginFile)->scaledNx != 0;
}

/// The items of a list that the records do not know.
plist::Array unreadItems(const plist::Dictionary& content, const char* key, bool (*isRead)(const plist::Value& item)) {
  plist::Array unread;
  const plist::Array* const items = content.array(key);
  for (std::size_t i = 0; items != nullptr && i < items->size(); ++i) {
    if (i >= kMostOverrideItems || !isRead((*items)[i])) unread.push_back((*items)[i]);
  }
  return unread;
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

std::vector<std::string> VLMDisplay::findingsOf(const VLMOverrideResolution& resolution) {
  std::vector<TimingLimits> limits;
  if (auto range = rangeLimitsInEDID(importedEDID ? *importedEDID : edidDataActual())) {
    limits.push_back(std::move(*range));
  }
  const bool isSystems = monitorTiming == nullptr || !monitorTiming->shouldOverride;
  if (auto range = limitsOf(monitorTiming, isSystems ? "the system's timing range" : "the timing range that is set")) {
    limits.push_back(std::move(*range));
  }
  return resolution.findings(limits);
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
  plist::Array timings = unreadItems(content, OverrideKey::timings, isReadTiming);
  plist::Array scaledSizes = unreadItems(content, OverrideKey::scaledSizes, isReadScaledSize);
  plist::Dictionary standardModes = unreadStandardModes(content);
  const auto native = findNativeMode();
  const std::uint32_t nativeNx = native == nullptr ? 0 : nativePixels(native->Nx, *native);
  const std::uint32_t nativeNy = native == nullptr ? 0 : nativePixels(native->Ny, *native);
  for (const auto& resolution : overridenModes) {
    if (isUnfilled(*resolution) || resolution->isDuplicate || !resolution->toInstall) continue;
    for (const std::string& finding : findingsOf(*resolution)) {
      composition.findings.push_back(resolution->displayedModeName() + ": " + finding);
    }
    resolution->addInOverridesDspc(timings, scaledSizes, standardModes, extensionTimings, nativeNx, nativeNy);
  }
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
  std::optional<plist::Data> base;
  if (importedEDID && importedEDID->size() < kEDIDBlockLength) {
    composition.findings.push_back("the imported EDID is " + std::to_string(importedEDID->size()) +
                                   " bytes long, 128 at least");
    return;
  }
  if (importedEDID) {
    base = withoutVLMExtensions(*importedEDID);
    if (importedEDIDKeepsID) base = withIdentityOf(std::move(*base), edidDataActual());
  } else if (!timings.empty()) {
    std::string reason;
    base = baseOfExtensions(content, reason);
    if (!base) composition.findings.push_back(reason);
  }
  if (base) {
    std::size_t left = 0;
    content.set(OverrideKey::edid, withVLMExtensions(std::move(*base), timings, importedEDID.has_value(), left));
    if (left > 0) composition.findings.push_back(std::to_string(left) + " timings have no room in the EDID");
    return;
  }
  const plist::Data* const found = content.data(OverrideKey::edid);
  const bool isOurs = found != nullptr &&
                      (hasImportedMark(*found) || VLMEDID_findVLMDisplayIDExtensionInEDID(*found) != kNoVLMExtension);
  if (!isOurs) return;
  const plist::Dictionary* const before = content.dictionary(OverrideKey::backup);
  const plist::Data* const edidBefore = before == nullptr ? nullptr : before->data(OverrideKey::edid);
  if (edidBefore != nullptr && *edidBefore != *found) {
    content.set(OverrideKey::edid, *edidBefore);
  } else {
    content.remove(OverrideKey::edid);
  }
}

std::optional<plist::Data> VLMDisplay::baseOfExtensions(const plist::Dictionary& content, std::string& reason) {
  const plist::Data* const inFile = content.data(OverrideKey::edid);
  if (inFile != nullptr && inFile->size() >= kEDIDBlockLength && !hasImportedMark(*inFile)) {
    return withoutVLMExtensions(*inFile);
  }
  const plist::Data actual = edidDataActual();
  if (hasImportedMark(actual)) {
    reason =
        "the display still shows an EDID that was imported before; connect it anew for the timings that need an EDID";
    return std::nullopt;
  }
  if (!hasFakeEDID()) return withoutVLMExtensions(actual);
  if (auto edid = edidFromAVService()) return withoutVLMExtensions(*edid);
  reason = "the display reports no EDID, which the largest timings would be put into";
  return std::nullopt;
}

std::optional<std::string> VLMDisplay::writeOverrides(const plist::Dictionary& content) {
  if (auto failure = writeContent(content)) return failure;
  takeOverridesForRead();
  completeOverridesWithDictionary();
  completeOverridesWithActualSettings();
  checkIsDirty();
  return std::nullopt;
}

/// What stands in the file now is what the records are compared with from here on.
void VLMDisplay::takeOverridesForRead() {
  for (const auto& resolution : overridenModes) resolution->copyBackupWith(*resolution);
  const auto take = [](const auto& record) {
    if (record != nullptr) record->copyBackupWith(*record);
  };
  take(monitorTiming);
  take(defaultResolution);
  take(displayPixelDimensions);
  take(displayName);
}

std::optional<std::string> VLMDisplay::restoreOverrides() {
  const auto before = contentBeforeOverrides();
  if (!before) return "nothing is kept of what the override file held before";
  if (auto failure = writeContent(*before)) return failure;
  overridenModes.clear();
  monitorTiming = nullptr;
  defaultResolution = nullptr;
  displayPixelDimensions = nullptr;
  displayName = VLMOverrideDisplayName::initWithString(sysMonitorName, kOverrideFoundInSystem, false);
  displayFreqPolicy = nullptr;
  importedEDID.reset();
  completeOverridesWithDictionary();
  completeOverridesWithActualSettings();
  checkIsDirty();
  return std::nullopt;
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
