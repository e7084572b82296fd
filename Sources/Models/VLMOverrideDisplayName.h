#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "Models/OverrideRecord.h"
#include "Platform/PropertyList.h"

namespace vlm {

/// The name under which a monitor is shown; "DisplayProductName" of an override file.
class VLMOverrideDisplayName : public OverrideRecord<VLMOverrideDisplayName> {
 public:
  /// With a copy of itself as `original`. Null without a name.
  static std::shared_ptr<VLMOverrideDisplayName> initWithString(const std::optional<std::string>& name,
                                                                std::int16_t status, bool shouldOverride);
  /// From a text behind its length byte, MacRoman as the system's drivers wrote it. Status 1, no original; null when
  /// the text is empty or missing. A length beyond the bytes ends with them.
  static std::shared_ptr<VLMOverrideDisplayName> initWithPascalString(std::span<const std::uint8_t> text,
                                                                      bool shouldOverride);
  /// From the settings file: status 1, no original.
  static std::shared_ptr<VLMOverrideDisplayName> initAndDecodeReadableWith(const plist::Dictionary& dict);
  plist::Dictionary encodeReadable() const;
  /// Sets its key of an override file's content, or removes it.
  void addInOverrideDictionary(plist::Dictionary& content) const;

  std::optional<std::string> name;

  /// Copies the other's name and its `shouldOverride`.
  void fillWithDisplayName(const VLMOverrideDisplayName& other);
  bool isEqualToDisplayName(const VLMOverrideDisplayName* other) const;

  static constexpr auto kFill = &VLMOverrideDisplayName::fillWithDisplayName;
  static constexpr auto kIsEqual = &VLMOverrideDisplayName::isEqualToDisplayName;
};

}  // namespace vlm
