#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace vlm {

/// A run-loop source of the power sources' notifications. 0 is none.
using PowerSourceRunLoopSource = std::uint64_t;

/// What the machine lives on. Main thread only.
class PowerSources {
 public:
  virtual ~PowerSources() = default;

  /// "AC Power", "Battery Power", "UPS Power" or "Off Line" (both an uninterruptible supply); absent when the system
  /// cannot tell.
  virtual std::optional<std::string> IOPSGetProvidingPowerSourceType() = 0;
  /// Calls back after every change of a power source, for as long as the source is in the run loop. It lives as long as
  /// the process: it may be taken out and put in again.
  virtual PowerSourceRunLoopSource IOPSNotificationCreateRunLoopSource(std::function<void()> callback) = 0;
  /// Into and out of the main run loop, in the default mode. Adding it twice changes nothing.
  virtual void CFRunLoopAddSource(PowerSourceRunLoopSource source) = 0;
  virtual void CFRunLoopRemoveSource(PowerSourceRunLoopSource source) = 0;
};

}  // namespace vlm
