#include "Daemon/Controllers/VLMDaemonEventsObserver.h"
#include "Daemon/Controllers/VLMDaemonMainController.h"
#include "Platform/Process.h"
#include "Platform/Workspace.h"
#include "Shared/BundleTexts.h"
#include "Shared/Dlog.h"
#include "Shared/Find.h"
#include "Shared/Log.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

/// Title and explanation of the notice that there is no control application, in the table "Daemon".
constexpr std::int32_t kNoControlAppTitle = 1, kNoControlAppExplanation = 3;
/// Address of the page about updates, in the table "URL".
constexpr std::int32_t kUpdatePage = 4;
/// Lets the control application show its update.
constexpr std::uint32_t kShowUpdate = fourCharCode("UPDT");

}  // namespace

void VLMDaemonMainController::openControlApp() {
  if (Find_LaunchControlAppFromDaemon() != 0) Dlog_DaemonNotif(kNoControlAppTitle, kNoControlAppExplanation);
}

void VLMDaemonMainController::userNotificationCenter(const std::string& didActivateNotification) {
  os().userInterface.removeDeliveredNotification(didActivateNotification);
  if (systemVersion() < kSystem10_13) {
    os().workspace.openURL(GetBundleIndNSString("URL", kUpdatePage));
  } else {
    Find_LaunchControlAppWithAEMessage(kShowUpdate);
  }
}

void VLMDaemonMainController::postDirectNotificationName(const std::string& name) {
  VLMLog("[VLM4] Posting notification %@", name);
  eventsObserver->eventHasOccured({.name = name, .object = {}, .sender = nullptr, .userInfo = {}});
}

}  // namespace vlm
