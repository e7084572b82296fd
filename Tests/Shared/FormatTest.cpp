#include "Shared/Format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Shared/Log.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm {
namespace {

TEST(Format, ConvertsAsPrintfDoes) {
  struct Row {
    const char* name;
    std::string made;
    std::string expected;
  };
  const Row rows[] = {
      {"decimal", format("%d %i %u %ld %lu %llu", -1, 2, 3U, -4L, 5UL, 6ULL), "-1 2 3 -4 5 6"},
      {"limits", format("%ld %llu", std::numeric_limits<std::int64_t>::min(), ~0ULL),
       "-9223372036854775808 18446744073709551615"},
      {"width of the type", format("%d %u %hd %hhu", 0x1'0000'0002, -1, 70000, 257), "2 4294967295 4464 1"},
      {"hexadecimal", format("%x %X %lX %lx %#x %#x", -1, 0xAB, 0xCDEFU, -1, 255, 0),
       "ffffffff AB CDEF ffffffffffffffff 0xff 0"},
      {"flags", format("[%5d][%-5d][%05d][%+d][% d][%.3d][%08.3d]", 42, 42, -42, 42, 42, 7, 7),
       "[   42][42   ][-0042][+42][ 42][007][     007]"},
      {"reals", format("%g %g %.2f %f %e %07.2f", 60.0, 59.94, 2.345, -0.5, 1.0, -1.5),
       "60 59.94 2.35 -0.500000 1.000000e+00 -001.50"},
      {"infinite", format("%05g %.1f", -INFINITY, 1e300).substr(0, 9), " -inf 100"},
      {"texts", format("[%s][%6s][%-6s][%.2s]", "ab", "ab", std::string("ab"), std::string_view("abc")),
       "[ab][    ab][ab    ][ab]"},
      {"cut before half a character", format("%.2s", "aé"), "a"},
      {"characters", format("%c%c [%4c] [%4c]", 'x', 65, 0x564C4D73U, 0x566C0073), "xA [VLMs] [Vl.s]"},
      {"signs", format("100 %% %@", 1), "100 % 1"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.made, row.expected) << row.name;
}

TEST(Format, ShowsAnythingUnderTheObjectConversion) {
  const plist::Dictionary dict{{"Nx", 1}};
  const plist::Dictionary* none = nullptr;
  enum class Kind : std::uint8_t { second = 2 };
  EXPECT_EQ(format("%@ %@ %@ %@ %@", "text", -5, 59.94F, 59.94, true), "text -5 59.94 59.94 1");
  EXPECT_EQ(format("%@ %@ %@", std::optional<int>(), std::optional<std::string>("x"), none), "(null) x (null)");
  EXPECT_EQ(format("%@ %@ %@ %@", dict, &dict, plist::Value("bare"), plist::Array{1, 2}),
            "{Nx = 1} {Nx = 1} bare (1, 2)");
  EXPECT_EQ(format("%d %@", Kind::second, lazily([] { return std::string("made"); })), "2 made");
  EXPECT_EQ(format("%p %p", nullptr, reinterpret_cast<const void*>(0xAB0)), "0x0 0xab0");
}

TEST(Format, DoesNoHarmWhenTextAndArgumentsDoNotMatch) {
  EXPECT_EQ(format("%d of %@", 1), "1 of (missing)");
  EXPECT_EQ(format("%d", 1, 2), "1");
  EXPECT_EQ(format("%d %g %x %s", "one", "two", std::optional<std::string>("three"), 4), "one two three 4");
  EXPECT_EQ(format("%d %d %g", 1e30, std::optional<int>(), 7), "-1 0 7");
  EXPECT_EQ(format("50% %y %", 1), "50% %y %");
  EXPECT_EQ(format("%-0", 1), "%-0");
  EXPECT_EQ(format("%999999999d", 1).size(), 512U);
  EXPECT_EQ(format("%.999999999f", 0.0).size(), 514U);
  EXPECT_EQ(format("%@", "%d"), "%d");
}

TEST(Log, MakesNoTextWhileNobodyReadsIt) {
  sim::SimulatedMac mac{sim::MachineDescription{}};
  Process::Scope scope(mac.addSession({.name = "daemon"}).process());
  int made = 0;
  const auto costly = lazily([&] { return ++made; });
  mac.logEnabled = false;
  VLMLog("value %@", costly);
  EXPECT_EQ(made, 0);
  mac.logEnabled = true;
  VLMLog("value %@", costly);
  EXPECT_EQ(mac.log, std::vector<std::string>{"daemon: value 1"});
}

}  // namespace
}  // namespace vlm
