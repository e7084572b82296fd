#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/GuardedCall.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <map>
#include <memory>
#include <thread>
#include <utility>

#import <Foundation/Foundation.h>

namespace vlm::native {

namespace {

/// A timer of the main run loop's default mode; intervals of zero or less become the platform's shortest.
NSTimer* addTimer(NSTimeInterval interval, bool repeats, void (^block)(NSTimer*)) {
  NSTimer* timer = [NSTimer timerWithTimeInterval:interval repeats:repeats block:block];
  [NSRunLoop.mainRunLoop addTimer:timer forMode:NSDefaultRunLoopMode];
  return timer;
}

class NativeRunLoop final : public RunLoop {
 public:
  ~NativeRunLoop() override {
    for (const auto& [token, timer] : timers_) [timer invalidate];
    for (const auto& [due, perform] : performs_) [perform.timer invalidate];
    for (const auto& [number, source] : signals_) dispatch_source_cancel(source);
  }

  RunLoopToken scheduledTimerWithTimeInterval(double interval, bool repeats, Body body) override {
    const RunLoopToken token = ++lastToken_;
    const auto shared = std::make_shared<const Body>(std::move(body));
    timers_[token] = addTimer(interval, repeats, ^(NSTimer*) {
      const auto called = shared;  // may invalidate its own timer, and with it this block
      if (!repeats) timers_.erase(token);
      callGuarded(*called);
    });
    return token;
  }
  void invalidateTimer(RunLoopToken timer) override {
    const auto found = timers_.find(timer);
    if (found == timers_.end()) return;
    [found->second invalidate];
    timers_.erase(found);
  }

  RunLoopToken performAfterDelay(double delay, Body body) override {
    const RunLoopToken token = ++lastToken_;
    // 0 for no number at all, too, which would have no place in the order.
    const double wait = std::fmax(delay, 0.0);
    const NSTimeInterval due = NSProcessInfo.processInfo.systemUptime + wait;
    NSTimer* timer = addTimer(wait, false, ^(NSTimer* fired) {
      runEarliestPerform(fired);
    });
    performs_.emplace(std::pair(due, token), Perform{std::move(body), timer});
    return token;
  }
  void cancelPerform(RunLoopToken perform) override {
    const auto found = std::find_if(performs_.begin(), performs_.end(),
                                    [&](const auto& waiting) { return waiting.first.second == perform; });
    if (found == performs_.end()) return;
    [found->second.timer invalidate];
    performs_.erase(found);
  }

  void setSignalHandler(int signal, Body body) override {
    if (const auto before = signals_.find(signal); before != signals_.end()) dispatch_source_cancel(before->second);
    // The source hears of the signal all the same, and nothing else may act on it.
    ::signal(signal, SIG_IGN);
    dispatch_source_t source = dispatch_source_create(DISPATCH_SOURCE_TYPE_SIGNAL, static_cast<uintptr_t>(signal), 0,
                                                      dispatch_get_main_queue());
    const auto shared = std::make_shared<const Body>(std::move(body));
    dispatch_source_set_event_handler(source, ^{
      callGuarded(*shared);
    });
    dispatch_activate(source);
    signals_[signal] = source;
  }

  void sleep(double seconds) override { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

 private:
  struct Perform {
    Body body;
    NSTimer* timer = nil;
  };

  /// The run loop promises no order among timers that fall due together. So a timer only says that the time has come;
  /// what runs is the perform that has waited longest, and the one whose timer this was takes over the other's.
  void runEarliestPerform(NSTimer* fired) {
    const auto owner = std::find_if(performs_.begin(), performs_.end(),
                                    [&](const auto& waiting) { return waiting.second.timer == fired; });
    if (owner == performs_.end()) return;
    const auto earliest = performs_.begin();
    std::swap(earliest->second.timer, owner->second.timer);
    const Body body = std::move(earliest->second.body);
    performs_.erase(earliest);
    callGuarded(body);
  }

  RunLoopToken lastToken_ = 0;
  std::map<RunLoopToken, NSTimer*> timers_;
  /// By the moment they fall due (seconds of the clock that timers go by), then in the order they were asked for.
  std::map<std::pair<NSTimeInterval, RunLoopToken>, Perform> performs_;
  std::map<int, dispatch_source_t> signals_;
};

}  // namespace

std::unique_ptr<RunLoop> makeNativeRunLoop() { return std::make_unique<NativeRunLoop>(); }

}  // namespace vlm::native
