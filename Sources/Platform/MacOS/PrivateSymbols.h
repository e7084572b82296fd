#pragma once

#include <cstdint>

#import <ApplicationServices/ApplicationServices.h>
#import <IOKit/IOKitLib.h>

namespace vlm::native {

/// The platform's functions that no header of it declares. Each is looked up once, by name, at run time; null on a
/// system that lacks it. The types are the platform's own, hence the colons.
struct PrivateSymbols {
  // CoreGraphics. All return a CGError.

  /// Room in the buffer, the buffer (null only counts), receives the number of displays.
  ::CGError (*CGSGetDisplayList)(std::uint32_t, ::CGDirectDisplayID*, std::uint32_t*) = nullptr;
  /// Display, receives the number of its modes.
  ::CGError (*CGSGetNumberOfDisplayModes)(::CGDirectDisplayID, int*) = nullptr;
  /// Display, index of a mode, receives its description, length of the description in bytes.
  ::CGError (*CGSGetDisplayModeDescriptionOfLength)(::CGDirectDisplayID, int, void*, int) = nullptr;
  /// Display, receives the number of the mode it is in.
  ::CGError (*CGSGetCurrentDisplayMode)(::CGDirectDisplayID, int*) = nullptr;
  /// Transaction, display, number of the mode to be.
  ::CGError (*CGSConfigureDisplayMode)(::CGDisplayConfigRef, ::CGDirectDisplayID, int) = nullptr;
  /// Transaction, display, whether it is to be on.
  ::CGError (*CGSConfigureDisplayEnabled)(::CGDisplayConfigRef, ::CGDirectDisplayID, bool) = nullptr;
  /// Transaction, display, x and y of its top left corner in global points.
  ::CGError (*CGSConfigureDisplayOrigin)(::CGDisplayConfigRef, ::CGDirectDisplayID, std::int32_t,
                                         std::int32_t) = nullptr;

  // CoreGraphics, the grey screen of older systems.

  /// Whether all displays show shades of grey.
  bool (*CGDisplayUsesForceToGray)() = nullptr;
  /// Whether they are to.
  void (*CGDisplayForceToGray)(bool) = nullptr;

  // UniversalAccess, the grey screen of newer ones.

  /// Whether all displays show shades of grey.
  bool (*UAGrayscaleIsEnabled)() = nullptr;
  /// Whether they are to.
  void (*UAGrayscaleSetEnabled)(bool) = nullptr;

  // HIServices.

  /// Whether the Dock hides when the pointer is elsewhere.
  bool (*CoreDockGetAutoHideEnabled)() = nullptr;
  /// Whether it is to.
  void (*CoreDockSetAutoHideEnabled)(bool) = nullptr;

  // SkyLight. Those that return a number return a CGError unless another meaning is given.

  /// Display; returns its UUID, owned by the caller, or null.
  CFUUIDRef (*SLSCopyDisplayUUID)(::CGDirectDisplayID) = nullptr;
  /// Display, number of a mode; returns whether its refresh rate varies.
  bool (*SLSIsDisplayModeVRR)(::CGDirectDisplayID, std::int32_t) = nullptr;
  /// Display; returns whether it has a mode of high dynamic range.
  bool (*SLSDisplaySupportsHDRMode)(::CGDirectDisplayID) = nullptr;
  /// Display; returns whether it is in it.
  bool (*SLSDisplayIsHDRModeEnabled)(::CGDirectDisplayID) = nullptr;
  /// Display, whether it is to be in it.
  std::int32_t (*SLSDisplaySetHDRModeEnabled)(::CGDirectDisplayID, bool) = nullptr;
  /// Display, angle in degrees, four numbers that are 0.
  std::int32_t (*SLSSetDisplayRotation)(::CGDirectDisplayID, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                                        std::int32_t) = nullptr;
  /// Display; returns the index of its colour preset in use.
  std::int32_t (*SLSDisplayGetActivePresetIndex)(::CGDirectDisplayID) = nullptr;
  /// Display, index of the colour preset to be.
  std::int32_t (*SLSDisplaySetActivePresetIndex)(::CGDirectDisplayID, std::int32_t) = nullptr;

  // DisplayServices. A number returned is 0 or says why not.

  /// Display; returns whether the system reaches its brightness.
  bool (*DisplayServicesCanChangeBrightness)(::CGDirectDisplayID) = nullptr;
  /// Display, receives its brightness, 0 to 1.
  std::int32_t (*DisplayServicesGetBrightness)(::CGDirectDisplayID, float*) = nullptr;
  /// Display, brightness to be, 0 to 1.
  std::int32_t (*DisplayServicesSetBrightness)(::CGDirectDisplayID, float) = nullptr;
  /// Display, observer (a value that is handed back, never followed), callback.
  std::int32_t (*DisplayServicesRegisterForBrightnessChangeNotifications)(::CGDirectDisplayID, void*,
                                                                          CFNotificationCallback) = nullptr;
  /// Display, observer that it was registered with.
  std::int32_t (*DisplayServicesUnregisterForBrightnessChangeNotifications)(::CGDirectDisplayID, void*) = nullptr;

  // CoreDisplay.

  /// Display; returns the number of its colour presets.
  std::int32_t (*CoreDisplay_Display_GetPresetCount)(::CGDirectDisplayID) = nullptr;
  /// Display, index of a colour preset; returns its description, owned by the caller, or null.
  CFDictionaryRef (*CoreDisplay_Display_CopyPresetData)(::CGDirectDisplayID, std::int32_t) = nullptr;

  // IOKit. An AV service is a Core Foundation object.

  /// Allocator, registry entry; returns the service, owned by the caller, or null.
  CFTypeRef (*IOAVServiceCreateWithService)(CFAllocatorRef, ::io_service_t) = nullptr;
  /// Service, 7-bit chip address, data address, bytes, their number.
  ::IOReturn (*IOAVServiceWriteI2C)(CFTypeRef, std::uint32_t, std::uint32_t, const void*, std::uint32_t) = nullptr;
  /// Service, 7-bit chip address, offset, receives the bytes, their number.
  ::IOReturn (*IOAVServiceReadI2C)(CFTypeRef, std::uint32_t, std::uint32_t, void*, std::uint32_t) = nullptr;
  /// Service, receives the EDID, owned by the caller.
  ::IOReturn (*IOAVServiceCopyEDID)(CFTypeRef, CFDataRef*) = nullptr;
};

const PrivateSymbols& privateSymbols();

}  // namespace vlm::native
