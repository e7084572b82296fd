#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "Models/VLMOverrideResolution.h"
#include "Platform/PropertyList.h"

namespace vlm {

/// The platform's table of standard modes, read once per process.
class VLMStandardResolutions {
 public:
  static VLMStandardResolutions& sharedInstance();
  /// The content of the platform's mode table, read once; absent when no place has one.
  static const std::optional<plist::Dictionary>& contentOfIOGraphicsProperties();

  /// Type kStandardMode, by size and rate.
  const OverrideResolutions& standardResolutions() const { return standardResolutions_; }
  /// Null beyond the end.
  std::shared_ptr<VLMOverrideResolution> standardResolutionAtIndex(std::size_t index) const;
  /// The first with that number, or null.
  std::shared_ptr<VLMOverrideResolution> standardResolutionWithAppleID(std::int16_t appleID) const;

  /// For Process alone, which keeps the one instance.
  VLMStandardResolutions();

 private:
  OverrideResolutions standardResolutions_;
};

}  // namespace vlm
