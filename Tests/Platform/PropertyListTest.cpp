#include "Platform/PropertyList.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace vlm::plist {
namespace {

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();

TEST(PropertyListNumbers, ConvertIntoEachOther) {
  constexpr std::uint64_t kMost = ~0ULL;
  struct Row {
    const char* name;
    Value value;
    bool boolean;
    std::int64_t sInt64;
    std::uint64_t uInt64;
    std::int32_t sInt32;
    std::int16_t sInt16;
  };
  const Row rows[] = {
      {"true", true, true, 1, 1, 1, 1},
      {"wider integer", 0x1'0001'1170, true, 0x1'0001'1170, 0x1'0001'1170, 70000, 4464},
      {"negative integer", -2, true, -2, kMost - 1, -2, -2},
      {"unsigned beyond 63 bits", kMost, true, -1, kMost, -1, -1},
      {"half", 0.5, true, 0, 0, 0, 0},
      {"negative real", -1.9, true, -1, kMost, -1, -1},
      {"huge real", 1e30, true, kGreatest, kMost, -1, -1},
      {"huge negative real", -1e30, true, kLeast, 1ULL << 63, 0, 0},
      {"not a number", std::nan(""), false, 0, 0, 0, 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Dictionary dict{{"n", row.value}};
    EXPECT_EQ(dict.boolean("n", !row.boolean), row.boolean);
    EXPECT_EQ(dict.sInt64("n", 7), row.sInt64);
    EXPECT_EQ(dict.uInt64("n", 7), row.uInt64);
    EXPECT_EQ(dict.sInt32("n", 7), row.sInt32);
    EXPECT_EQ(dict.uInt32("n", 7), static_cast<std::uint32_t>(row.sInt32));
    EXPECT_EQ(dict.sInt16("n", 7), row.sInt16);
    EXPECT_EQ(dict.number("n"), row.sInt64);
  }
  EXPECT_EQ(Dictionary({{"n", 1e300}}).real32("n"), std::numeric_limits<float>::infinity());
}

TEST(PropertyListNumbers, AreTheDefaultWhenMissingOrNoNumber) {
  const Dictionary dict{{"text", "12"}, {"list", Array{1}}};
  for (const char* key : {"text", "list", "missing"}) {
    SCOPED_TRACE(key);
    EXPECT_TRUE(dict.boolean(key, true));
    EXPECT_EQ(dict.sInt64(key, 3), 3);
    EXPECT_EQ(dict.uInt64(key, 3), 3U);
    EXPECT_EQ(dict.real(key, 2.5), 2.5);
    EXPECT_EQ(dict.number(key), std::nullopt);
  }
  EXPECT_EQ(dict.string("list"), std::nullopt);
  EXPECT_EQ(dict.array("text"), nullptr);
}

TEST(PropertyListValue, IsEqualByKindAndContent) {
  EXPECT_EQ(Value(5U), Value(5LL));
  EXPECT_EQ(Value(5ULL), Value(5));
  EXPECT_NE(Value(~0ULL), Value(-1));
  EXPECT_NE(Value(1), Value(true));
  EXPECT_NE(Value(1), Value(1.0));
  EXPECT_EQ(Value(Dictionary{{"a", Array{1, "x"}}}), Value(Dictionary{{"a", Array{1, "x"}}}));
}

std::string keys(const Dictionary& dict) {
  std::string text;
  for (const Entry& entry : dict) text += entry.key + " ";
  return text;
}

TEST(PropertyListDictionary, KeepsEachKeyOnceInByteOrderHoweverItIsFilled) {
  Dictionary set;
  for (const char* key : {"b", "\xC3\xA9", "a", "10", "b", "2", ""}) set.set(key, 1);
  EXPECT_EQ(keys(set), " 10 2 a b \xC3\xA9 ");
  set.remove("a");
  set.remove("c");
  set.remove("zz");
  EXPECT_EQ(keys(set), " 10 2 b \xC3\xA9 ");

  const Dictionary made(std::vector<Entry>{{"b", 1}, {"a", 1}, {"b", 2}, {"c", 1}, {"a", 3}, {"b", 3}});
  EXPECT_EQ(made, (Dictionary{{"a", 3}, {"b", 3}, {"c", 1}}));
  EXPECT_EQ(made.find("bb"), nullptr);
  EXPECT_EQ(made.find("d"), nullptr);
}

TEST(PropertyListDescription, IsShortAndReadable) {
  const Dictionary dict{{"Nx", 1920},
                        {"big", ~0ULL},
                        {"hz", 59.94},
                        {"list", Array{1, true, Dictionary()}},
                        {"name", "Left \"1\"\n"},
                        {"edid", Data(17, 0xAB)},
                        {"short", Data{0, 0xFF}}};
  EXPECT_EQ(describe(dict),
            "{Nx = 1920; big = 18446744073709551615; edid = <abababababababababababababababab…>; hz = 59.94; "
            "list = (1, true, {}); name = \"Left \\\"1\\\"\\n\"; short = <00ff>}");
}

TEST(PropertyListDescription, EndsAtADepth) {
  Value nested = 1;
  for (int i = 0; i < 31; ++i) nested = Array{nested};
  EXPECT_NE(describe(nested).find('1'), std::string::npos);
  for (int i = 0; i < 2; ++i) nested = Array{nested};
  EXPECT_EQ(describe(nested), std::string(32, '(') + "…" + std::string(32, ')'));
}

}  // namespace
}  // namespace vlm::plist
