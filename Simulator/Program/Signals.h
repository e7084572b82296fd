#pragma once

#include <csignal>
#include <map>

namespace vlm::sim {

/// While one lives, the signals that would end the program (a pipe that nobody reads any more, too), and those that
/// concern its terminal, are only noted, and calls that wait come back (EINTR): what must be put away afterwards still
/// is. One at a time.
class SignalWatch {
 public:
  SignalWatch();
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

 private:
  std::map<int, struct sigaction> before_;
};

/// The signal that asks to stop what is under way: SIGTERM or SIGHUP, else SIGINT; 0 when none came.
int signalToStop();
/// The interrupt has been dealt with; the others stay.
void forgetInterrupt();
/// Whether the program was stopped and goes on, and whether its terminal has another size, since last asked.
bool takeContinued();
bool takeResized();

}  // namespace vlm::sim
