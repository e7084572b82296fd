#include "Simulator/Mac/SimulatedPowerSources.h"

#include <utility>
#include <vector>

#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

std::optional<std::string> SimulatedPowerSources::IOPSGetProvidingPowerSourceType() { return mac_.powerSource; }

PowerSourceRunLoopSource SimulatedPowerSources::IOPSNotificationCreateRunLoopSource(std::function<void()> callback) {
  session_.record("IOPSNotificationCreateRunLoopSource()");
  const PowerSourceRunLoopSource source = mac_.nextReference();
  sources_[source].callback = std::move(callback);
  return source;
}

void SimulatedPowerSources::CFRunLoopAddSource(PowerSourceRunLoopSource source) {
  const auto found = sources_.find(source);
  if (found == sources_.end()) return;
  session_.record("CFRunLoopAddSource(power)");
  found->second.isInRunLoop = true;
}

void SimulatedPowerSources::CFRunLoopRemoveSource(PowerSourceRunLoopSource source) {
  const auto found = sources_.find(source);
  if (found == sources_.end()) return;
  session_.record("CFRunLoopRemoveSource(power)");
  found->second.isInRunLoop = false;
}

void SimulatedPowerSources::powerSourceChanged() {
  std::vector<std::function<void()>> callbacks;
  for (const auto& [reference, source] : sources_) {
    if (source.isInRunLoop) callbacks.push_back(source.callback);
  }
  for (const auto& callback : callbacks) callback();
}

void SimulatedPowerSources::sessionEnded() { std::exchange(sources_, {}).clear(); }

}  // namespace vlm::sim
