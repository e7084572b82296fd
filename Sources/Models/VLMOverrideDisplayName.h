#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Platform/PropertyList.h"

namespace vlm {

/// Where an override record was found: bits of `status`, OR-ed when records are merged.
constexpr std::int16_t kOverrideFoundInSettings = 1;
constexpr std::int16_t kOverrideFoundInOverrideFile = 2;
constexpr std::int16_t kOverrideFoundInSystem = 4;

/// The name under which a monitor is shown, and whether it shall go into the monitor's override file.
class VLMOverrideDisplayName {
 public:
  /// With a copy of itself as `original`.
  static std::shared_ptr<VLMOverrideDisplayName> initWithString(const std::optional<std::string>& name,
                                                                std::int16_t status, bool shouldOverride);
  /// From the settings file: status 1, no original.
  static std::shared_ptr<VLMOverrideDisplayName> initAndDecodeReadableWith(const plist::Dictionary& dict);
  plist::Dictionary encodeReadable() const;

  std::optional<std::string> name;
  bool shouldOverride = false;
  std::int16_t status = 0;
  /// The record as it was read; none for a record of the settings file.
  std::shared_ptr<VLMOverrideDisplayName> original;

  /// Copies the other's name and its `shouldOverride`.
  void fillWithDisplayName(const VLMOverrideDisplayName& other);
  /// Sets `original` to a copy of the record given.
  void copyBackupWith(const VLMOverrideDisplayName& other);
  bool isEqualToDisplayName(const VLMOverrideDisplayName* other) const;
  bool isModified() const;
};

}  // namespace vlm
