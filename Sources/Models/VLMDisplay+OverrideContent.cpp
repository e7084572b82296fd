#include <algorithm>
#include <unordered_set>

#include "Models/EDIDRangeLimits.h"
#include "Models/OverrideContent.h"
#include "Models/VLMDisplay.h"
#include "Platform/Numbers.h"
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

/// Resolutions that shall be installed, and which of them the file has.
class Wanted {
 public:
  explicit Wanted(const OverrideResolutions& resolutions) : resolutions_(resolutions) {}

  /// Whether it shall be installed; the file has it, then. Of several items that say the same each may ask.
  bool has(const VLMOverrideResolution& resolution) {
    for (std::size_t i = 0; i < std::min(resolutions_.size(), kMostResolutions); ++i) {
      if (!resolutions_[i]->isEqualToRes(&resolution)) continue;
      inFile_.insert(i);
      return true;
    }
    return false;
  }
  OverrideResolutions missing() const {
    OverrideResolutions missing;
    for (std::size_t i = 0; i < resolutions_.size(); ++i) {
      if (!inFile_.contains(i)) missing.push_back(resolutions_[i]);
    }
    return missing;
  }

 private:
  const OverrideResolutions& resolutions_;
  std::unordered_set<std::size_t> inFile_;
};

/// The items of a list of the file that stay as they are: what is no business of ours, what came into it since it was
/// read, and the resolutions that nobody has changed, for others may have put more into them than we read.
plist::Array keptItems(const plist::Dictionary& content, const char* key, Read read,
                       const std::unordered_set<std::size_t>& itemsReadLast, Wanted& wanted) {
  plist::Array kept;
  const plist::Array* const items = content.array(key);
  for (std::size_t i = 0; items != nullptr && i < items->size(); ++i) {
    const plist::Value& item = (*items)[i];
    const Resolution resolution = i < kMostOverrideItems ? read(item) : nullptr;
    const bool isKept = resolution == nullptr || wanted.has(*resolution) || !itemsReadLast.contains(hashOfItem(item));
    if (isKept) kept.push_back(item);
  }
  return kept;
}

/// Whether it comes back as it is. A timing with figures beyond its record's would be installed as another one. A
/// descriptor's lines are those of one field: the odd line of an interlaced picture is lost, and meant to be.
bool canBeWritten(const VLMOverrideResolution& resolution) {
  if (resolution.resolutionType != VLMOverrideResolution::kCustomTiming) return true;
  plist::Array descriptors, scaledSizes, extensionTimings;
  plist::Dictionary standardModes;
  resolution.addInOverridesDspc(descriptors, scaledSizes, standardModes, extensionTimings, 0, 0);
  const plist::Data* const data = (descriptors.empty() ? extensionTimings : descriptors).front().data();
  const auto back = resolution.extended ? VLMOverrideResolution::initWithDisplayIdType1Data(*data, 0)
                                        : VLMOverrideResolution::initWithDTDData(*data, 0);
  VLMOverrideResolution even = resolution;
  if (even.interlaced && !even.extended) even.activeNy &= ~1U;
  return back->isEqualToRes(&even);
}

/// What shall be installed, each once.
OverrideResolutions wantedOf(const OverrideResolutions& resolutions) {
  OverrideResolutions wanted;
  for (const auto& resolution : resolutions) {
    if (!resolution->toInstall || isUnfilled(*resolution)) continue;
    const auto compared = std::span(wanted).first(std::min(wanted.size(), kMostResolutions));
    const bool isThere =
        std::ranges::any_of(compared, [&](const auto& other) { return other->isEqualToRes(resolution.get()); });
    if (!isThere) wanted.push_back(resolution);
  }
  return wanted;
}

/// Of items behind the first `count` those go whose bytes are there already: a timing that its form cuts is not known
/// again when it is read.
void removeRepeated(plist::Array& items, std::size_t count) {
  for (std::size_t i = items.size(); i-- > count;) {
    const auto end = items.begin() + static_cast<std::ptrdiff_t>(i);
    if (std::find(items.begin(), end, items[i]) != end) items.erase(end);
  }
}

/// Of the records of standard modes those that stay, as with keptItems.
plist::Dictionary keptStandardModes(const plist::Dictionary& content,
                                    const std::unordered_set<std::size_t>& itemsReadLast, Wanted& wanted) {
  const plist::Dictionary* const records = content.dictionary(OverrideKey::standardModes);
  plist::Dictionary kept;
  std::size_t ours = 0;
  VLMOverrideResolution mode;
  mode.resolutionType = VLMOverrideResolution::kStandardMode;
  if (records == nullptr) return kept;
  for (const plist::Entry& entry : *records) {
    mode.appleID = appleIDOfKey(entry.key);
    const bool isRead = isOurStandardMode(entry.value) && ++ours <= kMostOverrideItems;
    const bool isKept = !isRead || wanted.has(mode) || !itemsReadLast.contains(hashOfKey(entry.key));
    if (isKept) kept.set(entry.key, entry.value);
  }
  return kept;
}

