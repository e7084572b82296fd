#include <benchmark/benchmark.h>
#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "Benchmarks/GeneratedSettings.h"
#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Shared/Log.h"

/// What a settings file costs on its way to the document and back, beside libplist's own parse and write of the same
/// file. Only ratios of one run say anything: machines differ and are busy.
namespace vlm::bench {
namespace {

/// A Mac with one display, the process in it, and the generated file in its place.
struct Settings {
  ProcessOnMac process{machineWith(1, 1)};
  std::string content = process.writeSettings(generatedSettings());
};

Settings& settings() {
  static Settings made;
  return made;
}

plist_t parsed(const std::string& content) {
  plist_t root = nullptr;
  plist_from_xml(content.data(), static_cast<std::uint32_t>(content.size()), &root);
  return root;
}

void LibplistParses(benchmark::State& state) {
  const std::string& content = settings().content;
  for (auto _ : state) {
    plist_t root = parsed(content);
    benchmark::DoNotOptimize(root);
    plist_free(root);
  }
  state.counters["bytes"] = static_cast<double>(content.size());
}
BENCHMARK(LibplistParses)->Unit(benchmark::kMillisecond);

void FileBecomesTheDocument(benchmark::State& state) {
  const Process::Scope scope(settings().process.session.process());
  for (auto _ : state) VLMGlobals::sharedInstance().loadPrefs(SettingsGroup::all);
  state.counters["sets"] = static_cast<double>(VLMGlobals::sharedInstance().displaySetsArray.size());
  state.counters["records"] = static_cast<double>(VLMGlobals::sharedInstance().extraDisplayArray.size());
}
BENCHMARK(FileBecomesTheDocument)->Unit(benchmark::kMillisecond);

/// In memory: what it costs to come to the bytes of the file, without touching one.
void LibplistParsesAndWrites(benchmark::State& state) {
  const std::string& content = settings().content;
  for (auto _ : state) {
    plist_t root = parsed(content);
    char* text = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(root, &text, &length);
    benchmark::DoNotOptimize(text);
    std::free(text);
    plist_free(root);
  }
}
BENCHMARK(LibplistParsesAndWrites)->Unit(benchmark::kMillisecond);

/// All of it: reads the file, lays the document over it, writes a new file and gives it the old one's name.
void DocumentIsSaved(benchmark::State& state) {
  const Process::Scope scope(settings().process.session.process());
  VLMGlobals& document = VLMGlobals::sharedInstance();
  document.loadPrefs(SettingsGroup::all);
  for (auto _ : state) document.savePrefs(SettingsGroup::all);
  settings().process.mac.journal().clear();
}
BENCHMARK(DocumentIsSaved)->Unit(benchmark::kMillisecond);

/// A log line whose text is costly, with somebody reading the log (1) and nobody (0).
void LogLineOfARecord(benchmark::State& state) {
  sim::SimulatedMac& mac = settings().process.mac;
  const Process::Scope scope(settings().process.session.process());
  mac.logEnabled = state.range(0) != 0;
  VLMGlobals& document = VLMGlobals::sharedInstance();
  document.loadPrefs(SettingsGroup::displayRecords);
  const auto record = document.extraDisplayArray.front();
  for (auto _ : state) {
    VLMLog("record = %@", lazily([&] { return plist::describe(record->encodeReadable()); }));
    mac.log.clear();
  }
  mac.logEnabled = false;
}
BENCHMARK(LogLineOfARecord)->Arg(0)->Arg(1);

}  // namespace
}  // namespace vlm::bench
