#include "Simulator/Mac/SimulatedRunLoop.h"

#include <utility>

#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/Scheduler.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

namespace {

/// The request of that token, when it is of that kind and of that process.
const Scheduler::Request* requestOf(SimulatedMac& mac, const Session& session, RunLoopToken token,
                                    Scheduler::Request::Kind kind) {
  const Scheduler::Request* const request = mac.scheduler().find(token);
  return request != nullptr && request->owner == &session && request->kind == kind ? request : nullptr;
}

}  // namespace

RunLoopToken SimulatedRunLoop::scheduledTimerWithTimeInterval(double interval, bool repeats, Body body) {
  session_.record("scheduledTimerWithTimeInterval(" + numberText(interval) + (repeats ? ", repeats)" : ")"));
  return mac_.scheduler().add({.kind = Scheduler::Request::Kind::timer,
                               .seconds = interval,
                               .repeats = repeats,
                               .owner = &session_,
                               .body = std::move(body)});
}

void SimulatedRunLoop::invalidateTimer(RunLoopToken timer) {
  const auto* const request = requestOf(mac_, session_, timer, Scheduler::Request::Kind::timer);
  if (request == nullptr) return;
  session_.record("invalidateTimer(" + numberText(request->seconds) + ")");
  mac_.scheduler().cancel(timer);
}

RunLoopToken SimulatedRunLoop::performAfterDelay(double delay, Body body) {
  session_.record("performAfterDelay(" + numberText(delay) + ")");
  return mac_.scheduler().add(
      {.kind = Scheduler::Request::Kind::perform, .seconds = delay, .owner = &session_, .body = std::move(body)});
}

void SimulatedRunLoop::cancelPerform(RunLoopToken perform) {
  const auto* const request = requestOf(mac_, session_, perform, Scheduler::Request::Kind::perform);
  if (request == nullptr) return;
  session_.record("cancelPerform(" + numberText(request->seconds) + ")");
  mac_.scheduler().cancel(perform);
}

void SimulatedRunLoop::setSignalHandler(int signal, Body body) {
  session_.record("setSignalHandler(" + std::to_string(signal) + ")");
  signalHandlers_[signal] = std::move(body);
}

void SimulatedRunLoop::sleep(double seconds) {
  session_.record("sleep(" + numberText(seconds) + ")");
  mac_.scheduler().passTime(seconds);
}

bool SimulatedRunLoop::deliverSignal(int signal) {
  const auto handler = signalHandlers_.find(signal);
  if (handler == signalHandlers_.end()) return false;
  mac_.scheduler().onNextTurn(&session_, handler->second);
  return true;
}

void SimulatedRunLoop::sessionEnded() { std::exchange(signalHandlers_, {}).clear(); }

}  // namespace vlm::sim
