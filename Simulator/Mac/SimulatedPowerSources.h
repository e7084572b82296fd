#pragma once

#include <map>

#include "Platform/PowerSources.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// What the machine lives on, and one process's run-loop sources that follow it.
class SimulatedPowerSources : public PowerSources {
 public:
  SimulatedPowerSources(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

  std::optional<std::string> IOPSGetProvidingPowerSourceType() override;
  PowerSourceRunLoopSource IOPSNotificationCreateRunLoopSource(std::function<void()> callback) override;
  void CFRunLoopAddSource(PowerSourceRunLoopSource source) override;
  void CFRunLoopRemoveSource(PowerSourceRunLoopSource source) override;

  /// Calls the sources that are in the run loop at that moment.
  void powerSourceChanged();
  void sessionEnded();

 private:
  struct Source {
    std::function<void()> callback;
    bool isInRunLoop = false;
  };

  SimulatedMac& mac_;
  Session& session_;
  std::map<PowerSourceRunLoopSource, Source> sources_;
};

}  // namespace vlm::sim
