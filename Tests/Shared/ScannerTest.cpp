#include "Shared/Scanner.h"

#include <gtest/gtest.h>

#include <limits>

namespace vlm {
namespace {

TEST(Scanner, TruncatesToTheWidthOfTheDestination) {
  struct Row {
    std::string text;
    bool found = false;
    std::uint16_t u16 = 0;
    std::int16_t s16 = 0;
    std::int32_t s32 = 0;
    std::uint32_t u32 = 0;
    std::size_t location = 0;
  };
  const Row rows[] = {
      {.text = "70000", .found = true, .u16 = 4464, .s16 = 4464, .s32 = 70000, .u32 = 70000, .location = 5},
      {.text = "-1x", .found = true, .u16 = 65535, .s16 = -1, .s32 = -1, .u32 = 4294967295U, .location = 2},
      {.text = " \t\n+40000 ", .found = true, .u16 = 40000, .s16 = -25536, .s32 = 40000, .u32 = 40000, .location = 9},
      {.text = "99999999999999999999", .found = true, .u16 = 65535, .s16 = -1, .s32 = -1, .u32 = ~0U, .location = 20},
      {.text = "-99999999999999999999", .found = true, .u16 = 0, .s16 = 0, .s32 = 0, .u32 = 0, .location = 21},
      {.text = "", .found = false},
      {.text = "  ", .found = false},
      {.text = "- 5", .found = false},
      {.text = "x5", .found = false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE("'" + row.text + "'");
    std::uint16_t u16 = 7;
    std::int16_t s16 = 7;
    std::int32_t s32 = 7;
    std::uint32_t u32 = 7;
    Scanner scanner(row.text);
    EXPECT_EQ(scanner.scanUInt16(u16), row.found);
    EXPECT_EQ(scanner.scanLocation(), row.location);
    EXPECT_EQ(Scanner(row.text).scanSInt16(s16), row.found);
    EXPECT_EQ(Scanner(row.text).scanSInt32(s32), row.found);
    EXPECT_EQ(Scanner(row.text).scanUInt32(u32), row.found);
    EXPECT_EQ(u16, row.u16);
    EXPECT_EQ(s16, row.s16);
    EXPECT_EQ(s32, row.s32);
    EXPECT_EQ(u32, row.u32);
  }
}

TEST(Scanner, IsHeldToTheLimitsOf64Bits) {
  const std::string least = "-9223372036854775808", beyond = "9223372036854775808";
  std::int64_t number = 0;
  Scanner scanner(least + " " + beyond + " 12");
  EXPECT_TRUE(scanner.scanInteger(number));
  EXPECT_EQ(number, std::numeric_limits<std::int64_t>::min());
  EXPECT_TRUE(scanner.scanInteger(number));
  EXPECT_EQ(number, std::numeric_limits<std::int64_t>::max());
  EXPECT_TRUE(scanner.scanInteger(number));
  EXPECT_EQ(number, 12);
  EXPECT_FALSE(scanner.scanInteger(number));
}

}  // namespace
}  // namespace vlm
