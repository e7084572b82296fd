#include "Shared/Appearance.h"

#include "Platform/Process.h"
#include "Platform/UserInterface.h"

namespace vlm {

bool Common_IsCurrentAppearanceDark() { return os().userInterface.isCurrentAppearanceDark(); }

}  // namespace vlm
