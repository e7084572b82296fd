#include "Simulator/Program/Signals.h"

#include <utility>

namespace vlm::sim {

namespace {

volatile std::sig_atomic_t interrupted = 0, endedBy = 0, continued = 0, resized = 0;

void note(int signal) {
  switch (signal) {
    case SIGINT:
      interrupted = 1;
      break;
    case SIGCONT:
      continued = 1;
      break;
    case SIGWINCH:
      resized = 1;
      break;
    default:
      endedBy = signal;
  }
}

bool take(volatile std::sig_atomic_t& flag) {
  const bool isSet = flag != 0;
  flag = 0;
  return isSet;
}

}  // namespace

SignalWatch::SignalWatch() {
  for (volatile std::sig_atomic_t* const flag : {&interrupted, &endedBy, &continued, &resized}) *flag = 0;
  struct sigaction noting {};
  noting.sa_handler = note;
  sigemptyset(&noting.sa_mask);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGCONT, SIGWINCH}) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    // Who was started with a signal ignored (nohup) goes on ignoring it.
    const bool isIgnored = signal != SIGCONT && signal != SIGWINCH && before.sa_handler == SIG_IGN;
    if (isIgnored || sigaction(signal, &noting, nullptr) != 0) continue;
    before_.emplace(signal, before);
  }
}

SignalWatch::~SignalWatch() {
  for (const auto& [signal, before] : before_) sigaction(signal, &before, nullptr);
}

int signalToStop() { return endedBy != 0 ? endedBy : interrupted != 0 ? SIGINT : 0; }

void forgetInterrupt() { interrupted = 0; }

bool takeContinued() { return take(continued); }

bool takeResized() { return take(resized); }

}  // namespace vlm::sim
