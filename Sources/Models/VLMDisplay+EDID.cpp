#include <algorithm>
#include <string_view>

#include "Models/VLMDisplay.h"
#include "Shared/Log.h"
#include "Shared/VLMEDIDUtils.h"
#include "Shared/VLMExtension.h"

namespace vlm {

namespace {

/// The text of the synthetic EDID's first descriptor, and where it stands.
constexpr std::string_view kFakeMark = "VLMFakeEDID";
constexpr std::size_t kFakeMarkOffset = 59;

/// What a bus reads when nobody drives it: all ones where the fixed header should be.
bool isGarbled(const plist::Data& edid) {
  constexpr std::ptrdiff_t kHeaderLength = 8;
  return edid.size() >= kHeaderLength &&
         std::all_of(edid.begin(), edid.begin() + kHeaderLength, [](std::uint8_t byte) { return byte == 0xFF; });
}

}  // namespace

plist::Data VLMDisplay::edidDataActual() {
  VLMLog("Velmoratix: edidDataActual");
  if (cachedEDIDData) {
    VLMLog("Velmoratix: EDID is cached, return it");
    return *cachedEDIDData;
  }
  VLMLog("Velmoratix: EDID not in Override, get from IOReg");
  const auto registry = contentOfIODisplayRegDictionary();
  const plist::Data* found = registry ? registry->data("IODisplayEDID") : nullptr;
  if (found != nullptr && isGarbled(*found)) {
    VLMLog("Velmoratix: was a garbled EDID");
    found = nullptr;
  }
  if (found != nullptr && !found->empty()) {
    VLMLog("Velmoratix: following EDID will be returned");
    cachedEDIDData = *found;
    return *found;
  }
  VLMLog("Velmoratix: EDID not in IOReg, create fake");
  cachedEDIDData = syntheticEDID(displayVendorID, displayProductID);
  VLMLog("Velmoratix: fake EDID but will be returned");
  return *cachedEDIDData;
}

void VLMDisplay::emptyCache() { cachedEDIDData.reset(); }

bool VLMDisplay::hasFakeEDID() {
  const plist::Data edid = edidDataActual();
  return edid.size() <= kEDIDBlockLength && edid.size() >= kFakeMarkOffset + kFakeMark.size() &&
         std::equal(kFakeMark.begin(), kFakeMark.end(), edid.begin() + kFakeMarkOffset,
                    [](char wanted, std::uint8_t byte) { return static_cast<std::uint8_t>(wanted) == byte; });
}

bool VLMDisplay::hasToSaveImportedEDID() {
  VLMLog("%@ hasToSaveImportedEDID", lazily([&] { return displayedName(); }));
  const plist::Data actual = edidDataActual();
  bool result = false;
  if (importedEDID) {
    result = !VLMEDID_doEDIDMatch(actual, withoutVLMExtensions(*importedEDID), !importedEDIDKeepsID);
    if (result) VLMLog("edidDataActual does not match importedEDID so YES");
  } else {
    VLMLog("edidDataActual = YES");
    result = hasImportedMark(actual);
    if (result) VLMLog("range.location != NSNotFound so YES");
  }
  VLMLog("return = %d", static_cast<int>(result));
  return result;
}

std::optional<plist::Data> VLMDisplay::ownEDID() {
  const plist::Data actual = edidDataActual();
  if (!hasFakeEDID()) return hasImportedMark(actual) ? std::nullopt : std::optional(actual);
  return dispIsPresent ? edidFromAVService() : std::nullopt;
}

bool VLMDisplay::hasToOverrideImportedEDID() const {
  VLMLog("%@ hasToOverrideImportedEDID", lazily([&] { return displayedName(); }));
  bool result = false;
  if (importedEDID) {
    VLMLog("importedEDID = YES");
    result = !VLMEDID_doEDIDMatch(inOverrideFileEDID.value_or(plist::Data()), withoutVLMExtensions(*importedEDID),
                                  !importedEDIDKeepsID);
    if (result) VLMLog("inOverrideFileEDID does not match importedEDID so YES");
  } else if (inOverrideFileEDID) {
    VLMLog("inOverrideFileEDID = YES");
    result = hasImportedMark(*inOverrideFileEDID);
    if (result) VLMLog("range.location != NSNotFound so YES");
  }
  VLMLog("return = %d", static_cast<int>(result));
  return result;
}

}  // namespace vlm
