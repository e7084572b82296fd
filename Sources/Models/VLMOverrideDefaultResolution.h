#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "Models/OverrideRecord.h"
#include "Platform/PropertyList.h"

namespace vlm {

/// The resolution that the system takes when nobody has chosen one; "default-resolution" of an override file: width,
/// height and rate (16.16 fixed point), big-endian, 12 bytes.
class VLMOverrideDefaultResolution : public OverrideRecord<VLMOverrideDefaultResolution> {
 public:
  /// With a copy of itself as `original`. Null without data, and for data that is too short.
  static std::shared_ptr<VLMOverrideDefaultResolution> initWithDefaultResolutionData(
      const std::optional<plist::Data>& data, std::int16_t status, bool shouldOverride);
  /// From the settings file: status 1, no original.
  static std::shared_ptr<VLMOverrideDefaultResolution> initAndDecodeReadableWith(const plist::Dictionary& dict);
  plist::Dictionary encodeReadable() const;
  /// Sets its key of an override file's content, or removes it.
  void addInOverrideDictionary(plist::Dictionary& content) const;

  std::uint32_t Nx = 0, Ny = 0;  ///< pixels
  double Hz = 0;

  /// Copies the other's values and its `shouldOverride`.
  void fillWithDefaultResolution(const VLMOverrideDefaultResolution& other);
  bool isEqualToDefaultResolution(const VLMOverrideDefaultResolution* other) const;
  bool isEmpty() const;

  static constexpr auto kFill = &VLMOverrideDefaultResolution::fillWithDefaultResolution;
  static constexpr auto kIsEqual = &VLMOverrideDefaultResolution::isEqualToDefaultResolution;
};

}  // namespace vlm
