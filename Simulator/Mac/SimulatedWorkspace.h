#pragma once

#include "Platform/Workspace.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// The running applications: every process of the machine.
class SimulatedWorkspace : public Workspace {
 public:
  SimulatedWorkspace(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

  std::int32_t processIdentifier() override;
  /// In the order of their start.
  std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(const std::string& identifier) override;
  bool forceTerminate(std::int32_t processIdentifier) override;

 private:
  SimulatedMac& mac_;
  Session& session_;
};

}  // namespace vlm::sim
