#include "Shared/Dlog.h"

#include "Platform/Process.h"
#include "Platform/UserInterface.h"
#include "Shared/BundleTexts.h"

namespace vlm {

namespace {

constexpr double kNoTimeout = 0.0;
/// Seconds in which somebody who still sees a picture can answer.
constexpr double kConfirmationTimeout = 5.0;

std::string daemonText(std::int32_t index) { return GetBundleIndNSString("Daemon", index); }

}  // namespace

void Dlog_DaemonNotifWithErrAndExpl(const std::string& title, const std::string& explanation) {
  os().userInterface.CFUserNotificationDisplayNotice(kNoTimeout, kCFUserNotificationNoteAlertLevel, title, explanation);
}

void Dlog_DaemonNotifWithExpl(std::int32_t titleIndex, const std::string& explanation) {
  Dlog_DaemonNotifWithErrAndExpl(daemonText(titleIndex), explanation);
}

void Dlog_DaemonNotif(std::int32_t titleIndex, std::int32_t explanationIndex) {
  Dlog_DaemonNotifWithExpl(titleIndex, daemonText(explanationIndex));
}

std::uint32_t Dlog_ConfirmNewRes() {
  return os().userInterface.CFUserNotificationDisplayAlert(kConfirmationTimeout, kCFUserNotificationCautionAlertLevel,
                                                           daemonText(6), daemonText(7), daemonText(8), daemonText(9),
                                                           daemonText(10));
}

}  // namespace vlm
