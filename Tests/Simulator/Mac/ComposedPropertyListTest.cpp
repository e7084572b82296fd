#include <gtest/gtest.h>

#include <random>
#include <string>

#include "Simulator/Mac/PropertyListFile.h"

namespace vlm::sim {
namespace {

using plist::Array;
using plist::Dictionary;

TEST(ComposedPropertyList, MeansTheSameToLibplistAlsoWhenItIsDamaged) {
  const std::string whole = composePropertyList(
      Dictionary{{"a", -15},
                 {"b", "x<&>y\n\t "},
                 {"c", Array{true, Dictionary{{"d", 18446744073709551615ULL}}, 59.939998626708984, Array{}}},
                 {"e", ""}});
  ASSERT_TRUE(readComposedPropertyList(whole));
  std::mt19937 random(1);  // the same damage every time
  int stillRead = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string damaged = whole;
    for (int change = 0; change <= i % 3; ++change) {
      const auto anywhere = [&] {
        return kPropertyListHead.size() + random() % (whole.size() - kPropertyListHead.size());
      };
      damaged[anywhere()] = whole[anywhere()];
    }
    const auto composed = readComposedPropertyList(damaged);
    if (!composed) continue;
    ++stillRead;
    // A comment sends the file the long way.
    EXPECT_EQ(parsePropertyList(damaged.insert(kPropertyListHead.size(), "<!-- -->")).value, composed) << damaged;
  }
  EXPECT_GT(stillRead, 100);
}

}  // namespace
}  // namespace vlm::sim
