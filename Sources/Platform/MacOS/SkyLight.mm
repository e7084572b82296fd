#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/GuardedCall.h"
#include "Platform/MacOS/PrivateSymbols.h"
#include "Platform/MacOS/PropertyListBridge.h"

#include <map>
#include <numeric>
#include <utility>

#import <Foundation/Foundation.h>

/// What Core Animation's class of displays, which no header declares, is asked. AppKit brings it along.
@protocol VLMCoreAnimationDisplay
/// All of them.
+ (NSArray<id<VLMCoreAnimationDisplay>>*)displays;
/// In points.
- (CGRect)frame;
/// Drops what it keeps of the display's state.
- (void)_invalidate;
@end

namespace vlm::native {

namespace {

/// Calls a private function; absent where the system lacks it.
template <class Result, class... Parameters, class... Arguments>
std::optional<Result> callIfThere(Result (*function)(Parameters...), Arguments... arguments) {
  if (function == nullptr) return std::nullopt;
  return function(arguments...);
}

/// By display; it is what the platform hands back, being the observer. Main thread only.
std::map<CGDirectDisplayID, SkyLight::BrightnessCallback>& brightnessCallbacks() {
  static std::map<CGDirectDisplayID, SkyLight::BrightnessCallback> callbacks;
  return callbacks;
}

void* observerFor(CGDirectDisplayID display) { return reinterpret_cast<void*>(static_cast<std::uintptr_t>(display)); }

void callBack(CGDirectDisplayID display, const plist::Dictionary& information) {
  const auto found = brightnessCallbacks().find(display);
  if (found == brightnessCallbacks().end()) return;
  const auto callback = found->second;  // may unregister itself
  callback(display, information);
}

/// On whatever thread the platform chooses; what is already on its way when a display is unregistered finds nobody.
void brightnessChanged(CFNotificationCenterRef /*center*/, void* observer, CFNotificationName /*name*/,
                       const void* /*object*/, CFDictionaryRef userInfo) {
  callGuarded([&] {
    // The block copies these two because they are this function's own; what is captured by reference it would not copy.
    const auto display = static_cast<CGDirectDisplayID>(reinterpret_cast<std::uintptr_t>(observer));
    const auto information = dictionaryFromCF(userInfo).value_or(plist::Dictionary());
    dispatch_async(dispatch_get_main_queue(), ^{
      callGuarded(callBack, display, information);
    });
  });
}

class NativeSkyLight final : public SkyLight {
 public:
  ~NativeSkyLight() override {
    for (const auto& [display, callback] : std::exchange(brightnessCallbacks(), {})) {
      callIfThere(privateSymbols().DisplayServicesUnregisterForBrightnessChangeNotifications, display,
                  observerFor(display));
    }
  }

  std::optional<std::string> SLSCopyDisplayUUID(CGDirectDisplayID display) override {
    const ScopedCF<CFUUIDRef> uuid(callIfThere(privateSymbols().SLSCopyDisplayUUID, display).value_or(nullptr));
    if (!uuid) return std::nullopt;
    const ScopedCF<CFStringRef> text(CFUUIDCreateString(kCFAllocatorDefault, uuid.get()));
    return textFromCF(text.get());
  }
  std::optional<std::uint32_t> SLSIsDisplayModeVRR(CGDirectDisplayID display, std::int32_t modeNumber) override {
    return callIfThere(privateSymbols().SLSIsDisplayModeVRR, display, modeNumber);
  }
  std::optional<bool> SLSDisplaySupportsHDRMode(CGDirectDisplayID display) override {
    return callIfThere(privateSymbols().SLSDisplaySupportsHDRMode, display);
  }
  std::optional<bool> SLSDisplayIsHDRModeEnabled(CGDirectDisplayID display) override {
    return callIfThere(privateSymbols().SLSDisplayIsHDRModeEnabled, display);
  }
  std::optional<std::int32_t> SLSDisplaySetHDRModeEnabled(CGDirectDisplayID display, bool enabled) override {
    return callIfThere(privateSymbols().SLSDisplaySetHDRModeEnabled, display, enabled);
  }
  std::optional<std::int32_t> SLSSetDisplayRotation(CGDirectDisplayID display, std::int32_t angle,
                                                    std::int32_t reserved1, std::int32_t reserved2,
                                                    std::int32_t reserved3, std::int32_t reserved4) override {
    return callIfThere(privateSymbols().SLSSetDisplayRotation, display, angle, reserved1, reserved2, reserved3,
                       reserved4);
  }

