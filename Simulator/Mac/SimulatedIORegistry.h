#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "Platform/IORegistry.h"
#include "Simulator/Mac/Registry.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

/// The I/O registry as one process sees it. It counts what the process holds: each entry or iterator handed out, once
/// for every time.
class SimulatedIORegistry final : public IORegistry {
 public:
  SimulatedIORegistry(SimulatedMac& mac, Session& session);

  std::optional<plist::Value> IORegistryEntryCreateCFProperty(io_service_t entry, const std::string& key) override;
  std::optional<plist::Dictionary> IORegistryEntryCreateCFProperties(io_service_t entry) override;
  IOReturn IORegistryEntrySetCFProperty(io_service_t entry, const std::string& key, const plist::Value& value) override;
  IOObject IORegistryEntryFromPath(const std::string& path) override;
  IOObject IORegistryEntryCreateIterator(io_service_t entry, const std::string& plane, IOOptionBits options) override;
  IOObject IOServiceGetMatchingServices(const std::string& className) override;
  IOObject IOIteratorNext(const IOObject& iterator) override;
  bool IOIteratorIsValid(const IOObject& iterator) override;
  void IOIteratorReset(const IOObject& iterator) override;
  bool IOObjectConformsTo(io_service_t object, const std::string& className) override;
  IOObject IOObjectRetain(io_service_t object) override;
  void IOObjectRelease(io_service_t object) override;
  IOReturn IOServiceRequestProbe(io_service_t service, IOOptionBits options) override;

  std::optional<plist::Dictionary> IODisplayCreateInfoDictionary(io_service_t service, IOOptionBits options) override;
  std::optional<float> IODisplayGetFloatParameter(io_service_t service, const std::string& parameter) override;
  IOReturn IODisplaySetFloatParameter(io_service_t service, const std::string& parameter, float value) override;

 private:
  /// What an iterator walks over, and how far it has come.
  struct Iterator {
    io_service_t below = 0;  ///< 0: the services of a class instead
    bool recursively = false;
    std::string className;
    std::vector<io_service_t> entries;
    std::size_t next = 0;
    std::uint64_t generation = 0;
  };

  Registry& registry() const { return mac_.windowServer().registry(); }
  /// Gives the process one more hold of an object; none for 0.
  IOObject handOut(io_service_t object);
  IOObject handOut(Iterator iterator);
  /// Null, and a fault, when the process holds no such iterator.
  Iterator* find(const IOObject& iterator, const std::string& call);
  void fill(Iterator& iterator) const;
  /// Where a display keeps the parameter; null when it has none of that name.
  float* parameterOf(io_service_t service, const std::string& parameter) const;

  SimulatedMac& mac_;
  Session& session_;
  std::map<io_service_t, std::size_t> held_;
  std::map<io_service_t, Iterator> iterators_;
};

}  // namespace vlm::sim
