#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/GuardedCall.h"
#include "Platform/MacOS/PrivateSymbols.h"
#include "Platform/MacOS/PropertyListBridge.h"

#include <algorithm>
#include <list>

#import <ApplicationServices/ApplicationServices.h>

namespace vlm::native {

namespace {

::CGDisplayConfigRef native(CGDisplayConfigRef config) { return reinterpret_cast<::CGDisplayConfigRef>(config); }
::CGDisplayModeRef native(const CGDisplayModeRef& mode) { return static_cast<::CGDisplayModeRef>(mode.raw()); }

/// Calls a private function; where the system lacks it, answers that it is not implemented.
template <class... Parameters, class... Arguments>
CGError callIfThere(::CGError (*function)(Parameters...), Arguments... arguments) {
  return function != nullptr ? function(arguments...) : ::kCGErrorNotImplemented;
}

/// On the main thread, as everything that the window server tells an application with a run loop: before and after, in
/// the midst of the completing call.
void displayReconfigured(::CGDirectDisplayID display, ::CGDisplayChangeSummaryFlags flags, void* userInfo) {
  callGuarded(*static_cast<const Quartz::ReconfigurationCallback*>(userInfo), display, flags);
}

class NativeQuartz final : public Quartz {
 public:
  ~NativeQuartz() override {
    for (auto& callback : callbacks_) ::CGDisplayRemoveReconfigurationCallback(displayReconfigured, &callback);
  }

  CGError CGSGetDisplayList(std::uint32_t maxDisplays, std::span<CGDirectDisplayID> displays,
                            std::uint32_t& count) const override {
    // No buffer means counting; a buffer is never filled past its end.
    const auto room = static_cast<std::uint32_t>(displays.size());
    return callIfThere(privateSymbols().CGSGetDisplayList, room == 0 ? maxDisplays : std::min(maxDisplays, room),
                       room == 0 ? nullptr : displays.data(), &count);
  }

  bool CGDisplayIsOnline(CGDirectDisplayID display) const override { return ::CGDisplayIsOnline(display) != 0; }
  bool CGDisplayIsActive(CGDirectDisplayID display) const override { return ::CGDisplayIsActive(display) != 0; }
  bool CGDisplayIsAsleep(CGDirectDisplayID display) const override { return ::CGDisplayIsAsleep(display) != 0; }
  bool CGDisplayIsBuiltin(CGDirectDisplayID display) const override { return ::CGDisplayIsBuiltin(display) != 0; }
  bool CGDisplayIsInMirrorSet(CGDirectDisplayID display) const override {
    return ::CGDisplayIsInMirrorSet(display) != 0;
  }
  bool CGDisplayIsAlwaysInMirrorSet(CGDirectDisplayID display) const override {
    return ::CGDisplayIsAlwaysInMirrorSet(display) != 0;
  }
  CGDirectDisplayID CGDisplayMirrorsDisplay(CGDirectDisplayID display) const override {
    return ::CGDisplayMirrorsDisplay(display);
  }
  CGDirectDisplayID CGDisplayPrimaryDisplay(CGDirectDisplayID display) const override {
    return ::CGDisplayPrimaryDisplay(display);
  }
  std::uint32_t CGDisplayVendorNumber(CGDirectDisplayID display) const override {
    return ::CGDisplayVendorNumber(display);
  }
  std::uint32_t CGDisplayModelNumber(CGDirectDisplayID display) const override {
    return ::CGDisplayModelNumber(display);
  }
  std::uint32_t CGDisplaySerialNumber(CGDirectDisplayID display) const override {
    return ::CGDisplaySerialNumber(display);
  }

  Rect CGDisplayBounds(CGDirectDisplayID display) const override {
    const CGRect bounds = ::CGDisplayBounds(display);
    return {.origin = {.x = bounds.origin.x, .y = bounds.origin.y},
            .size = {.width = bounds.size.width, .height = bounds.size.height}};
  }
  double CGDisplayRotation(CGDirectDisplayID display) const override { return ::CGDisplayRotation(display); }

  // Deprecated since 10.9, and nothing has taken its place: no public function leads from a display to its service.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
  io_service_t CGDisplayIOServicePort(CGDirectDisplayID display) const override {
    return ::CGDisplayIOServicePort(display);
  }
#pragma clang diagnostic pop

  CGError CGSGetNumberOfDisplayModes(CGDirectDisplayID display, std::int32_t& count) const override {
    return callIfThere(privateSymbols().CGSGetNumberOfDisplayModes, display, &count);
  }
  CGError CGSGetDisplayModeDescriptionOfLength(CGDirectDisplayID display, std::int32_t index,
                                               std::span<std::uint8_t> record) const override {
    return callIfThere(privateSymbols().CGSGetDisplayModeDescriptionOfLength, display, index, record.data(),
                       static_cast<int>(record.size()));
  }
  CGError CGSGetCurrentDisplayMode(CGDirectDisplayID display, std::int32_t& modeNumber) const override {
    return callIfThere(privateSymbols().CGSGetCurrentDisplayMode, display, &modeNumber);
  }

  std::optional<CGDisplayModeRef> CGDisplayCopyDisplayMode(CGDirectDisplayID display) override {
    const ::CGDisplayModeRef mode = ::CGDisplayCopyDisplayMode(display);
    if (mode == nullptr) return std::nullopt;
    return CGDisplayModeRef(*this, mode);
  }
  std::size_t CGDisplayModeGetWidth(const CGDisplayModeRef& mode) const override {
    return ::CGDisplayModeGetWidth(native(mode));
  }
  std::size_t CGDisplayModeGetHeight(const CGDisplayModeRef& mode) const override {
    return ::CGDisplayModeGetHeight(native(mode));
  }
  double CGDisplayModeGetRefreshRate(const CGDisplayModeRef& mode) const override {
    return ::CGDisplayModeGetRefreshRate(native(mode));
  }