/// Timings that came into the file's EDID since it was read.
void keepNewExtensionTimings(const plist::Dictionary& content, const std::unordered_set<std::size_t>& itemsReadLast,
                             Wanted& wanted, plist::Array& extensionTimings) {
  const plist::Data* const edid = content.data(OverrideKey::edid);
  for (const VLMTiming& timing : edid == nullptr ? std::vector<VLMTiming>() : timingsInVLMExtensions(*edid)) {
    const auto resolution =
        VLMOverrideResolution::initWithDisplayIdType1Data(timing, VLMOverrideResolution::kOriginFile);
    const plist::Value item = plist::Data(timing.begin(), timing.end());
    if (wanted.has(*resolution) || !itemsReadLast.contains(hashOfItem(item))) extensionTimings.push_back(item);
  }
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

std::optional<SignalRange> rangeOf(const std::shared_ptr<VLMOverrideMonitorRange>& range, const char* source) {
  if (range == nullptr || range->isEmpty()) return std::nullopt;
  return SignalRange{.source = source,
                     .minH = range->minH,
                     .maxH = range->maxH,
                     .minV = static_cast<double>(range->minV),
                     .maxV = static_cast<double>(range->maxV),
                     .minPClock = range->minPClock,
                     .maxPClock = range->maxPClock};
}

}  // namespace

std::vector<SignalRange> VLMDisplay::signalRanges() {
  std::vector<SignalRange> ranges;
  auto edid = importedEDID ? importedEDID : ownEDID();
  if (!edid) edid = inOverrideFileEDID;
  if (auto range = edid ? rangeLimitsInEDID(*edid) : std::nullopt) ranges.push_back(std::move(*range));
  if (monitorTiming == nullptr) return ranges;
  const bool isSet = monitorTiming->shouldOverride;
  // What was set and has been taken back says nothing; of a display that is not attached there is what was saved.
  const bool isSystems = (monitorTiming->status & kOverrideFoundInSystem) != 0 || !isAttached();
  if (!isSet && (!isSystems || monitorTiming->isModified())) return ranges;
  if (auto range = rangeOf(monitorTiming, isSet ? "the timing range that is set" : "the system's timing range")) {
    ranges.push_back(std::move(*range));
  }
  return ranges;
}

std::vector<std::string> VLMDisplay::findingsOf(const VLMOverrideResolution& resolution) {
  return resolution.findings(signalRanges());
}

OverrideComposition VLMDisplay::composeOverrides() {
  OverrideComposition composition;
  if (auto content = makeContentOfOverrideDictionary(true)) {
    composition.content = std::move(*content);
  } else {
    composition.findings.emplace_back(
        "the override file has no entry that says that it is for this display's kind of connection");
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
  const OverrideResolutions resolutions = wantedOf(overridenModes);
  const auto ranges = signalRanges();
  for (const auto& resolution : resolutions) {
    for (const std::string& finding : resolution->findings(ranges)) {
      composition.findings.push_back(resolution->displayedModeName() + ": " + finding);
    }
  }
  Wanted wanted(resolutions);
  plist::Array timings = keptItems(content, OverrideKey::timings, readTiming, itemsReadLast_, wanted);
  plist::Array scaledSizes = keptItems(content, OverrideKey::scaledSizes, readScaledSize, itemsReadLast_, wanted);
  plist::Dictionary standardModes = keptStandardModes(content, itemsReadLast_, wanted);
  keepNewExtensionTimings(content, itemsReadLast_, wanted, extensionTimings);
  const auto native = findNativeMode();
  const std::uint32_t nativeNx = native == nullptr ? 0 : native->pixelsOf(native->Nx);
  const std::uint32_t nativeNy = native == nullptr ? 0 : native->pixelsOf(native->Ny);
  const std::size_t keptTimings = timings.size(), keptSizes = scaledSizes.size(),
                    keptExtensionTimings = extensionTimings.size();
  for (const auto& resolution : wanted.missing()) {
    if (!canBeWritten(*resolution)) {
      composition.findings.push_back(resolution->displayedModeName() + ": no record of the file can hold it; left out");
      continue;
    }
    resolution->addInOverridesDspc(timings, scaledSizes, standardModes, extensionTimings, nativeNx, nativeNy);
  }
  removeRepeated(timings, keptTimings);
  removeRepeated(scaledSizes, keptSizes);
  removeRepeated(extensionTimings, keptExtensionTimings);
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
    if (importedEDIDKeepsID) base = withIdentityOf(*base, ownIdentity(*base));
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

plist::Data VLMDisplay::ownIdentity(const plist::Data& imported) {
  if (auto own = ownEDID()) return std::move(*own);
  plist::Data identity = syntheticEDID(displayVendorID, displayProductID);
  constexpr std::size_t kWeekAt = 16, kYearAt = 17;
  constexpr std::uint32_t kFirstYear = 1990;
  const bool isDateKnown = manufactureYear >= kFirstYear;
  identity[kWeekAt] = isDateKnown ? truncateTo<std::uint8_t>(manufactureWeek) : imported[kWeekAt];
  identity[kYearAt] = isDateKnown ? truncateTo<std::uint8_t>(manufactureYear - kFirstYear) : imported[kYearAt];
  return identity;
}

std::optional<plist::Data> VLMDisplay::baseOfExtensions(const plist::Dictionary& content, std::string& reason) {
  const plist::Data* const inFile = content.data(OverrideKey::edid);
  if (inFile != nullptr && inFile->size() >= kEDIDBlockLength && !hasImportedMark(*inFile)) {
    return withoutVLMExtensions(*inFile);
  }
  if (auto before = edidBeforeOurs(content)) return before;
  if (auto own = ownEDID()) return withoutVLMExtensions(*own);
  reason = !isAttached() ? "the largest timings go into the display's EDID, which is known when it is attached"
           : hasFakeEDID()
               ? "the display reports no EDID, which the largest timings would be put into"
               : "the display still shows an EDID that was imported; connect it anew for the timings that need its own";
  return std::nullopt;
}

}  // namespace vlm
