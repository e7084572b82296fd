#include "Models/VLMMode.h"

#include <cmath>

#include "Models/VLMDisplay.h"
#include "Platform/Numbers.h"
#include "Shared/Format.h"

namespace vlm {

VLMMode::VLMMode() { sysModeID.fill(-1); }

VLMMode::~VLMMode() { setAliasedMode(nullptr); }

std::shared_ptr<VLMMode> VLMMode::init() { return std::shared_ptr<VLMMode>(new VLMMode); }

void VLMMode::setModeName(const std::optional<std::string>& name) {
  modeName_ = name && !name->empty() ? name : std::nullopt;
}

void VLMMode::setFreqName(const std::optional<std::string>& name) {
  freqName_ = name && !name->empty() ? name : std::nullopt;
}

void VLMMode::setAliasedMode(const std::shared_ptr<VLMMode>& mode) {
  for (auto link = mode; link != nullptr; link = link->aliasedMode()) {
    if (link.get() == this) return;
  }
  if (const auto before = aliasedMode_.lock()) --before->destinationOfAlias;
  aliasedMode_ = mode;
  if (mode == nullptr) return;
  ++mode->destinationOfAlias;
  isValidAct = false;
}

bool VLMMode::isCurrent() const { return container != nullptr && container->currentMode.get().get() == this; }

bool VLMMode::showInMenu() const { return menuVal > 0 || isCurrent(); }

std::string VLMMode::description() const {
  return format(
      "VLMMode %ld: %d × %d @ %.2fHz %s%s%s - validact = %d - IOFBModeID = %d - CGModeID [3] = [%d] - VLM UniqueID = "
      "%d",
      reinterpret_cast<std::intptr_t>(this), Nx, Ny, Hz, isVRR != 0 ? "(VRR)" : "", isScaled ? "(SCALED)" : "",
      definition > 1.0F ? "(HiDPI)" : "", static_cast<int>(isValidAct), IOFBModeID, sysModeID[3], modeUniqueID);
}

std::uint32_t VLMMode::pixelsOf(std::uint32_t points) const {
  return wholePartTo<std::uint32_t>(std::round(static_cast<double>(points) * static_cast<double>(definition)));
}

}  // namespace vlm
