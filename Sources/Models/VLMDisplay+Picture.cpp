#include <array>
#include <cmath>
#include <optional>

#include "Models/VLMDisplay.h"
#include "Platform/Process.h"
#include "Platform/SkyLight.h"
#include "Shared/SystemVersion.h"

/// Rotation, overscan, underscan and high dynamic range. All take effect at once: none of them can wait for the end of
/// a transaction.
namespace vlm {

namespace {

/// An angle as the frame buffer's transform names it: swap axes 0x10, invert x 0x20, invert y 0x40.
struct Rotation {
  std::int32_t angle;
  std::uint32_t code;
};

constexpr std::array kRotations{Rotation{0, 0x00},  Rotation{90, 0x30}, Rotation{180, 0x60}, Rotation{270, 0x50},
                                Rotation{-1, 0x20}, Rotation{-2, 0x40}, Rotation{-3, 0x10},  Rotation{-4, 0x70}};

/// A probe with this bit sets the transform that stands in the upper half of its options.
constexpr IOOptionBits kProbeSetsTransform = 0x400;
constexpr unsigned kTransformShift = 16;

std::optional<std::uint32_t> transformCodeOf(std::int32_t angle) {
  for (const Rotation& rotation : kRotations) {
    if (rotation.angle == angle) return rotation.code;
  }
  return std::nullopt;
}

void setParameter(io_service_t frameBuffer, const char* parameter, float value) {
  if (frameBuffer != 0) os().registry.IODisplaySetFloatParameter(frameBuffer, parameter, value);
}

}  // namespace

bool VLMDisplay::willChangeOverscanIn(bool overscan) const { return isInOverscan() == overscan; }

void VLMDisplay::setInOverscan(bool overscan, DisplayTransaction* /*transaction*/) {
  if (isActive()) setParameter(framebuffer(), "oscn", overscan ? 1 : 0);
}

bool VLMDisplay::willChangeUnderscanIn(float value) const { return std::fabs(underscanValue() - value) < 0.01F; }

void VLMDisplay::setUnderscan(float value, DisplayTransaction* /*transaction*/) {
  if (isActive()) setParameter(framebuffer(), "pscn", value);
}

bool VLMDisplay::willChangeHDRIn(bool hdr) const {
  return systemVersion() >= kSystem11 && doesSupportHDR() && isInHDR() == hdr;
}

void VLMDisplay::setHDR(bool hdr, DisplayTransaction* /*transaction*/) {
  if (systemVersion() >= kSystem11 && doesSupportHDR()) os().skyLight.SLSDisplaySetHDRModeEnabled(cgID, hdr);
}

bool VLMDisplay::willChangeOrientationIn(std::int32_t angle) const { return canRotate && orientation() != angle; }

void VLMDisplay::setOrientation(std::int32_t angle, DisplayTransaction* /*transaction*/) {
  const auto code = transformCodeOf(angle);
  if (!canRotate || !code) return;
  // Mirrored pictures are beyond what the system's own call can do.
  if (angle >= 0 && systemVersion() >= kSystem10_15) {
    os().skyLight.SLSSetDisplayRotation(cgID, angle, 0, 0, 0, 0);
    return;
  }
  const io_service_t frameBuffer = framebuffer();
  if (frameBuffer == 0) return;
  os().registry.IOServiceRequestProbe(frameBuffer, *code << kTransformShift | kProbeSetsTransform);
}

}  // namespace vlm
