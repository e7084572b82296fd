#include <algorithm>
#include <array>
#include <utility>

#include "Models/OverrideContent.h"
#include "Models/VLMDisplay.h"
#include "Models/VLMGlobals.h"
#include "Platform/Files.h"
#include "Platform/Process.h"
#include "Shared/Format.h"
#include "Shared/Log.h"
#include "Shared/SystemVersion.h"

/// The override file of a display: which one it is, which part of it is for the display, and the snapshot of what it
/// held before us.
namespace vlm {

namespace {

constexpr const char* kOldBackup = "Velmoratix backuped settings";

/// `typeOfOverrideFile`.
constexpr std::int32_t kNoFile = 0, kByProduct = 1, kByDate = 2;

/// A key of earlier versions, and the platform's key whose value it kept.
struct OldKey {
  const char* oldKey;
  const char* key;
};
constexpr std::array kOldKeys{
    OldKey{"VLdspc", "dspc"},
    OldKey{"VLtspc", "tspc"},
    OldKey{"VLScale", "scale-resolutions"},
    OldKey{"VZtr", "tovr"},
    OldKey{"VLdefres", "default-resolution"},
    OldKey{"VLDisplayProductName", "DisplayProductName"},
    OldKey{"VLtrng", "trng"},
    OldKey{"VLEDID", "IODisplayEDID"},
};
/// One that went without a successor.
constexpr const char* kDroppedKey = "VZto";

std::string pathIn(const VLMDisplay& display, const std::string& directory, std::int32_t type) {
  if (type == kByDate) {
    return format("%@/DisplayVendorID-%lx/DisplayYearManufacture-%d-DisplayWeekManufacture-%d", directory,
                  display.displayVendorID, display.manufactureYear, display.manufactureWeek);
  }
  return format("%@/DisplayVendorID-%lx/DisplayProductID-%lx", directory, display.displayVendorID,
                display.displayProductID);
}

/// A dictionary or an array; anything else is no override file.
std::optional<plist::Value> fileAt(const std::string& path) {
  auto root = os().files.propertyListWithContentsOfURL(path);
  if (root && root->dictionary() == nullptr && root->array() == nullptr) root.reset();
  return root;
}

void renameOldBackup(plist::Dictionary& content) {
  const plist::Value* const old = content.find(kOldBackup);
  if (old == nullptr || content.contains(OverrideKey::backup)) return;
  plist::Value section = *old;
  content.remove(kOldBackup);
  content.set(OverrideKey::backup, std::move(section));
}

/// Whether a value says anything: earlier versions left an empty one where the user had removed the setting.
bool holdsData(const plist::Value& value) {
  if (const auto* data = value.data()) return !data->empty();
  if (const auto* text = value.string()) return !text->empty();
  if (const auto* array = value.array()) return !array->empty();
  if (const auto* dictionary = value.dictionary()) return !dictionary->empty();
  return true;
}

/// The entry for a digital or an analogue connection; -1 when there is none. An entry that does not say what it is for
/// ends the search.
std::ptrdiff_t indexForDisplay(const plist::Array& entries, bool isDigital) {
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const plist::Dictionary* const entry = entries[i].dictionary();
    if (entry == nullptr) continue;
    const plist::Dictionary* const matching = entry->dictionary("IODisplayOverrideMatching");
    if (matching == nullptr) return -1;
    if (matching->boolean("IODisplayIsDigital", isDigital) == isDigital) return static_cast<std::ptrdiff_t>(i);
  }
  return -1;
}

std::string describeOrNone(const std::optional<plist::Dictionary>& content) {
  return content ? plist::describe(*content) : std::string("(null)");
}

}  // namespace

plist::Value VLMDisplay::readAllOverrides(bool includingLibDir) {
  typeOfOverrideFile = kNoFile;
  plist::Dictionary result;
  for (const std::string& directory : VLMGlobals::overridesPathsForReadingIncludingLibDir(includingLibDir)) {
    std::int32_t type = kByProduct;
    auto root = fileAt(pathIn(*this, directory, type));
    if (!root && manufactureYear != 0 && manufactureWeek != 0) {
      type = kByDate;
      root = fileAt(pathIn(*this, directory, type));
    }
    if (!root) continue;
    typeOfOverrideFile = type;
    if (root->array() != nullptr) return std::move(*root);
    result = std::move(*root->dictionary());
  }
  renameOldBackup(result);
  return result;
}

