#include "Simulator/Mac/StandardTimings.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>

#include "Simulator/Mac/TimingFormulas.h"

namespace vlm::sim {
namespace {

void expectSoundFigures(const Timing& timing) {
  EXPECT_LE(timing.horizontalSyncOffset + timing.horizontalSyncWidth, timing.horizontalBlanking);
  EXPECT_LE(timing.verticalSyncOffset + timing.verticalSyncWidth, timing.verticalBlanking);
  EXPECT_GT(timing.horizontalSyncWidth, 0U);
}

TEST(StandardTimings, HaveEveryPublishedCodeWithSoundFigures) {
  for (std::uint32_t code = 0; code < 300; ++code) {
    SCOPED_TRACE(code);
    const auto monitor = timingOfDmtCode(code), video = timingOfVideoCode(code);
    EXPECT_EQ(monitor.has_value(), code >= 1 && code <= 0x58);
    if (monitor) expectSoundFigures(*monitor);
    EXPECT_EQ(video.has_value(), (code >= 1 && code <= 127) || (code >= 193 && code <= 219));
    if (!video) continue;
    expectSoundFigures(*video);
    EXPECT_EQ(video->videoCode, code);
    // At most 1000/1001 of the nominal rate off: formats of 59.94 Hz, and the short fields of 240p and 288p.
    bool isNominal = false;
    for (const double rate : {24, 25, 30, 48, 50, 60, 100, 120, 200, 240}) {
      isNominal = isNominal || std::abs(video->refreshRateHz() / rate - 1) < 0.0017;
    }
    EXPECT_TRUE(isNominal) << video->refreshRateHz();
    const bool hasOddFrame = (video->verticalActive + video->verticalBlanking) % 2 == 1;
    EXPECT_TRUE(!video->interlaced || hasOddFrame == (code != 39));
  }
  EXPECT_EQ(standardDmtTiming(1920, 1200, 60)->pixelClockHz, 193'250'000U);  // not 154 MHz with reduced blanking
  EXPECT_FALSE(standardDmtTiming(1024, 768, 87).has_value());                // interlaced only
}

TEST(TimingFormulas, MatchPublishedFigures) {
  struct Case {
    const char* name;
    std::optional<Timing> timing;
    std::uint64_t clockHz;
    std::array<std::uint32_t, 4> horizontal, vertical;  // active, blanking, sync offset, sync width
  };
  const auto cvt = [](std::uint32_t width, std::uint32_t height, double hz, Blanking blanking) {
    return coordinatedVideoTiming(width, height, hz, blanking);
  };
  const Case cases[] = {
      {"CVT", cvt(1680, 1050, 60, Blanking::normal), 146'250'000, {1680, 560, 104, 176}, {1050, 39, 3, 6}},
      {"CVT 5:4", cvt(1280, 1024, 60, Blanking::normal), 109'000'000, {1280, 432, 80, 136}, {1024, 39, 3, 7}},
      {"reduced", cvt(3840, 2160, 60, Blanking::reduced), 533'250'000, {3840, 160, 48, 32}, {2160, 62, 3, 5}},
      {"reduced v2", cvt(1920, 1200, 60, Blanking::reducedV2), 148'200'000, {1920, 80, 8, 32}, {1200, 35, 21, 8}},
      {"GTF", generalizedTiming(1024, 768, 60), 64'109'000, {1024, 320, 56, 104}, {768, 27, 1, 3}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_TRUE(c.timing.has_value());
    const Timing& t = *c.timing;
    // The published GTF clock is of the unrounded line; a few kHz off is the same timing.
    EXPECT_NEAR(static_cast<double>(t.pixelClockHz), static_cast<double>(c.clockHz), 1000);
    const std::array horizontal{t.horizontalActive, t.horizontalBlanking, t.horizontalSyncOffset,
                                t.horizontalSyncWidth};
    EXPECT_EQ(horizontal, c.horizontal);
    const std::array vertical{t.verticalActive, t.verticalBlanking, t.verticalSyncOffset, t.verticalSyncWidth};
    EXPECT_EQ(vertical, c.vertical);
    EXPECT_EQ(t.positiveHorizontalSync, std::string(c.name).starts_with("reduced"));
    EXPECT_NE(t.positiveVerticalSync, t.positiveHorizontalSync);
  }
}

TEST(TimingFormulas, RefuseSizesAndRatesWithoutSense) {
  for (const Blanking blanking : {Blanking::normal, Blanking::reduced, Blanking::reducedV2}) {
    EXPECT_FALSE(coordinatedVideoTiming(0, 600, 60, blanking).has_value());
    EXPECT_FALSE(coordinatedVideoTiming(800, 70000, 60, blanking).has_value());
    EXPECT_FALSE(coordinatedVideoTiming(800, 600, std::nan(""), blanking).has_value());
    // The corners of what is accepted stay sound.
    for (const std::uint32_t size : {1U, 65535U}) {
      for (const double hz : {1.5, 1000.0}) expectSoundFigures(*coordinatedVideoTiming(size, size, hz, blanking));
    }
  }
}

}  // namespace
}  // namespace vlm::sim
