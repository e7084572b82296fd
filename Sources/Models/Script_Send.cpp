#include "Models/Script_Send.h"

#include "Models/VLMApplicationObject.h"
#include "Models/VLMGlobals.h"

namespace vlm {

std::int32_t Script_SendSimpleNotification(const std::string& object, const std::optional<plist::Value>& parameter1,
                                           std::int32_t parameter2) {
  plist::Dictionary userInfo{{kParameter2Key, parameter2}};
  if (parameter1) userInfo.set(kParameter1Key, *parameter1);
  postDaemonNotification(object, std::move(userInfo));
  return 0;
}

std::int32_t Script_SendDaemonReloadSettings(VLMGlobals& prefs) {
  if (prefs.applicationObject != nullptr) prefs.applicationObject->setLoadPrefsOriginatedFromMe(true);
  postDaemonNotification("reloadPreferences");
  return 0;
}

void sendThatImLaunching() { postDaemonNotification("daemonLaunched"); }

void sendThatImClosing() { postDaemonNotification("daemonStopped"); }

void sendThatMonitorsChanged(VLMGlobals& prefs) {
  Script_SendDaemonReloadSettings(prefs);
  postDaemonNotification("monitorsChanged");
}

void sendThatDisplaySetsChanged(VLMGlobals& prefs) {
  postDaemonNotification("kVLMWarningSetsChanged", prefs.getPrefs(SettingsGroup::all));
}

}  // namespace vlm