  std::optional<bool> DisplayServicesCanChangeBrightness(CGDirectDisplayID display) override {
    return callIfThere(privateSymbols().DisplayServicesCanChangeBrightness, display);
  }
  std::optional<float> DisplayServicesGetBrightness(CGDirectDisplayID display) override {
    float brightness = 0;
    if (callIfThere(privateSymbols().DisplayServicesGetBrightness, display, &brightness) != 0) return std::nullopt;
    return brightness;
  }
  std::optional<std::int32_t> DisplayServicesSetBrightness(CGDirectDisplayID display, float brightness) override {
    return callIfThere(privateSymbols().DisplayServicesSetBrightness, display, brightness);
  }
  std::optional<std::int32_t> DisplayServicesRegisterForBrightnessChangeNotifications(
      CGDirectDisplayID display, BrightnessCallback callback) override {
    brightnessCallbacks()[display] = std::move(callback);
    const auto answer = callIfThere(privateSymbols().DisplayServicesRegisterForBrightnessChangeNotifications, display,
                                    observerFor(display), brightnessChanged);
    if (answer != 0) brightnessCallbacks().erase(display);
    return answer;
  }
  std::optional<std::int32_t> DisplayServicesUnregisterForBrightnessChangeNotifications(
      CGDirectDisplayID display) override {
    brightnessCallbacks().erase(display);
    return callIfThere(privateSymbols().DisplayServicesUnregisterForBrightnessChangeNotifications, display,
                       observerFor(display));
  }

  std::optional<std::int32_t> CoreDisplay_Display_GetPresetCount(CGDirectDisplayID display) override {
    return callIfThere(privateSymbols().CoreDisplay_Display_GetPresetCount, display);
  }
  std::optional<plist::Dictionary> CoreDisplay_Display_CopyPresetData(CGDirectDisplayID display,
                                                                      std::int32_t index) override {
    const ScopedCF<CFDictionaryRef> preset(
        callIfThere(privateSymbols().CoreDisplay_Display_CopyPresetData, display, index).value_or(nullptr));
    return dictionaryFromCF(preset.get());
  }
  std::optional<std::int32_t> SLSDisplayGetActivePresetIndex(CGDirectDisplayID display) override {
    return callIfThere(privateSymbols().SLSDisplayGetActivePresetIndex, display);
  }
  std::optional<std::int32_t> SLSDisplaySetActivePresetIndex(CGDirectDisplayID display, std::int32_t index) override {
    return callIfThere(privateSymbols().SLSDisplaySetActivePresetIndex, display, index);
  }

  std::optional<std::vector<std::uint32_t>> CADisplays() override {
    const Class displayClass = NSClassFromString(@"CADisplay");
    if (![displayClass respondsToSelector:@selector(displays)]) return std::nullopt;
    caDisplays_ = [[(Class<VLMCoreAnimationDisplay>)displayClass displays] copy];
    std::vector<std::uint32_t> numbers(caDisplays_.count);
    std::iota(numbers.begin(), numbers.end(), 0U);
    return numbers;
  }
  double CADisplayFrameWidth(std::uint32_t caDisplay) override {
    const id display = find(caDisplay);
    return [display respondsToSelector:@selector(frame)] ? [(id<VLMCoreAnimationDisplay>)display frame].size.width : 0;
  }
  void CADisplayInvalidate(std::uint32_t caDisplay) override {
    const id display = find(caDisplay);
    if ([display respondsToSelector:@selector(_invalidate)]) [(id<VLMCoreAnimationDisplay>)display _invalidate];
  }

 private:
  /// Nil when there is none of that number.
  id find(std::uint32_t caDisplay) const { return caDisplay < caDisplays_.count ? caDisplays_[caDisplay] : nil; }

  /// As listed last; a display's number is its place in here.
  NSArray* caDisplays_ = nil;
};

}  // namespace

std::unique_ptr<SkyLight> makeNativeSkyLight() { return std::make_unique<NativeSkyLight>(); }

}  // namespace vlm::native
