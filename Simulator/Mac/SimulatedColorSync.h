#pragma once

#include "Platform/ColorSync.h"

namespace vlm::sim {

class SimulatedMac;

/// The colour profiles registered for the machine's displays.
class SimulatedColorSync : public ColorSync {
 public:
  explicit SimulatedColorSync(SimulatedMac& mac) : mac_(mac) {}

  std::optional<plist::Dictionary> ColorSyncDeviceCopyDeviceInfo(CGDirectDisplayID display) override;

 private:
  SimulatedMac& mac_;
};

}  // namespace vlm::sim
