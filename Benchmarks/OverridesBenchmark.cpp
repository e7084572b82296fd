#include <benchmark/benchmark.h>
#include <libxcvt/libxcvt.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

#include "Models/VLMOverrideResolution.h"

namespace {
std::int64_t allocations = 0;
}

// Counts for the whole program; the other forms of new come here, too.
void* operator new(std::size_t size) {
  ++allocations;
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

/// Generating timings, side by side with a library that does the same.
namespace vlm::bench {
namespace {

struct Request {
  std::uint32_t width, height;
  float hz;
  bool reduced;
};

/// What both can do: CVT, and CVT with reduced blanking at multiples of 60 Hz.
const std::vector<Request>& requests() {
  static const std::vector<Request> list = [] {
    constexpr std::array<std::array<std::uint32_t, 2>, 24> kSizes{
        {{640, 480},   {800, 600},   {1024, 600},  {1024, 768},  {1152, 864},  {1280, 720},
         {1280, 800},  {1280, 1024}, {1366, 768},  {1440, 900},  {1600, 900},  {1600, 1200},
         {1680, 1050}, {1920, 1080}, {1920, 1200}, {2048, 1152}, {2048, 1536}, {2560, 1080},
         {2560, 1440}, {2560, 1600}, {3440, 1440}, {3840, 2160}, {4096, 2160}, {5120, 2880}}};
    std::vector<Request> made;
    for (const auto& [width, height] : kSizes) {
      for (const float hz : {24.0F, 50.0F, 59.94F, 60.0F, 75.0F, 100.0F, 120.0F, 144.0F}) {
        made.push_back({width, height, hz, false});
      }
      for (const float hz : {60.0F, 120.0F, 180.0F, 240.0F}) made.push_back({width, height, hz, true});
    }
    return made;
  }();
  return list;
}

void count(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(requests().size()));
}

/// Into entries that are used again and again, as libxcvt's memory is.
void TimingsAreGenerated(benchmark::State& state) {
  constexpr std::size_t kAtOnce = 48;
  std::array<VLMOverrideResolution, kAtOnce> entries;
  std::array<VLMOverrideResolution*, kAtOnce> all;
  for (std::size_t i = 0; i < kAtOnce; ++i) all[i] = &entries[i];
  std::array<std::vector<Request>, 2> byKind;
  for (const Request& request : requests()) byKind[request.reduced].push_back(request);
  const std::int64_t before = allocations;
  for (auto _ : state) {
    for (const auto& kind : byKind) {
      const auto type = kind[0].reduced ? VLMOverrideResolution::kCVTReduced : VLMOverrideResolution::kCVT;
      for (std::size_t from = 0; from < kind.size(); from += kAtOnce) {
        for (std::size_t i = 0; i < kAtOnce; ++i) {
          const Request& request = kind[from + i];
          entries[i].activeNx = request.width;
          entries[i].activeNy = request.height;
          entries[i].vfreq = static_cast<double>(request.hz);
        }
        VLMOverrideResolution::generateAllValuesWithGranAct(all, 8, type);
        benchmark::ClobberMemory();
      }
    }
  }
  if (allocations != before) state.SkipWithError("memory was allocated");
  for (const auto& entry : entries) {
    if (entry.pixelClock <= 0) state.SkipWithError("a timing is missing");
  }
  count(state);
}
BENCHMARK(TimingsAreGenerated);

/// One call each, as for an entry that a user edits.
void TimingIsGenerated(benchmark::State& state) {
  VLMOverrideResolution entry;
  const std::int64_t before = allocations;
  for (auto _ : state) {
    for (const Request& request : requests()) {
      entry.activeNx = request.width;
      entry.activeNy = request.height;
      entry.vfreq = static_cast<double>(request.hz);
      entry.generateValuesWithGranAct(
          8, request.reduced ? VLMOverrideResolution::kCVTReduced : VLMOverrideResolution::kCVT);
      benchmark::DoNotOptimize(entry);
    }
  }
  if (allocations != before) state.SkipWithError("memory was allocated");
  count(state);
}
BENCHMARK(TimingIsGenerated);

struct Free {
  void operator()(libxcvt_mode_info* mode) const { std::free(mode); }
};

void LibxcvtGenerates(benchmark::State& state) {
  for (auto _ : state) {
    for (const Request& request : requests()) {
      const std::unique_ptr<libxcvt_mode_info, Free> mode(libxcvt_gen_mode_info(
          static_cast<int>(request.width), static_cast<int>(request.height), request.hz, request.reduced, false));
      if (mode == nullptr) state.SkipWithError("libxcvt refuses a request");
      benchmark::DoNotOptimize(mode.get());
    }
  }
  count(state);
}
BENCHMARK(LibxcvtGenerates);

}  // namespace
}  // namespace vlm::bench
