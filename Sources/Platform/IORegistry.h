#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/IOObject.h"
#include "Platform/PropertyList.h"

namespace vlm {

using IOReturn = std::int32_t;
constexpr IOReturn kIOReturnSuccess = 0;
using IOOptionBits = std::uint32_t;
constexpr IOOptionBits kIORegistryIterateRecursively = 1;

/// The I/O registry: services, their properties and parameters. Main thread only.
class IORegistry {
 public:
  virtual ~IORegistry() = default;

  virtual std::optional<plist::Value> IORegistryEntryCreateCFProperty(io_service_t entry, const std::string& key) = 0;
  virtual std::optional<plist::Dictionary> IORegistryEntryCreateCFProperties(io_service_t entry) = 0;
  virtual IOReturn IORegistryEntrySetCFProperty(io_service_t entry, const std::string& key,
                                                const plist::Value& value) = 0;
  /// The entry at a path ("IOService:/IOResources/IODisplayWrangler"), or none.
  virtual IOObject IORegistryEntryFromPath(const std::string& path) = 0;
  /// Iterates over the entries below one, in a plane ("IOService"); none when it cannot be made.
  virtual IOObject IORegistryEntryCreateIterator(io_service_t entry, const std::string& plane,
                                                 IOOptionBits options) = 0;
  /// The services of a class, to be walked with IOIteratorNext; none when it cannot be made.
  virtual IOObject IOServiceGetMatchingServices(const std::string& className) = 0;
  /// The next object, or none at the end. The iterator stays with the caller.
  virtual IOObject IOIteratorNext(const IOObject& iterator) = 0;
  /// False once the registry has changed below the iterator's feet.
  virtual bool IOIteratorIsValid(const IOObject& iterator) = 0;
  virtual void IOIteratorReset(const IOObject& iterator) = 0;
  virtual bool IOObjectConformsTo(io_service_t object, const std::string& className) = 0;
  /// One more reference to the object.
  virtual IOObject IOObjectRetain(io_service_t object) = 0;
  virtual void IOObjectRelease(io_service_t object) = 0;
  virtual IOReturn IOServiceRequestProbe(io_service_t service, IOOptionBits options) = 0;

  /// What the system knows of the display behind a frame buffer or display service: the registry's properties, what the
  /// EDID adds ("DisplaySerialNumber", "DisplayYearManufacture", …), the localised "DisplayProductName" and
  /// "IODisplayIsDigital".
  virtual std::optional<plist::Dictionary> IODisplayCreateInfoDictionary(io_service_t service,
                                                                         IOOptionBits options) = 0;
  /// A display parameter ("oscn", "pscn") of a frame buffer; absent when it has none of that name.
  virtual std::optional<float> IODisplayGetFloatParameter(io_service_t service, const std::string& parameter) = 0;
  virtual IOReturn IODisplaySetFloatParameter(io_service_t service, const std::string& parameter, float value) = 0;
};

inline IOObject::~IOObject() {
  if (object_ != 0) port_->IOObjectRelease(object_);
}

}  // namespace vlm
