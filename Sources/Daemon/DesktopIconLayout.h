#pragma once

#include "Models/VLMDesktopLayout.h"

namespace vlm {

class VLMGlobals;

/// Puts the desktop's icons back after a change.
class DesktopIconLayout final : public VLMDesktopLayout {
 public:
  explicit DesktopIconLayout(VLMGlobals& document) : document_(document) {}

  void saveDesktopAll() override;
  void positionAllIcons(const std::shared_ptr<VLMDisplaySet>& set) override;
  void positionOneIcons(VLMDisplay& display) override;
  void reArrangeDesktop() override;

 private:
  VLMGlobals& document_;
};

void Script_SaveDesktopAll(VLMGlobals& document);
/// For a set, or for the modes in use when there is none.
void Script_DoPositionAllIcons(VLMGlobals& document, const std::shared_ptr<VLMDisplaySet>& set);
void Script_DoPositionOneIcons(VLMGlobals& document, VLMDisplay& display);
void Script_DoReArrangeDesktop(VLMGlobals& document);

}  // namespace vlm
