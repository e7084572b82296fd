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
  std::optional<RunningApplication> runningApplicationWithProcessIdentifier(std::int32_t processIdentifier) override;
  bool activateWithOptions(std::int32_t processIdentifier, std::uint32_t options) override;

  /// Of files those that exist and those that every Mac has; of applications those of the machine.
  bool openFile(const std::string& path) override;
  bool openURL(const std::string& url) override;
  void openApplicationAtURL(const std::string& path, const std::vector<std::string>& arguments) override;
  bool launchApplicationAtURL(const std::string& path, std::uint32_t options,
                              const std::vector<std::string>& arguments) override;
  /// No application has a creator code.
  std::int32_t LSFindApplicationForInfo(std::uint32_t creator, const std::optional<std::string>& bundleIdentifier,
                                        const std::optional<std::string>& name, std::string& path) override;
  std::int32_t LSOpenFromURLSpec(const std::string& path, std::uint32_t launchFlags, std::uint32_t code) override;

 private:
  SimulatedMac& mac_;
  Session& session_;
};

}  // namespace vlm::sim
