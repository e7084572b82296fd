#pragma once

#include <cstdint>
#include <utility>

namespace vlm {

/// An entry of the I/O registry, by name alone: whoever holds an IOObject keeps it alive. 0 is none.
using io_service_t = std::uint32_t;

class IORegistry;

/// A registry object, or an iterator over some, that the caller must give back; does so when it goes.
class IOObject {
 public:
  IOObject() = default;
  IOObject(IORegistry& port, io_service_t object) : port_(&port), object_(object) {}
  IOObject(IOObject&& other) noexcept : port_(other.port_), object_(std::exchange(other.object_, 0)) {}
  IOObject& operator=(IOObject&& other) noexcept {
    std::swap(port_, other.port_);
    std::swap(object_, other.object_);
    return *this;
  }
  ~IOObject();

  /// 0 when there is none.
  io_service_t get() const { return object_; }
  explicit operator bool() const { return object_ != 0; }

 private:
  IORegistry* port_ = nullptr;
  io_service_t object_ = 0;
};

}  // namespace vlm
