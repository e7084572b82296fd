#include <utility>

#include "Models/VLMDisplay.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/SkyLight.h"
#include "Shared/Log.h"
#include "Shared/ModeMath.h"
#include "Shared/SystemVersion.h"
#include "Shared/VLFlippers.h"

namespace vlm {

namespace {

constexpr std::int32_t kBrightnessOverDDC = 1, kBrightnessThroughSystem = 2;
constexpr float kUnreadableBrightness = -1;
/// Taken for a monitor that answers, but with a maximum of 0.
constexpr float kUsualMaxBrightness = 100;

// Where the character sizes stand in the platform's display timing-range record, a byte each.
constexpr std::size_t kCharSizeHorizontalActiveAt = 96, kCharSizeHorizontalBlankingAt = 97,
                      kCharSizeHorizontalSyncOffsetAt = 98, kCharSizeHorizontalTotalAt = 108;

float parameterOf(io_service_t frameBuffer, const char* parameter, float ifUnreadable) {
  if (frameBuffer == 0) return ifUnreadable;
  return os().registry.IODisplayGetFloatParameter(frameBuffer, parameter).value_or(ifUnreadable);
}

std::optional<plist::Value> propertyOf(io_service_t frameBuffer, const char* key) {
  if (frameBuffer == 0) return std::nullopt;
  return os().registry.IORegistryEntryCreateCFProperty(frameBuffer, key);
}

std::int16_t coordinate(double points) { return truncateTo<std::int16_t>(wholePartTo<std::int64_t>(points)); }

}  // namespace

bool VLMDisplay::isActive() const {
  if (os().quartz.CGDisplayIsAsleep(cgID) || !os().quartz.CGDisplayIsOnline(cgID)) return isEnabled;
  return os().quartz.CGDisplayIsInMirrorSet(cgID) || os().quartz.CGDisplayIsActive(cgID);
}

bool VLMDisplay::isMainDisplay() const { return os().quartz.CGDisplayBounds(cgID).origin == Point{0, 0}; }

DisplayPosition VLMDisplay::displayPosition() const {
  const Point origin = os().quartz.CGDisplayBounds(cgID).origin;
  return {.v = coordinate(origin.y), .h = coordinate(origin.x)};
}

std::int32_t VLMDisplay::orientation() const {
  if (!canRotate) return 0;
  switch (transfType) {
    case 1:
      return 90;
    case 2:
      return 180;
    case 3:
      return 270;
    case 4:
    case 5:
    case 6:
    case 7:
      return 3 - transfType;
    default:
      return 0;
  }
}

bool VLMDisplay::isInOverscan() const { return parameterOf(framebuffer(), "oscn", 0) == 1.0F; }

float VLMDisplay::underscanValue() const { return parameterOf(framebuffer(), "pscn", 1); }

bool VLMDisplay::isInHDR() const {
  return systemVersion() >= kSystem11 && os().skyLight.SLSDisplayIsHDRModeEnabled(cgID).value_or(false);
}

float VLMDisplay::readBrightness() {
  if (canBrightness == kBrightnessThroughSystem) {
    return os().skyLight.DisplayServicesGetBrightness(cgID).value_or(kUnreadableBrightness);
  }
  if (canBrightness != kBrightnessOverDDC) return kUnreadableBrightness;
  // A monitor that never answered is not asked again.
  if (maxBrightness == 0) return savedLastSetBrightness;
  float maximum = 0;
  const float current = brightnessViaDDCWithMaxValue(maximum);
  maxBrightness = maximum != 0 ? maximum : kUsualMaxBrightness;
  return maximum != 0 ? current / maximum : kUnreadableBrightness;
}

bool VLMDisplay::isMirroring(const VLMDisplay& other) const {
  const CGDirectDisplayID shownHere = os().quartz.CGDisplayMirrorsDisplay(cgID);
  const CGDirectDisplayID shownThere = os().quartz.CGDisplayMirrorsDisplay(other.cgID);
  // Records of displays that are not attached have the null identifier too.
  const auto isAndNotNull = [](CGDirectDisplayID a, CGDirectDisplayID b) {
    return a != kCGNullDirectDisplay && a == b;
  };
  return isAndNotNull(shownHere, other.cgID) || isAndNotNull(shownThere, cgID) || isAndNotNull(shownHere, shownThere);
}

io_service_t VLMDisplay::framebuffer() const {
  return os().quartz.CGDisplayIsOnline(cgID) ? os().quartz.CGDisplayIOServicePort(cgID) : 0;
}

std::optional<plist::Dictionary> VLMDisplay::contentOfIOFBConfigRegDictionary() const {
  auto config = propertyOf(framebuffer(), "IOFBConfig");
  VLMLog("IOFB Modes array = %@", lazily([&] { return config ? plist::describe(*config) : std::string("(null)"); }));
  if (!config || config->dictionary() == nullptr) return std::nullopt;
  return std::move(*config->dictionary());
}

std::optional<plist::Array> VLMDisplay::getDetailedModesArray() const {
  auto config = contentOfIOFBConfigRegDictionary();
  plist::Value* modes = config ? config->find("IOFBModes") : nullptr;
  if (modes == nullptr || modes->array() == nullptr) return std::nullopt;
  return std::move(*modes->array());
}

std::optional<plist::Data> VLMDisplay::contentOfIOFBTimingRangeRegData() const {
  const auto range = propertyOf(framebuffer(), "IOFBTimingRange");
  if (!range || range->data() == nullptr) return std::nullopt;
  return *range->data();
}

std::optional<plist::Dictionary> VLMDisplay::contentOfIODisplayRegDictionary() const {
  const io_service_t frameBuffer = framebuffer();
  if (frameBuffer == 0) return std::nullopt;
  const IOObject service = IODisplayForFramebuffer(frameBuffer, 0);
  if (!service) return std::nullopt;
  return os().registry.IODisplayCreateInfoDictionary(service.get(), 0);
}

void VLMDisplay::getGranularityActive(std::uint16_t& active, std::uint16_t& sync) const {
  active = 1;
  sync = 1;
  const auto range = contentOfIOFBTimingRangeRegData();
  if (!range || range->size() < kIOTimingRangeLength) return;
  // Single bytes: the record's byte order does not matter here.
  const auto size = [&](std::size_t offset) -> std::uint32_t { return (*range)[offset]; };
  active = truncateTo<std::uint16_t>(size(kCharSizeHorizontalActiveAt));
  sync = truncateTo<std::uint16_t>(
      ppcm({size(kCharSizeHorizontalSyncOffsetAt), size(kCharSizeHorizontalBlankingAt),
            size(kCharSizeHorizontalSyncOffsetAt), size(kCharSizeHorizontalTotalAt), kPpcmEnd}));
}

}  // namespace vlm
