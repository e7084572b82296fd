#include <algorithm>
#include <utility>

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
  applyDisplaySetOfChain(requested, save, {});
}

void VLMGlobals::applyDisplaySetOfChain(const std::shared_ptr<VLMDisplaySet>& requested, bool save, ChainOfSets chain) {
  if (!requested) return;
  // Holds it: a callback of the system may reload the document meanwhile.
  const std::shared_ptr<VLMDisplaySet> set = requested;
  const std::shared_ptr<VLMDisplaySet> chained = set->chainedDisplaySet();
  const double now = os().system.timeIntervalSinceReferenceDate();
  // A clock that was set back must not lock the set for as long.
  const bool isRepeated =
      set->lastExecutedDate && now >= *set->lastExecutedDate && now - *set->lastExecutedDate < kRepeatedRequest;
  // A chain that comes back has taken longer than that when monitors or scripts are slow.
  if (isRepeated || (set->uniqueID && chain.contains(*set->uniqueID))) return;
  // A script that runs, or a callback, lets requests in; the steps of two sets must not mix.
  if (isSetExecuted) {
    waitingSets_.push_back({.set = set, .save = save, .chain = std::move(chain)});
    return;
  }
  if (set->uniqueID) chain.insert(*set->uniqueID);
  const bool mirroringWasOn = isMirroringEnabled();
  isSetRecorded = true;
  isSetExecuted = true;
  updateCurrentModes();
  // A set that is none of the document's, or was recorded long ago, has not followed what came and went.
  findAttachedMonitors(*set);
  if (checkMarkForSet(*set, nullptr) == 0) {
    // Before the transaction opens: the Finder is asked for every icon.
    if (save && saveAutoDesktop && saveDesktopBySet && desktopLayout != nullptr) desktopLayout->saveDesktopAll();
    DisplaySetApplication(*this, *set, mirroringWasOn).run();
    if (desktopLayout != nullptr) desktopLayout->positionAllIcons(set);
  }
  if (chained) applyLater(0.0, chained, save, std::move(chain));
  if (applicationObject != nullptr) applicationObject->recordUseSet(set);
  set->executeScript();
  isSetExecuted = false;
  set->lastExecutedDate = os().system.timeIntervalSinceReferenceDate();
  rememberExecution(*set);
  applyWaitingSets();
}

void VLMGlobals::applyWaitingSets() {
  for (const WaitingSet& waiting : std::exchange(waitingSets_, {})) {
    applyLater(0.0, waiting.set, waiting.save, waiting.chain);
  }
}

void VLMGlobals::applyDisplaySetAfterDelay(double delay, const std::shared_ptr<VLMDisplaySet>& set, bool save) {
  applyLater(delay, set, save, {});
}

void VLMGlobals::applyLater(double delay, const std::shared_ptr<VLMDisplaySet>& set, bool save, ChainOfSets chain) {
  os().runLoop.performAfterDelay(delay, [this, set, save, chain = std::move(chain)] {
    // A reload meanwhile has made the sets anew, or without this one. A set without an identifier is nobody's.
    const bool isCurrent = std::find(displaySetsArray.begin(), displaySetsArray.end(), set) != displaySetsArray.end();
    const bool isKnownByIdentifier = !isCurrent && set && set->uniqueID;
    applyDisplaySetOfChain(isKnownByIdentifier ? findSetByUniqueID(displaySetsArray, set->uniqueID) : set, save, chain);
  });
}

}  // namespace vlm
