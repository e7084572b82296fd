#pragma once

#include "Platform/Workspace.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// The running applications: every process of the machine that has a bundle identifier.
class SimulatedWorkspace : public Workspace {
 public:
  /// An application that starts comes to the front when it stands in the Dock; others do when they are activated.
  SimulatedWorkspace(SimulatedMac& mac, Session& session);

  std::int32_t processIdentifier() override;
  /// In the order of their start.
  std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(const std::string& identifier) override;
  bool forceTerminate(std::int32_t processIdentifier) override;
  std::optional<RunningApplication> runningApplicationWithProcessIdentifier(std::int32_t processIdentifier) override;
  std::vector<RunningApplication> runningApplications() override;
  /// Who has the keyboard: of those that are not hidden, the one that was brought to the front last.
  std::optional<RunningApplication> frontmostApplication() override;
  bool hide(std::int32_t processIdentifier) override;
  /// Brings it to the front, and shows it again when it is hidden. One that is prohibited cannot be activated.
  bool activateWithOptions(std::int32_t processIdentifier, std::uint32_t options) override;
  /// Whether this process's windows are hidden.
  bool isHidden() const { return isHidden_; }

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
  /// Starts an application, or activates the one that runs; false when there is none at the path.
  bool launched(const std::string& bundlePath);
  /// Brings this process to the front.
  void comeToFront();

  SimulatedMac& mac_;
  Session& session_;
  bool isHidden_ = false;
  /// Which processes came to the front after which others: the highest is in front.
  std::uint64_t turnInFront_ = 0;
};

}  // namespace vlm::sim
