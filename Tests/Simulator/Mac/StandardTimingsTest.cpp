#include "Simulator/Mac/StandardTimings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

#include "Simulator/Mac/TimingFormulas.h"

namespace vlm::sim {
namespace {

void expectSoundFigures(const Timing& timing) {
  EXPECT_LE(timing.horizontalSyncOffset + timing.horizontalSyncWidth, timing.horizontalBlanking);
  EXPECT_LE(timing.verticalSyncOffset + timing.verticalSyncWidth, timing.verticalBlanking);
  EXPECT_GT(timing.horizontalSyncWidth, 0U);
}

TEST(StandardTimings, HasEveryPublishedVideoCodeAtItsNominalRate) {
  constexpr std::array<double, 10> kNominalRates = {24, 25, 30, 48, 50, 60, 100, 120, 200, 240};
  for (std::uint32_t code = 0; code < 300; ++code) {
    SCOPED_TRACE(code);
    const auto timing = timingOfVideoCode(code);
    const bool isPublished = (code >= 1 && code <= 127) || (code >= 193 && code <= 219);
    ASSERT_EQ(timing.has_value(), isPublished);
    if (!timing) continue;
    expectSoundFigures(*timing);
    EXPECT_EQ(timing->videoCode, code);
    // At most 1000/1001 of the nominal rate off: formats of 59.94 Hz, and the short fields of 240p and 288p.
    const bool isNominal = std::ranges::any_of(
        kNominalRates, [&](double rate) { return std::abs(timing->refreshRateHz() / rate - 1) < 0.0017; });
    EXPECT_TRUE(isNominal) << timing->refreshRateHz();
    const bool hasOddFrame = (timing->verticalActive + timing->verticalBlanking) % 2 == 1;
    if (timing->interlaced) {
      EXPECT_EQ(hasOddFrame, code != 39);
    }
  }
}

TEST(StandardTimings, HasEveryDmtCode) {
  for (std::uint32_t code = 0; code < 256; ++code) {
    SCOPED_TRACE(code);
    const auto timing = timingOfDmtCode(code);
    ASSERT_EQ(timing.has_value(), code >= 1 && code <= 0x58);
    if (timing) expectSoundFigures(*timing);
  }
}

TEST(StandardTimings, GivesEachEstablishedBitItsOwnTiming) {
  std::set<std::uint64_t> seen;
  for (std::size_t bit = 0; bit < kEstablishedTimings + kEstablishedTimingsIII; ++bit) {
    SCOPED_TRACE(bit);
    const auto timing =
        bit < kEstablishedTimings ? establishedTiming(bit) : establishedTimingIII(bit - kEstablishedTimings);
    ASSERT_TRUE(timing.has_value());
    const std::uint64_t key = timing->pixelClockHz << 24 | timing->horizontalActive << 12 | timing->verticalActive;
    EXPECT_TRUE(seen.insert(key ^ std::uint64_t{timing->horizontalBlanking} << 50).second);
  }
  EXPECT_FALSE(establishedTiming(kEstablishedTimings).has_value());
  EXPECT_FALSE(establishedTimingIII(kEstablishedTimingsIII).has_value());
}

TEST(StandardTimings, PrefersNormalBlankingAndRoundsTheRate) {
  EXPECT_EQ(standardDmtTiming(1920, 1200, 60)->pixelClockHz, 193'250'000U);  // not 154 MHz with reduced blanking
  EXPECT_EQ(standardDmtTiming(1440, 900, 120)->pixelClockHz, 182'750'000U);  // reduced blanking alone
  EXPECT_FALSE(standardDmtTiming(1024, 768, 87).has_value());                // interlaced only
}

TEST(StandardTimings, KnowsThePlatformsNumbers) {
  EXPECT_EQ(appleTimingNumberOf(*timingOfDmtCode(0x10)), 190U);
  EXPECT_EQ(appleTimingNumberOf(*establishedTiming(10)), 170U);
  EXPECT_EQ(appleTimingNumberOf(*timingOfVideoCode(1)), 150U);  // the same signal as VESA's 640x480
  EXPECT_FALSE(appleTimingNumberOf(*timingOfVideoCode(16)).has_value());
}

TEST(TimingFormulas, MatchPublishedFigures) {
  struct Case {
    const char* name;
    std::optional<Timing> timing;
    std::uint64_t clockHz;
    std::array<std::uint32_t, 4> horizontal, vertical;  // active, blanking, sync offset, sync width
    bool positiveHorizontal;
  };
  const auto cvt = [](std::uint32_t width, std::uint32_t height, double hz, Blanking blanking) {
    return coordinatedVideoTiming(width, height, hz, blanking);
  };
  const Case cases[] = {
      {"CVT", cvt(1680, 1050, 60, Blanking::normal), 146'250'000, {1680, 560, 104, 176}, {1050, 39, 3, 6}, false},
      {"CVT 5:4", cvt(1280, 1024, 60, Blanking::normal), 109'000'000, {1280, 432, 80, 136}, {1024, 39, 3, 7}, false},
      {"reduced", cvt(1680, 1050, 60, Blanking::reduced), 119'000'000, {1680, 160, 48, 32}, {1050, 30, 3, 6}, true},
      {"reduced 4K", cvt(3840, 2160, 60, Blanking::reduced), 533'250'000, {3840, 160, 48, 32}, {2160, 62, 3, 5}, true},
      {"reduced v2", cvt(1920, 1200, 60, Blanking::reducedV2), 148'200'000, {1920, 80, 8, 32}, {1200, 35, 21, 8}, true},
      {"GTF", generalizedTiming(1024, 768, 60), 64'109'000, {1024, 320, 56, 104}, {768, 27, 1, 3}, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_TRUE(c.timing.has_value());
    const Timing& t = *c.timing;
    // The published GTF clock is of the unrounded line; a few kHz off is the same timing.
    EXPECT_NEAR(static_cast<double>(t.pixelClockHz), static_cast<double>(c.clockHz), 1000);
    EXPECT_EQ((std::array{t.horizontalActive, t.horizontalBlanking, t.horizontalSyncOffset, t.horizontalSyncWidth}),
              c.horizontal);
    EXPECT_EQ((std::array{t.verticalActive, t.verticalBlanking, t.verticalSyncOffset, t.verticalSyncWidth}),
              c.vertical);
    EXPECT_EQ(t.positiveHorizontalSync, c.positiveHorizontal);
    EXPECT_NE(t.positiveVerticalSync, c.positiveHorizontal);
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
  EXPECT_FALSE(generalizedTiming(800, 600, 0).has_value());
}

}  // namespace
}  // namespace vlm::sim
