#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "Platform/Geometry.h"
#include "Platform/IOObject.h"

namespace vlm {

using CGDirectDisplayID = std::uint32_t;
constexpr CGDirectDisplayID kCGNullDirectDisplay = 0;

/// 0 is success.
using CGError = std::int32_t;
constexpr CGError kCGErrorSuccess = 0;
constexpr CGError kCGErrorFailure = 1000;
constexpr CGError kCGErrorIllegalArgument = 1001;

/// An open display-configuration transaction; null when there is none.
using CGDisplayConfigRef = struct OpaqueDisplayConfig*;
using CGConfigureOption = std::uint32_t;
constexpr CGConfigureOption kCGConfigurePermanently = 2;

/// Bits that tell a reconfiguration callback what happened.
using CGDisplayChangeSummaryFlags = std::uint32_t;
constexpr CGDisplayChangeSummaryFlags kCGDisplayBeginConfigurationFlag = 1U << 0;
constexpr CGDisplayChangeSummaryFlags kCGDisplayMovedFlag = 1U << 1;
constexpr CGDisplayChangeSummaryFlags kCGDisplaySetMainFlag = 1U << 2;
constexpr CGDisplayChangeSummaryFlags kCGDisplaySetModeFlag = 1U << 3;
constexpr CGDisplayChangeSummaryFlags kCGDisplayAddFlag = 1U << 4;
constexpr CGDisplayChangeSummaryFlags kCGDisplayRemoveFlag = 1U << 5;
constexpr CGDisplayChangeSummaryFlags kCGDisplayEnabledFlag = 1U << 8;
constexpr CGDisplayChangeSummaryFlags kCGDisplayDisabledFlag = 1U << 9;
constexpr CGDisplayChangeSummaryFlags kCGDisplayMirrorFlag = 1U << 10;
constexpr CGDisplayChangeSummaryFlags kCGDisplayUnMirrorFlag = 1U << 11;
constexpr CGDisplayChangeSummaryFlags kCGDisplayDesktopShapeChangedFlag = 1U << 12;

/// Red, green and blue transfer formula of a display: output = minimum + (maximum - minimum) * input ^ gamma.
struct DisplayTransferFormula {
  float redMin = 0, redMax = 1, redGamma = 1;
  float greenMin = 0, greenMax = 1, greenGamma = 1;
  float blueMin = 0, blueMax = 1, blueGamma = 1;
  friend bool operator==(const DisplayTransferFormula&, const DisplayTransferFormula&) = default;
};

class Quartz;

/// A copied display mode; goes back to the system when it goes.
class CGDisplayModeRef {
 public:
  /// `raw` is the adapter's reference, never null.
  CGDisplayModeRef(Quartz& port, void* raw) : port_(&port), raw_(raw) {}
  CGDisplayModeRef(CGDisplayModeRef&& other) noexcept : port_(other.port_), raw_(std::exchange(other.raw_, nullptr)) {}
  CGDisplayModeRef& operator=(CGDisplayModeRef&& other) noexcept {
    std::swap(port_, other.port_);
    std::swap(raw_, other.raw_);
    return *this;
  }
  ~CGDisplayModeRef();
  void* raw() const { return raw_; }

 private:
  Quartz* port_;
  void* raw_;
};

/// Quartz display services, public and private. Main thread only.
class Quartz {
 public:
  using ReconfigurationCallback = std::function<void(CGDirectDisplayID, CGDisplayChangeSummaryFlags)>;

  virtual ~Quartz() = default;

  /// Every display of the window server, online or not. With an empty buffer only counts; otherwise fills at most
  /// `maxDisplays` of it. `count` receives the number found, `maxDisplays` at most.
  virtual CGError CGSGetDisplayList(std::uint32_t maxDisplays, std::span<CGDirectDisplayID> displays,
                                    std::uint32_t& count) const = 0;

  /// Connected, whether it shows something or not.
  virtual bool CGDisplayIsOnline(CGDirectDisplayID display) const = 0;
  /// Connected, awake and drawable.
  virtual bool CGDisplayIsActive(CGDirectDisplayID display) const = 0;
  virtual bool CGDisplayIsAsleep(CGDirectDisplayID display) const = 0;
  virtual bool CGDisplayIsBuiltin(CGDirectDisplayID display) const = 0;
  virtual bool CGDisplayIsInMirrorSet(CGDirectDisplayID display) const = 0;
  /// In a mirror set that cannot be ended (two links of one panel).
  virtual bool CGDisplayIsAlwaysInMirrorSet(CGDirectDisplayID display) const = 0;
  /// The display that this one shows a copy of; kCGNullDirectDisplay when it shows its own picture.
  virtual CGDirectDisplayID CGDisplayMirrorsDisplay(CGDirectDisplayID display) const = 0;
  /// The display of a mirror set made by the hardware whose picture is drawn; the display itself outside of one.
  virtual CGDirectDisplayID CGDisplayPrimaryDisplay(CGDirectDisplayID display) const = 0;
  virtual std::uint32_t CGDisplayVendorNumber(CGDirectDisplayID display) const = 0;
  virtual std::uint32_t CGDisplayModelNumber(CGDirectDisplayID display) const = 0;
  virtual std::uint32_t CGDisplaySerialNumber(CGDirectDisplayID display) const = 0;

