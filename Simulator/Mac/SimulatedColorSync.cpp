#include "Simulator/Mac/SimulatedColorSync.h"

#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

std::optional<plist::Dictionary> SimulatedColorSync::ColorSyncDeviceCopyDeviceInfo(CGDirectDisplayID display) {
  constexpr const char* kFactoryProfile = "1";
  const SimulatedDisplay* const found = mac_.windowServer().displayWithID(display);
  if (found == nullptr) return std::nullopt;
  plist::Dictionary information{
      {kColorSyncFactoryProfiles,
       plist::Dictionary{{kColorSyncDeviceDefaultProfileID, kFactoryProfile},
                         {kFactoryProfile, plist::Dictionary{{kColorSyncDeviceProfileURL,
                                                              "file:///Library/ColorSync/Profiles/Displays/" +
                                                                  found->uuid + ".icc"}}}}}};
  if (found->customProfile) {
    information.set(kColorSyncCustomProfiles, plist::Dictionary{{kFactoryProfile, *found->customProfile}});
  }
  return information;
}

}  // namespace vlm::sim
