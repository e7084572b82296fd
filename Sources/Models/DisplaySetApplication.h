#pragma once

#include <functional>
#include <memory>
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
  DisplaySetApplication(VLMGlobals& document, const VLMDisplaySet& set);

  void run();

 private:
  using Step = std::function<void(const VLMMonitorInSet&, VLMDisplay&)>;

  /// For every monitor of the set whose display is attached.
  void forEachPresent(const Step& step) const;
  /// The same, but for those that the set wants off.
  void forEachPresentAndOn(const Step& step) const;

  void turnDisplaysOn();
  void turnDisplaysOff();
  void setMirroring();
  void setOrientations();
  void setModesAndDepths();
  void findMainMonitor();
  void endMirroringForPositions();
  void readPositions();
  void moveMainToOrigin();
  void takeStoredOrigins();
  void setPositions();
  void setPictureOptions();
  void endMirroring();

  /// A monitor's place in the table of positions, and whether it is to be set.
  struct Place {
    DisplayPosition position;
    bool isMarked = false;
  };

  VLMGlobals& document_;
  const VLMDisplaySet& set_;
  bool mirroringWasOn_;
  DisplayTransaction transaction_;
  std::shared_ptr<VLMMonitorInSet> mainMonitor_;
  std::vector<Place> places_;
};

}  // namespace vlm
