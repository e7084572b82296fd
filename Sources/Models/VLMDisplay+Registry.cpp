#include <utility>

#include "Models/DDC.h"
#include "Models/OverrideContent.h"
#include "Models/VLMDisplay.h"
#include "Models/VLMOverrideDisplayName.h"
#include "Platform/Process.h"
#include "Shared/EDIDIdentity.h"
#include "Shared/Log.h"

namespace vlm {

namespace {

constexpr std::uint32_t kVendorIfAbsent = VLMDisplay::kVendorUnknown;
constexpr std::uint32_t kProductIfAbsent = 0x717;

/// What a monitor is called that tells no name and that the system knows none for.
constexpr const char* kNamelessMonitor = "Display";

/// Where the display's driver stands in the registry, without the display's own component.
std::optional<std::string> driverLocationOf(const plist::Dictionary& registry) {
  auto location = registry.string("IODisplayPrefsKey");
  if (!location) return std::nullopt;
  const auto lastSlash = location->rfind('/');
  if (lastSlash != std::string::npos) location->resize(lastSlash);
  return location;
}

std::string orNone(const std::optional<std::string>& text) { return text.value_or("(null)"); }

}  // namespace

std::int32_t VLMDisplay::initializeRegistryData() {
  VLMLog("initializeRegistryData - inside");
  VLMLog("enter contentOfIODisplayRegDictionary");
  const auto registry = contentOfIODisplayRegDictionary();
  std::string nameText;
  edidSerialString.reset();
  if (registry) {
    readRegistry(*registry);
    readEDID(nameText);
  } else {
    VLMLog("Found driver for this display =  %@", std::optional<std::string>());
    connection = 1;
    displayVendorID = os().quartz.CGDisplayVendorNumber(cgID);
    displayProductID = os().quartz.CGDisplayModelNumber(cgID);
    serialNumber = os().quartz.CGDisplaySerialNumber(cgID);
    driverLocationName = kUnknownLocation;
    nameText = nameFromAVService();
  }
  VLMLog("before initDisplayNamesWith");
  initDisplayNamesWith(nameText);
  VLMLog("..done - displayedName = %@", lazily([&] { return displayedName(); }));
  return registry ? 0 : -1;
}

void VLMDisplay::readRegistry(const plist::Dictionary& registry) {
  driverLocationName = driverLocationOf(registry);
  VLMLog("Found driver for this display =  %@", lazily([&] { return orNone(driverLocationName); }));
  connection = registry.sInt32("AppleDisplayType", 1);
  VLMLog("get kConnectionKey %d", connection);
  displayVendorID = registry.uInt32("DisplayVendorID", kVendorIfAbsent);
  VLMLog("get kOverrideDisplayVendor %X", displayVendorID);
  displayProductID = registry.uInt32("DisplayProductID", kProductIfAbsent);
  VLMLog("get kOverrideDisplayProduct %X", displayProductID);
  manufactureWeek = registry.uInt32("DisplayWeekManufacture");
  VLMLog("get kOverrideDisplayWeek %d", manufactureWeek);
  manufactureYear = registry.uInt32("DisplayYearManufacture");
  VLMLog("get kOverrideDisplayYear %d", manufactureYear);
  serialNumber = registry.uInt32("DisplaySerialNumber");
  VLMLog("get kOverrideDisplaySerial %d", serialNumber);
  isDigital = registry.contains("IODisplayIsDigital");
}

void VLMDisplay::readEDID(std::string& nameText) {
  VLMLog("get edidDataActual");
  const plist::Data edid = edidDataActual();
  VLMLog("... edidData = %@", lazily([&] { return plist::describe(edid); }));
  EDIDIdentity identity = identityInEDID(edid);
  if (identity.isDigital) isDigital = true;
  manufactureYear = identity.manufactureYear;
  manufactureWeek = identity.manufactureWeek;
  serialNumber = identity.serialNumber;
  nameText = std::move(identity.name);
  // Monitors without one must not look alike for it.
  if (!identity.serialText.empty()) edidSerialString = std::move(identity.serialText);
}

std::optional<plist::Data> VLMDisplay::edidFromAVService() const {
  plist::Data edid;
  if (container == nullptr || !IOCreateAVServiceRef(cgID, &edid, container->ioServicesCached())) return std::nullopt;
  return edid.empty() ? std::nullopt : std::optional(std::move(edid));
}

std::string VLMDisplay::nameFromAVService() const {
  return identityInEDID(edidFromAVService().value_or(plist::Data())).name;
}

void VLMDisplay::initDisplayNamesWith(const std::string& name) {
  std::optional<std::string> shown;
  if (!name.empty()) {
    shown = name;
  } else if (const auto registry = contentOfIODisplayRegDictionary()) {
    shown = productNameIn(*registry);
  }
  sysMonitorName = shown && !shown->empty() ? *shown : kNamelessMonitor;
  mergeDisplayName(VLMOverrideDisplayName::initWithString(sysMonitorName, kOverrideFoundInSystem, false));
}

}  // namespace vlm
