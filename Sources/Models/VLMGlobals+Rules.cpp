#include <algorithm>
#include <utility>

#include "Models/VLMGlobals.h"
#include "Models/VLMLaunchedApplication.h"
#include "Platform/Process.h"
#include "Platform/System.h"
#include "Platform/Workspace.h"
#include "Shared/Log.h"
#include "Shared/ReadableEncoding.h"
#include "Shared/UpperCase.h"

/// Rules for applications and events: in the settings file, and bringing an application's about.
namespace vlm {

namespace {

constexpr const char* kApplicationSetsKey = "applicationSetsArray";
constexpr const char* kEventsKey = "eventsArray";

/// What a rule was made for. One without identifier and name (that for all applications) is for whatever is in front.
bool isFor(const VLMApplicationSet& rule, const RunningApplication& application) {
  if (rule.identifier && !rule.identifier->empty()) return application.bundleIdentifier == *rule.identifier;
  return rule.signature != VLMApplicationSet::kAllApplicationsSignature && rule.appName && !rule.appName->empty() &&
         upperCased(application.localizedName) == upperCased(*rule.appName);
}

/// The system's own faceless helpers have no windows, and whoever is in front may be about to give way.
void hideAllBut(const VLMApplicationSet& rule) {
  Workspace& workspace = os().workspace;
  const std::vector<RunningApplication> applications = workspace.runningApplications();
  const bool isRunning = std::any_of(applications.begin(), applications.end(),
                                     [&](const RunningApplication& application) { return isFor(rule, application); });
  const auto inFront = workspace.frontmostApplication();
  for (const RunningApplication& application : applications) {
    const bool stays =
        isRunning ? isFor(rule, application) : inFront && inFront->processIdentifier == application.processIdentifier;
    if (stays || application.activationPolicy != ActivationPolicy::regular) continue;
    if (application.processIdentifier != workspace.processIdentifier()) workspace.hide(application.processIdentifier);
  }
}

void hideDock(bool hides) {
  if (os().system.CoreDockGetAutoHideEnabled() != hides) os().system.CoreDockSetAutoHideEnabled(hides);
}

/// A machine without a volume that can be set stays as it is; a negative one was never known.
void setVolume(float volume) {
  const auto now = os().system.CoreAudio_GetVolume();
  if (now && volume >= 0 && *now != volume) os().system.CoreAudio_SetVolume(volume);
}

}  // namespace

void VLMGlobals::applyApplicationSet(const std::shared_ptr<VLMApplicationSet>& rule) {
  if (!rule) return;
  // Held beside: a callback of the system may reload the document meanwhile.
  const std::shared_ptr<VLMApplicationSet> held = rule;
  applyDisplaySet(held->displaySet(), false);
  if (held->soundLevelIsSet) setVolume(held->soundLevel);
  // A rule that does not hide the Dock leaves it alone: it may be the user's wish that it hides.
  if (held->hideDock) hideDock(true);
  if (held->hideOthers) hideAllBut(*held);
}

void VLMGlobals::applyOldApplicationSet(const std::shared_ptr<VLMLaunchedApplication>& application) {
  if (!application || !application->restoreAtQuit) return;
  const std::shared_ptr<VLMLaunchedApplication> held = application;
  applyDisplaySet(held->activeSetAtLaunch, false);
  setVolume(held->soundLevel);
  hideDock(held->isAutoHidden);
}

void VLMGlobals::decodeApplicationSets(const plist::Dictionary& dict) {
  applicationSetsArray.clear();
  checkApplics = dict.boolean("checkApplics");
  const plist::Array* const array = dict.array(kApplicationSetsKey);
  // The first place is that of the rule for all applications; a damaged entry there must not let the next one move up.
  const plist::Dictionary* const first = array == nullptr || array->empty() ? nullptr : array->front().dictionary();
  applicationSetsArray.push_back(first != nullptr
                                     ? VLMApplicationSet::initAndDecodeReadableWith(*first, displaySetsArray)
                                     : VLMApplicationSet::allApplicationsSet());
  for (std::size_t i = 1; array != nullptr && i < array->size(); ++i) {
    const plist::Dictionary* const rule = (*array)[i].dictionary();
    if (rule == nullptr) continue;
    applicationSetsArray.push_back(VLMApplicationSet::initAndDecodeReadableWith(*rule, displaySetsArray));
  }
}

void VLMGlobals::encodeApplicationSets(plist::Dictionary& dict) const {
  dict.set("checkApplics", checkApplics);
  dict.set(kApplicationSetsKey, vlm::encodeReadable(applicationSetsArray));
}

void VLMGlobals::decodeEvents(const plist::Dictionary& dict) {
  eventsArray.clear();
  const plist::Array* const array = dict.array(kEventsKey);
  if (array == nullptr) return;
  for (const plist::Value& entry : *array) {
    const plist::Dictionary* const event = entry.dictionary();
    if (event != nullptr) eventsArray.push_back(VLMEvent::initAndDecodeReadableWith(*event, displaySetsArray));
  }
}

void VLMGlobals::encodeEvents(plist::Dictionary& dict) const {
  VLMLog("Encoding Events array %@", lazily([&] { return plist::describe(vlm::encodeReadable(eventsArray)); }));
  plist::Array events = vlm::encodeReadable(eventsArray);
  VLMLog("Encoded Events array %@", lazily([&] { return plist::describe(events); }));
  dict.set(kEventsKey, std::move(events));
}

}  // namespace vlm
