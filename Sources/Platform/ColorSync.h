#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "Platform/PropertyList.h"
#include "Platform/Quartz.h"

namespace vlm {

/// Class of the devices that are displays ("mntr").
constexpr const char* kColorSyncDisplayDeviceClass = "mntr";
/// Keys of a device's information (ColorSyncDevice.h); locations are file URLs as texts.
constexpr const char* kColorSyncCustomProfiles = "CustomProfiles";
constexpr const char* kColorSyncFactoryProfiles = "FactoryProfiles";
constexpr const char* kColorSyncDeviceDefaultProfileID = "DeviceDefaultProfileID";
constexpr const char* kColorSyncDeviceProfileURL = "DeviceProfileURL";
/// Key of an installed profile's information: its file URL as a text.
constexpr const char* kColorSyncProfileURL = "com.apple.ColorSync.ProfileURL";
/// Option of the iteration, a boolean: wait until the system has looked through its folders.
constexpr const char* kColorSyncWaitForCacheReply = "WaitForCacheReply";

class ColorSync;

/// An opened profile; given back when it goes.
class ColorSyncProfile {
 public:
  /// `raw` is the adapter's reference, never null.
  ColorSyncProfile(ColorSync& port, void* raw) : port_(&port), raw_(raw) {}
  ColorSyncProfile(ColorSyncProfile&& other) noexcept : port_(other.port_), raw_(std::exchange(other.raw_, nullptr)) {}
  ColorSyncProfile& operator=(ColorSyncProfile&& other) noexcept {
    std::swap(port_, other.port_);
    std::swap(raw_, other.raw_);
    return *this;
  }
  ~ColorSyncProfile();
  void* raw() const { return raw_; }

 private:
  ColorSync* port_;
  void* raw_;
};

/// Colour profiles (ICC.1) and the devices that they are set for. Main thread only.
class ColorSync {
 public:
  /// An installed profile's information; false ends the iteration.
  using ProfileIterator = std::function<bool(const plist::Dictionary&)>;

  virtual ~ColorSync() = default;

  /// The UUID by which a display is known as a device; absent when there is no such display.
  virtual std::optional<std::string> CGDisplayCreateUUIDFromDisplayID(CGDirectDisplayID display) = 0;

  /// What is registered for a device: "CustomProfiles" (profile identifier to location, where the user chose one) and
  /// "FactoryProfiles" (profile identifier to a dictionary with "DeviceProfileURL"; "DeviceDefaultProfileID" to the
  /// identifier in use). Absent for one that is not registered.
  virtual std::optional<plist::Dictionary> ColorSyncDeviceCopyDeviceInfo(const std::string& deviceClass,
                                                                         const std::string& deviceID) = 0;
  /// Locations by profile identifier; "DeviceDefaultProfileID" is that of the profile in use. False when it is refused:
  /// no such device, or a location that holds no profile.
  virtual bool ColorSyncDeviceSetCustomProfiles(const std::string& deviceClass, const std::string& deviceID,
                                                const plist::Dictionary& profiles) = 0;

  /// Every installed profile. Calls back before it returns.
  virtual void ColorSyncIterateInstalledProfiles(const ProfileIterator& callback) = 0;
  /// The same with options. Since 11.
  virtual void ColorSyncIterateInstalledProfilesWithOptions(const ProfileIterator& callback,
                                                            const plist::Dictionary& options) = 0;
  /// From a file URL; absent when there is no profile.
  virtual std::optional<ColorSyncProfile> ColorSyncProfileCreateWithURL(const std::string& url) = 0;
  virtual std::optional<std::string> ColorSyncProfileCopyDescriptionString(const ColorSyncProfile& profile) = 0;
  /// Absent for a profile that was not opened from a file.
  virtual std::optional<std::string> ColorSyncProfileGetURL(const ColorSyncProfile& profile) = 0;
  /// The 128 bytes of the header, its numbers in the machine's byte order (little endian on every Mac that runs this),
  /// unlike in the file.
  virtual std::optional<plist::Data> ColorSyncProfileCopyHeader(const ColorSyncProfile& profile) = 0;
  /// A tag's bytes as they stand in the file; absent when the profile lacks it. Four characters ("mmod").
  virtual std::optional<plist::Data> ColorSyncProfileCopyTag(const ColorSyncProfile& profile,
                                                             const std::string& signature) = 0;
  virtual void ColorSyncProfileRelease(void* raw) = 0;
};

inline ColorSyncProfile::~ColorSyncProfile() {
  if (raw_ != nullptr) port_->ColorSyncProfileRelease(raw_);
}

}  // namespace vlm
