#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "Models/NotOwned.h"
#include "Platform/ColorSync.h"

namespace vlm {

class VLMDisplay;

/// Installed profiles by their file URLs.
using ColorProfileTable = std::map<std::string, std::shared_ptr<ColorSyncProfile>>;

/// Every colour profile installed on the system, opened; those that cannot be opened are left out. Nothing is kept
/// between calls.
ColorProfileTable Common_GetAllColorProfiles();
/// One step of the listing: opens the profile that `info` tells of and puts it into the table. Always true: go on.
bool gIterateDeviceProfile(const plist::Dictionary& info, ColorProfileTable& table);

/// An ICC profile that is installed on the system. A short-lived value: asked for, used and dropped.
class VLMColorProfile {
 public:
  /// From an opened profile; it belongs to no display.
  static std::shared_ptr<VLMColorProfile> profileWithCSProfile(const std::shared_ptr<ColorSyncProfile>& profile);
  /// From a file URL; opened at once, its name read when it is asked for.
  static std::shared_ptr<VLMColorProfile> profileWithLocationWithoutName(const std::string& location,
                                                                         const std::shared_ptr<VLMDisplay>& display);

  std::optional<std::string> location;  ///< file URL
  NotOwned<VLMDisplay> container;       ///< the display that it was listed for

  /// The profile's own description; absent when it cannot be opened or has none.
  const std::optional<std::string>& name();
  /// Made for displays, and in RGB.
  bool isAMonitorProfile();
  /// Made for the very model of the display that it was listed for, as its tag "mmod" says.
  bool isProfileDedicated();
  /// As people sort names: negative, 0 or positive.
  int profileCompareByName(VLMColorProfile& other);
  std::string description();

 private:
  VLMColorProfile() = default;
  /// Opens it from its location when that was not done yet. Null when it cannot be opened.
  const ColorSyncProfile* opened();

  std::optional<std::string> name_;
  std::shared_ptr<ColorSyncProfile> profile_;
};

}  // namespace vlm
