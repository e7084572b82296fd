#include "Simulator/Mac/SimulatedColorSync.h"

#include <algorithm>
#include <utility>

#include "Simulator/Mac/FileLocation.h"
#include "Simulator/Mac/IccFolders.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

namespace {

/// The only profile identifier that displays have.
constexpr const char* kFactoryProfile = "1";

}  // namespace

// --- Devices ---

std::optional<std::string> SimulatedColorSync::CGDisplayCreateUUIDFromDisplayID(CGDirectDisplayID display) {
  const SimulatedDisplay* const found = mac_.windowServer().displayWithID(display);
  return found == nullptr ? std::nullopt : std::optional(found->uuid);
}

SimulatedDisplay* SimulatedColorSync::deviceNamed(const std::string& deviceClass, const std::string& deviceID) const {
  const auto& displays = mac_.windowServer().displays();
  const auto found = std::find_if(displays.begin(), displays.end(), [&](const auto& display) {
    return display->isOnline() && display->uuid == deviceID;
  });
  return deviceClass != kColorSyncDisplayDeviceClass || found == displays.end() ? nullptr : found->get();
}

std::optional<plist::Dictionary> SimulatedColorSync::ColorSyncDeviceCopyDeviceInfo(const std::string& deviceClass,
                                                                                   const std::string& deviceID) {
  const SimulatedDisplay* const found = deviceNamed(deviceClass, deviceID);
  if (found == nullptr) return std::nullopt;
  const std::string shipped = locationOfPath(factoryProfile(mac_, *found));
  plist::Dictionary information{
      {kColorSyncFactoryProfiles,
       plist::Dictionary{{kColorSyncDeviceDefaultProfileID, kFactoryProfile},
                         {kFactoryProfile, plist::Dictionary{{kColorSyncDeviceProfileURL, shipped}}}}}};
  if (found->customProfile) {
    information.set(kColorSyncCustomProfiles, plist::Dictionary{{kFactoryProfile, *found->customProfile}});
  }
  return information;
}

bool SimulatedColorSync::ColorSyncDeviceSetCustomProfiles(const std::string& deviceClass, const std::string& deviceID,
                                                          const plist::Dictionary& profiles) {
  SimulatedDisplay* const found = deviceNamed(deviceClass, deviceID);
  auto location = profiles.string(kColorSyncDeviceDefaultProfileID);
  if (!location) location = profiles.string(kFactoryProfile);
  const auto path = location ? pathAtLocation(*location) : std::nullopt;
  if (found == nullptr || profiles.count() != 1 || !path) return false;
  if (std::holds_alternative<std::string>(profileInFile(mac_, *path))) return false;
  session_.record("ColorSyncDeviceSetCustomProfiles(" + found->description.name + ", " + mac_.shortPath(*path) + ")");
  useProfile(mac_, *found, location);
  return true;
}

// --- Profiles ---

void SimulatedColorSync::iterate(const ProfileIterator& callback, bool waits) {
  hasWaited_ = hasWaited_ || waits || mac_.machine().systemVersion.majorVersion < 11;
  for (const std::string& path : installedProfiles(mac_, hasWaited_ ? ProfilesOf::everybody : ProfilesOf::machine)) {
    if (!callback({{kColorSyncProfileURL, locationOfPath(path)}})) return;
  }
}

void SimulatedColorSync::ColorSyncIterateInstalledProfiles(const ProfileIterator& callback) {
  iterate(callback, false);
}

void SimulatedColorSync::ColorSyncIterateInstalledProfilesWithOptions(const ProfileIterator& callback,
                                                                      const plist::Dictionary& options) {
  if (mac_.machine().systemVersion.majorVersion < 11) {
    mac_.addFault(session_.description().name +
                  ": ColorSyncIterateInstalledProfilesWithOptions is there from system 11 on");
    return;
  }
  iterate(callback, options.boolean(kColorSyncWaitForCacheReply));
}

std::optional<ColorSyncProfile> SimulatedColorSync::ColorSyncProfileCreateWithURL(const std::string& url) {
  const auto path = pathAtLocation(url);
  if (!path) return std::nullopt;
  auto read = profileInFile(mac_, *path);
  if (std::holds_alternative<std::string>(read)) return std::nullopt;
  auto opened = std::make_unique<OpenProfile>(OpenProfile{url, std::move(std::get<IccProfile>(read))});
  OpenProfile* const raw = opened.get();
  open_.emplace(raw, std::move(opened));
  session_.holdObject();
  return ColorSyncProfile(*this, raw);
}

const SimulatedColorSync::OpenProfile* SimulatedColorSync::find(const ColorSyncProfile& profile) const {
  const auto found = open_.find(profile.raw());
  if (found != open_.end()) return found->second.get();
  mac_.addFault(session_.description().name + ": a colour profile was used that is not open");
  return nullptr;
}

std::optional<std::string> SimulatedColorSync::ColorSyncProfileCopyDescriptionString(const ColorSyncProfile& profile) {
  const OpenProfile* const found = find(profile);
  return found == nullptr ? std::nullopt : found->profile.description();
}

std::optional<std::string> SimulatedColorSync::ColorSyncProfileGetURL(const ColorSyncProfile& profile) {
  const OpenProfile* const found = find(profile);
  return found == nullptr ? std::nullopt : std::optional(found->url);
}

std::optional<plist::Data> SimulatedColorSync::ColorSyncProfileCopyHeader(const ColorSyncProfile& profile) {
  const OpenProfile* const found = find(profile);
  if (found == nullptr) return std::nullopt;
  const auto header = found->profile.header();
  plist::Data swapped(header.begin(), header.end());
  for (auto word = swapped.begin(); word != swapped.end(); word += 4) std::reverse(word, word + 4);
  return swapped;
}

std::optional<plist::Data> SimulatedColorSync::ColorSyncProfileCopyTag(const ColorSyncProfile& profile,
                                                                       const std::string& signature) {
  const OpenProfile* const found = find(profile);
  const auto tag = found == nullptr ? std::nullopt : found->profile.tag(signature);
  return tag ? std::optional(plist::Data(tag->begin(), tag->end())) : std::nullopt;
}

void SimulatedColorSync::ColorSyncProfileRelease(void* raw) {
  if (open_.erase(raw) != 0) {
    session_.releaseObject();
  } else {
    mac_.addFault(session_.description().name + ": a colour profile was released that is not open");
  }
}

}  // namespace vlm::sim
