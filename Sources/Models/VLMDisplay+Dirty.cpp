#include "Models/VLMDisplay.h"
#include "Platform/Notifications.h"
#include "Platform/Process.h"
#include "Shared/VirtualDisplays.h"

namespace vlm {

namespace {

/// Posted on the local centre with the display as sender.
constexpr const char* kDirtyStateChanged = "VLMInternalDisplayDirtyStateChanged";

}  // namespace

void VLMDisplay::setIsDirty(bool dirty) {
  isDirty_ = dirty;
  if (dirty) return;
  isDirtyStandardMenu_ = false;
  isDirtyViewOptions_ = false;
  isDirtyEDIDOptions_ = false;
}

void VLMDisplay::setIsDirtyStandardMenu(bool dirty) {
  isDirtyStandardMenu_ = dirty;
  checkIsDirty();
}

void VLMDisplay::setIsDirtyViewOptions(bool dirty) {
  isDirtyViewOptions_ = dirty && !blockEditingDuplicatedTabs();
  checkIsDirty();
}

void VLMDisplay::setIsDirtyEDIDOptions(bool dirty) {
  isDirtyEDIDOptions_ = dirty;
  checkIsDirty();
}

void VLMDisplay::checkIsDirty() {
  isDirty_ = isDirtyStandardMenu_ || willNeedToSaveOverride() || isDirtyViewOptions_ || isDirtyEDIDOptions_;
  os().notifications.post(NotificationCenter::local,
                          {.name = kDirtyStateChanged, .object = {}, .sender = this, .userInfo = {}}, 0);
}

bool VLMDisplay::blockEditingDuplicatedTabs() const { return isDuplicate || !isADisplayableUnattachedMonitor(); }

bool VLMDisplay::isADisplayableUnattachedMonitor() const {
  return !Common_CGIsVirtualOrIPad(cgID) && !Common_CGIsInVirtualMachine(cgID);
}

bool VLMDisplay::willNeedToSaveOverride() const {
  const auto isModified = [](const auto& record) { return record != nullptr && record->isModified(); };
  return isModified(displayName) || isModified(monitorTiming) || isModified(defaultResolution) ||
         isModified(displayPixelDimensions) ||
         // Once it is saved in the settings it is unmodified, though the override file still has it otherwise.
         isModified(displayFreqPolicy) || (displayFreqPolicy != nullptr && displayFreqPolicy->shouldOverride()) ||
         fileHasOtherResolutions_ || !areAllOverridenModesOriginal() ||
         countOfOriginalModes != static_cast<std::int64_t>(overridenModes.size()) || hasToOverrideImportedEDID();
}

}  // namespace vlm
