#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "Benchmarks/GeneratedSettings.h"
#include "Models/VLMGlobals.h"
#include "Models/VLMStandardResolutions.h"
#include "Platform/Process.h"
#include "Shared/EDIDIdentity.h"
#include "Shared/VLMEDIDUtils.h"
#include "Simulator/Mac/Edid.h"
#include "Simulator/Mac/SessionPorts.h"

/// EDIDs and override files. Nobody reads the log.
namespace vlm::bench {
namespace {

/// Those of the folder that VELMORATIX_EDIDS names; without it a few of our own.
std::vector<plist::Data> edids() {
  std::vector<plist::Data> edids;
  if (const char* const folder = std::getenv("VELMORATIX_EDIDS")) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.path().extension() != ".bin") continue;
      std::ifstream stream(entry.path(), std::ios::binary);
      edids.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    return edids;
  }
  const sim::MonitorDescription kMonitors[] = {
      {.name = "One block", .serialText = "AB 1234"},
      {.name = "Two blocks", .moreTimings = {"1920x1080@50", "1280x720@50", "640x480"}},
      {.name = "Three blocks", .nativeWidth = 5120, .nativeHeight = 2880, .moreTimings = {"5120x2880@30"}}};
  for (const auto& monitor : kMonitors) {
    auto edid = sim::composeEdid(monitor);
    if (auto* const bytes = std::get_if<plist::Data>(&edid)) edids.push_back(std::move(*bytes));
  }
  return edids;
}

ProcessOnMac& processOnMac() {
  static ProcessOnMac process(machineWith(1, 100));
  return process;
}

/// Reads every EDID in each iteration; `each` is the time for one, in seconds.
template <class Read>
void readEach(benchmark::State& state, Read read) {
  const Process::Scope scope(processOnMac().session.process());
  const auto all = edids();
  for (auto _ : state) {
    for (const plist::Data& edid : all) benchmark::DoNotOptimize(read(edid));
  }
  using benchmark::Counter;
  state.counters["each"] =
      Counter(static_cast<double>(all.size()), Counter::kIsIterationInvariantRate | Counter::kInvert);
}

void IdentityIsRead(benchmark::State& state) { readEach(state, identityInEDID); }
BENCHMARK(IdentityIsRead)->Unit(benchmark::kMicrosecond);

void ExtensionIsSearched(benchmark::State& state) { readEach(state, VLMEDID_findVLMDisplayIDExtensionInEDID); }
BENCHMARK(ExtensionIsSearched)->Unit(benchmark::kMicrosecond);

/// Of 256 bytes.
void EqualEdidsAreCompared(benchmark::State& state) {
  plist::Data edid = syntheticEDID(0x10AC, 0xA0C1);
  edid.resize(2 * kEDIDBlockLength, 7);
  edid[kEDIDExtensionCountAt] = 1;
  const plist::Data other = edid;
  bool areEqual = true;
  for (auto _ : state) {
    areEqual = VLMEDID_doEDIDMatch(edid, other, false) && areEqual;
    benchmark::DoNotOptimize(areEqual);
  }
  if (!areEqual) state.SkipWithError("they are not equal");
}
BENCHMARK(EqualEdidsAreCompared)->Unit(benchmark::kNanosecond);

/// A disk on which the override file has been read already.
class ReadFiles final : public sim::SimulatedFiles {
 public:
  using SimulatedFiles::SimulatedFiles;

  std::optional<plist::Dictionary> override;

  std::optional<plist::Value> propertyListWithContentsOfURL(const std::string& path) override {
    if (path.find("/Overrides/") == std::string::npos) return SimulatedFiles::propertyListWithContentsOfURL(path);
    if (!path.starts_with("/Library/") || !this->override) return std::nullopt;
    return *this->override;
  }
};

/// 65 timings for descriptors, 40 for DisplayID extensions, 60 scaled sizes, and 35 standard modes, which are all.
OverrideResolutions resolutions() {
  constexpr std::uint32_t kDescriptors = 65, kExtensions = 40, kScaled = 60, kStandard = 35;
  OverrideResolutions resolutions;
  const auto addTiming = [&](std::uint32_t width, std::uint32_t height) {
    const auto& timing = resolutions.emplace_back(VLMOverrideResolution::initEmpty());
    timing->activeNx = width;
    timing->activeNy = height;
    timing->generateValuesWithGranAct(8, VLMOverrideResolution::kCVTReduced);
  };
  for (std::uint32_t i = 0; i < kDescriptors; ++i) addTiming(800 + 16 * i, 600 + 8 * i);
  for (std::uint32_t i = 0; i < kExtensions; ++i) addTiming(4096 + 32 * i, 2304 + 16 * i);
  for (std::uint32_t i = 0; i < kScaled; ++i) {
    const auto& scaled = resolutions.emplace_back(VLMOverrideResolution::initEmpty());
    scaled->resolutionType = VLMOverrideResolution::kScaled;
    scaled->scaledNx = 1024 + 16 * i;
    scaled->scaledNy = 576 + 9 * i;
  }
  const auto& table = VLMStandardResolutions::sharedInstance();
  for (std::size_t i = 0; i < kStandard; ++i) {
    const auto standard = table.standardResolutionAtIndex(i);
    if (standard == nullptr) break;
    resolutions.push_back(VLMOverrideResolution::initWithAppleID(standard->appleID, 0, 1));
  }
  return resolutions;
}

/// Into the model, and composed again from there; taking over the file's values counts, reading the disk does not.
void OverrideFileIsReadAndComposed(benchmark::State& state) {
  auto& [mac, session] = processOnMac();
  ReadFiles files(mac, session);
  Process process(session.ports({.files = &files}));
  VLMGlobals& document = VLMGlobals::sharedInstance();
  document.initializeAllDisplaysFromSystemData();
  const auto display = document.displayArray.front();
  display->overridenModes = resolutions();
  files.override = display->composeOverrides().content;
  for (auto _ : state) {
    display->overridenModes.clear();
    display->completeOverridesWithDictionary();
    const auto composition = display->composeOverrides();
    if (!(composition.content == *files.override)) state.SkipWithError("another content is composed than was read");
  }
  if (display->overridenModes.size() != 200) state.SkipWithError("there are no 200 entries");
}
BENCHMARK(OverrideFileIsReadAndComposed)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vlm::bench