  // Deprecated since 10.11 without a successor: nothing else tells the depth of a mode.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
  std::optional<std::string> CGDisplayModeCopyPixelEncoding(const CGDisplayModeRef& mode) const override {
    const ScopedCF<CFStringRef> encoding(::CGDisplayModeCopyPixelEncoding(native(mode)));
    return textFromCF(encoding.get());
  }
#pragma clang diagnostic pop

  std::optional<double> CGDisplayModeGetResolution(const CGDisplayModeRef& mode) const override {
    // The number under "kCGDisplayResolution" is pixels a point, which the public sizes give as well. The platform's
    // own function of this name stands in no header, and what it returns is written nowhere.
    const auto width = static_cast<double>(::CGDisplayModeGetWidth(native(mode)));
    if (width == 0) return std::nullopt;
    return static_cast<double>(::CGDisplayModeGetPixelWidth(native(mode))) / width;
  }
  void CGDisplayModeRelease(void* raw) override { ::CGDisplayModeRelease(static_cast<::CGDisplayModeRef>(raw)); }

  CGDisplayConfigRef CGBeginDisplayConfiguration() override {
    ::CGDisplayConfigRef config = nullptr;
    if (::CGBeginDisplayConfiguration(&config) != ::kCGErrorSuccess) return nullptr;
    return reinterpret_cast<CGDisplayConfigRef>(config);
  }
  CGError CGCompleteDisplayConfiguration(CGDisplayConfigRef config, CGConfigureOption option) override {
    return ::CGCompleteDisplayConfiguration(native(config), static_cast<::CGConfigureOption>(option));
  }
  CGError CGSConfigureDisplayMode(CGDisplayConfigRef config, CGDirectDisplayID display,
                                  std::int32_t modeNumber) override {
    return callIfThere(privateSymbols().CGSConfigureDisplayMode, native(config), display, modeNumber);
  }
  CGError CGSConfigureDisplayEnabled(CGDisplayConfigRef config, CGDirectDisplayID display, bool enabled) override {
    return callIfThere(privateSymbols().CGSConfigureDisplayEnabled, native(config), display, enabled);
  }
  CGError CGSConfigureDisplayOrigin(CGDisplayConfigRef config, CGDirectDisplayID display, std::int32_t x,
                                    std::int32_t y) override {
    return callIfThere(privateSymbols().CGSConfigureDisplayOrigin, native(config), display, x, y);
  }
  CGError CGConfigureDisplayMirrorOfDisplay(CGDisplayConfigRef config, CGDirectDisplayID display,
                                            CGDirectDisplayID master) override {
    return ::CGConfigureDisplayMirrorOfDisplay(native(config), display, master);
  }

  CGError CGDisplayRegisterReconfigurationCallback(ReconfigurationCallback callback) override {
    callbacks_.push_back(std::move(callback));
    const CGError error = ::CGDisplayRegisterReconfigurationCallback(displayReconfigured, &callbacks_.back());
    if (error != ::kCGErrorSuccess) callbacks_.pop_back();
    return error;
  }

  CGError CGDisplayShowCursor(CGDirectDisplayID display) override { return ::CGDisplayShowCursor(display); }
  CGError CGGetDisplaysWithPoint(Point point, std::uint32_t maxDisplays, std::span<CGDirectDisplayID> displays,
                                 std::uint32_t& count) const override {
    const auto room = std::min<std::size_t>(maxDisplays, displays.size());
    return ::CGGetDisplaysWithPoint(CGPointMake(point.x, point.y),
                                    displays.empty() ? maxDisplays : static_cast<std::uint32_t>(room),
                                    displays.empty() ? nullptr : displays.data(), &count);
  }
  CGError CGAssociateMouseAndMouseCursorPosition(bool connected) override {
    return ::CGAssociateMouseAndMouseCursorPosition(connected ? 1 : 0);
  }
  CGError CGWarpMouseCursorPosition(Point point) override {
    return ::CGWarpMouseCursorPosition(CGPointMake(point.x, point.y));
  }

  std::optional<DisplayTransferFormula> CGGetDisplayTransferByFormula(CGDirectDisplayID display) const override {
    DisplayTransferFormula formula;
    const CGError error = ::CGGetDisplayTransferByFormula(display, &formula.redMin, &formula.redMax, &formula.redGamma,
                                                          &formula.greenMin, &formula.greenMax, &formula.greenGamma,
                                                          &formula.blueMin, &formula.blueMax, &formula.blueGamma);
    if (error != ::kCGErrorSuccess) return std::nullopt;
    return formula;
  }
  CGError CGSetDisplayTransferByFormula(CGDirectDisplayID display, const DisplayTransferFormula& formula) override {
    return ::CGSetDisplayTransferByFormula(display, formula.redMin, formula.redMax, formula.redGamma, formula.greenMin,
                                           formula.greenMax, formula.greenGamma, formula.blueMin, formula.blueMax,
                                           formula.blueGamma);
  }

 private:
  /// The platform keeps the address of each.
  std::list<ReconfigurationCallback> callbacks_;
};

}  // namespace

std::unique_ptr<Quartz> makeNativeQuartz() { return std::make_unique<NativeQuartz>(); }

}  // namespace vlm::native
