#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/IOObject.h"
#include "Platform/PropertyList.h"

namespace vlm::sim {

/// One service of the machine.
struct RegistryEntry {
  io_service_t number = 0;
  io_service_t parent = 0;  ///< 0 for the root alone
  /// The entry's class, then those that it inherits from.
  std::vector<std::string> classes;
  /// Its component of the path: "AppleIntelFramebuffer@1".
  std::string name;
  plist::Dictionary properties;
  std::vector<io_service_t> children;  ///< in the order of their making

  bool conformsTo(std::string_view className) const;
};

/// The machine's I/O registry: a tree of services. Numbers are never given twice, so that the number of a service which
/// is gone means nothing.
class Registry {
 public:
  Registry();

  io_service_t root() const { return kRoot; }
  /// A new entry below another, which must exist.
  io_service_t add(io_service_t parent, std::vector<std::string> classes, std::string name,
                   plist::Dictionary properties = {});
  /// Takes an entry out, and everything below it. Nothing happens when it is gone already.
  void remove(io_service_t entry);

  /// Null when there is none (any more). Valid until the registry changes.
  const RegistryEntry* find(io_service_t entry) const;
  /// Nothing happens when the entry is gone.
  void setProperty(io_service_t entry, std::string_view key, plist::Value value);

  /// "IOService:/IOResources/IODisplayWrangler" to the entry; 0 when there is none.
  io_service_t entryAtPath(std::string_view path) const;
  /// Empty when the entry is gone.
  std::string pathOf(io_service_t entry) const;
  /// The children, or everything below, each entry before what is below it.
  std::vector<io_service_t> below(io_service_t entry, bool recursively) const;
  /// Every entry that is of the class or inherits from it, in the order of their making.
  std::vector<io_service_t> ofClass(std::string_view className) const;

  /// Another number after every change of the tree: tells iterators that they are out of date.
  std::uint64_t generation() const { return generation_; }
  /// A number for an object that is no entry (an iterator, a connection) but is handed out like one.
  io_service_t numberForObject() { return next_++; }

 private:
  static constexpr io_service_t kRoot = 0x103;

  std::map<io_service_t, RegistryEntry> entries_;
  io_service_t next_ = kRoot + 1;
  std::uint64_t generation_ = 0;
};

}  // namespace vlm::sim
