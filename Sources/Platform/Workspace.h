#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vlm {

/// Whether an application stands in the Dock, has a face at all, or neither.
enum class ActivationPolicy { regular = 0, accessory = 1, prohibited = 2 };

struct RunningApplication {
  std::int32_t processIdentifier = 0;
  std::string bundleIdentifier;
  std::string localizedName;
  std::string bundlePath;
  ActivationPolicy activationPolicy = ActivationPolicy::regular;
  friend bool operator==(const RunningApplication&, const RunningApplication&) = default;
};

constexpr std::int32_t fnfErr = -43;
/// Takes an application to the front whichever is there (NSApplicationActivateIgnoringOtherApps).
constexpr std::uint32_t kActivateIgnoringOtherApps = 2;
constexpr std::uint32_t kLSLaunchDefaults = 1;
/// No creator code at all, and "any": four question marks.
constexpr std::uint32_t kLSUnknownCreator = 0, kAnyCreator = 0x3F3F3F3F;

/// Running applications and opening things. Locations are paths.
class Workspace {
 public:
  virtual ~Workspace() = default;

  virtual std::int32_t processIdentifier() = 0;
  /// In the system's order; this process too when it has that identifier.
  virtual std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(const std::string& identifier) = 0;
  /// False when there is no such process.
  virtual bool forceTerminate(std::int32_t processIdentifier) = 0;
  /// Absent when there is no such process, or it is no application.
  virtual std::optional<RunningApplication> runningApplicationWithProcessIdentifier(std::int32_t processIdentifier) = 0;
  /// Every application of the user's session, in the order of their start.
  virtual std::vector<RunningApplication> runningApplications() = 0;
  /// The one that the keyboard goes to; absent when there is none.
  virtual std::optional<RunningApplication> frontmostApplication() = 0;
  /// Hides an application's windows; false when it is hidden already or cannot be hidden.
  virtual bool hide(std::int32_t processIdentifier) = 0;
  virtual bool activateWithOptions(std::int32_t processIdentifier, std::uint32_t options) = 0;

  /// False when nothing opens it.
  virtual bool openFile(const std::string& path) = 0;
  virtual bool openURL(const std::string& url) = 0;
  /// Launches without waiting and without a word about failure. Since 10.15.
  virtual void openApplicationAtURL(const std::string& path, const std::vector<std::string>& arguments) = 0;
  /// The same on older systems; false when it cannot be launched.
  virtual bool launchApplicationAtURL(const std::string& path, std::uint32_t options,
                                      const std::vector<std::string>& arguments) = 0;
  /// Asks Launch Services by creator code (kLSUnknownCreator: by none), bundle identifier and name, each where given.
  virtual std::int32_t LSFindApplicationForInfo(std::uint32_t creator,
                                                const std::optional<std::string>& bundleIdentifier,
                                                const std::optional<std::string>& name, std::string& path) = 0;
  /// Launches the application at a path, or reopens it when it runs, with a four-character code (an Apple-event
  /// descriptor of type "type") as its parameter. 0, or why not.
  virtual std::int32_t LSOpenFromURLSpec(const std::string& path, std::uint32_t launchFlags, std::uint32_t code) = 0;
};

}  // namespace vlm
