#include "Models/VLMDisplay.h"

#include <algorithm>
#include <map>

#include "Platform/Numbers.h"
#include "Shared/Format.h"
#include "Shared/Log.h"

namespace vlm {

namespace {

template <class Matches>
std::shared_ptr<VLMMode> firstOf(const VLMDisplay::Modes& modes, Matches matches) {
  const auto found = std::find_if(modes.begin(), modes.end(), [&](const auto& mode) { return matches(*mode); });
  return found == modes.end() ? nullptr : *found;
}

std::shared_ptr<VLMMode> withAppleID(const VLMDisplay::Modes& modes, std::int32_t appleID) {
  return firstOf(modes, [&](const VLMMode& mode) { return mode.vesaMode == appleID; });
}

std::shared_ptr<VLMMode> withUniqueID(const VLMDisplay::Modes& modes, std::uint32_t uniqueID) {
  return firstOf(modes, [&](const VLMMode& mode) { return mode.modeUniqueID == uniqueID; });
}

/// A text, and not a tuple of numbers: scales that read alike belong together, and what is no number has its place too.
std::string groupKeyOf(const VLMMode& mode) {
  return format("%d*%d*%g*%d*%d", mode.Nx, mode.Ny, mode.definition, static_cast<int>(mode.interlaced),
                static_cast<int>(mode.isScaled));
}

}  // namespace

VLMDisplay::VLMDisplay() = default;

VLMDisplay::~VLMDisplay() {
  // Modes may live longer, in the hands of whoever is about to switch to them.
  const auto leave = [this](const Modes& modes) {
    for (const auto& mode : modes) {
      if (mode->container == this) mode->container = nullptr;
    }
  };
  leave(allDisplayModes);
  leave(validDisplayModes);
}

std::shared_ptr<VLMDisplay> VLMDisplay::init() { return std::shared_ptr<VLMDisplay>(new VLMDisplay); }

std::string VLMDisplay::displayedName() const {
  return displayName == nullptr ? std::string() : displayName->name.value_or("");
}

std::string VLMDisplay::displayedNameForMenu() const {
  return displayNumber == 0 ? displayedName() : format("%@ (%d)", displayedName(), displayNumber);
}

std::string VLMDisplay::description() const {
  return format(
      "VLMDisplay %p: Name %@ ResID = %@ cgID = %d; Vendor / Product = %d / %d / Date = Wk %d of %d / SN# = %d ",
      static_cast<const void*>(this), sysMonitorName, monitorResID, cgID, displayVendorID, displayProductID,
      manufactureWeek, manufactureYear, serialNumber);
}

std::shared_ptr<VLMMode> VLMDisplay::anyModeWithAppleID(std::int32_t appleID) const {
  return withAppleID(allDisplayModes, appleID);
}

std::shared_ptr<VLMMode> VLMDisplay::validModeWithAppleID(std::int32_t appleID) const {
  return withAppleID(validDisplayModes, appleID);
}

std::shared_ptr<VLMMode> VLMDisplay::anyModeWithUniqueID(std::uint32_t uniqueID) const {
  return withUniqueID(allDisplayModes, uniqueID);
}

std::shared_ptr<VLMMode> VLMDisplay::validModeWithUniqueID(std::uint32_t uniqueID) const {
  return withUniqueID(validDisplayModes, uniqueID);
}

std::shared_ptr<VLMMode> VLMDisplay::validModeWithIOFBMode(std::int64_t frameBufferMode) const {
  return firstOf(validDisplayModes, [&](const VLMMode& mode) { return mode.IOFBModeID == frameBufferMode; });
}

std::shared_ptr<VLMMode> VLMDisplay::validModeAtIndex(std::size_t index) const {
  return index < validDisplayModes.size() ? validDisplayModes[index] : nullptr;
}

std::shared_ptr<VLMOverrideResolution> VLMDisplay::overridenModeAtIndex(std::size_t index) const {
  return index < overridenModes.size() ? overridenModes[index] : nullptr;
}

void VLMDisplay::gatherModesInFrequencySets() {
  VLMLog("gatherModesInFrequencySets for display %@", lazily([&] { return description(); }));
  constexpr std::size_t kUsualRates = 4;
  setsOfModesByFreq.clear();
  std::map<std::string, std::size_t> groups;
  for (const auto& mode : validDisplayModes) {
    const auto [group, isNew] = groups.emplace(groupKeyOf(*mode), setsOfModesByFreq.size());
    if (isNew) setsOfModesByFreq.emplace_back().reserve(kUsualRates);
    setsOfModesByFreq[group->second].push_back(mode);
  }
  VLMLog("...done");
}

}  // namespace vlm
