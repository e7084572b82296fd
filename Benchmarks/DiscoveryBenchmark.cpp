#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "Benchmarks/GeneratedSettings.h"
#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Simulator/Mac/SimulatedQuartz.h"

/// Finding the displays with all their modes, and again in the records of the settings file.
namespace vlm::bench {
namespace {

constexpr int kSavedRecords = 50, kFirstResID = 1001;

/// Tells when somebody asks for the list of displays, with which discovery begins.
class WatchedQuartz final : public sim::SimulatedQuartz {
 public:
  using SimulatedQuartz::SimulatedQuartz;

  CGError CGSGetDisplayList(std::uint32_t maxDisplays, std::span<CGDirectDisplayID> displays,
                            std::uint32_t& count) const override {
    if (onFirstQuestion) std::exchange(onFirstQuestion, nullptr)();
    return SimulatedQuartz::CGSGetDisplayList(maxDisplays, displays, count);
  }

  mutable std::function<void()> onFirstQuestion;
};

/// The records of the displays, and so many more of the same models that there are 50: each of them has to be looked at
/// closely.
plist::Dictionary withMoreRecords(plist::Dictionary settings) {
  plist::Dictionary& records = *settings.find("allDisplays")->dictionary();
  const plist::Dictionary own = records;
  const auto count = static_cast<int>(own.count());
  for (int i = count; i < kSavedRecords; ++i) {
    plist::Dictionary record = *own.dictionary(std::to_string(kFirstResID + i % count));
    record.set("monitorResID", kFirstResID + i);
    record.set("edidSerialString", "SN" + std::to_string(1000 + i));
    record.set("displayUUIDString", "37D8832A-2D66-02CA-B9F7-" + std::to_string(100000000000 + i));
    record.set("driverLocationName", "IOService:/PCI0/GFX0/Framebuffer@" + std::to_string(i));
    records.set(std::to_string(kFirstResID + i), std::move(record));
  }
  return settings;
}

/// A machine whose displays the daemon has seen before.
struct KnownDisplays {
  KnownDisplays(int displays, int modes) : mac(machineWith(displays, modes)), quartz(mac.mac, mac.session) {
    const Process process(ports());
    VLMGlobals& document = VLMGlobals::sharedInstance();
    document.initializeAllDisplaysFromSystemData();
    mac.writeSettings(withMoreRecords(document.getPrefs(SettingsGroup::all)));
  }

  Ports ports() { return mac.session.ports({.quartz = &quartz}); }

  ProcessOnMac mac;
  WatchedQuartz quartz;
};

/// From the first question to the window server: reading the file before it has figures of its own.
void DisplaysAreDiscovered(benchmark::State& state) {
  KnownDisplays known(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  const Process process(known.ports());
  VLMGlobals& document = VLMGlobals::sharedInstance();
  for (auto _ : state) {
    state.PauseTiming();
    known.quartz.onFirstQuestion = [&] { state.ResumeTiming(); };
    document.initializeAllDisplaysFromSystemData();
  }
  state.counters["records"] = static_cast<double>(document.extraDisplayArray.size());
  state.counters["modes"] = static_cast<double>(document.displayArray.front()->validDisplayModes.size());
}
BENCHMARK(DisplaysAreDiscovered)
    ->ArgNames({"displays", "modes"})
    ->ArgsProduct({{8}, {50, 100, 200, 300}})
    ->ArgsProduct({{1, 2, 4}, {300}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

}  // namespace
}  // namespace vlm::bench
