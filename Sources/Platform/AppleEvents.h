#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace vlm {

/// Apple events from others, and scripts to them.
class AppleEvents {
 public:
  using Handler = std::function<void()>;

  virtual ~AppleEvents() = default;

  /// Both codes are four characters packed in 32 bits.
  virtual void setEventHandler(std::uint32_t eventClass, std::uint32_t eventID, Handler handler) = 0;
  /// Compiles and runs a script's text; false when it fails.
  virtual bool executeAppleScript(const std::string& source) = 0;
  /// Runs a script file, compiled or text; false when it cannot be read or fails.
  virtual bool executeAppleScriptAtURL(const std::string& path) = 0;
};

}  // namespace vlm
