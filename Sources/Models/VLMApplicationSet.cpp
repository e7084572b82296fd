#include "Models/VLMApplicationSet.h"

#include <array>
#include <utility>

#include "Platform/Process.h"
#include "Shared/BundleTexts.h"

namespace vlm {

namespace {

/// Name of the rule for all applications, in the menu's table.
constexpr std::int32_t kAllApplicationsName = 2501;

struct BooleanKey {
  const char* key;
  bool VLMApplicationSet::*field;
  bool ifAbsent;
};

// A rule that does not say so puts back what it changed.
constexpr std::array kBooleanKeys{
    BooleanKey{"soundLevelIsSet", &VLMApplicationSet::soundLevelIsSet, false},
    BooleanKey{"notAtOSEvt", &VLMApplicationSet::notAtOSEvt, false},
    BooleanKey{"restoreAtQuit", &VLMApplicationSet::restoreAtQuit, true},
    BooleanKey{"hideDock", &VLMApplicationSet::hideDock, false},
    BooleanKey{"hideOthers", &VLMApplicationSet::hideOthers, false},
};

struct AllApplications {
  std::shared_ptr<VLMApplicationSet> rule;
};

}  // namespace

std::shared_ptr<VLMApplicationSet> VLMApplicationSet::initWithZeroData() {
  std::shared_ptr<VLMApplicationSet> rule(new VLMApplicationSet);
  rule->identifier = std::string();
  rule->appName = std::string();
  return rule;
}

std::shared_ptr<VLMApplicationSet> VLMApplicationSet::allApplicationsSet() {
  auto& rule = Process::current().state<AllApplications>().rule;
  if (rule == nullptr) {
    rule = initWithZeroData();
    rule->signature = kAllApplicationsSignature;
    rule->appName = GetBundleIndNSString("MenuItems", kAllApplicationsName);
  }
  return rule;
}

VLMApplicationSet::~VLMApplicationSet() { setDisplaySet(nullptr); }

void VLMApplicationSet::setDisplaySet(std::shared_ptr<VLMDisplaySet> set) {
  if (displaySet_) --displaySet_->nbUsers;
  if (set) ++set->nbUsers;
  displaySet_ = std::move(set);
}

std::shared_ptr<VLMApplicationSet> VLMApplicationSet::initAndDecodeReadableWith(const plist::Dictionary& dict,
                                                                                const DisplaySets& sets) {
  std::shared_ptr<VLMApplicationSet> rule(new VLMApplicationSet);
  rule->identifier = dict.string("identifier");
  rule->appName = dict.string("appName");
  rule->soundLevel = dict.real32("soundLevel");
  rule->setDisplaySet(findSetByUniqueID(sets, dict.number("setID")));
  rule->signature = dict.sInt32("signature");
  rule->changeRes = dict.sInt32("changeRes");
  for (const BooleanKey& row : kBooleanKeys) (*rule).*(row.field) = dict.boolean(row.key, row.ifAbsent);
  return rule;
}

plist::Dictionary VLMApplicationSet::encodeReadable() const {
  plist::Dictionary dict;
  if (identifier && !identifier->empty()) dict.set("identifier", *identifier);
  dict.set("appName", appName.value_or(std::string()));
  dict.set("soundLevel", soundLevel);
  if (displaySet_ && displaySet_->uniqueID) dict.set("setID", *displaySet_->uniqueID);
  dict.set("signature", signature);
  dict.set("changeRes", changeRes);
  for (const BooleanKey& row : kBooleanKeys) dict.set(row.key, this->*(row.field));
  return dict;
}

}  // namespace vlm
