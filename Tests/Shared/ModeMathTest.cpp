#include "Shared/ModeMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>

namespace vlm {
namespace {

TEST(ModeMath, RoundsRatesToWholeNumbersOnlyWhenTheyAreNear) {
  for (const auto& [hz, rounded] : {std::pair{59.98F, 60.0F},
                                    {59.94F, 59.94F},
                                    {60.024F, 60.0F},
                                    {60.026F, 60.03F},
                                    {23.976F, 24.0F},
                                    {29.97F, 29.97F},
                                    {0.0F, 0.0F},
                                    {1e30F, 1e30F}}) {
    EXPECT_EQ(roundedHzTo2Decimals(hz), rounded) << hz;
  }
  EXPECT_TRUE(std::isnan(roundedHzTo2Decimals(NAN)));
}

TEST(ModeMath, NumbersTheHighestBitOfAMask) {
  EXPECT_EQ(maskToIndex(0), 0);
  for (int bit = 0; bit < 31; ++bit) {
    const std::uint64_t mask = std::uint64_t{1} << bit;
    EXPECT_EQ(maskToIndex(mask), bit);
    EXPECT_EQ(maskToIndex(mask + mask / 2), bit);
    EXPECT_EQ(maskToIndex(2 * mask - 1), bit);
  }
  EXPECT_EQ(maskToIndex(std::uint64_t{1} << 31), 30);
  EXPECT_EQ(maskToIndex(std::uint64_t{1} << 62), 30);
}

TEST(ModeMath, KnowsTheDepthOfEachPixelEncoding) {
  for (const auto& [encoding, visible, mask] : {std::tuple{"PPPPPPPP", 8U, 8U},
                                                {"-rrrrrgggggbbbbb", 16U, 16U},
                                                {"--------RRRRRRRRGGGGGGGGBBBBBBBB", 32U, 32U},
                                                {"--RRRRRRRRRRGGGGGGGGGGBBBBBBBBBB", 30U, 64U},
                                                {"-16R16G16B16", 64U, 128U},
                                                {"-16fR16FG16FB16", 48U, 256U},
                                                {"-32FR32FG32FB32", 96U, 512U},
                                                {"PPPPPPPPP", 0U, 0U}}) {
    EXPECT_EQ(bitDepthFromPixelEncoding(encoding), visible) << encoding;
    EXPECT_EQ(visibleToMaskDepth(visible), mask) << encoding;
    EXPECT_EQ(maskToVisibleDepth(mask), visible) << encoding;
  }
  EXPECT_EQ(bitDepthFromPixelEncoding(std::nullopt), 0U);
}

TEST(AspectRatio, IsNamedWhenItIsWellKnownOrSmall) {
  struct Row {
    std::uint32_t width, height;
    const char* name;
  };
  const Row rows[] = {
      {1366, 768, "16:9"},
      {1680, 1050, "16:10"},
      {1280, 1024, "5:4"},
      {2800, 1200, "21:9"},
      {1080, 1920, "9:16"},
      // Of equally near fractions, the smaller denominator stays.
      {800, 300, "8:3"},
      {387, 29, "40:3"},
      {4322, 480, "9:1"},
      // Names win over fractions.
      {2200, 1000, "22:10"},
      {2560, 1080, ""},
      {199, 1, "199:1"},
      {200, 1, ""},
      {1, 4000000000, ""},
      {0, 5, ""},
      {0, 0, ""},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Common_aspectRatioString(row.width, row.height), row.name) << row.width << " x " << row.height;
  }
}

TEST(ModeMath, DivisorsAndMultiplesAreWhatTheGranularityRestsOn) {
  EXPECT_EQ(gcd2(12, 8), 0);
  EXPECT_EQ(gcd2(12, 0), 12);
  EXPECT_EQ(gcd2(0, 8), 0);
  EXPECT_EQ(gcd2(0x1'8001, 0), 0x8001);
  EXPECT_EQ(gcd2(std::numeric_limits<int>::min(), -1), 0);
  EXPECT_EQ(ppcm2(6, 4), 1);
  EXPECT_EQ(ppcm({6, 4, 6, 8, kPpcmEnd}), 1);
  EXPECT_EQ(ppcm({6, kPpcmEnd}), 1);
  EXPECT_EQ(ppcm({0, 0, kPpcmEnd}), 1);
}

}  // namespace
}  // namespace vlm
