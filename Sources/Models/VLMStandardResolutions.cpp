#include "Models/VLMStandardResolutions.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "Platform/Files.h"
#include "Platform/Process.h"
#include "Shared/VLFlippers.h"

namespace vlm {

namespace {

/// The first that is there counts; systems before CoreDisplay have the second.
constexpr std::array kTables = {
    "/System/Library/Frameworks/CoreDisplay.framework/Versions/A/Resources/IOGraphicsProperties.plist",
    "/System/Library/Frameworks/IOKit.framework/Resources/IOGraphicsProperties.plist"};

struct GraphicsProperties {
  GraphicsProperties() {
    for (const char* const table : kTables) {
      auto read = os().files.propertyListWithContentsOfURL(table);
      if (!read || read->dictionary() == nullptr) continue;
      content = std::move(*read->dictionary());
      return;
    }
  }

  std::optional<plist::Dictionary> content;
};

/// Null when the item is damaged.
std::shared_ptr<VLMOverrideResolution> standardResolutionOf(const plist::Entry& item) {
  std::int16_t appleID = 0;
  const char* const end = item.key.data() + item.key.size();
  const auto [rest, error] = std::from_chars(item.key.data(), end, appleID);
  if (error != std::errc() || rest != end) return nullptr;
  const plist::Dictionary* records = item.value.dictionary();
  const plist::Data* timing = records == nullptr ? nullptr : records->data("TM");
  if (timing == nullptr || timing->size() < kIODetailedTimingInformationV2Length) return nullptr;
  const plist::Data* information = records->data("DM");
  // Without its number: that would be looked up in the very table that is being made.
  auto resolution = VLMOverrideResolution::initWithTM(
      *timing, information == nullptr ? std::span<const std::uint8_t>() : std::span(*information), std::nullopt, true);
  resolution->appleID = appleID;
  resolution->resolutionType = VLMOverrideResolution::kStandardMode;
  return resolution;
}

}  // namespace

VLMStandardResolutions& VLMStandardResolutions::sharedInstance() {
  return Process::current().state<VLMStandardResolutions>();
}

const std::optional<plist::Dictionary>& VLMStandardResolutions::contentOfIOGraphicsProperties() {
  return Process::current().state<GraphicsProperties>().content;
}

VLMStandardResolutions::VLMStandardResolutions() {
  const auto& properties = contentOfIOGraphicsProperties();
  const plist::Dictionary* modes = properties ? properties->dictionary("std-modes") : nullptr;
  if (modes == nullptr) return;
  for (const plist::Entry& item : *modes) {
    if (auto resolution = standardResolutionOf(item)) standardResolutions_.push_back(std::move(resolution));
  }
  std::stable_sort(standardResolutions_.begin(), standardResolutions_.end(),
                   [](const auto& a, const auto& b) { return a->standardModeCompare(*b); });
}

std::shared_ptr<VLMOverrideResolution> VLMStandardResolutions::standardResolutionAtIndex(std::size_t index) const {
  return index < standardResolutions_.size() ? standardResolutions_[index] : nullptr;
}

std::shared_ptr<VLMOverrideResolution> VLMStandardResolutions::standardResolutionWithAppleID(
    std::int16_t appleID) const {
  const auto found = std::find_if(standardResolutions_.begin(), standardResolutions_.end(),
                                  [&](const auto& resolution) { return resolution->appleID == appleID; });
  return found == standardResolutions_.end() ? nullptr : *found;
}

}  // namespace vlm
