#include <cmath>

#include "Models/VLMDisplay.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Shared/Log.h"
#include "Shared/ModeMath.h"

namespace vlm {

namespace {

/// What the system says of the mode in use.
struct SystemMode {
  std::int32_t number = -1;
  std::uint32_t Nx = 0, Ny = 0;
  float Hz = 0;
  std::int32_t depth = 0;  ///< mask form
  float definition = 1.0F;
};

/// Modes of all displays alike; 0 and -1 where the system does not answer.
SystemMode systemModeOf(CGDirectDisplayID display) {
  SystemMode system;
  if (os().quartz.CGSGetCurrentDisplayMode(display, system.number) != kCGErrorSuccess) system.number = -1;
  const auto mode = os().quartz.CGDisplayCopyDisplayMode(display);
  if (!mode) return system;
  system.Nx = truncateTo<std::uint32_t>(os().quartz.CGDisplayModeGetWidth(*mode));
  system.Ny = truncateTo<std::uint32_t>(os().quartz.CGDisplayModeGetHeight(*mode));
  system.Hz = static_cast<float>(os().quartz.CGDisplayModeGetRefreshRate(*mode));
  system.depth = static_cast<std::int32_t>(maskDepth(*mode));
  system.definition = static_cast<float>(os().quartz.CGDisplayModeGetResolution(*mode).value_or(1.0));
  return system;
}

bool hasSize(const VLMMode& mode, const SystemMode& system) { return mode.Nx == system.Nx && mode.Ny == system.Ny; }

bool hasDepth(const VLMMode& mode, const SystemMode& system) { return (mode.colorMask & system.depth) != 0; }

bool hasNumber(const VLMMode& mode, std::int32_t depth, const SystemMode& system) {
  const int slot = maskToIndex(static_cast<std::uint32_t>(depth)) - 3;
  return slot >= 0 && slot < VLMMode::kDepthSlots && mode.sysModeID[static_cast<std::size_t>(slot)] == system.number;
}

struct Found {
  std::shared_ptr<VLMMode> mode;
  std::int32_t depth = 0;
};

Found findByNumber(const VLMDisplay::Modes& modes, const SystemMode& system) {
  for (const auto& mode : modes) {
    for (int slot = 0; slot < VLMMode::kDepthSlots; ++slot) {
      VLMLog("Checking mode ID = %d Nx=%d Ny=%d \n", mode->sysModeID[static_cast<std::size_t>(slot)], mode->Nx,
             mode->Ny);
      const std::int32_t number = mode->sysModeID[static_cast<std::size_t>(slot)];
      if (number >= 0 && number == system.number && hasSize(*mode, system)) return {mode, 1 << (slot + 3)};
    }
  }
  return {};
}

Found findByRateAndScale(const VLMDisplay::Modes& modes, const SystemMode& system) {
  for (const auto& mode : modes) {
    VLMLog("Checking Nx=%d Ny=%d Hz=%g colormask=%d def=%g\n", mode->Nx, mode->Ny, mode->Hz, mode->colorMask,
           mode->definition);
    if (hasSize(*mode, system) && std::fabs(mode->Hz - system.Hz) < 0.01F &&
        std::fabs(mode->definition - system.definition) < 0.01F && hasDepth(*mode, system)) {
      return {mode, system.depth};
    }
  }
  return {};
}

Found findBySize(const VLMDisplay::Modes& modes, const SystemMode& system) {
  for (const auto& mode : modes) {
    VLMLog("Checking Nx=%d Ny=%d colormask=%d def=%g\n", mode->Nx, mode->Ny, mode->colorMask, mode->definition);
    if (hasSize(*mode, system) && hasDepth(*mode, system)) return {mode, system.depth};
  }
  return {};
}

Found findMode(const VLMDisplay::Modes& modes, const SystemMode& system) {
  VLMLog("FIRST CHECK\n");
  if (Found found = findByNumber(modes, system); found.mode != nullptr) {
    VLMLog("Found the new mode in validDisplayModes with ID check");
    return found;
  }
  VLMLog("didn't find the new mode in the array list ?");
  VLMLog("SECOND CHECK\n");
  if (Found found = findByRateAndScale(modes, system); found.mode != nullptr) {
    VLMLog("Found the new mode in validDisplayModes with Nx/Ny/Hz/Def check");
    return found;
  }
  VLMLog("THIRD CHECK\n");
  if (Found found = findBySize(modes, system); found.mode != nullptr) {
    VLMLog("Found the new mode in validDisplayModes with Nx/Ny check");
    return found;
  }
  VLMLog("didn't find the new mode with Nx/Ny check - this is a new mode !");
  return {};
}

}  // namespace

void VLMDisplay::updateCurrentMode() {
  VLMLog("After resolution change, VLM will update current Mode of display %@", lazily([&] { return description(); }));
  const SystemMode system = systemModeOf(cgID);
  VLMLog("We're looking for Mode=%d Nx=%d Ny=%d depth=%d Hz=%g def=%g\n", system.number, system.Nx, system.Ny,
         system.depth, system.Hz, system.definition);
  VLMLog("Checking if current mode has changed ?\n");
  const auto current = currentMode.get();
  if (current != nullptr && hasNumber(*current, currentDepth, system) && hasSize(*current, system)) {
    VLMLog("No change in current mode\n");
  } else {
    const Found found = findMode(validDisplayModes, system);
    currentMode = found.mode;
    if (found.mode != nullptr) currentDepth = found.depth;
  }
  VLMLog("After resolution change, VLM updated current Mode to %@ and depth = %d", lazily([&] {
           const auto mode = currentMode.get();
           return mode != nullptr ? std::optional(mode->description()) : std::nullopt;
         }),
         currentDepth);
}

}  // namespace vlm
