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
