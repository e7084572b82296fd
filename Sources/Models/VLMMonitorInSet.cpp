#include "Models/VLMMonitorInSet.h"

#include <array>

#include "Models/VLMDisplay.h"
#include "Platform/Numbers.h"
#include "Shared/FileURL.h"
#include "Shared/Format.h"

namespace vlm {

namespace {

struct BooleanKey {
  const char* key;
  bool VLMMonitorInSet::*field;
  bool ifAbsent;
};

// A monitor that says nothing about being on is meant to be on.
constexpr std::array kBooleanKeys{
    BooleanKey{"inOverscan", &VLMMonitorInSet::inOverscan, false},
    BooleanKey{"hasOverscan", &VLMMonitorInSet::hasOverscan, false},
    BooleanKey{"hasUnderscan", &VLMMonitorInSet::hasUnderscan, false},
    BooleanKey{"hasHDR", &VLMMonitorInSet::hasHDR, false},
    BooleanKey{"isMainDisplay", &VLMMonitorInSet::isMainDisplay, false},
    BooleanKey{"hasOrigin", &VLMMonitorInSet::hasOrigin, false},
    BooleanKey{"isActive", &VLMMonitorInSet::isActive, true},
    BooleanKey{"isInHDR", &VLMMonitorInSet::isInHDR, false},
    BooleanKey{"hasActivity", &VLMMonitorInSet::hasActivity, false},
    BooleanKey{"hasOrientation", &VLMMonitorInSet::hasOrientation, false},
    BooleanKey{"hasColorProfile", &VLMMonitorInSet::hasColorProfile, false},
};

}  // namespace

std::shared_ptr<VLMMonitorInSet> VLMMonitorInSet::initEmpty() {
  return std::shared_ptr<VLMMonitorInSet>(new VLMMonitorInSet);
}

std::shared_ptr<VLMMonitorInSet> VLMMonitorInSet::initAndDecodeReadableWith(const plist::Dictionary& dict) {
  auto monitor = initEmpty();
  monitor->monitorResID = dict.number("monitorResID");
  for (const BooleanKey& row : kBooleanKeys) (*monitor).*(row.field) = dict.boolean(row.key, row.ifAbsent);
  monitor->origin = dict.uInt32("origin");
  monitor->modeUniqueID = dict.uInt64("modeUniqueID");
  monitor->selDepth = dict.uInt64("selDepth");
  monitor->orientation = dict.sInt16("orientation");
  monitor->underscan = dict.real32("underscan");
  monitor->colorPreset = dict.string("colorPreset");
  // A text with a NUL in it names no file, and as a URL would not be one either.
  const auto profile = dict.string("colorProfile").value_or("");
  if (profile.starts_with('/') && profile.find('\0') == profile.npos) monitor->colorProfile = fileURLWithPath(profile);
  return monitor;
}

plist::Dictionary VLMMonitorInSet::encodeReadable() const {
  plist::Dictionary dict;
  if (monitorResID) dict.set("monitorResID", *monitorResID);
  for (const BooleanKey& row : kBooleanKeys) dict.set(row.key, this->*(row.field));
  dict.set("origin", origin);
  dict.set("modeUniqueID", modeUniqueID);
  dict.set("selDepth", selDepth);
  dict.set("orientation", static_cast<int>(orientation));
  dict.set("underscan", underscan);
  if (colorPreset) dict.set("colorPreset", *colorPreset);
  if (colorProfile) dict.set("colorProfile", pathOfFileURL(*colorProfile).value_or(*colorProfile));
  return dict;
}

std::shared_ptr<VLMMonitorInSet> VLMMonitorInSet::deepCopy() const {
  return std::shared_ptr<VLMMonitorInSet>(new VLMMonitorInSet(*this));
}

std::string VLMMonitorInSet::description() const {
  return format("VLMMonitorInSet %p: %@", static_cast<const void*>(this), plist::describe(encodeReadable()));
}

bool VLMMonitorInSet::hasADisplaySetting(const VLMDisplay* display, bool check) const {
  const bool countsPlacing = check && (display == nullptr || display->isActive());
  if (hasModeSetting() || hasDepthSetting()) return true;
  if (hasOrigin && countsPlacing) return true;
  if (hasOrientation || hasOverscan || hasUnderscan || hasColorProfile || hasHDR) return true;
  return isMainDisplay && countsPlacing;
}

bool VLMMonitorInSet::isADisplayableUnattachedMonitor(const VLMDisplay& display) const {
  if (dispIsPresent) return false;
  return display.displayVendorID != VLMDisplay::kVendorUnknown ||
         display.displayProductID != VLMDisplay::kProductVirtual;
}

}  // namespace vlm
