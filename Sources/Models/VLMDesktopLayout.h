#pragma once

#include <memory>

namespace vlm {

class VLMDisplay;
class VLMDisplaySet;

/// Desktop icons and windows: where they stood, and bringing them back.
class VLMDesktopLayout {
 public:
  virtual ~VLMDesktopLayout() = default;

  virtual void saveDesktopAll() = 0;
  /// For a set, or for the modes in use when there is none.
  virtual void positionAllIcons(const std::shared_ptr<VLMDisplaySet>& set) = 0;
  virtual void positionOneIcons(VLMDisplay& display) = 0;
  virtual void reArrangeDesktop() = 0;
};

}  // namespace vlm
