#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "Models/DisplayTransaction.h"
#include "Models/VLMDisplaySet.h"
#include "Platform/Geometry.h"

namespace vlm {

class VLMGlobals;

/// One application of a display set: the steps between finding that it is not in force and its last transaction, in
/// their order.
class DisplaySetApplication {
 public:
  /// `mirroringWasOn`: when the set was asked for.
  DisplaySetApplication(VLMGlobals& document, const VLMDisplaySet& set, bool mirroringWasOn);

  void run();

 private:
  using Step = std::function<void(const VLMMonitorInSet&, VLMDisplay&)>;
  /// A monitor's place in the table of positions, and whether it is to be set.
  struct Place {
    DisplayPosition position;
    bool isMarked = false;
    bool isStored = false;  ///< the set's own
    bool isToMove = false;
  };

  /// The attached display of that identifier, when it is really there.
  std::shared_ptr<VLMDisplay> displayOf(std::optional<std::int64_t> monitorResID) const;
  /// For every monitor of the set whose display is attached.
  void forEachPresent(const Step& step) const;
  /// The same, but for those that the set wants off.
  void forEachPresentAndOn(const Step& step) const;

  void turnDisplaysOn();
  void turnDisplaysOff();
  bool completeSwitching(const std::vector<VLMDisplay*>& displays, bool active);
  void setMirroring();
  void setOrientations();
  void setModesAndDepths();
  void setModeAndDepth(const VLMMonitorInSet& monitor, VLMDisplay& display);
  /// Whether the set makes the display show another one's picture.
  bool isCopy(const VLMDisplay& display) const;
  void noteWhoIsShown();
  void showAgain();
  void goOnOneByOne();
  void completeWhenOneByOne();
  void findMainMonitor();
  void endMirroringForPositions();
  void placeDisplays();
  void readPositions();
  void moveMainToOrigin();
  void takeStoredOrigins();
  void setPositions();
  /// For every attached display with a place that is to be set, but for those that the set wants off.
  void forEachPlaced(const std::function<void(VLMDisplay&, Place&)>& step);
  void setPictureOptions();
  void endMirroring();

  VLMGlobals& document_;
  const VLMDisplaySet& set_;
  bool mirroringWasOn_;
  bool hasEndedMirroring_ = false;
  bool changesShape_ = false;  ///< a mode or mirroring changes, so that the system may move displays
  bool isOneByOne_ = false;    ///< every change completes by itself
  DisplayTransaction transaction_;
  /// Those that show another one's picture when the set is in force, and those whose picture is shown.
  std::set<CGDirectDisplayID> copies_, shown_;
  std::shared_ptr<VLMMonitorInSet> mainMonitor_;
  std::vector<Place> places_;
};

}  // namespace vlm
