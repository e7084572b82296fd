#include "Daemon/Controllers/VLMDaemonMainController.h"
#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Shared/Appearance.h"
#include "Shared/Log.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

constexpr const char* kImageBlue = "imageBlue";
constexpr const char* kImageGray = "imageGray";

}  // namespace

void VLMDaemonMainController::loadStatusItem(bool show) {
  UserInterface& interface = os().userInterface;
  if (show) {
    if (velmoratixStatusItem == 0) {
      VLMLog("will create new status item");
      velmoratixStatusItem = interface.statusItemWithLength(kNSVariableStatusItemLength);
      interface.setHighlightMode(velmoratixStatusItem, true);
      interface.setMenu(velmoratixStatusItem, statusItemMenu);
    }
    if (systemVersion() >= kSystem10_12) {
      VLMLog("will set visible status item");
      interface.setVisible(velmoratixStatusItem, true);
    }
    themeChange(true);
    return;
  }
  if (velmoratixStatusItem == 0) return;
  if (systemVersion() >= kSystem10_12) {
    // Kept, so that its place in the menu bar is the same when it comes back.
    interface.setVisible(velmoratixStatusItem, false);
    VLMLog("will set invisible status item");
    return;
  }
  interface.removeStatusItem(velmoratixStatusItem);
  velmoratixStatusItem = 0;
  VLMLog("will destroy  status item");
}

void VLMDaemonMainController::themeChangeNotification() {
  // On the next turn: the system is still switching while it posts.
  os().runLoop.performAfterDelay(0, [this] { themeChange(false); });
}

void VLMDaemonMainController::themeChange(bool force) {
  if (!prefs.showStatusItem && !force) return;
  drawDarkTheme = Common_IsCurrentAppearanceDark();
  if (velmoratixStatusItem == 0) return;
  os().userInterface.setImage(velmoratixStatusItem, drawDarkTheme || prefs.statusItemGray ? kImageGray : kImageBlue);
}

void VLMDaemonMainController::initStatusItemNeeds() {
  // Images and the scaffolding of the status menu.
}

void VLMDaemonMainController::initContextMenuNeeds() {
  // The scaffolding of the contextual menu.
}

}  // namespace vlm
