#include "Models/Script_Send.h"

#include "Models/VLMApplicationObject.h"
#include "Models/VLMGlobals.h"
#include "Platform/Notifications.h"
#include "Platform/Process.h"

namespace vlm {

namespace {

void postToControlApplication(const std::string& object, std::optional<plist::Dictionary> userInfo) {
  os().notifications.post(
      NotificationCenter::distributed,
      {.name = kDaemonNotificationName, .object = object, .sender = nullptr, .userInfo = std::move(userInfo)},
      kNSNotificationDeliverImmediately);
}

}  // namespace

std::int32_t Script_SendSimpleNotification(const std::string& object, const std::optional<plist::Value>& parameter1,
                                           std::int32_t parameter2) {
  plist::Dictionary userInfo{{kParameter2Key, parameter2}};
  if (parameter1) userInfo.set(kParameter1Key, *parameter1);
  postToControlApplication(object, std::move(userInfo));
  return 0;
}

std::int32_t Script_SendDaemonReloadSettings(VLMGlobals& prefs) {
  if (prefs.applicationObject != nullptr) prefs.applicationObject->setLoadPrefsOriginatedFromMe(true);
  postToControlApplication("reloadPreferences", std::nullopt);
  return 0;
}

void sendThatImLaunching() { postToControlApplication("daemonLaunched", std::nullopt); }

void sendThatImClosing() { postToControlApplication("daemonStopped", std::nullopt); }

void sendThatMonitorsChanged(VLMGlobals& prefs) {
  Script_SendDaemonReloadSettings(prefs);
  postToControlApplication("monitorsChanged", std::nullopt);
}

void sendThatDisplaySetsChanged(VLMGlobals& prefs) {
  postToControlApplication("kVLMWarningSetsChanged", prefs.getPrefs(SettingsGroup::all));
}

}  // namespace vlm
