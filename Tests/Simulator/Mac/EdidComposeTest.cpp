#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "Tests/Simulator/Mac/EdidTestFiles.h"

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

TEST(ComposeEdid, IsAcceptedByAnIndependentChecker) {
  if (outputOf("edid-decode --help 2>&1").find("--check") == std::string::npos) {
    GTEST_SKIP() << "edid-decode is not installed";
  }
  const auto file = std::filesystem::temp_directory_path() / ("composed-" + std::to_string(::getpid()) + ".edid");
  for (const Monitor& monitor : monitors()) {
    const auto bytes = composed(monitor);
    std::ofstream(file, std::ios::binary) << std::string(bytes.begin(), bytes.end());
    const std::string output = outputOf("edid-decode --check '" + file.string() + "' 2>&1");
    EXPECT_NE(output.find("EDID conformity: PASS"), std::string::npos) << monitor.description.name << "\n" << output;
  }
  std::filesystem::remove(file);
}

}  // namespace
}  // namespace vlm::sim
