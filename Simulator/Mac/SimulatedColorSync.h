#pragma once

#include <map>
#include <memory>

#include "Platform/ColorSync.h"
#include "Simulator/Mac/IccProfile.h"

namespace vlm::sim {

class Session;
class SimulatedMac;
struct SimulatedDisplay;

/// Colour profiles, which are real files, and those registered for the machine's displays.
class SimulatedColorSync final : public ColorSync {
 public:
  SimulatedColorSync(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

  std::optional<std::string> CGDisplayCreateUUIDFromDisplayID(CGDirectDisplayID display) override;
  std::optional<plist::Dictionary> ColorSyncDeviceCopyDeviceInfo(const std::string& deviceClass,
                                                                 const std::string& deviceID) override;
  bool ColorSyncDeviceSetCustomProfiles(const std::string& deviceClass, const std::string& deviceID,
                                        const plist::Dictionary& profiles) override;

  void ColorSyncIterateInstalledProfiles(const ProfileIterator& callback) override;
  void ColorSyncIterateInstalledProfilesWithOptions(const ProfileIterator& callback,
                                                    const plist::Dictionary& options) override;
  std::optional<ColorSyncProfile> ColorSyncProfileCreateWithURL(const std::string& url) override;
  std::optional<std::string> ColorSyncProfileCopyDescriptionString(const ColorSyncProfile& profile) override;
  std::optional<std::string> ColorSyncProfileGetURL(const ColorSyncProfile& profile) override;
  std::optional<plist::Data> ColorSyncProfileCopyHeader(const ColorSyncProfile& profile) override;
  std::optional<plist::Data> ColorSyncProfileCopyTag(const ColorSyncProfile& profile,
                                                     const std::string& signature) override;
  void ColorSyncProfileRelease(void* raw) override;

 private:
  /// From system 11 on the user's profiles are there from the first time on that this process has waited for them.
  void iterate(const ProfileIterator& callback, bool waits);

  struct OpenProfile {
    std::string url;
    IccProfile profile;
  };

  /// Null when no such device is registered.
  SimulatedDisplay* deviceNamed(const std::string& deviceClass, const std::string& deviceID) const;
  /// Null, and a fault, when it is not open.
  const OpenProfile* find(const ColorSyncProfile& profile) const;

  SimulatedMac& mac_;
  Session& session_;
  bool hasWaited_ = false;
  std::map<const void*, std::unique_ptr<OpenProfile>> open_;
};

}  // namespace vlm::sim
