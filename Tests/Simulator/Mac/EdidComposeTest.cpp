#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "Simulator/Mac/Edid.h"

namespace vlm::sim {
namespace {

struct Offered {
  std::uint32_t width = 0, height = 0;
  double hz = 60;
  bool interlaced = false;
};

struct Monitor {
  const char* name;
  MonitorDescription description;
  std::vector<Offered> offered;  ///< beside the native timing
  std::size_t blocks;
};

std::vector<Monitor> monitors() {
  MonitorDescription laptop = {.vendor = "APP",
                               .product = 0xa022,
                               .name = "Color LCD",
                               .widthMillimetres = 331,
                               .heightMillimetres = 207,
                               .nativeWidth = 2880,
                               .nativeHeight = 1800};
  MonitorDescription external = {
      .serial = 0, .name = "Thirteen char", .serialText = "CN1234", .nativeWidth = 2560, .nativeHeight = 1440};
  external.moreTimings = {"640x480",     "1920x1080",    "1920x1080@50", "1920x1080i@60", "1920x1080@59.94",
                          "1600x900@75", "2560x1440@75", "2560x1440@50", "2560x1440@60",  "1920x1440@30"};
  const std::vector<Offered> externalOffers = {
      {640, 480},      {1920, 1080},     {1920, 1080, 50}, {1920, 1080, 60, true}, {1920, 1080, 59.94},
      {1600, 900, 75}, {2560, 1440, 75}, {2560, 1440, 50}, {1920, 1440, 30}};
  MonitorDescription fast = {.name = "5K", .nativeWidth = 5120, .nativeHeight = 2880};
  fast.moreTimings = {"5120x2880@30", "5120x2880@50", "5120x2880@75", "5120x2880@100", "5120x2880@120"};
  return {
      {"laptop", laptop, {}, 1},
      {"external with more timings", external, externalOffers, 2},
      {"full HD, analog", {.name = "Right", .digital = false}, {}, 1},
      {"4K", {.name = "4K", .nativeWidth = 3840, .nativeHeight = 2160}, {}, 1},
      {"5K", {.name = "5K", .nativeWidth = 5120, .nativeHeight = 2880}, {{2560, 1440}}, 2},
      {"5K at many rates",
       fast,
       {{5120, 2880, 30}, {5120, 2880, 50}, {5120, 2880, 75}, {5120, 2880, 100}, {5120, 2880, 120}},
       3},
  };
}

bool offers(const ParsedEdid& edid, const Offered& offered) {
  constexpr double kNominalRateTolerance = 0.06;  // VESA's 640x480 at 60 Hz is the widest off, at 59.94
  return std::ranges::any_of(edid.timings, [&](const Timing& timing) {
    return timing.horizontalActive == offered.width && timing.verticalActive == offered.height &&
           timing.interlaced == offered.interlaced &&
           std::abs(timing.refreshRateHz() - offered.hz) < kNominalRateTolerance;
  });
}

TEST(ComposeEdid, IsReadBackAsDescribed) {
  for (const Monitor& monitor : monitors()) {
    SCOPED_TRACE(monitor.name);
    const auto composed = composeEdid(monitor.description);
    ASSERT_TRUE(std::holds_alternative<plist::Data>(composed)) << std::get<std::string>(composed);
    EXPECT_EQ(std::get<plist::Data>(composed).size(), 128 * monitor.blocks);
    const auto read = readEdid(std::get<plist::Data>(composed));
    ASSERT_TRUE(std::holds_alternative<ParsedEdid>(read)) << std::get<std::string>(read);
    const ParsedEdid& edid = std::get<ParsedEdid>(read);
    EXPECT_EQ(edid.findings, std::vector<std::string>());
    EXPECT_EQ(edid.product, monitor.description.product);
    EXPECT_EQ(edid.name, monitor.description.name);
    EXPECT_EQ(edid.serialText, monitor.description.serialText);
    EXPECT_EQ(edid.serial, monitor.description.serial);
    EXPECT_EQ(edid.digital, monitor.description.digital);
    EXPECT_EQ(edid.year, 2020U);
    const Timing& native = edid.timings.at(0);
    EXPECT_TRUE(native.preferred);
    EXPECT_EQ(native.horizontalActive, monitor.description.nativeWidth);
    EXPECT_EQ(native.verticalActive, monitor.description.nativeHeight);
    EXPECT_NEAR(native.refreshRateHz(), monitor.description.nativeRefreshHz, 0.005);
    for (const Offered& offered : monitor.offered) {
      EXPECT_TRUE(offers(edid, offered)) << offered.width << "x" << offered.height << "@" << offered.hz;
    }
  }
}

TEST(ComposeEdid, PacksTheVendorAsTheStandardDoes) {
  const auto composed = composeEdid({.vendor = "APP", .product = 0x1234, .serial = 0x0a0b0c0d});
  const auto& bytes = std::get<plist::Data>(composed);
  const plist::Data identity(bytes.begin() + 8, bytes.begin() + 16);
  EXPECT_EQ(identity, (plist::Data{0x06, 0x10, 0x34, 0x12, 0x0d, 0x0c, 0x0b, 0x0a}));
}

TEST(ComposeEdid, RefusesWhatNoEdidCanSay) {
  struct Case {
    const char* name;
    MonitorDescription monitor;
    const char* fault;
  };
  const Case cases[] = {
      {"vendor", {.vendor = "vlm"}, "vendor \"vlm\" is not three capital letters"},
      {"year", {.year = 1989}, "year 1989 is not 1990 to 2245"},
      {"text", {.name = "caf\xc3\xa9"}, "name has a character that is not printable ASCII"},
      {"native size", {.nativeWidth = 70000}, "native timing 70000x1080 cannot be expressed"},
      {"native rate", {.nativeRefreshHz = -1}, "native timing 1920x1080 cannot be expressed"},
      {"timing text", {.moreTimings = {"1920x1080@"}}, "timing \"1920x1080@\" is not WIDTHxHEIGHT or WIDTHxHEIGHT@HZ"},
      {"timing tail",
       {.moreTimings = {"800x600@60Hz"}},
       "timing \"800x600@60Hz\" is not WIDTHxHEIGHT or WIDTHxHEIGHT@HZ"},
      {"not a rate", {.moreTimings = {"800x600@nan"}}, "timing \"800x600@nan\" cannot be expressed"},
      {"interlaced without code", {.moreTimings = {"800x600i@60"}}, "timing \"800x600i@60\" cannot be expressed"},
  };
  for (const Case& c : cases) {
    const auto composed = composeEdid(c.monitor);
    ASSERT_TRUE(std::holds_alternative<std::string>(composed)) << c.name;
    EXPECT_EQ(std::get<std::string>(composed), c.fault) << c.name;
  }
}

/// What a command prints; empty when it cannot be run.
std::string outputOf(const std::string& command) {
  std::string output;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return output;
  std::array<char, 4096> buffer = {};
  for (std::size_t count = 0; (count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
    output.append(buffer.data(), count);
  }
  ::pclose(pipe);
  return output;
}

TEST(ComposeEdid, IsAcceptedByAnIndependentChecker) {
  if (outputOf("edid-decode --help 2>&1").find("--check") == std::string::npos) {
    GTEST_SKIP() << "edid-decode is not installed";
  }
  const auto file = std::filesystem::temp_directory_path() / ("composed-" + std::to_string(::getpid()) + ".edid");
  for (const Monitor& monitor : monitors()) {
    const auto composed = composeEdid(monitor.description);
    ASSERT_TRUE(std::holds_alternative<plist::Data>(composed)) << monitor.name;
    const auto& bytes = std::get<plist::Data>(composed);
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    const std::string output = outputOf("edid-decode --check '" + file.string() + "' 2>&1");
    EXPECT_NE(output.find("EDID conformity: PASS"), std::string::npos) << monitor.name << "\n" << output;
  }
  std::filesystem::remove(file);
}

}  // namespace
}  // namespace vlm::sim
