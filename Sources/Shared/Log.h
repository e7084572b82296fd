#pragma once

#include <string_view>

#include "Platform/Process.h"
#include "Platform/System.h"
#include "Shared/Format.h"

namespace vlm {

/// Writes a line to the system's log; the texts are fixed English ones and carry no behaviour. While nobody reads the
/// log no text is made: hand over what is costly to make as `lazily([&] { return …; })`, and it is not made either.
template <class... Arguments>
void VLMLog(std::string_view text, const Arguments&... arguments) {
  if (!os().system.isLogEnabled()) return;
  os().system.log(format(text, arguments...));
}

}  // namespace vlm
