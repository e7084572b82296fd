#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <span>
#include <sstream>

#include "Tests/Simulator/Mac/EdidTestFiles.h"
#include "Tests/Support/DisplaysOnMac.h"

namespace vlm::sim {
namespace {

struct Monitor {
  MonitorDescription description;
  const char* sizes;
  std::size_t blocks;
};

std::vector<Monitor> monitors() {
  MonitorDescription external = {
      .serial = 77, .name = "Thirteen char", .serialText = "CN1234", .nativeWidth = 2560, .nativeHeight = 1440};
  external.moreTimings = {"640x480",     "1920x1080",    "1920x1080@50", "1920x1080i@60", "1920x1080@59.94",
                          "1600x900@75", "2560x1440@75", "2560x1440@50", "2560x1440@60",  "1920x1440@30"};
  MonitorDescription fast = {.name = "5K fast", .nativeWidth = 5120, .nativeHeight = 2880};
  fast.moreTimings = {"5120x2880@30", "5120x2880@50", "5120x2880@75", "5120x2880@100", "5120x2880@120"};
  return {{{.product = 0xa022, .name = "Color LCD", .nativeWidth = 2880, .nativeHeight = 1800}, "2880x1800@60", 1},
          {external,
           "2560x1440@60 1920x1080@60 640x480@60 1920x1080@60 1920x1080@50 1920x1080i@60 1600x900@75 2560x1440@75 "
           "2560x1440@50 1920x1440@30",
           2},
          {{.name = "Analog", .digital = false}, "1920x1080@60", 1},
          {fast, "5120x2880@60 2560x1440@60 5120x2880@30 5120x2880@50 5120x2880@75 5120x2880@100 5120x2880@120", 3}};
}

testing::Bytes composed(const Monitor& monitor) {
  const auto edid = composeEdid(monitor.description);
  const auto* bytes = std::get_if<plist::Data>(&edid);
  EXPECT_NE(bytes, nullptr) << monitor.description.name << ": " << std::get<std::string>(edid);
  return bytes == nullptr ? testing::Bytes() : *bytes;
}

TEST(ComposeEdid, IsReadBackAsDescribed) {
  for (const Monitor& monitor : monitors()) {
    SCOPED_TRACE(monitor.description.name);
    const auto bytes = composed(monitor);
    EXPECT_EQ(bytes.size(), 128 * monitor.blocks);
    const ParsedEdid edid = testing::parsed(bytes);
    EXPECT_EQ(edid.findings, std::vector<std::string>());
    EXPECT_EQ(edid.product, monitor.description.product);
    EXPECT_EQ(edid.name, monitor.description.name);
    EXPECT_EQ(edid.serialText, monitor.description.serialText);
    EXPECT_EQ(edid.serial, monitor.description.serial);
    EXPECT_EQ(edid.digital, monitor.description.digital);
    EXPECT_EQ(testing::sizesOf(edid), monitor.sizes);
    EXPECT_NEAR(edid.timings.at(0).refreshRateHz(), 60, 0.005);
  }
}

/// What a command prints; empty when it cannot be run.
std::string outputOf(const std::string& command) {
  std::string output;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return output;
  for (int character = 0; (character = std::fgetc(pipe)) != EOF;) output += static_cast<char>(character);
  ::pclose(pipe);
  return output;
}

/// What an independent reader prints of an EDID, blanks folded; with --check, what it objects to stands at the end.
std::string independentReading(const testing::Bytes& edid) {
  const auto file = std::filesystem::temp_directory_path() / ("composed-" + std::to_string(::getpid()) + ".edid");
  std::ofstream(file, std::ios::binary) << std::string(edid.begin(), edid.end());
  std::string output = outputOf("edid-decode --check '" + file.string() + "' 2>&1");
  std::filesystem::remove(file);
  const auto areBlanks = [](char a, char b) { return a == ' ' && b == ' '; };
  output.erase(std::unique(output.begin(), output.end(), areBlanks), output.end());
  return output;
}

class IndependentReader : public ::testing::Test {
 protected:
  void SetUp() override {
    if (outputOf("edid-decode --help 2>&1").find("--check") == std::string::npos) {
      GTEST_SKIP() << "edid-decode is not installed";
    }
  }
};

TEST_F(IndependentReader, AcceptsAComposedEdid) {
  for (const Monitor& monitor : monitors()) {
    const std::string output = independentReading(composed(monitor));
    EXPECT_NE(output.find("EDID conformity: PASS"), std::string::npos) << monitor.description.name << "\n" << output;
  }
}

/// Timings that no EDID descriptor can hold.
std::vector<std::shared_ptr<VLMOverrideResolution>> largeTimings(std::size_t count) {
  struct Row {
    std::uint32_t width, height;
    double rate;
    std::uint32_t type;
    bool interlaced = false;
  };
  constexpr Row kRows[] = {
      {5120, 2880, 60, VLMOverrideResolution::kCVTReduced},  {4096, 2160, 120, VLMOverrideResolution::kCVTReduced},
      {7680, 4320, 60, VLMOverrideResolution::kCVTReduced2}, {4096, 2304, 60, VLMOverrideResolution::kCVT},
      {8192, 4320, 24, VLMOverrideResolution::kGTF},         {5120, 2880, 60, VLMOverrideResolution::kCVTReduced, true},
      {3440, 1440, 240, VLMOverrideResolution::kCVTReduced}};
  std::vector<std::shared_ptr<VLMOverrideResolution>> timings;
  for (const Row& row : std::span(kRows).first(count)) {
    auto& timing = *timings.emplace_back(VLMOverrideResolution::initEmpty());
    timing.activeNx = row.width;
    timing.activeNy = row.height;
    timing.vfreq = row.rate;
    timing.interlaced = row.interlaced;
    timing.generateValuesWithGranAct(8, row.type);
    EXPECT_TRUE(timing.extended) << row.width;
  }
  return timings;
}

/// The timing as the independent reader prints it: clocks in steps of 10 kHz; of an interlaced one the figures of a
/// field, whose half line it adds to the total.
std::string textOf(const VLMOverrideResolution& timing) {
  const double clock = std::floor(100 * timing.pixelClock + 0.5) / 100;
  const std::uint32_t fields = timing.interlaced ? 2 : 1;
  const double lines = timing.totalNy + (timing.interlaced ? 1 : 0);
  char text[300];
  std::snprintf(
      text, sizeof text,
      "DTD: %ux%u%s %f Hz 1:1 %.3f kHz %f MHz (aspect 1:1, no 3D stereo)\n Hfront %u Hsync %u Hback %u Hpol %c\n"
      " Vfront %u Vsync %u Vback %u Vpol %c",
      timing.activeNx, timing.activeNy, timing.interlaced ? "i" : "", 1e6 * clock * fields / (timing.totalNx * lines),
      1000 * clock / timing.totalNx, clock, timing.frontNx, timing.syncNx, timing.backNx,
      timing.positiveSyncH ? 'P' : 'N', timing.frontNy / fields, timing.syncNy / fields, timing.backNy / fields,
      timing.positiveSyncV ? 'P' : 'N');
  return text;
}

/// What our extensions cannot avoid.
constexpr struct {
  const char* finding;
  const char* reason;
} kUnavoidable[] = {
    {"DisplayID Base Block has no product type.", "a true one asks for more blocks than there is room for"},
    {"DisplayID: Missing DisplayID Product Identification Data Block.", "it would stand first, where the timings do"},
    {"DisplayID: DisplayID expects at least one preferred timing.", "the monitor's own timing stays preferred"},
    {"DisplayID Extension Block, but got", "their number stands in the monitor's own block, which has to stay"},
};

TEST_F(IndependentReader, FindsEveryLargeTimingOfAnOverrideAndNothingElseToObjectTo) {
  MachineDescription machine;
  for (const Monitor& monitor : monitors()) {
    addDisplay(machine, displayOf(monitor.description.name, monitor.description));
  }
  test::DisplaysOnMac displays(std::move(machine));
  std::set<std::string> seen;
  for (const Monitor& monitor : monitors()) {
    const std::string before = independentReading(composed(monitor));
    for (const std::size_t count : {1U, 5U, 7U}) {
      SCOPED_TRACE(monitor.description.name + ", " + std::to_string(count));
      const auto display = displays[monitor.description.name];
      display->overridenModes = largeTimings(count);
      const plist::Dictionary content = display->composeOverrides().content;
      ASSERT_NE(content.data("IODisplayEDID"), nullptr);
      const std::string output = independentReading(*content.data("IODisplayEDID"));
      for (const auto& timing : largeTimings(count)) {
        EXPECT_NE(output.find(textOf(*timing)), std::string::npos) << textOf(*timing) << "\n" << output;
      }
      std::istringstream findings(output.substr(std::min(output.find("\nWarnings:"), output.find("\nFailures:"))));
      for (std::string line; std::getline(findings, line);) {
        if (!line.starts_with(" ") || before.find(line) != std::string::npos) continue;
        const auto* known = std::ranges::find_if(
            kUnavoidable, [&](const auto& row) { return line.find(row.finding) != std::string::npos; });
        EXPECT_NE(known, std::end(kUnavoidable)) << line;
        if (known != std::end(kUnavoidable)) seen.insert(known->finding);
      }
    }
  }
  for (const auto& row : kUnavoidable) EXPECT_TRUE(seen.contains(row.finding)) << row.finding << ": " << row.reason;
}

}  // namespace
}  // namespace vlm::sim
