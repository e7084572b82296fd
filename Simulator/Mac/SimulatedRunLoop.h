#pragma once

#include <map>

#include "Platform/RunLoop.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// One process's run loop: its share of the machine's scheduler.
class SimulatedRunLoop : public RunLoop {
 public:
  SimulatedRunLoop(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

  RunLoopToken scheduledTimerWithTimeInterval(double interval, bool repeats, Body body) override;
  void invalidateTimer(RunLoopToken timer) override;
  RunLoopToken performAfterDelay(double delay, Body body) override;
  void cancelPerform(RunLoopToken perform) override;
  void setSignalHandler(int signal, Body body) override;
  void sleep(double seconds) override;

  /// False when the process has no handler for the signal.
  bool deliverSignal(int signal);
  void sessionEnded();

 private:
  SimulatedMac& mac_;
  Session& session_;
  std::map<int, Body> signalHandlers_;
};

}  // namespace vlm::sim
