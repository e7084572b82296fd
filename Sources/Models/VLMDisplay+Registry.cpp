#include <algorithm>
#include <array>
#include <span>

#include "Models/DDC.h"
#include "Models/VLMDisplay.h"
#include "Models/VLMOverrideDisplayName.h"
#include "Platform/Process.h"
#include "Shared/Log.h"

namespace vlm {

namespace {

constexpr std::uint32_t kVendorIfAbsent = VLMDisplay::kVendorUnknown;
constexpr std::uint32_t kProductIfAbsent = 0x717;

/// What a monitor is called that tells no name and that the system knows none for.
constexpr const char* kNamelessMonitor = "Display";

// E-EDID base block (VESA E-EDID 1.4, section 3): four 18-byte descriptors; text descriptors carry a tag in bytes 2 and
// 3, and up to 13 characters from byte 5, ended by a line feed.
constexpr std::size_t kBaseBlockLength = 128;
constexpr std::size_t kDescriptorsAt = 54, kDescriptorLength = 18, kDescriptorCount = 4, kDescriptorTextAt = 5;
constexpr std::uint32_t kMonitorNameTag = 0x00FC, kSerialTextTag = 0x00FF;
constexpr std::uint8_t kEndOfText = '\n';
/// Name and serial text together.
constexpr std::size_t kMostCharacters = 63;
/// Serial number of monitors whose maker filled the field instead of numbering.
constexpr std::uint32_t kNoSerialNumber = 0x01010101;
constexpr std::uint32_t kFirstYear = 1990;

using BaseBlock = std::array<std::uint8_t, kBaseBlockLength>;

/// Zeros where the EDID is shorter.
BaseBlock baseBlockOf(const plist::Data& edid) {
  BaseBlock block{};
  std::copy_n(edid.begin(), std::min(edid.size(), block.size()), block.begin());
  return block;
}

/// The text of every descriptor with the tag. The characters of name and serial text are counted together, so that a
/// long name leaves less of the serial text; monitors are recognised by what has been stored so.
std::string descriptorTexts(const BaseBlock& block, std::uint32_t tag, std::size_t& charactersSoFar) {
  std::string text;
  for (std::size_t i = 0; i < kDescriptorCount; ++i) {
    const std::span descriptor(block.data() + kDescriptorsAt + i * kDescriptorLength, kDescriptorLength);
    if ((static_cast<std::uint32_t>(descriptor[2]) << 8 | descriptor[3]) != tag) continue;
    for (const std::uint8_t byte : descriptor.subspan(kDescriptorTextAt)) {
      if (byte == kEndOfText || charactersSoFar >= kMostCharacters) break;
      ++charactersSoFar;
      // Control characters cannot stand in a settings file.
      if (byte < 0x20 || byte == 0x7F) continue;
      if (byte < 0x80) {
        text += static_cast<char>(byte);
      } else {
        text += static_cast<char>(0xC0 | byte >> 6);
        text += static_cast<char>(0x80 | (byte & 0x3F));
      }
    }
  }
  return text;
}

/// Where the display's driver stands in the registry, without the display's own component.
std::optional<std::string> driverLocationOf(const plist::Dictionary& registry) {
  auto location = registry.string("IODisplayPrefsKey");
  if (!location) return std::nullopt;
  const auto lastSlash = location->rfind('/');
  if (lastSlash != std::string::npos) location->resize(lastSlash);
  return location;
}

/// The system's name of the product: one text, or a dictionary of texts by language, of which the English one is as
/// good as any other.
std::optional<std::string> productNameIn(const plist::Dictionary& registry) {
  const plist::Value* name = registry.find("DisplayProductName");
  if (name == nullptr) return std::nullopt;
  if (const std::string* text = name->string()) return *text;
  const plist::Dictionary* texts = name->dictionary();
  if (texts == nullptr) return std::nullopt;
  if (const auto english = texts->string("en_US")) return english;
  for (const plist::Entry& entry : *texts) {
    if (const std::string* text = entry.value.string()) return *text;
  }
  return std::nullopt;
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
  const BaseBlock block = baseBlockOf(edid);
  if ((block[20] & 0x80) != 0) isDigital = true;
  manufactureYear = block[17] + kFirstYear;
  manufactureWeek = block[16];
  serialNumber = static_cast<std::uint32_t>(block[12]) | static_cast<std::uint32_t>(block[13]) << 8 |
                 static_cast<std::uint32_t>(block[14]) << 16 | static_cast<std::uint32_t>(block[15]) << 24;
  if (serialNumber == kNoSerialNumber) serialNumber = 0;

  std::size_t characters = 0;
  nameText = descriptorTexts(block, kMonitorNameTag, characters);
  const std::string serialText = descriptorTexts(block, kSerialTextTag, characters);
  // Monitors without one must not look alike for it.
  if (!serialText.empty()) edidSerialString = serialText;
}

std::string VLMDisplay::nameFromAVService() const {
  if (container == nullptr) return {};
  plist::Data edid;
  if (!IOCreateAVServiceRef(cgID, &edid, container->ioServicesCached())) return {};
  std::size_t characters = 0;
  return descriptorTexts(baseBlockOf(edid), kMonitorNameTag, characters);
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
