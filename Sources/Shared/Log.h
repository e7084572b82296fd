#pragma once

#include <cstddef>
#include <string_view>

#include "Platform/Process.h"
#include "Platform/System.h"
#include "Shared/Format.h"

namespace vlm {

/// A line's text, and the area of the log that it belongs to: the name of the source file that it stands in, up to a
/// "+" ("VLMDisplay").
class LogText {
 public:
  /// Of a literal, wherever a call gives one. The second argument is the file of the call.
  consteval LogText(const char* text, const char* file = __builtin_FILE()) : text_(text), area_(areaOf(file)) {}
  std::string_view text() const { return text_; }
  std::string_view area() const { return area_; }

 private:
  static consteval std::string_view areaOf(std::string_view file) {
    const std::size_t slash = file.rfind('/');
    if (slash != std::string_view::npos) file.remove_prefix(slash + 1);
    return file.substr(0, file.find_first_of("+."));
  }

  std::string_view text_, area_;
};

/// Writes a line to the system's log; the texts are fixed English ones and carry no behaviour. While nobody reads the
/// log no text is made: hand over what is costly to make as `lazily([&] { return …; })`, and it is not made either.
template <class... Arguments>
void VLMLog(LogText line, const Arguments&... arguments) {
  if (!os().system.isLogEnabled(line.area())) return;
  os().system.log(line.area(), format(line.text(), arguments...));
}

}  // namespace vlm
