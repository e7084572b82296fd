#include <array>

#include "Models/DDC.h"
#include "Models/VLMDisplay.h"
#include "Platform/Process.h"
#include "Platform/SkyLight.h"
#include "Shared/SystemVersion.h"

namespace vlm {

namespace {

/// Rotation codes by the bits of "IOFBTransform": swap axes 1, invert x 2, invert y 4.
constexpr std::array<std::int16_t, 8> kRotationCodes = {0, 6, 4, 1, 5, 3, 2, 7};

constexpr std::int32_t kNoBrightness = 0, kBrightnessOverDDC = 1, kBrightnessThroughSystem = 2;
constexpr std::uint8_t kBrightnessCode = 0x10;
/// Taken for a monitor that answers, but with a maximum of 0.
constexpr float kUsualMaxBrightness = 100.0F;

std::optional<std::int64_t> transformOf(io_service_t frameBuffer) {
  const auto transform = os().registry.IORegistryEntryCreateCFProperty(frameBuffer, "IOFBTransform");
  if (!transform || !transform->isNumber()) return std::nullopt;
  return transform->sInt64();
}

/// The bits stand in the lowest four, or, where the driver gives them as it was asked for them, in the four above.
std::size_t rotationBits(std::int64_t transform) {
  return static_cast<std::size_t>((transform | transform >> 4) & 0x7);
}

bool hasParameter(io_service_t frameBuffer, const char* parameter) {
  return frameBuffer != 0 && os().registry.IODisplayGetFloatParameter(frameBuffer, parameter).has_value();
}

/// Apple silicon has no frame buffers to ask for their wires: there the monitor must have a service of its own.
bool hasAVService(const VLMDisplay& display) {
  if (display.container == nullptr || os().quartz.CGDisplayIsBuiltin(display.cgID)) return false;
  return static_cast<bool>(IOCreateAVServiceRef(display.cgID, nullptr, display.container->ioServicesCached()));
}

}  // namespace

bool VLMDisplay::doesSupportRotating() const {
  const io_service_t frameBuffer = framebuffer();
  if (frameBuffer == 0) return !os().quartz.CGDisplayIsBuiltin(cgID);
  return transformOf(frameBuffer).has_value();
}

std::int16_t VLMDisplay::getDisplayTansfType() const {
  const io_service_t frameBuffer = framebuffer();
  if (frameBuffer != 0) return kRotationCodes[rotationBits(transformOf(frameBuffer).value_or(0))];
  const double degrees = os().quartz.CGDisplayRotation(cgID);
  return degrees == 90 ? 1 : degrees == 180 ? 2 : degrees == 270 ? 3 : 0;
}

bool VLMDisplay::doesSupportOverscan() const { return hasParameter(framebuffer(), "oscn"); }

bool VLMDisplay::doesSupportUnderscan() const { return hasParameter(framebuffer(), "pscn"); }

bool VLMDisplay::doesSupportHDR() const {
  return systemVersion() >= kSystem11 && os().skyLight.SLSDisplaySupportsHDRMode(cgID).value_or(false);
}

bool VLMDisplay::doesSupportDisabling() const {
  return os().quartz.CGDisplayIsOnline(cgID) && !os().quartz.CGDisplayIsAlwaysInMirrorSet(cgID);
}

std::int32_t VLMDisplay::brightnessMethod() {
  if (os().skyLight.DisplayServicesCanChangeBrightness(cgID).value_or(false)) return kBrightnessThroughSystem;
  if (!canUseDDC() && !hasAVService(*this)) return kNoBrightness;
  // A monitor that is silent at this moment (it may be off) can still be set: its maximum stays 0, unknown.
  DDCCommand command{kBrightnessCode, 0, 0, 0};
  if (readDDCCommand(command)) maxBrightness = command[2] != 0 ? command[2] : kUsualMaxBrightness;
  return kBrightnessOverDDC;
}

}  // namespace vlm