std::optional<plist::Dictionary> VLMDisplay::makeContentOfOverrideDictionary(bool includingLibDir) {
  VLMLog("makeContentOfOverrideDictionary");
  plist::Value root = readAllOverrides(includingLibDir);
  std::optional<plist::Dictionary> content;
  if (plist::Dictionary* const dictionary = root.dictionary()) {
    const bool isEmpty = dictionary->empty();
    content = std::move(*dictionary);
    if (isEmpty) {
      content->set("DisplayVendorID", displayVendorID);
      content->set("DisplayProductID", displayProductID);
      VLMLog("makeContentOfOverrideDictionary is NIL - create empty %@",
             lazily([&] { return describeOrNone(content); }));
    } else {
      VLMLog("makeContentOfOverrideDictionary is Dict %@", lazily([&] { return describeOrNone(content); }));
    }
  } else if (plist::Array* const entries = root.array()) {
    const std::ptrdiff_t index = indexForDisplay(*entries, isDigital);
    if (index >= 0) content = std::move(*(*entries)[static_cast<std::size_t>(index)].dictionary());
    if (content) renameOldBackup(*content);
    VLMLog("makeContentOfOverrideDictionary is Array %@", lazily([&] { return describeOrNone(content); }));
  }
  return content;
}

plist::Value VLMDisplay::modifiedOverrideContentWith(const plist::Dictionary& content, bool includingLibDir) {
  plist::Value root = readAllOverrides(includingLibDir);
  plist::Array* const entries = root.array();
  if (entries == nullptr) return content;
  const std::ptrdiff_t index = indexForDisplay(*entries, isDigital);
  if (index >= 0) (*entries)[static_cast<std::size_t>(index)] = content;
  return root;
}

void VLMDisplay::makeBackupOfOverrides(plist::Dictionary& content) {
  if (content.contains(OverrideKey::backup)) return;
  for (const auto& [oldKey, key] : kOldKeys) {
    const plist::Value* const old = content.find(oldKey);
    if (old == nullptr) continue;
    plist::Value value = *old;
    content.remove(oldKey);
    if (holdsData(value)) {
      content.set(key, std::move(value));
    } else {
      content.remove(key);
    }
  }
  content.remove(kDroppedKey);
  plist::Dictionary snapshot = content;
  content.set(OverrideKey::backup, std::move(snapshot));
}

std::optional<plist::Dictionary> VLMDisplay::contentBeforeOverrides() {
  const auto content = makeContentOfOverrideDictionary(true);
  const plist::Dictionary* const snapshot = content ? content->dictionary(OverrideKey::backup) : nullptr;
  if (snapshot == nullptr) return std::nullopt;
  plist::Dictionary before = *snapshot;
  before.set(OverrideKey::backup, *snapshot);
  return before;
}

std::string VLMDisplay::overridePathForSaving() const {
  return pathIn(*this, VLMGlobals::overridesPathForSavingIncludingLibDir(true), typeOfOverrideFile);
}

std::optional<std::string> VLMDisplay::writeContent(const plist::Dictionary& content) {
  const plist::Value whole = modifiedOverrideContentWith(content, true);
  const std::string path = overridePathForSaving();
  const auto there = fileAt(path);
  if (!there && os().files.checkResourceIsReachable(path)) {
    return path + " cannot be read, and what it holds would be lost";
  }
  if (there && there->array() != nullptr && indexForDisplay(*there->array(), isDigital) < 0) {
    return "the override file has no entry that says that it is for this display's kind of connection";
  }
  if (whole.array() != nullptr && indexForDisplay(*whole.array(), isDigital) < 0) {
    return "what would be written does not say for which kind of connection it is";
  }
  if (whole.array() != nullptr && (!there || there->array() == nullptr)) {
    return "the system's own override file is a list of entries, which hides the file that would be written";
  }
  return os().files.writeToURLAsAdministrator(whole, path);
}

}  // namespace vlm
