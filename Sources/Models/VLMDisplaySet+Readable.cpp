#include <array>

#include "Models/VLMDisplaySet.h"
#include "Platform/Files.h"
#include "Platform/Process.h"
#include "Shared/ReadableEncoding.h"

namespace vlm {

namespace {

struct BooleanKey {
  const char* key;
  bool VLMDisplaySet::*field;
  bool ifAbsent;
};

// A set that does not say so is listed in the menus.
constexpr std::array kBooleanKeys{
    BooleanKey{"isInMenu", &VLMDisplaySet::isInMenu, true},
    BooleanKey{"hasMirroring", &VLMDisplaySet::hasMirroring, false},
    BooleanKey{"inMirroring", &VLMDisplaySet::inMirroring, false},
    BooleanKey{"inGray", &VLMDisplaySet::inGray, false},
    BooleanKey{"hasGray", &VLMDisplaySet::hasGray, false},
    BooleanKey{"hasIcon", &VLMDisplaySet::hasIcon, false},
};

void decodeMonitors(VLMDisplaySet& set, const plist::Dictionary& dict) {
  const plist::Array* monitors = dict.array("monitorArray");
  if (monitors == nullptr) return;
  for (const plist::Value& entry : *monitors) {
    const plist::Dictionary* monitorDict = entry.dictionary();
    if (monitorDict == nullptr) continue;
    auto monitor = VLMMonitorInSet::initAndDecodeReadableWith(*monitorDict);
    monitor->container = &set;
    set.monitorArray.push_back(std::move(monitor));
  }
}

void decodeMirroringPairs(VLMDisplaySet& set, const plist::Dictionary& dict) {
  const plist::Array* pairs = dict.array("complexMirroringSet");
  if (pairs == nullptr) return;
  for (const plist::Value& entry : *pairs) {
    const plist::Array* pair = entry.array();
    if (pair == nullptr || pair->size() != 2 || !(*pair)[0].isNumber() || !(*pair)[1].isNumber()) continue;
    set.complexMirroringSet.add({(*pair)[0].sInt64(), (*pair)[1].sInt64()});
  }
}

/// Older files name the script by an alias record, which is only ever read.
std::optional<plist::Data> scriptBookmark(const plist::Dictionary& dict) {
  if (const plist::Data* bookmark = dict.data("scriptBookmark")) return *bookmark;
  const plist::Data* alias = dict.data("theScriptAlias");
  return alias == nullptr ? std::nullopt : os().files.CFURLCreateBookmarkDataFromAliasRecord(*alias);
}

void setWhenPresent(plist::Dictionary& dict, const char* key, const std::optional<std::int64_t>& number) {
  if (number) dict.set(key, *number);
}

}  // namespace

std::shared_ptr<VLMDisplaySet> VLMDisplaySet::initAndDecodeReadableWith(const plist::Dictionary& dict) {
  std::shared_ptr<VLMDisplaySet> set(new VLMDisplaySet);
  set->name = dict.string("name");
  set->menuOrder = dict.number("menuOrder");
  set->keyCode = dict.number("keyCode");
  set->uniqueID = dict.number("uniqueID");
  set->chainedSetUID = dict.number("chainedSetUID");
  for (const BooleanKey& row : kBooleanKeys) (*set).*(row.field) = dict.boolean(row.key, row.ifAbsent);
  set->theScriptBookmark = scriptBookmark(dict);
  decodeMonitors(*set, dict);
  decodeMirroringPairs(*set, dict);
  return set;
}

plist::Dictionary VLMDisplaySet::encodeReadable() const {
  plist::Dictionary dict;
  if (name) dict.set("name", *name);
  setWhenPresent(dict, "menuOrder", menuOrder);
  setWhenPresent(dict, "keyCode", keyCode);
  setWhenPresent(dict, "uniqueID", uniqueID);
  if (chainedDisplaySet_) setWhenPresent(dict, "chainedSetUID", chainedDisplaySet_->uniqueID);
  for (const BooleanKey& row : kBooleanKeys) dict.set(row.key, this->*(row.field));
  if (theScriptBookmark) dict.set("scriptBookmark", *theScriptBookmark);
  dict.set("monitorArray", vlm::encodeReadable(monitorArray));
  plist::Array pairs;
  for (const auto& [shown, shows] : complexMirroringSet) pairs.push_back(plist::Array{shown, shows});
  dict.set("complexMirroringSet", std::move(pairs));
  return dict;
}

}  // namespace vlm
