#include "Simulator/Mac/SimulatedIORegistry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/Turn.h"

namespace vlm::sim {
namespace {

constexpr IOReturn kIOReturnBadArgument = static_cast<IOReturn>(0xe00002c2);
constexpr IOReturn kIOReturnUnsupported = static_cast<IOReturn>(0xe00002c7);

/// Bit of a probe's options: the frame buffer shall turn the picture, by the transform in the upper half.
constexpr IOOptionBits kProbeRotates = 0x400;
constexpr unsigned kTransformShift = 16;

constexpr const char* kServicePlane = "IOService";
constexpr const char* kDisplayWrangler = "IODisplayWrangler";
constexpr const char* kRequestIdle = "IORequestIdle";

/// What the system adds to the registry's properties of a display.
void addEdidFacts(const SimulatedDisplay& display, plist::Dictionary& information) {
  const ParsedEdid& edid = display.edid;
  information.set("DisplaySerialNumber", edid.serial);
  information.set("DisplayYearManufacture", edid.year);
  information.set("DisplayWeekManufacture", edid.week);
  if (display.productName) {
    information.set("DisplayProductName", *display.productName);
  } else if (!edid.name.empty()) {
    information.set("DisplayProductName", plist::Dictionary{{"en_US", edid.name}});
  }
  if (edid.digital) information.set("IODisplayIsDigital", true);
}

}  // namespace

SimulatedIORegistry::SimulatedIORegistry(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

// --- Entries ---

std::optional<plist::Value> SimulatedIORegistry::IORegistryEntryCreateCFProperty(io_service_t entry,
                                                                                 const std::string& key) {
  const RegistryEntry* found = registry().find(entry);
  const plist::Value* value = found == nullptr ? nullptr : found->properties.find(key);
  return value == nullptr ? std::nullopt : std::optional(*value);
}

std::optional<plist::Dictionary> SimulatedIORegistry::IORegistryEntryCreateCFProperties(io_service_t entry) {
  const RegistryEntry* found = registry().find(entry);
  return found == nullptr ? std::nullopt : std::optional(found->properties);
}

/// Programs may set the one property by which the displays are sent to sleep and woken.
IOReturn SimulatedIORegistry::IORegistryEntrySetCFProperty(io_service_t entry, const std::string& key,
                                                           const plist::Value& value) {
  const RegistryEntry* found = registry().find(entry);
  if (found == nullptr) return kIOReturnBadArgument;
  if (!found->conformsTo(kDisplayWrangler) || key != kRequestIdle) return kIOReturnUnsupported;
  const bool idle = value.boolean();
  session_.record("IORegistryEntrySetCFProperty(" + found->name + ", " + key + ", " + (idle ? "true)" : "false)"));
  registry().setProperty(entry, key, idle);
  if (!idle) mac_.windowServer().wakeDisplays();
  return kIOReturnSuccess;
}

IOObject SimulatedIORegistry::IORegistryEntryFromPath(const std::string& path) {
  return handOut(registry().entryAtPath(path));
}

bool SimulatedIORegistry::IOObjectConformsTo(io_service_t object, const std::string& className) {
  const RegistryEntry* found = registry().find(object);
  return found != nullptr && found->conformsTo(className);
}

IOReturn SimulatedIORegistry::IOServiceRequestProbe(io_service_t service, IOOptionBits options) {
  SimulatedDisplay* display = mac_.windowServer().displayWithFrameBuffer(service);
  if (display == nullptr) return kIOReturnUnsupported;
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "0x%x", options);
  session_.record("IOServiceRequestProbe(" + display->description.name + ", " + text.data() + ")");
  if ((options & kProbeRotates) == 0) {
    mac_.windowServer().probe();
    return kIOReturnSuccess;
  }
  const std::optional<Turn> turn = turnOfTransform(options >> kTransformShift);
  if (!turn) return kIOReturnBadArgument;
  // The window server hears of it from the driver: nobody is called back within the call.
  return mac_.windowServer().turn(*display, *turn, nullptr) ? kIOReturnUnsupported : kIOReturnSuccess;
}

// --- Holding and releasing ---

IOObject SimulatedIORegistry::handOut(io_service_t object) {
  if (object == 0) return {};
  ++held_[object];
  session_.holdObject();
  return {*this, object};
}

IOObject SimulatedIORegistry::IOObjectRetain(io_service_t object) { return handOut(object); }

void SimulatedIORegistry::IOObjectRelease(io_service_t object) {
  const auto held = held_.find(object);
  if (held == held_.end()) {
    mac_.windowServer().addFault(session_.description().name + ": IOObjectRelease of an object that it does not hold");
    return;
  }
  session_.releaseObject();
  if (--held->second != 0) return;
  held_.erase(held);
  iterators_.erase(object);
}

// --- Iterators ---

IOObject SimulatedIORegistry::IORegistryEntryCreateIterator(io_service_t entry, const std::string& plane,
                                                            IOOptionBits options) {
  if (registry().find(entry) == nullptr || plane != kServicePlane) return {};
  Iterator iterator;
  iterator.below = entry;
  iterator.recursively = (options & kIORegistryIterateRecursively) != 0;
  return handOut(std::move(iterator));
}

IOObject SimulatedIORegistry::IOServiceGetMatchingServices(const std::string& className) {
  Iterator iterator;
  iterator.className = className;
  return handOut(std::move(iterator));
}

IOObject SimulatedIORegistry::handOut(Iterator iterator) {
  fill(iterator);
  const io_service_t number = registry().numberForObject();
  iterators_[number] = std::move(iterator);
  return handOut(number);
}

void SimulatedIORegistry::fill(Iterator& iterator) const {
  iterator.entries = iterator.below == 0 ? registry().ofClass(iterator.className)
                                         : registry().below(iterator.below, iterator.recursively);
  iterator.next = 0;
  iterator.generation = registry().generation();
}

SimulatedIORegistry::Iterator* SimulatedIORegistry::find(const IOObject& iterator, const std::string& call) {
  const auto found = iterators_.find(iterator.get());
  if (found != iterators_.end()) return &found->second;
  mac_.windowServer().addFault(session_.description().name + ": " + call + " of something that is no iterator");
  return nullptr;
}

/// An iterator that is out of date ends, as if it had come to its end: who cares asks IOIteratorIsValid.
IOObject SimulatedIORegistry::IOIteratorNext(const IOObject& iterator) {
  Iterator* found = find(iterator, "IOIteratorNext");
  if (found == nullptr || found->generation != registry().generation()) return {};
  if (found->next == found->entries.size()) return {};
  return handOut(found->entries[found->next++]);
}

bool SimulatedIORegistry::IOIteratorIsValid(const IOObject& iterator) {
  const Iterator* found = find(iterator, "IOIteratorIsValid");
  return found != nullptr && found->generation == registry().generation();
}

void SimulatedIORegistry::IOIteratorReset(const IOObject& iterator) {
  if (Iterator* found = find(iterator, "IOIteratorReset")) fill(*found);
}

// --- Displays ---

std::optional<plist::Dictionary> SimulatedIORegistry::IODisplayCreateInfoDictionary(io_service_t service,
                                                                                    IOOptionBits) {
  const SimulatedDisplay* display = mac_.windowServer().displayWithService(service);
  if (display == nullptr || display->displayService == 0) return std::nullopt;
  plist::Dictionary information = registry().find(display->displayService)->properties;
  addEdidFacts(*display, information);
  return information;
}

float* SimulatedIORegistry::parameterOf(io_service_t service, const std::string& parameter) const {
  SimulatedDisplay* display = mac_.windowServer().displayWithFrameBuffer(service);
  if (display == nullptr) return nullptr;
  if (parameter == "oscn" && display->description.canOverscan) return &display->overscan;
  if (parameter == "pscn" && display->description.canUnderscan) return &display->underscan;
  return nullptr;
}

std::optional<float> SimulatedIORegistry::IODisplayGetFloatParameter(io_service_t service,
                                                                     const std::string& parameter) {
  const float* value = parameterOf(service, parameter);
  return value == nullptr ? std::nullopt : std::optional(*value);
}

IOReturn SimulatedIORegistry::IODisplaySetFloatParameter(io_service_t service, const std::string& parameter,
                                                         float value) {
  float* stored = parameterOf(service, parameter);
  if (stored == nullptr) return kIOReturnUnsupported;
  session_.record("IODisplaySetFloatParameter(" +
                  mac_.windowServer().displayWithFrameBuffer(service)->description.name + ", " + parameter + ", " +
                  numberText(double(value)) + ")");
  if (std::isnan(value)) return kIOReturnBadArgument;
  // Drivers count in whole steps between the ends, and hold what lies beyond.
  *stored = parameter == "oscn" ? std::round(std::clamp(value, 0.0F, 1.0F)) : std::clamp(value, 0.0F, 1.0F);
  return kIOReturnSuccess;
}

}  // namespace vlm::sim
