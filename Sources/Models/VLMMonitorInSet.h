#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "Platform/PropertyList.h"

namespace vlm {

class VLMDisplay;
class VLMDisplaySet;

/// One monitor's part of a display set.
class VLMMonitorInSet {
 public:
  /// `modeUniqueID` or `selDepth` when the set leaves it alone.
  static constexpr std::uint64_t kNoSetting = std::numeric_limits<std::uint64_t>::max();

  /// Enforces nothing.
  static std::shared_ptr<VLMMonitorInSet> initEmpty();
  /// A missing mode or depth reads as 0, which is a setting that no display has.
  static std::shared_ptr<VLMMonitorInSet> initAndDecodeReadableWith(const plist::Dictionary& dict);
  plist::Dictionary encodeReadable() const;
  std::shared_ptr<VLMMonitorInSet> deepCopy() const;
  std::string description() const;

  std::optional<std::int64_t> monitorResID;
  std::uint64_t modeUniqueID = kNoSetting;
  std::uint64_t selDepth = kNoSetting;  ///< mask form
  bool isMainDisplay = false;
  bool inOverscan = false, hasOverscan = false;
  float underscan = 0;
  bool hasUnderscan = false;
  bool hasOrigin = false;
  std::uint32_t origin = 0;  ///< see DisplayPosition::packed
  bool isActive = true, hasActivity = false;
  std::int16_t orientation = 0;  ///< degrees, or -1 to -4
  bool hasOrientation = false;
  std::optional<std::string> colorProfile;  ///< file URL; stored as a path
  std::optional<std::string> colorPreset;   ///< identifier
  bool hasColorProfile = false;
  bool isInHDR = false, hasHDR = false;
  std::optional<plist::Value> selColorMode;  ///< colour mode selected; not stored
  VLMDisplaySet* container = nullptr;
  bool dispIsPresent = false;  ///< attached now; not stored

  bool hasModeSetting() const { return modeUniqueID != kNoSetting; }
  bool hasDepthSetting() const { return selDepth != kNoSetting; }
  /// The set says that this display must be off, or on.
  bool mustBeInactive() const { return hasActivity && !isActive; }
  bool mustBeActive() const { return hasActivity && isActive; }

  /// Whether the set enforces anything here beside activity. `check` lets position and main display count, which they
  /// do only for an active display. Without a display (not attached) it is taken as active.
  bool hasADisplaySetting(const VLMDisplay* display, bool check) const;
  /// Whether the record of a display that is not attached can be shown: not for one that never had a monitor.
  bool isADisplayableUnattachedMonitor(const VLMDisplay& display) const;

 private:
  VLMMonitorInSet() = default;
};

}  // namespace vlm
