#pragma once

#include <optional>

#include "Platform/PropertyList.h"
#include "Platform/Quartz.h"

namespace vlm {

/// Keys of a device's information (ColorSyncDevice.h); locations are file URLs as texts.
constexpr const char* kColorSyncCustomProfiles = "CustomProfiles";
constexpr const char* kColorSyncFactoryProfiles = "FactoryProfiles";
constexpr const char* kColorSyncDeviceDefaultProfileID = "DeviceDefaultProfileID";
constexpr const char* kColorSyncDeviceProfileURL = "DeviceProfileURL";

/// Colour profiles of devices. Main thread only.
class ColorSync {
 public:
  virtual ~ColorSync() = default;

  /// What is registered for a display, by its UUID in the class of displays: "CustomProfiles" (profile identifier to
  /// location, where the user chose one) and "FactoryProfiles" (profile identifier to a dictionary with
  /// "DeviceProfileURL"; "DeviceDefaultProfileID" to the identifier in use). Absent for a display that is not
  /// registered.
  virtual std::optional<plist::Dictionary> ColorSyncDeviceCopyDeviceInfo(CGDirectDisplayID display) = 0;
};

}  // namespace vlm
