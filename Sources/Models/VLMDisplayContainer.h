#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "Platform/IOObject.h"
#include "Platform/Quartz.h"

namespace vlm {

class VLMChangeRecorder;
class VLMDisplay;

/// What a display asks of whoever holds it.
class VLMDisplayContainer {
 public:
  virtual ~VLMDisplayContainer() = default;

  /// The displays attached now.
  virtual const std::vector<std::shared_ptr<VLMDisplay>>& attachedDisplays() const = 0;
  /// Every display known, attached or not.
  virtual const std::vector<std::shared_ptr<VLMDisplay>>& knownDisplays() const = 0;
  /// Whether turning this display off leaves one on. Displays that the open transaction turns off count as off.
  virtual bool canDisableDisplay(const VLMDisplay& display) const = 0;
  /// A second later, when the displays have settled.
  virtual void relaunchDockLater() = 0;
  /// Remembers that the daemon itself is switching displays on or off, so that the check loop accepts it.
  virtual void markActivityChangeOriginatedFromMe() = 0;
  /// Options of the document that switching a display on or off heeds.
  virtual bool quitsDockAfterEnabling() const = 0;
  virtual bool quitsDockAfterDisabling() const = 0;
  virtual bool forcesSleepAfterDisable() const = 0;
  /// Grey scale, and switching it; a mode change to another depth may have to bring it back.
  virtual bool isGrayEnabled() const = 0;
  virtual void setIsGrayEnabled(bool gray) = 0;
  /// Registry entries of the AV services found so far, by display.
  virtual std::map<CGDirectDisplayID, IOObject>& ioServicesCached() = 0;
  /// A desktop identifier that no mode of the document has: icon layouts are stored under it.
  virtual std::int32_t nextDeskResID() = 0;
  /// Whoever records changes; null when nobody does.
  virtual VLMChangeRecorder* changeRecorder() const = 0;
};

}  // namespace vlm
