#pragma once

#include <utility>

#import <CoreFoundation/CoreFoundation.h>

namespace vlm::native {

/// Owns one reference to a Core Foundation object and gives it up when it goes. Only what a function with "Create" or
/// "Copy" in its name returned may be put in; what a "Get" function returned belongs to somebody else.
template <class Reference>
class ScopedCF {
 public:
  ScopedCF() = default;
  /// Null is none.
  explicit ScopedCF(Reference owned) : reference_(owned) {}
  ScopedCF(ScopedCF&& other) noexcept : reference_(std::exchange(other.reference_, nullptr)) {}
  ScopedCF& operator=(ScopedCF&& other) noexcept {
    std::swap(reference_, other.reference_);
    return *this;
  }
  ~ScopedCF() {
    if (reference_ != nullptr) CFRelease(reference_);
  }

  /// Stays owned by the holder.
  Reference get() const { return reference_; }
  explicit operator bool() const { return reference_ != nullptr; }
  /// The reference becomes the caller's.
  [[nodiscard]] Reference release() { return std::exchange(reference_, nullptr); }
  /// For a function that returns the object it made through a pointer; the holder must be empty.
  Reference* receive() { return &reference_; }

 private:
  Reference reference_ = nullptr;
};

}  // namespace vlm::native
