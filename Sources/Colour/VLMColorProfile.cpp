#include "Colour/VLMColorProfile.h"

#include <span>
#include <utility>

#include "Models/VLMDisplay.h"
#include "Platform/Process.h"
#include "Shared/Format.h"
#include "Shared/SystemVersion.h"
#include "Shared/TextCompare.h"

namespace vlm {

namespace {

/// Places in a profile's header (ICC.1:2022, 7.2).
constexpr std::size_t kDeviceClassAt = 12, kColourSpaceAt = 16;
/// Four characters each, as numbers.
constexpr std::uint32_t kDisplayClass = 0x6D6E7472 /* mntr */, kSpaceRGB = 0x52474220 /* RGB */;

constexpr std::size_t kSmallestModelTag = 20, kVendorAt = 8, kProductAt = 12;

/// The word at an offset that must be inside.
std::uint32_t bigEndianWord(std::span<const std::uint8_t> bytes, std::size_t offset) {
  return static_cast<std::uint32_t>(bytes[offset]) << 24 | static_cast<std::uint32_t>(bytes[offset + 1]) << 16 |
         static_cast<std::uint32_t>(bytes[offset + 2]) << 8 | bytes[offset + 3];
}

/// In the byte order of the machine, as the system hands a header out.
std::uint32_t nativeWord(std::span<const std::uint8_t> bytes, std::size_t offset) {
  return static_cast<std::uint32_t>(bytes[offset + 3]) << 24 | static_cast<std::uint32_t>(bytes[offset + 2]) << 16 |
         static_cast<std::uint32_t>(bytes[offset + 1]) << 8 | bytes[offset];
}

std::shared_ptr<ColorSyncProfile> openProfile(const std::string& url) {
  auto profile = os().colorSync.ColorSyncProfileCreateWithURL(url);
  return profile ? std::make_shared<ColorSyncProfile>(std::move(*profile)) : nullptr;
}

}  // namespace

// --- Every profile ---

bool gIterateDeviceProfile(const plist::Dictionary& info, ColorProfileTable& table) {
  if (const auto url = info.string(kColorSyncProfileURL)) {
    if (auto profile = openProfile(*url)) table[*url] = std::move(profile);
  }
  return true;
}

ColorProfileTable Common_GetAllColorProfiles() {
  ColorProfileTable table;
  const auto iterate = [&](const plist::Dictionary& info) { return gIterateDeviceProfile(info, table); };
  if (systemVersion() >= kSystem11) {
    os().colorSync.ColorSyncIterateInstalledProfilesWithOptions(iterate, {{kColorSyncWaitForCacheReply, true}});
  }
  // Once more on a new system, on purpose: the first pass waits for the system's own look through its folders, and the
  // second brings nothing but equal entries.
  os().colorSync.ColorSyncIterateInstalledProfiles(iterate);
  return table;
}

// --- One of them ---

std::shared_ptr<VLMColorProfile> VLMColorProfile::profileWithCSProfile(
    const std::shared_ptr<ColorSyncProfile>& profile) {
  auto made = std::shared_ptr<VLMColorProfile>(new VLMColorProfile());
  made->profile_ = profile;
  if (profile) {
    made->name_ = os().colorSync.ColorSyncProfileCopyDescriptionString(*profile);
    made->location = os().colorSync.ColorSyncProfileGetURL(*profile);
  }
  return made;
}

std::shared_ptr<VLMColorProfile> VLMColorProfile::profileWithLocationWithoutName(
    const std::string& location, const std::shared_ptr<VLMDisplay>& display) {
  auto made = std::shared_ptr<VLMColorProfile>(new VLMColorProfile());
  made->location = location;
  made->container = display;
  made->opened();
  return made;
}

const ColorSyncProfile* VLMColorProfile::opened() {
  if (!profile_ && location) profile_ = openProfile(*location);
  return profile_.get();
}

const std::optional<std::string>& VLMColorProfile::name() {
  if (name_) return name_;
  if (const ColorSyncProfile* const profile = opened()) {
    name_ = os().colorSync.ColorSyncProfileCopyDescriptionString(*profile);
  }
  return name_;
}

bool VLMColorProfile::isAMonitorProfile() {
  const ColorSyncProfile* const profile = opened();
  const auto header = profile != nullptr ? os().colorSync.ColorSyncProfileCopyHeader(*profile) : std::nullopt;
  if (!header || header->size() < kColourSpaceAt + 4) return false;
  return nativeWord(*header, kDeviceClassAt) == kDisplayClass && nativeWord(*header, kColourSpaceAt) == kSpaceRGB;
}

bool VLMColorProfile::isProfileDedicated() {
  const ColorSyncProfile* const profile = opened();
  const auto display = container.get();
  const auto tag = profile != nullptr ? os().colorSync.ColorSyncProfileCopyTag(*profile, "mmod") : std::nullopt;
  if (!display || !tag || tag->size() < kSmallestModelTag) return false;
  return bigEndianWord(*tag, kProductAt) == display->displayProductID &&
         bigEndianWord(*tag, kVendorAt) == display->displayVendorID;
}

int VLMColorProfile::profileCompareByName(VLMColorProfile& other) {
  return localizedStandardCompare(name().value_or(""), other.name().value_or(""));
}

std::string VLMColorProfile::description() {
  return format("VLMColorProfile %p: Name %@ location = %@ Profile = %ld", this, name(), location,
                reinterpret_cast<std::intptr_t>(profile_ ? profile_->raw() : nullptr));
}

}  // namespace vlm
