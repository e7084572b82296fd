#include "Shared/Find.h"

#include "Platform/Bundle.h"
#include "Platform/Process.h"
#include "Platform/Workspace.h"
#include "Shared/DaemonNotification.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

constexpr const char* kControlAppBundleName = "Velmoratix.app";
/// The daemon lies that many levels deep inside the control application's bundle.
constexpr int kLevelsInsideControlApp = 4;

/// Without its last components; empty when it has no more than these.
std::string withoutLastComponents(std::string path, int count) {
  for (; count > 0 && !path.empty(); --count) {
    const std::size_t slash = path.find_last_of('/');
    path.resize(slash == std::string::npos ? 0 : slash);
  }
  return path;
}

}  // namespace

std::int32_t Find_RunningApp(const std::string& bundleIdentifier, std::int32_t* processIdentifier, std::string* path) {
  const auto running = os().workspace.runningApplicationsWithBundleIdentifier(bundleIdentifier);
  if (running.empty()) return 1;
  if (processIdentifier != nullptr) *processIdentifier = running.front().processIdentifier;
  if (path != nullptr) *path = running.front().bundlePath;
  return 0;
}

std::int32_t Find_ControlAppFromDaemon(std::string& path, std::int32_t& processIdentifier, bool& alreadyRunning) {
  alreadyRunning = Find_RunningApp(kControlAppBundleIdentifier, &processIdentifier, &path) == 0;
  if (alreadyRunning) return 0;
  path = withoutLastComponents(os().bundle.bundlePath(), kLevelsInsideControlApp);
  if (path.find(kControlAppBundleName) != std::string::npos) return 0;
  return Find_FindAppURL(kLSUnknownCreator, kControlAppBundleIdentifier, std::nullopt, path);
}

std::int32_t Find_FindAppURL(std::uint32_t creator, const std::optional<std::string>& bundleIdentifier,
                             const std::optional<std::string>& name, std::string& path) {
  const bool hasIdentifier = bundleIdentifier && !bundleIdentifier->empty();
  const bool hasCreator = creator != kLSUnknownCreator && creator != kAnyCreator;
  std::int32_t error = 0;
  if (hasIdentifier) {
    error = os().workspace.LSFindApplicationForInfo(kLSUnknownCreator, bundleIdentifier, std::nullopt, path);
  } else if (hasCreator) {
    error = os().workspace.LSFindApplicationForInfo(creator, std::nullopt, std::nullopt, path);
  } else {
    error = os().workspace.LSFindApplicationForInfo(kLSUnknownCreator, std::nullopt, name, path);
  }
  return error == 0 ? 0 : fnfErr;
}

std::int32_t Find_LaunchControlAppFromDaemon() {
  std::string path;
  std::int32_t processIdentifier = 0;
  bool alreadyRunning = false;
  if (Find_ControlAppFromDaemon(path, processIdentifier, alreadyRunning) != 0) return fnfErr;
  if (alreadyRunning) {
    postDaemonNotification("reopenCDEV");
    os().workspace.activateWithOptions(processIdentifier, kActivateIgnoringOtherApps);
  } else if (systemVersion() >= kSystem10_15) {
    os().workspace.openApplicationAtURL(path, {});
  } else {
    os().workspace.launchApplicationAtURL(path, 0, {});
  }
  return 0;
}

std::int32_t Find_LaunchControlAppWithAEMessage(std::uint32_t code) {
  std::string path;
  std::int32_t processIdentifier = 0;
  bool alreadyRunning = false;
  const std::int32_t error = Find_ControlAppFromDaemon(path, processIdentifier, alreadyRunning);
  return error != 0 ? error : os().workspace.LSOpenFromURLSpec(path, kLSLaunchDefaults, code);
}

}  // namespace vlm
