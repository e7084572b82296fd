#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Models/OverrideRecord.h"
#include "Platform/PropertyList.h"

namespace vlm {

/// The size of the panel in pixels; "DisplayPixelDimensions" of an override file: width and height, big-endian, 8
/// bytes.
class VLMOverrideDisplayPixelDimensions : public OverrideRecord<VLMOverrideDisplayPixelDimensions> {
 public:
  /// With a copy of itself as `original`. Null without data, and for data that is too short.
  static std::shared_ptr<VLMOverrideDisplayPixelDimensions> initWithDisplayPixelDimensionsData(
      const std::optional<plist::Data>& data, std::int16_t status, bool shouldOverride);
  /// From the settings file: status 1, no original.
  static std::shared_ptr<VLMOverrideDisplayPixelDimensions> initAndDecodeReadableWith(const plist::Dictionary& dict);
  plist::Dictionary encodeReadable() const;
  /// Sets its key of an override file's content, or removes it.
  void addInOverrideDictionary(plist::Dictionary& content) const;
  std::string description() const;

  std::uint32_t Nx = 0, Ny = 0;

  /// Copies the other's values and its `shouldOverride`.
  void fillWithDisplayPixelDimensions(const VLMOverrideDisplayPixelDimensions& other);
  bool isEqualToDisplayPixelDimensions(const VLMOverrideDisplayPixelDimensions* other) const;
  bool isEmpty() const;

  static constexpr auto kFill = &VLMOverrideDisplayPixelDimensions::fillWithDisplayPixelDimensions;
  static constexpr auto kIsEqual = &VLMOverrideDisplayPixelDimensions::isEqualToDisplayPixelDimensions;
};

}  // namespace vlm
