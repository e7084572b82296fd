#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Platform/Geometry.h"

namespace vlm {

class VLMDisplay;
class VLMMode;

/// Whoever writes down what changes on the displays, so that a user can replay it.
class VLMChangeRecorder {
 public:
  virtual ~VLMChangeRecorder() = default;

  virtual bool isRecordingOn() const = 0;
  virtual void recordOrientationFromDisp(const VLMDisplay& display, std::int32_t isNow) = 0;
  /// Depth in mask form.
  virtual void recordDepthFromDisp(const VLMDisplay& display, std::int32_t isNow) = 0;
  virtual void recordModeFromDisp(const VLMDisplay& display, const std::shared_ptr<VLMMode>& isNow) = 0;
  virtual void recordPositionFromDisp(const VLMDisplay& display, DisplayPosition isNow) = 0;
  virtual void recordMainDisplayIsNow(const VLMDisplay& display) = 0;
  virtual void recordMirroringIsNow(bool isNow) = 0;
  virtual void recordGrayIsNow(bool isNow) = 0;
  virtual void recordOverscanFromDisp(const VLMDisplay& display, bool isNow) = 0;
  virtual void recordUnderscanFromDisp(const VLMDisplay& display, float isNow) = 0;
  virtual void recordHDRFromDisp(const VLMDisplay& display, bool isNow) = 0;
  virtual void recordEnabledFromDisp(const VLMDisplay& display, bool isNow) = 0;
  virtual void recordBrightnessFromDisp(const VLMDisplay& display, float isNow) = 0;
  virtual void recordPresetFromDisp(const VLMDisplay& display, const std::optional<std::string>& isNow) = 0;
  virtual void recordProfileFromDisp(const VLMDisplay& display, const std::optional<std::string>& isNow) = 0;
  virtual void recordSaveDesktop() = 0;
  virtual void recordRestoreDesktop() = 0;
};

}  // namespace vlm
