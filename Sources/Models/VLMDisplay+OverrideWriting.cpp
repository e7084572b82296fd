#include <algorithm>
#include <iterator>

#include "Models/OverrideContent.h"
#include "Models/VLMDisplay.h"
#include "Platform/Files.h"
#include "Platform/Process.h"
#include "Shared/VLMEDIDUtils.h"
#include "Shared/VLMExtension.h"

/// Writing an override file and taking it back, and what that is to the other displays of the model, whose file it is,
/// too.
namespace vlm {

std::optional<std::string> VLMDisplay::writeOverrides(const plist::Dictionary& content) {
  if (auto failure = writeContent(content)) return failure;
  const auto compareWithFile = [](auto& record) {
    if (record == nullptr) return;
    if (record->shouldOverride && record->isModified()) {
      record->copyBackupWith(*record);
    } else if (record->shouldOverride || record->isModified()) {
      // What the file says comes in its place, or the system where the file says nothing.
      record = nullptr;
    }
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
  if (displayName != nullptr && displayName->shouldOverride && !displayName->isModified()) {
    displayName = VLMOverrideDisplayName::initWithString(sysMonitorName, kOverrideFoundInSystem, false);
  } else if (displayName != nullptr) {
    // A name may be the user's own without being in the file.
    displayName->copyBackupWith(*displayName);
  }
  overrideFileWasWritten();
  return std::nullopt;
}

std::optional<std::string> VLMDisplay::restoreOverrides() {
  const auto before = contentBeforeOverrides();
  // With the file gone, moved away by hand perhaps, the records alone still want what was in it.
  const bool isFileGone = !before && !os().files.checkResourceIsReachable(overridePathForSaving());
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

bool VLMDisplay::sharesOverrideWith(const VLMDisplay& other) const {
  const std::string path = overridePathForSaving();
  if (other.overridePathForSaving() != path) return false;
  if (other.isDigital == isDigital) return true;
  // A list has an entry for either kind of connection; a dictionary is for both.
  const auto root = os().files.propertyListWithContentsOfURL(path);
  return !root || root->array() == nullptr;
}

void VLMDisplay::takeImportFrom(const VLMDisplay& other) {
  importedEDID = other.importedEDID;
  importedEDIDKeepsID = other.importedEDIDKeepsID;
}

void VLMDisplay::takeImportOfTwins() {
  // A record that has been here before has had its say: its import may just have been taken back.
  const bool isNew = monitorTiming == nullptr && defaultResolution == nullptr && displayPixelDimensions == nullptr &&
                     displayFreqPolicy == nullptr;
  if (!isNew || importedEDID || container == nullptr) return;
  if (!inOverrideFileEDID || !hasImportedMark(*inOverrideFileEDID)) return;
  for (const auto& other : container->knownDisplays()) {
    if (other->importedEDID && sharesOverrideWith(*other)) return takeImportFrom(*other);
  }
}

void VLMDisplay::overrideFileWasWritten() {
  completeOverridesWithDictionary();
  completeOverridesWithActualSettings();
  isDirtyEDIDOptions_ = false;
  checkIsDirty();
  if (container == nullptr) return;
  for (const auto& other : container->knownDisplays()) {
    if (other.get() != this && sharesOverrideWith(*other)) other->followOverrideFile(*this);
  }
}

std::vector<std::string> VLMDisplay::namesOfTwins() const {
  std::vector<std::string> names;
  if (container == nullptr) return names;
  for (const auto& other : container->knownDisplays()) {
    if (other.get() != this && sharesOverrideWith(*other)) {
      names.push_back(other->displayedName());
    }
  }
  return names;
}

void VLMDisplay::readOverrideFileAnew() {
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
  if (displayFreqPolicy != nullptr && !displayFreqPolicy->shouldOverride()) displayFreqPolicy = nullptr;
  // The records are as of a new display's, which would take the import of another one of the model.
  const auto imported = importedEDID;
  const bool keepsID = importedEDIDKeepsID;
  completeOverridesWithDictionary();
  completeOverridesWithActualSettings();
  importedEDID = imported;
  importedEDIDKeepsID = keepsID;
  // What waits to be written was read nowhere.
  countOfOriginalModes -=
      std::ranges::count_if(overridenModes, [](const auto& resolution) { return resolution->status == 0; });
}

// The file is for every display of a model: what another one has put into it or taken out counts here as well, or the
// next write for this one would undo it.
void VLMDisplay::followOverrideFile(const VLMDisplay& writer) {
  // Asked of the file as it was before.
  if (!hasToOverrideImportedEDID()) takeImportFrom(writer);
  readOverrideFileAnew();
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
