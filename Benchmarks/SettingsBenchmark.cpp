#include <benchmark/benchmark.h>
#include <plist/plist.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "Models/VLMGlobals.h"
#include "Platform/Process.h"
#include "Shared/Log.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/SimulatedMac.h"

/// What a settings file costs on its way to the document, beside libplist's own parse of the same file. Only ratios of
/// one run say anything: machines differ and are busy.
namespace vlm {
namespace {

constexpr int kDisplays = 20, kModes = 150, kSets = 50, kMonitors = 4;

plist::Dictionary modeDictionary(int display, int index) {
  const auto mode = VLMMode::init();
  mode->Nx = static_cast<std::uint32_t>(800 + index * 8);
  mode->Ny = static_cast<std::uint32_t>(600 + index * 4);
  mode->Hz = 59.94F;
  mode->definition = 1.0F;
  mode->modeUniqueID = static_cast<std::uint32_t>(1000003 * (index + 1) + display);
  mode->deskResID = display * kModes + index + 1;
  mode->pixClock = 148500000;
  mode->totalPixels = 2475000;
  mode->colorMask = 32;
  mode->sysModeID[2] = index;
  mode->isValidAct = true;
  return mode->encodeReadable();
}

plist::Dictionary displayDictionary(int index) {
  const auto display = VLMDisplay::init();
  display->monitorResID = 1001 + index;
  display->sysMonitorName = "Monitor " + std::to_string(index);
  display->driverLocationName = "IOService:/PCI0/GFX0/Framebuffer@" + std::to_string(index);
  display->displayUUIDString = "37D8832A-2D66-02CA-B9F7-8F30A301B230";
  plist::Dictionary dict = display->encodeReadable();
  plist::Array modes;
  for (int mode = 0; mode < kModes; ++mode) modes.emplace_back(modeDictionary(index, mode));
  dict.set("displayModes", modes);
  dict.set("allDisplayModes", std::move(modes));
  return dict;
}

plist::Dictionary setDictionary(int index) {
  plist::Array monitors;
  for (int i = 0; i < kMonitors; ++i) {
    const auto monitor = VLMMonitorInSet::initEmpty();
    monitor->monitorResID = 1001 + (index + i) % kDisplays;
    monitors.emplace_back(monitor->encodeReadable());
  }
  return {
      {"name", "Set " + std::to_string(index)}, {"uniqueID", index + 1}, {"keyCode", -1}, {"monitorArray", monitors}};
}

/// 20 displays with 150 modes in both lists, 50 sets of 4 monitors.
plist::Dictionary generatedSettings() {
  plist::Dictionary all;
  plist::Array attached, sets;
  for (int i = 0; i < kDisplays; ++i) {
    all.set(std::to_string(1001 + i), displayDictionary(i));
    if (i < 4) attached.emplace_back(1001 + i);
  }
  for (int i = 0; i < kSets; ++i) sets.emplace_back(setDictionary(i));
  return {{"Version", 4150101}, {"allDisplays", all}, {"volatileDisplays", attached}, {"displaySetsArray", sets}};
}

/// A Mac with one display, the process in it, and the generated file in its place.
struct Settings {
  Settings() {
    sim::MachineDescription machine;
    sim::DisplayDescription display;
    display.name = "Panel";
    display.edid = std::get<plist::Data>(sim::composeEdid({.name = "Panel", .serialText = {}, .moreTimings = {}}));
    machine.displays.push_back(std::move(display));
    mac = std::make_unique<sim::SimulatedMac>(std::move(machine));
    mac->logEnabled = false;
    session = &mac->addSession({.bundleIdentifier = "benchmark", .name = "benchmark", .bundlePath = {}, .version = {}});
    path = mac->homeFolder() + "/Library/Preferences/org.kelvane.velmoratix.daemon.plist";
    content = sim::composePropertyList(generatedSettings());
    std::string reason;
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    std::fwrite(content.data(), 1, content.size(), file.get());
  }

  std::unique_ptr<sim::SimulatedMac> mac;
  sim::Session* session = nullptr;
  std::string path, content;
};

Settings& settings() {
  static Settings made;
  return made;
}

void LibplistParsesTheFile(benchmark::State& state) {
  const std::string& content = settings().content;
  for (auto _ : state) {
    plist_t root = nullptr;
    plist_from_xml(content.data(), static_cast<std::uint32_t>(content.size()), &root);
    benchmark::DoNotOptimize(root);
    plist_free(root);
  }
  state.counters["bytes"] = static_cast<double>(content.size());
}
BENCHMARK(LibplistParsesTheFile)->Unit(benchmark::kMillisecond);

void FileBecomesTheDocument(benchmark::State& state) {
  Process::Scope scope(settings().session->process());
  for (auto _ : state) VLMGlobals::sharedInstance().loadPrefs(SettingsGroup::all);
  state.counters["sets"] = static_cast<double>(VLMGlobals::sharedInstance().displaySetsArray.size());
  state.counters["records"] = static_cast<double>(VLMGlobals::sharedInstance().extraDisplayArray.size());
}
BENCHMARK(FileBecomesTheDocument)->Unit(benchmark::kMillisecond);

/// A log line whose text is costly, with somebody reading the log (1) and nobody (0).
void LogLineOfAWholeDocument(benchmark::State& state) {
  Process::Scope scope(settings().session->process());
  settings().mac->logEnabled = state.range(0) != 0;
  VLMGlobals& document = VLMGlobals::sharedInstance();
  document.loadPrefs(SettingsGroup::displayRecords);
  const auto record = document.extraDisplayArray.front();
  for (auto _ : state) {
    VLMLog("record = %@", lazily([&] { return plist::describe(record->encodeReadable()); }));
    settings().mac->log.clear();
  }
  settings().mac->logEnabled = false;
}
BENCHMARK(LogLineOfAWholeDocument)->Arg(0)->Arg(1);

}  // namespace
}  // namespace vlm
