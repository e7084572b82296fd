#include "Simulator/Mac/IccFolders.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <system_error>
#include <utility>

#include "Simulator/Mac/AtomicFile.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/Scheduler.h"
#include "Simulator/Mac/SessionPorts.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

namespace {

namespace fs = std::filesystem;

/// Profiles of printers with many colours have some megabytes.
constexpr std::size_t kLargestProfile = std::size_t{64} << 20;
constexpr const char* kFolder = "/Library/ColorSync/Profiles";
constexpr const char* kSystemFolder = "/System/Library/ColorSync/Profiles";

std::string inMachine(SimulatedMac& mac, const char* folder) { return mac.localFolderOfProfiles() + folder; }

struct OwnProfile {
  std::string path;
  plist::Data bytes;
};

std::vector<OwnProfile> ownProfiles(SimulatedMac& mac) {
  std::vector<OwnProfile> own{{.path = inMachine(mac, kSystemFolder) + "/sRGB Profile.icc",
                               .bytes = composeDisplayProfile("sRGB IEC61966-2.1", std::nullopt)}};
  for (const auto& display : mac.windowServer().displays()) {
    const ParsedEdid& edid = display->edid;
    const ProfiledMonitor monitor{.vendor = edid.vendor, .product = edid.product, .serial = edid.serial};
    own.push_back(
        {.path = factoryProfile(mac, *display), .bytes = composeDisplayProfile(display->description.name, monitor)});
  }
  return own;
}

void writeOwnProfile(const std::string& path, const plist::Data& profile) {
  const std::string content(profile.begin(), profile.end());
  std::error_code ignored;
  std::string reason;
  if (fs::exists(path, ignored) && readFile(path, kLargestProfile, reason) == content) return;
  fs::create_directories(fs::path(path).parent_path(), ignored);
  replaceFile(path, content);
}

/// Away from home nothing may be written there: the profiles that were not yet are as if they were.
bool isAway(const SimulatedMac& mac) { return mac.homeFolder() != mac.homeOfProfiles(); }

void writeOwnProfiles(SimulatedMac& mac) {
  if (isAway(mac)) return;
  for (const OwnProfile& own : ownProfiles(mac)) writeOwnProfile(own.path, own.bytes);
}

bool isCalledAsProfile(const fs::path& path) {
  std::string ending = path.extension().string();
  for (char& letter : ending) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  return ending == ".icc" || ending == ".icm";
}

/// What cannot be looked into has no profiles.
std::vector<std::string> profilesBelow(const std::string& folder) {
  std::vector<std::string> found;
  std::error_code error;
  fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    std::error_code ignored;
    if (isCalledAsProfile(entry->path()) && entry->is_regular_file(ignored)) found.push_back(entry->path().string());
  }
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace

std::vector<std::string> installedProfiles(SimulatedMac& mac, ProfilesOf whom) {
  writeOwnProfiles(mac);
  std::vector<std::string> all;
  const std::string usersFolder = whom == ProfilesOf::everybody ? mac.homeOfProfiles() + kFolder : "";
  for (const std::string& folder :
       {usersFolder, inMachine(mac, kFolder), inMachine(mac, kSystemFolder), mac.machine().systemProfiles}) {
    if (folder.empty()) continue;
    const auto found = profilesBelow(folder);
    all.insert(all.end(), found.begin(), found.end());
  }
  if (!isAway(mac)) return all;
  for (const OwnProfile& own : ownProfiles(mac)) {
    if (std::find(all.begin(), all.end(), own.path) == all.end()) all.push_back(own.path);
  }
  return all;
}

std::variant<IccProfile, std::string> profileInFile(SimulatedMac& mac, const std::string& path) {
  if (path.starts_with(mac.localFolderOfProfiles() + "/")) writeOwnProfiles(mac);
  std::error_code error;
  // Never a pipe: opening one would wait for its other end.
  if (fs::is_directory(path, error)) return "it is a folder";
  if (fs::exists(path, error) && !fs::is_regular_file(path, error)) return "it is no ordinary file";
  if (isAway(mac) && !fs::exists(path, error)) {
    for (const OwnProfile& own : ownProfiles(mac)) {
      if (own.path == path) return IccProfile::read(own.bytes);
    }
  }
  std::string reason;
  const auto content = readFile(path, kLargestProfile, reason);
  if (!content) return reason;
  return IccProfile::read(plist::Data(content->begin(), content->end()));
}

std::string factoryProfile(SimulatedMac& mac, const SimulatedDisplay& display) {
  std::string name = display.description.name;
  std::replace(name.begin(), name.end(), '/', ':');
  return inMachine(mac, kFolder) + "/Displays/" + name + "-" + display.uuid + ".icc";
}

void useProfile(SimulatedMac& mac, SimulatedDisplay& display, const std::optional<std::string>& location) {
  if (display.customProfile == location) return;
  display.customProfile = location;
  for (Session* const session : mac.sessions()) {
    mac.scheduler().onNextTurn(session, [&mac, session] {
      const Notification changed{
          .name = "NSScreenColorSpaceDidChangeNotification", .object = {}, .sender = nullptr, .userInfo = {}};
      session->adapters().notifications.deliver(NotificationCenter::local, changed, mac.lastReference());
    });
  }
}

}  // namespace vlm::sim
