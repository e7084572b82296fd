#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>

#include "Benchmarks/RunningDaemon.h"
#include "Platform/Input.h"
#include "Shared/DaemonNotification.h"

/// What the daemon costs while it runs.
namespace vlm::bench {
namespace {

// --- Time ---

/// A second of the machine in which nothing happens.
void IdleSecond(benchmark::State& state) {
  RunningDaemon daemon(machineWith(4, 100));
  for (auto _ : state) daemon.mac.advance(1);
}
BENCHMARK(IdleSecond)->Unit(benchmark::kMicrosecond);

/// What happens on a busy desk, so many times a day and evenly: of twenty events one is a cable, two are modes set by
/// another program, seven are keys that bring the first set back, and ten are messages, one of them a reload. At the
/// end of a day all is as it was at its beginning.
class Events {
 public:
  static constexpr int kADay = 2000;

  explicit Events(sim::SimulatedMac& mac) : mac_(mac) {}

  /// Why the next event could not happen, or nothing.
  std::optional<std::string> next() {
    const int number = count_++, inRound = number % kRound;
    if (inRound == 0) return number / kRound % 2 == 0 ? mac_.unplug("Right") : mac_.plug("Right");
    if (inRound % 2 != 0) return post(inRound);
    if (inRound == 4) return mac_.setMode("Left", 1280, 720);
    if (inRound == 12) return mac_.setMode("Left", 1920, 1080);
    return mac_.pressKey(kF11, cmdKey | optionKey) ? std::nullopt : std::optional("nobody hears the key");
  }

 private:
  static constexpr int kRound = 20;
  static constexpr std::uint32_t kF11 = 0x67;

  std::optional<std::string> post(int inRound) {
    const char* const command = inRound == 1       ? "reloadPreferences"
                                : inRound % 3 == 0 ? "ScanDisp"
                                : inRound % 3 == 1 ? "doRemoveStatusItem"
                                                   : "doAddStatusItem";
    mac_.postDistributed({.name = kDaemonNotificationName, .object = command, .sender = {}, .userInfo = {}});
    return std::nullopt;
  }

  sim::SimulatedMac& mac_;
  int count_ = 0;
};

/// Of the heap, in bytes.
double bytesInUse() {
  const struct mallinfo2 heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd);
}

/// The ticks of ten days, and 2,000 events on each. The machine's own records, which people read, are dropped every
/// night; all else that grows is counted.
void Day(benchmark::State& state) {
  constexpr double kSeconds = 86400;
  RunningDaemon daemon(laptopAndTwo());
  Events events(daemon.mac);
  double afterFirst = 0, afterLast = 0;
  for (auto _ : state) {
    for (int i = 0; i < Events::kADay; ++i) {
      if (const auto refusal = events.next()) state.SkipWithError(refusal->c_str());
      daemon.mac.advance(kSeconds / Events::kADay);
    }
    state.PauseTiming();
    daemon.mac.forgetHistory();
    afterLast = bytesInUse();
    if (afterFirst == 0) afterFirst = afterLast;
    state.ResumeTiming();
  }
  state.counters["bytesAfterFirstDay"] = afterFirst;
  state.counters["bytesGrown"] = afterLast - afterFirst;
}
BENCHMARK(Day)->Unit(benchmark::kMillisecond)->Iterations(10);

// --- Memory ---

/// The most memory that this program has had at once, in kilobytes. 0 where the system does not tell.
double largestResidentMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    double kilobytes = 0;
    if (word == "VmHWM:" && status >> kilobytes) return kilobytes;
  }
  return 0;
}

/// Only in a program that runs nothing else, as scripts/benchmark.sh sees to.
void ResidentMemory(benchmark::State& state) {
  for (auto _ : state) {
    RunningDaemon daemon(laptopAndTwo());
    state.counters["kilobytes"] = largestResidentMemory();
  }
}
BENCHMARK(ResidentMemory)->Iterations(1);

}  // namespace
}  // namespace vlm::bench
