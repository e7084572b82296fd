#include <algorithm>

#include "Models/DisplaySetApplication.h"
#include "Models/VLMApplicationObject.h"
#include "Models/VLMDesktopLayout.h"
#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Platform/RunLoop.h"
#include "Platform/System.h"

namespace vlm {

namespace {

/// A set asked for again within this time is the same request. Seconds.
constexpr double kRepeatedRequest = 1.0;

}  // namespace

void VLMGlobals::applyDisplaySet(const std::shared_ptr<VLMDisplaySet>& requested, bool save) {
  if (!requested) return;
  // Holds it: a callback of the system may reload the document meanwhile.
  const std::shared_ptr<VLMDisplaySet> set = requested;
  const std::shared_ptr<VLMDisplaySet> chained = set->chainedDisplaySet();
  const double now = os().system.timeIntervalSinceReferenceDate();
  // A clock that was set back must not lock the set for as long.
  const bool isRepeated =
      set->lastExecutedDate && now >= *set->lastExecutedDate && now - *set->lastExecutedDate < kRepeatedRequest;
  if (isRepeated) return;
  isSetRecorded = true;
  isSetExecuted = true;
  updateCurrentModes();
  if (checkMarkForSet(*set, nullptr) == 0) {
    // Before the transaction opens: the Finder is asked for every icon.
    if (save && saveAutoDesktop && saveDesktopBySet && desktopLayout != nullptr) desktopLayout->saveDesktopAll();
    DisplaySetApplication(*this, *set).run();
    if (desktopLayout != nullptr) desktopLayout->positionAllIcons(set);
  }
  if (chained) applyDisplaySetAfterDelay(0.0, chained, save);
  if (applicationObject != nullptr) applicationObject->recordUseSet(set);
  set->executeScript();
  isSetExecuted = false;
  set->lastExecutedDate = os().system.timeIntervalSinceReferenceDate();
  rememberExecution(*set);
}

void VLMGlobals::applyDisplaySetAfterDelay(double delay, const std::shared_ptr<VLMDisplaySet>& set, bool save) {
  os().runLoop.performAfterDelay(delay, [this, set, save] {
    // A reload meanwhile has made the sets anew; the one held is for a set that is no longer there.
    const bool isCurrent = std::find(displaySetsArray.begin(), displaySetsArray.end(), set) != displaySetsArray.end();
    const auto current = isCurrent ? set : findSetByUniqueID(displaySetsArray, set->uniqueID);
    applyDisplaySet(current ? current : set, save);
  });
}

}  // namespace vlm