  /// Global bounds of the display, in points; the main display's origin is (0, 0). Empty when it is offline.
  virtual Rect CGDisplayBounds(CGDirectDisplayID display) const = 0;
  /// Degrees clockwise: 0, 90, 180 or 270.
  virtual double CGDisplayRotation(CGDirectDisplayID display) const = 0;
  /// The display's frame buffer; 0 where the system has no frame-buffer services. Not to be released.
  virtual io_service_t CGDisplayIOServicePort(CGDirectDisplayID display) const = 0;

  virtual CGError CGSGetNumberOfDisplayModes(CGDirectDisplayID display, std::int32_t& count) const = 0;
  /// Fills the record of the mode at an index; its length names the version of the record (220 bytes here).
  virtual CGError CGSGetDisplayModeDescriptionOfLength(CGDirectDisplayID display, std::int32_t index,
                                                       std::span<std::uint8_t> record) const = 0;
  /// The system's number of the mode in use.
  virtual CGError CGSGetCurrentDisplayMode(CGDirectDisplayID display, std::int32_t& modeNumber) const = 0;
  virtual std::optional<CGDisplayModeRef> CGDisplayCopyDisplayMode(CGDirectDisplayID display) = 0;
  /// Points.
  virtual std::size_t CGDisplayModeGetWidth(const CGDisplayModeRef& mode) const = 0;
  virtual std::size_t CGDisplayModeGetHeight(const CGDisplayModeRef& mode) const = 0;
  /// Hz; 0 when the driver does not say.
  virtual double CGDisplayModeGetRefreshRate(const CGDisplayModeRef& mode) const = 0;
  virtual std::optional<std::string> CGDisplayModeCopyPixelEncoding(const CGDisplayModeRef& mode) const = 0;
  /// The mode's "kCGDisplayResolution": pixels a point, by its two widths. Absent when they do not tell.
  virtual std::optional<double> CGDisplayModeGetResolution(const CGDisplayModeRef& mode) const = 0;
  virtual void CGDisplayModeRelease(void* raw) = 0;

  /// Opens a display-configuration transaction; nothing changes until it is completed. Null when it is refused.
  virtual CGDisplayConfigRef CGBeginDisplayConfiguration() = 0;
  /// Makes the changes, all or none, and ends the transaction in either case.
  virtual CGError CGCompleteDisplayConfiguration(CGDisplayConfigRef config, CGConfigureOption option) = 0;
  virtual CGError CGSConfigureDisplayMode(CGDisplayConfigRef config, CGDirectDisplayID display,
                                          std::int32_t modeNumber) = 0;
  virtual CGError CGSConfigureDisplayEnabled(CGDisplayConfigRef config, CGDirectDisplayID display, bool enabled) = 0;
  /// Points of the global space.
  virtual CGError CGSConfigureDisplayOrigin(CGDisplayConfigRef config, CGDirectDisplayID display, std::int32_t x,
                                            std::int32_t y) = 0;
  /// Lets `display` show what `master` shows; kCGNullDirectDisplay ends it.
  virtual CGError CGConfigureDisplayMirrorOfDisplay(CGDisplayConfigRef config, CGDirectDisplayID display,
                                                    CGDirectDisplayID master) = 0;

  /// Calls back before and after every change of a display, for as long as the process lives.
  virtual CGError CGDisplayRegisterReconfigurationCallback(ReconfigurationCallback callback) = 0;

  virtual CGError CGDisplayShowCursor(CGDirectDisplayID display) = 0;
  /// The displays that show a point, main ones before those that mirror them; at most `maxDisplays`, which `displays`
  /// has room for (or is empty: only count).
  virtual CGError CGGetDisplaysWithPoint(Point point, std::uint32_t maxDisplays, std::span<CGDirectDisplayID> displays,
                                         std::uint32_t& count) const = 0;
  /// False: the cursor stays where it is however the mouse moves.
  virtual CGError CGAssociateMouseAndMouseCursorPosition(bool connected) = 0;
  /// Puts the cursor at a point, without an event.
  virtual CGError CGWarpMouseCursorPosition(Point point) = 0;
  virtual std::optional<DisplayTransferFormula> CGGetDisplayTransferByFormula(CGDirectDisplayID display) const = 0;
  virtual CGError CGSetDisplayTransferByFormula(CGDirectDisplayID display, const DisplayTransferFormula& formula) = 0;
};

inline CGDisplayModeRef::~CGDisplayModeRef() {
  if (raw_ != nullptr) port_->CGDisplayModeRelease(raw_);
}

}  // namespace vlm
