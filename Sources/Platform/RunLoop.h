#pragma once

#include <cstdint>
#include <functional>

namespace vlm {

/// A timer, delayed perform or signal handler of the main run loop. 0 is none.
using RunLoopToken = std::uint64_t;

/// The main thread's run loop. Everything that it calls, it calls on the main thread, one after the other.
class RunLoop {
 public:
  using Body = std::function<void()>;

  virtual ~RunLoop() = default;

  /// A timer of the default mode; `interval` in seconds. A repeating timer that missed several turns fires once.
  virtual RunLoopToken scheduledTimerWithTimeInterval(double interval, bool repeats, Body body) = 0;
  virtual void invalidateTimer(RunLoopToken timer) = 0;

  /// Calls once, `delay` seconds from now; zero or less means the next turn of the loop, never at once. Performs that
  /// fall due together keep the order in which they were asked for.
  virtual RunLoopToken performAfterDelay(double delay, Body body) = 0;
  /// Takes back a perform that has not been called yet; any other token is ignored.
  virtual void cancelPerform(RunLoopToken perform) = 0;

  /// Calls on the main thread after the process received the signal, in place of the signal's default action.
  virtual void setSignalHandler(int signal, Body body) = 0;

  /// Blocks the process; nothing is delivered meanwhile. Seconds.
  virtual void sleep(double seconds) = 0;
};

}  // namespace vlm
