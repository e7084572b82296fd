#pragma once

#include <cstdint>
#include <string_view>

namespace vlm {

/// An object of the platform whose references are counted.
class CountedObject {
 public:
  virtual ~CountedObject() = default;
  virtual std::int64_t retainCount() const = 0;
  /// Gives one reference back.
  virtual void release() = 0;
};

/// Releases an object and says in the log when that was a mistake: nothing to release (null, and nothing is released),
/// or an object that nobody holds (released all the same). `variable` is the name it has at the caller; `file`
/// and `line` are the call's place and not to be given (std::source_location is not there with every compiler).
void Common_CheckedRelease(CountedObject* object, std::string_view variable, const char* file = __builtin_FILE(),
                           std::uint32_t line = __builtin_LINE());

}  // namespace vlm
