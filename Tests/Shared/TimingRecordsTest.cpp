#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <set>

#include "Shared/VLFlippers.h"
#include "Shared/VLMEDIDUtils.h"
#include "Tests/Support/TestProcess.h"

namespace vlm {
namespace {

TEST(SyntheticEDID, CarriesVendorAndProductAndIsInOrder) {
  const plist::Data edid = syntheticEDID(0xFFFF4C2D, 0x12340A0B);
  ASSERT_EQ(edid.size(), 128U);
  EXPECT_EQ((plist::Data{edid.begin() + 8, edid.begin() + 12}), (plist::Data{0x4C, 0x2D, 0x0B, 0x0A}));
  EXPECT_EQ(VLMEDID_calcChecksum(edid, 0, 127), 0U);
  EXPECT_EQ(std::string(edid.begin() + 59, edid.begin() + 72), "VLMFakeEDID\n ");
  const plist::Data unknown = syntheticEDID(0x756E6B6E, 0x0A0B);
  EXPECT_EQ((plist::Data{unknown.begin() + 8, unknown.begin() + 12}), (plist::Data{0, 0, 0x0B, 0x0A}));
  EXPECT_EQ(unknown[127], 0x71);
}

TEST(EDIDChecksum, CoversWhatLiesInsideTheBytes) {
  const plist::Data bytes{250, 3, 4, 5};
  EXPECT_EQ(VLMEDID_calcChecksum(bytes, 0, 3), 6U);
  EXPECT_EQ(VLMEDID_calcChecksum(bytes, 1, 2), 7U);
  EXPECT_EQ(VLMEDID_calcChecksum(bytes, 2, 1), 0U);
  EXPECT_EQ(VLMEDID_calcChecksum(bytes, -5, 32767), 6U);
  EXPECT_EQ(VLMEDID_calcChecksum({}, 0, 127), 0U);
}

/// Flips a record whose bytes differ, and tells at which offsets fields of which width were reversed.
template <std::size_t length, class Flip>
void expectReversed(Flip flip, const std::set<std::size_t>& wide, const std::set<std::size_t>& narrow) {
  std::array<std::uint8_t, length> record{};
  for (std::size_t i = 0; i < length; ++i) record[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  const auto original = record;
  auto expected = record;
  for (const std::size_t offset : wide) std::reverse(expected.begin() + offset, expected.begin() + offset + 8);
  for (const std::size_t offset : narrow) std::reverse(expected.begin() + offset, expected.begin() + offset + 4);
  flip(std::span(record), false);
  EXPECT_EQ(record, original);
  flip(std::span(record), true);
  EXPECT_EQ(record, expected);
  flip(std::span(record), true);
  EXPECT_EQ(record, original);
}

TEST(TimingRecords, AreFlippedInTheFieldsThatFilesKeepBigEndian) {
  expectReversed<312>(Common_FlipIOTimingRange, {32, 40}, {64, 68, 72, 76});
  std::set<std::size_t> narrow{20, 24, 28, 32, 36, 112, 116, 120, 124};
  for (std::size_t offset = 64; offset <= 108; offset += 4) narrow.insert(offset);
  expectReversed<160>(Common_FlipIODetailedTimingInformationV2, {40, 48, 56}, narrow);
  expectReversed<36>(Common_FlipIODisplayModeInformation, {}, {0, 4, 16});
}

TEST(TimingRecords, GiveTheirFieldsAsFarAsTheyReach) {
  std::array<std::uint8_t, 160> bytes{};
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  const DetailedTimingFields whole(bytes);
  EXPECT_EQ(whole.scalerFlags(), 0x17161514U);
  EXPECT_EQ(whole.pixelClock(), 0x2F2E2D2C2B2A2928U);
  EXPECT_EQ(whole.verticalBlanking(), 0x57565554U);
  EXPECT_EQ(whole.verticalBlankingExtension(), 0x87868584U);
  EXPECT_EQ(displayModeInformationFlags(bytes), 0x13121110U);

  const DetailedTimingFields old(std::span<const std::uint8_t>(bytes).first(135));
  EXPECT_EQ(old.verticalBlanking(), 0x57565554U);
  EXPECT_EQ(old.verticalBlankingExtension(), std::nullopt);
  const DetailedTimingFields empty({});
  EXPECT_EQ(empty.scalerFlags(), std::nullopt);
  EXPECT_EQ(empty.pixelClock(), std::nullopt);
}

TEST(IODisplay, IsFoundBelowItsFrameBufferAndGivenBack) {
  sim::TestProcess process(sim::desktopWith({"Left"}));
  const sim::SimulatedDisplay& left = process.display("Left");
  EXPECT_EQ(IODisplayForFramebuffer(left.frameBuffer, 0).get(), left.displayService);
  EXPECT_EQ(IODisplayForFramebuffer(left.displayService, 0).get(), left.displayService);
  EXPECT_FALSE(IODisplayForFramebuffer(0, 0));
}

}  // namespace
}  // namespace vlm
