#include "Daemon/DesktopIconLayout.h"

namespace vlm {

void DesktopIconLayout::saveDesktopAll() { Script_SaveDesktopAll(document_); }

void DesktopIconLayout::positionAllIcons(const std::shared_ptr<VLMDisplaySet>& set) {
  Script_DoPositionAllIcons(document_, set);
}

void DesktopIconLayout::positionOneIcons(VLMDisplay& display) { Script_DoPositionOneIcons(document_, display); }

void DesktopIconLayout::reArrangeDesktop() { Script_DoReArrangeDesktop(document_); }

void Script_SaveDesktopAll(VLMGlobals& /*document*/) {
  // Stores where every icon of the desktop stands, for a mode or for a set.
}

void Script_DoPositionAllIcons(VLMGlobals& /*document*/, const std::shared_ptr<VLMDisplaySet>& /*set*/) {
  // Moves every icon to where it stood when the layout was stored.
}

void Script_DoPositionOneIcons(VLMGlobals& /*document*/, VLMDisplay& /*display*/) {
  // The same for the icons of one display.
}

void Script_DoReArrangeDesktop(VLMGlobals& /*document*/) {
  // Places the icons that are on the desktop now on the grid.
}

}  // namespace vlm
