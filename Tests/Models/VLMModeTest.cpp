#include "Models/VLMMode.h"

#include <gtest/gtest.h>

#include <limits>

namespace vlm {
namespace {

using plist::Dictionary;
using Compare = int (VLMMode::*)(const VLMMode&) const;

std::shared_ptr<VLMMode> modeOf(std::uint32_t width, std::uint32_t height, float hz = 60) {
  auto mode = VLMMode::init();
  mode->Nx = width;
  mode->Ny = height;
  mode->Hz = hz;
  return mode;
}

TEST(Mode, ReadsEveryKeyIntoTheFieldOfItsNameAndWritesItBack) {
  Dictionary dict{{"modeName", "Désk"}, {"freqName", "fast"}, {"Hz", 59.9375}, {"dpi", 2.5}, {"aliasedModeID", 0}};
  std::int64_t number = 0;
  for (const char* key : {"menuVal", "isVRR", "Nx", "Ny", "colorMask", "modeUniqueID", "pixClock", "totalPixels",
                          "totalPixelsMin", "flags", "orientation", "resolutionType"}) {
    dict.set(key, ++number);
  }
  for (const char* key : {"deskResID", "vesaMode", "IOFBModeID"}) dict.set(key, -++number);
  dict.set("sysFlags", 0x80000003U);
  for (int slot = 0; slot < VLMMode::kDepthSlots; ++slot) dict.set("sysModeID[" + std::to_string(slot) + "]", slot - 1);
  const struct {
    const char* name;
    bool VLMMode::*field;
  } kBooleans[] = {{"interlaced", &VLMMode::interlaced}, {"isValidAct", &VLMMode::isValidAct},
                   {"hasIcon", &VLMMode::hasIcon},       {"showInfo", &VLMMode::showInfo},
                   {"isNative", &VLMMode::isNative},     {"isScaled", &VLMMode::isScaled}};
  for (const auto& row : kBooleans) {
    for (const auto& other : kBooleans) dict.set(other.name, &row == &other);
    const auto one = VLMMode::initAndDecodeReadableWith(dict);
    for (const auto& other : kBooleans) EXPECT_EQ((*one).*(other.field), &row == &other) << row.name << other.name;
  }
  const auto mode = VLMMode::initAndDecodeReadableWith(dict);
  EXPECT_EQ(mode->encodeReadable(), dict);
  const VLMMode& m = *mode;
  EXPECT_TRUE(m.menuVal == 1 && m.isVRR == 2 && m.Nx == 3 && m.Ny == 4 && m.colorMask == 5 && m.modeUniqueID == 6);
  EXPECT_TRUE(m.pixClock == 7 && m.totalPixels == 8 && m.totalPixelsMin == 9 && m.flags == 10 && m.orientation == 11);
  EXPECT_TRUE(m.resolutionType == 12 && m.deskResID == -13 && m.vesaMode == -14 && m.IOFBModeID == -15);
  EXPECT_TRUE(m.Hz == 59.9375F && m.definition == 2.5F && m.sysFlags == 0x80000003U && m.sysModeID[8] == 7);
}

TEST(Mode, KeepsItsFirstAspectRatio) {
  const auto mode = VLMMode::initAndDecodeReadableWith({{"Nx", 1920}, {"Ny", 1080}});
  EXPECT_EQ(mode->aspectRatioString(), "16:9");
  mode->Nx = 1440;
  EXPECT_EQ(mode->aspectRatioString(), "16:9");
}

TEST(Mode, MendsWhatAFileGotWrongAndTakesZeroForWhatItLacks) {
  const auto mode = VLMMode::initAndDecodeReadableWith(
      {{"isVRR", 3}, {"dpi", 0}, {"vesaMode", 0x18000}, {"modeUniqueID", -1}, {"Nx", "wide"}, {"modeName", ""}});
  EXPECT_EQ(mode->isVRR, 0U);
  EXPECT_EQ(mode->definition, 1.0F);
  EXPECT_EQ(mode->vesaMode, -32768);
  EXPECT_EQ(mode->modeUniqueID, VLMMode::kNoUniqueID);
  EXPECT_EQ(mode->Nx, 0U);
  // Unlike a fresh mode's, which has none of the depths.
  EXPECT_EQ(mode->sysModeID[8], 0);
  EXPECT_EQ(VLMMode::init()->sysModeID[8], -1);
  EXPECT_FALSE(mode->encodeReadable().contains("modeName"));
  EXPECT_EQ(mode->encodeReadable().uInt64("modeUniqueID"), 0xFFFFFFFFU);
}

TEST(Mode, CountsItsAliasesAndIsNoLongerChosenWhenItBecomesOne) {
  const auto first = VLMMode::init(), second = VLMMode::init();
  second->modeUniqueID = 5;
  {
    const auto alias = VLMMode::init();
    alias->isValidAct = true;
    alias->setAliasedMode(first);
    EXPECT_FALSE(alias->isValidAct);
    alias->setAliasedMode(second);
    EXPECT_EQ(first->destinationOfAlias, 0);
    EXPECT_EQ(second->destinationOfAlias, 1);
    alias->aliasedModeID = 3;
    EXPECT_EQ(alias->encodeReadable().sInt32("aliasedModeID"), 5);
  }
  EXPECT_EQ(second->destinationOfAlias, 0);
}

TEST(ModeOrder, GoesByEachKeyInTurn) {
  const auto base = [] { return modeOf(1920, 1080); };
  const struct {
    const char* name;
    void (*change)(VLMMode&);
    /// Of the changed mode against the unchanged one.
    int order;
  } kRows[] = {
      {.name = "wider, though lower", .change = [](VLMMode& m) { m.Nx = 2000, m.Ny = 1; }, .order = -1},
      {.name = "higher, at a lower scale", .change = [](VLMMode& m) { m.Ny = 1081, m.definition = -1; }, .order = -1},
      {.name = "HiDPI, slower", .change = [](VLMMode& m) { m.definition = 2, m.Hz = 1; }, .order = -1},
      {.name = "faster, interlaced", .change = [](VLMMode& m) { m.Hz = 61, m.interlaced = true; }, .order = -1},
      {.name = "interlaced, variable", .change = [](VLMMode& m) { m.interlaced = true, m.isVRR = 2; }, .order = 1},
      {.name = "variable", .change = [](VLMMode& m) { m.isVRR = 1; }, .order = -1},
      {.name = "no rate", .change = [](VLMMode& m) { m.Hz = std::numeric_limits<float>::quiet_NaN(); }, .order = 1},
      {.name = "the same", .change = [](VLMMode&) {}, .order = 0},
  };
  for (const auto& row : kRows) {
    const auto changed = base();
    row.change(*changed);
    EXPECT_EQ(changed->modeCompare(*base()), row.order) << row.name;
    EXPECT_EQ(base()->modeCompare(*changed), -row.order) << row.name;
  }
}

TEST(ModeOrder, BySurfaceFrequencyAndShape) {
  const auto timed = modeOf(640, 480, 0);
  timed->pixClock = 120 * 1000;
  timed->totalPixels = 1000;
  const struct {
    const char* name;
    Compare compare;
    std::shared_ptr<VLMMode> first, second;
  } kRows[] = {
      {"larger area", &VLMMode::surfaceCompare, modeOf(1000, 1000), modeOf(1900, 500)},
      {"areas from 2^31 on wrap", &VLMMode::surfaceCompare, modeOf(1, 1), modeOf(65536, 32768)},
      {"rate from the timing", &VLMMode::frequencyCompare, timed, modeOf(1920, 1080, 60)},
      {"equal rates, larger first", &VLMMode::frequencyCompare, modeOf(9, 9), modeOf(8, 8)},
      {"longer shape, smaller", &VLMMode::aspectRatioCompare, modeOf(160, 90), modeOf(4000, 3000)},
      {"one name, larger first", &VLMMode::aspectRatioCompare, modeOf(1920, 1080), modeOf(1366, 768)},
      {"portrait against landscape", &VLMMode::aspectRatioCompare, modeOf(900, 1600), modeOf(4000, 3000)},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(((*row.first).*(row.compare))(*row.second), -1) << row.name;
    EXPECT_EQ(((*row.second).*(row.compare))(*row.first), 1) << row.name;
  }
}

TEST(ModeSortKey, PacksWidthHeightRateAndVariableRefresh) {
  const auto mode = modeOf(1920, 1080, 59.5F);
  EXPECT_EQ(mode->modeCompareSortKey(), (1920ULL << 40 | 1080ULL << 16 | 15232ULL));
  mode->isVRR = 1;
  EXPECT_EQ(mode->modeCompareSortKey() & 0xFFFF, 15233U);
  EXPECT_EQ(mode->frequencySortKey(), 59ULL * 65536 + 32768 + 1);
  mode->Ny = 0x80000000;
  EXPECT_EQ(mode->modeCompareSortKey() >> 48, 0xFFFFU);
  EXPECT_EQ(mode->surfaceCompareSortKey(), 1920ULL << 31);
  EXPECT_EQ(VLMMode::init()->frequencySortKey(), 0U);
  mode->Hz = 1e30F;
  mode->frequencySortKey();  // anything, but nothing undefined
  mode->Hz = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(mode->frequencySortKey(), 0U);
}

}  // namespace
}  // namespace vlm
