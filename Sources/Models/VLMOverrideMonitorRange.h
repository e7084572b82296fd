#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "Models/OverrideRecord.h"
#include "Platform/PropertyList.h"

namespace vlm {

/// The monitor's timing limits; "trng" of an override file, where they stand in the platform's timing-range record
/// (kIOTimingRangeLength bytes, host byte order).
class VLMOverrideMonitorRange : public OverrideRecord<VLMOverrideMonitorRange> {
 public:
  /// With a copy of itself as `original`. Fields of all ones count as absent and stay 0. Null without data, and for
  /// data that is too short.
  static std::shared_ptr<VLMOverrideMonitorRange> initWithIODisplayTimingRange(const std::optional<plist::Data>& range,
                                                                               std::int16_t status,
                                                                               bool shouldOverride);
  /// From the settings file: status 1, no original.
  static std::shared_ptr<VLMOverrideMonitorRange> initAndDecodeReadableWith(const plist::Dictionary& dict);
  plist::Dictionary encodeReadable() const;
  /// Sets its key of an override file's content, all other fields of the platform's record 0, or removes it.
  void addInOverrideDictionary(plist::Dictionary& content) const;

  double minH = 0, maxH = 0;            ///< line rate, kHz
  std::uint32_t minV = 0, maxV = 0;     ///< frame rate, Hz
  double minPClock = 0, maxPClock = 0;  ///< pixel clock, MHz

  /// Copies the other's values and its `shouldOverride`.
  void fillWithTimingRange(const VLMOverrideMonitorRange& other);
  bool isEqualToTimingRange(const VLMOverrideMonitorRange* other) const;
  bool isEmpty() const;

  static constexpr auto kFill = &VLMOverrideMonitorRange::fillWithTimingRange;
  static constexpr auto kIsEqual = &VLMOverrideMonitorRange::isEqualToTimingRange;
};

}  // namespace vlm
