#pragma once

#include <memory>
#include <string>

#include "Platform/Input.h"

namespace vlm {

class VLMDisplaySet;

/// What the document asks of the application object.
class VLMApplicationObject {
 public:
  virtual ~VLMApplicationObject() = default;

  virtual void reloadPrefsFromFile() = 0;
  virtual void savePrefsToFileAndForce(bool force) = 0;
  virtual void quitDaemon() = 0;
  virtual void loadStatusItem(bool show) = 0;
  virtual void openControlApp() = 0;
  virtual void closeUtilityPanel() = 0;
  virtual void compareVersions() = 0;
  virtual void saveDesktop() = 0;
  virtual void restoreDesktop() = 0;
  virtual void daemonInstallHotKeys() = 0;
  virtual void daemonRemoveHotKeys() = 0;
  virtual void updateColorSync() = 0;
  /// A process has ended.
  virtual void applicationQuitted(const ProcessSerialNumber& psn) = 0;
  /// Hands a notification of the daemon's own to the rules for events, as if the system had posted it.
  virtual void postDirectNotificationName(const std::string& name) = 0;
  /// Remembers the set used last.
  virtual void recordUseSet(const std::shared_ptr<VLMDisplaySet>& set) = 0;
  /// True while a reload that the daemon itself announced is on its way back to it.
  virtual bool loadPrefsOriginatedFromMe() const = 0;
  virtual void setLoadPrefsOriginatedFromMe(bool fromMe) = 0;
};

}  // namespace vlm
