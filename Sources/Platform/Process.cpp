#include "Platform/Process.h"

#include <algorithm>
#include <cassert>

namespace vlm {

namespace {
Process* currentProcess = nullptr;
}

Process::Process(const Ports& ports) : ports_(ports) { currentProcess = this; }

Process::~Process() {
  Process* const before = currentProcess == this ? nullptr : currentProcess;
  // What goes may still ask the system for something, so it goes while its process is current.
  currentProcess = this;
  while (!states_.empty()) {
    const std::shared_ptr<void> last = std::move(states_.back().second);
    states_.pop_back();
  }
  currentProcess = before;
}

Process& Process::current() {
  assert(currentProcess != nullptr);
  return *currentProcess;
}

Process* Process::currentOrNull() { return currentProcess; }

void* Process::find(std::type_index type) const {
  const auto found =
      std::find_if(states_.begin(), states_.end(), [&](const auto& state) { return state.first == type; });
  return found == states_.end() ? nullptr : found->second.get();
}

void Process::add(std::type_index type, std::shared_ptr<void> object) { states_.emplace_back(type, std::move(object)); }

Process::Scope::Scope(Process& process) : before_(currentProcess) { currentProcess = &process; }

Process::Scope::~Scope() { currentProcess = before_; }

}  // namespace vlm
