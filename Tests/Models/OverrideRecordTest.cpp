#include <gtest/gtest.h>

#include <algorithm>

#include "Models/VLMOverrideBoolSettting.h"
#include "Models/VLMOverrideDisplayName.h"
#include "Models/VLMOverrideMonitorRange.h"
#include "Shared/VLFlippers.h"

namespace vlm {
namespace {

using plist::Data;

TEST(OverrideRecord, KeepsTheTimingRangeAtThePlatformsPlaces) {
  Data platforms(312);
  const auto put = [&](std::ptrdiff_t at, const Data& bytes) { std::ranges::copy(bytes, platforms.begin() + at); };
  put(32, {0x40, 0x78, 0x7d, 0x01, 0, 0, 0, 0});     // 25 MHz
  put(40, {0x00, 0x46, 0xc3, 0x23, 0, 0, 0, 0});     // 600 MHz
  put(64, {48, 0, 0, 0, 144, 0, 0, 0});              // Hz
  put(72, {0x30, 0x75, 0, 0, 0xB8, 0x82, 0x01, 0});  // 30 and 99 kHz
  const auto range = VLMOverrideMonitorRange::initWithIODisplayTimingRange(platforms, 2, true);
  ASSERT_NE(range, nullptr);
  EXPECT_EQ(range->minPClock, 25);
  EXPECT_EQ(range->maxPClock, 600);
  EXPECT_EQ(range->minV, 48U);
  EXPECT_EQ(range->maxH, 99);
  plist::Dictionary content;
  range->addInOverrideDictionary(content);
  EXPECT_EQ(*content.data("trng"), platforms);

  put(40, Data(8, 0xFF));
  put(72, Data(4, 0xFF));
  const auto open = VLMOverrideMonitorRange::initWithIODisplayTimingRange(platforms, 2, true);
  EXPECT_TRUE(open->maxPClock == 0 && open->minH == 0 && open->maxH == 99);
  EXPECT_EQ(VLMOverrideMonitorRange::initWithIODisplayTimingRange(Data(311), 2, true), nullptr);
}

TEST(OverrideRecord, ReadsPascalStrings) {
  const auto nameOf = [](const Data& bytes) {
    const auto record = VLMOverrideDisplayName::initWithPascalString(bytes, true);
    return record == nullptr ? std::string("none") : record->name.value_or("");
  };
  EXPECT_EQ(nameOf({}), "none");
  EXPECT_EQ(nameOf({0, 'A'}), "none");
  EXPECT_EQ(nameOf({2, 'A', 0x8E, 'C'}), "Aé");
  EXPECT_EQ(nameOf({200, 'A', 'B'}), "AB") << "a length beyond the bytes";
}

TEST(OverrideRecord, ChangesThePolicyOnlyWhereTheFileHasItOtherwise) {
  for (const bool inFile : {false, true}) {
    for (const bool wanted : {false, true}) {
      VLMOverrideBoolSettting policy;
      policy.settingActual = wanted;
      policy.fillWithValue(inFile, kOverrideFoundInOverrideFile);
      plist::Dictionary content;
      if (inFile) content.set("policy", Data{9});
      policy.addInOverrideDictionary(content, "policy");
      EXPECT_EQ(content.contains("policy"), wanted);
      if (wanted) {
        EXPECT_EQ(*content.data("policy"), inFile ? Data{9} : (Data{0, 0, 0, 0, 0, 0, 0, 1}));
      }
      EXPECT_EQ(policy.isModified(), wanted);
      policy.encodeReadable();
      EXPECT_FALSE(policy.isModified());
    }
  }
}

TEST(OverrideRecord, TakesTheSyncWidthThatNamesTheShape) {
  EXPECT_EQ(IODisplayGetCVTSyncWidth(1366, 768, 1), 5);
  EXPECT_EQ(IODisplayGetCVTSyncWidth(1280, 1024, 2), 7);
  EXPECT_EQ(IODisplayGetCVTSyncWidth(1000, 1000, 0), 10);
  EXPECT_EQ(IODisplayGetCVTSyncWidth(1000, 1000, 3), 8);
}

}  // namespace
}  // namespace vlm
