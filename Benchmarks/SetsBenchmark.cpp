#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>

#include "Benchmarks/RunningDaemon.h"
#include "Models/VLMGlobals.h"
#include "Platform/Process.h"

/// Judging display sets, and bringing them about, on a desk of four displays.
namespace vlm::bench {
namespace {

constexpr int kDisplays = 4, kModes = 100, kSets = 50;
constexpr std::int16_t kInForce = 1;

/// A set of everything that the displays can do, as they are.
std::shared_ptr<VLMDisplaySet> newSet(VLMGlobals& document) {
  auto set = VLMDisplaySet::initWithDisplays(document.displayArray, document);
  set->uniqueID = document.findNextSetUniqueID();
  document.displaySetsArray.push_back(set);
  return set;
}

/// All of them hold, so that no comparison ends early.
void SetsAreMarked(benchmark::State& state) {
  RunningDaemon daemon(machineWith(kDisplays, kModes));
  const Process::Scope scope(daemon.daemonSession->process());
  VLMGlobals& document = VLMGlobals::sharedInstance();
  document.displaySetsArray.clear();
  for (int i = 0; i < kSets; ++i) newSet(document);
  int inForce = 0;
  for (auto _ : state) {
    inForce = 0;
    for (const auto& set : document.displaySetsArray) {
      if (document.checkMarkForSet(*set, nullptr) == kInForce) ++inForce;
    }
  }
  if (inForce != kSets) state.SkipWithError("a set is not in force");
}
BENCHMARK(SetsAreMarked)->Unit(benchmark::kMicrosecond);

/// Two sets by turns, each of which changes every display's mode. The simulated Mac's own work counts, too; the seconds
/// in between do not.
void SetIsApplied(benchmark::State& state) {
  RunningDaemon daemon(machineWith(kDisplays, kModes));
  std::shared_ptr<VLMDisplaySet> sets[2];
  {
    const Process::Scope scope(daemon.daemonSession->process());
    VLMGlobals& document = VLMGlobals::sharedInstance();
    for (auto& set : sets) set = newSet(document);
    for (const auto& monitor : sets[1]->monitorArray) {
      const auto& modes = document.displayWithID(monitor->monitorResID)->validDisplayModes;
      monitor->modeUniqueID = modes[modes.size() / 2]->modeUniqueID;
      monitor->hasOrigin = false;
    }
  }
  unsigned turn = 0;
  for (auto _ : state) {
    const auto& set = sets[++turn % 2];
    {
      const Process::Scope scope(daemon.daemonSession->process());
      VLMGlobals::sharedInstance().applyDisplaySet(set, true);
    }
    state.PauseTiming();
    daemon.mac.advance(2);
    {
      const Process::Scope scope(daemon.daemonSession->process());
      VLMGlobals& document = VLMGlobals::sharedInstance();
      if (document.checkMarkForSet(*set, nullptr) != kInForce) state.SkipWithError("the set is not in force");
      if (document.checkMarkForSet(*sets[(turn + 1) % 2], nullptr) == kInForce) state.SkipWithError("nothing changed");
    }
    daemon.mac.forgetHistory();
    state.ResumeTiming();
  }
}
BENCHMARK(SetIsApplied)->Unit(benchmark::kMicrosecond)->Iterations(500);

}  // namespace
}  // namespace vlm::bench
