#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/PropertyListBridge.h"

#import <IOKit/IOKitLib.h>
#import <IOKit/graphics/IOGraphicsLib.h>

namespace vlm::native {

namespace {

/// The port that the platform takes for its default one under every system; the named constant changed its name.
constexpr mach_port_t kDefaultPort = MACH_PORT_NULL;

class NativeIORegistry final : public IORegistry {
 public:
  std::optional<plist::Value> IORegistryEntryCreateCFProperty(io_service_t entry, const std::string& key) override {
    const auto name = makeCFString(key);
    if (!name) return std::nullopt;
    const ScopedCF<CFTypeRef> property(
        ::IORegistryEntryCreateCFProperty(entry, name.get(), kCFAllocatorDefault, kNilOptions));
    return valueFromCF(property.get());
  }
  std::optional<plist::Dictionary> IORegistryEntryCreateCFProperties(io_service_t entry) override {
    ScopedCF<CFMutableDictionaryRef> properties;
    const auto result =
        ::IORegistryEntryCreateCFProperties(entry, properties.receive(), kCFAllocatorDefault, kNilOptions);
    if (result != KERN_SUCCESS) return std::nullopt;
    return dictionaryFromCF(properties.get());
  }
  IOReturn IORegistryEntrySetCFProperty(io_service_t entry, const std::string& key,
                                        const plist::Value& value) override {
    const auto name = makeCFString(key);
    const auto property = makeCFObject(value);
    if (!name || !property) return kIOReturnBadArgument;
    return ::IORegistryEntrySetCFProperty(entry, name.get(), property.get());
  }

  IOObject IORegistryEntryFromPath(const std::string& path) override {
    return IOObject(*this, ::IORegistryEntryFromPath(kDefaultPort, path.c_str()));
  }
  IOObject IORegistryEntryCreateIterator(io_service_t entry, const std::string& plane, IOOptionBits options) override {
    io_iterator_t iterator = IO_OBJECT_NULL;
    const auto result = ::IORegistryEntryCreateIterator(entry, plane.c_str(), options, &iterator);
    return result == KERN_SUCCESS ? IOObject(*this, iterator) : IOObject();
  }
  IOObject IOServiceGetMatchingServices(const std::string& className) override {
    io_iterator_t iterator = IO_OBJECT_NULL;
    // The call takes over the matching dictionary.
    const auto result = ::IOServiceGetMatchingServices(kDefaultPort, ::IOServiceMatching(className.c_str()), &iterator);
    return result == KERN_SUCCESS ? IOObject(*this, iterator) : IOObject();
  }
  IOObject IOIteratorNext(const IOObject& iterator) override {
    return IOObject(*this, ::IOIteratorNext(iterator.get()));
  }
  bool IOIteratorIsValid(const IOObject& iterator) override { return ::IOIteratorIsValid(iterator.get()) != 0; }
  void IOIteratorReset(const IOObject& iterator) override { ::IOIteratorReset(iterator.get()); }

  bool IOObjectConformsTo(io_service_t object, const std::string& className) override {
    return ::IOObjectConformsTo(object, className.c_str()) != 0;
  }
  IOObject IOObjectRetain(io_service_t object) override {
    return ::IOObjectRetain(object) == KERN_SUCCESS ? IOObject(*this, object) : IOObject();
  }
  void IOObjectRelease(io_service_t object) override { ::IOObjectRelease(object); }
  IOReturn IOServiceRequestProbe(io_service_t service, IOOptionBits options) override {
    return ::IOServiceRequestProbe(service, options);
  }

  std::optional<plist::Dictionary> IODisplayCreateInfoDictionary(io_service_t service, IOOptionBits options) override {
    const ScopedCF<CFDictionaryRef> information(::IODisplayCreateInfoDictionary(service, options));
    return dictionaryFromCF(information.get());
  }
  std::optional<float> IODisplayGetFloatParameter(io_service_t service, const std::string& parameter) override {
    const auto name = makeCFString(parameter);
    float value = 0;
    if (!name || ::IODisplayGetFloatParameter(service, kNilOptions, name.get(), &value) != kIOReturnSuccess) {
      return std::nullopt;
    }
    return value;
  }
  IOReturn IODisplaySetFloatParameter(io_service_t service, const std::string& parameter, float value) override {
    const auto name = makeCFString(parameter);
    if (!name) return kIOReturnBadArgument;
    return ::IODisplaySetFloatParameter(service, kNilOptions, name.get(), value);
  }
};

}  // namespace

std::unique_ptr<IORegistry> makeNativeIORegistry() { return std::make_unique<NativeIORegistry>(); }

}  // namespace vlm::native
