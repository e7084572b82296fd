#include "Simulator/Mac/Edid.h"

#include <gtest/gtest.h>

#include <cmath>

#include "Simulator/Mac/StandardTimings.h"
#include "Tests/Simulator/Mac/EdidTestFiles.h"

namespace vlm::sim {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

/// The parsed EDID; an empty one and a failure when it is refused.
ParsedEdid parsed(const Bytes& edid) {
  auto result = readEdid(edid);
  if (const auto* fault = std::get_if<std::string>(&result)) {
    ADD_FAILURE() << *fault;
    return {};
  }
  return std::get<ParsedEdid>(std::move(result));
}

std::string sizeOf(const Timing& timing) {
  return std::to_string(timing.horizontalActive) + "x" + std::to_string(timing.verticalActive) +
         (timing.interlaced ? "i" : "") + "@" + std::to_string(std::lround(timing.refreshRateHz()));
}

std::vector<std::string> sizesOf(const ParsedEdid& edid) {
  std::vector<std::string> sizes;
  for (const Timing& timing : edid.timings) sizes.push_back(sizeOf(timing));
  return sizes;
}

using Sizes = std::vector<std::string>;

TEST(ReadEdid, TellsIdentityTextsAndTheFirstTimingOfABaseBlock) {
  Bytes edid = baseWith(kFullHd60);
  put(edid, 72, Bytes{0, 0, 0, 0xfc, 0, 'L', 'e', 'f', 't', ' ', 'O', 'n', 'e', '\n', ' ', ' ', ' ', ' '});
  put(edid, 90, Bytes{0, 0, 0, 0xff, 0, 'S', 'N', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B'});
  fixChecksum(edid, 0);
  const ParsedEdid monitor = parsed(edid);
  EXPECT_EQ(monitor.vendor, 0x0443U);
  EXPECT_EQ(monitor.product, 0x1234U);
  EXPECT_EQ(monitor.serial, 0x12345678U);
  EXPECT_EQ(monitor.week, 10U);
  EXPECT_EQ(monitor.year, 2011U);
  EXPECT_TRUE(monitor.digital);
  EXPECT_EQ(monitor.widthCentimetres, 53U);
  EXPECT_EQ(monitor.heightCentimetres, 30U);
  EXPECT_EQ(monitor.name, "Left One");
  EXPECT_EQ(monitor.serialText, "SN123456789AB");
  EXPECT_EQ(monitor.findings, Sizes{});
  const Timing expected = {.pixelClockHz = 148'500'000,
                           .horizontalActive = 1920,
                           .horizontalBlanking = 280,
                           .horizontalSyncOffset = 88,
                           .horizontalSyncWidth = 44,
                           .verticalActive = 1080,
                           .verticalBlanking = 45,
                           .verticalSyncOffset = 4,
                           .verticalSyncWidth = 5,
                           .positiveHorizontalSync = true,
                           .positiveVerticalSync = true,
                           .preferred = true};
  ASSERT_EQ(monitor.timings.size(), 1U);
  EXPECT_EQ(monitor.timings[0], expected);
}

TEST(ReadEdid, TakesWhatAMonitorLeavesOutFromElsewhere) {
  Bytes edid = baseWith(kFullHd60);
  put(edid, 12, Bytes{1, 1, 1, 1});  // "no serial number", spelt like an unused timing
  edid[21] = 0x4f;                   // an aspect ratio, as byte 22 is 0
  edid[22] = 0;
  fixChecksum(edid, 0);
  const ParsedEdid monitor = parsed(edid);
  EXPECT_EQ(monitor.serial, 0U);
  EXPECT_EQ(monitor.widthCentimetres, 70U);
  EXPECT_EQ(monitor.heightCentimetres, 39U);
}

TEST(ReadEdid, CountsTheLinesOfAnInterlacedFrame) {
  for (const auto& [descriptor, code] : {std::pair{kFullHdInterlaced60, 5U}, std::pair{kFullHdInterlaced50Even, 39U}}) {
    const Timing timing = parsed(baseWith(descriptor)).timings.at(0);
    EXPECT_TRUE(isSameSignal(timing, timingOfVideoCode(code).value())) << code;
  }
  EXPECT_DOUBLE_EQ(timingOfVideoCode(5)->refreshRateHz(), 60);  // fields
}

TEST(ReadEdid, KeepsEachTimingOnceUnderItsFirstSource) {
  // 1080p60 as descriptor, standard timing and video codes 16 and 76; 1080i60 beside it.
  Bytes edid = baseWith(kFullHd60);
  put(edid, 38, Bytes{0xd1, 0xc0});
  edid = withExtension(edid, {0x02, 3, 8, 0, 0x43, 16, 76, 5});
  const ParsedEdid monitor = parsed(edid);
  EXPECT_EQ(sizesOf(monitor), (Sizes{"1920x1080@60", "1920x1080i@60"}));
  EXPECT_EQ(monitor.timings[0].source, Timing::Source::detailed);
  EXPECT_EQ(monitor.timings[0].videoCode, 16);
  EXPECT_EQ(monitor.timings[1].source, Timing::Source::cta);
}

TEST(ReadEdid, UnderstandsEstablishedAndStandardTimings) {
  struct Case {
    const char* name;
    std::uint8_t revision, input;
    std::size_t offset;
    Bytes bytes;
    const char* size;
    std::uint64_t clockHz;
  };
  const Case cases[] = {
      {"established: the first bit", 3, 0x80, 35, {0x80}, "720x400@70", 28'320'000},
      {"established: the last bit", 3, 0x80, 37, {0x80}, "1152x870@75", 100'000'000},
      {"standard, in VESA's list", 3, 0x80, 38, {0xb3, 0x00}, "1680x1050@60", 146'250'000},
      {"standard, in the list with reduced blanking only", 3, 0x80, 38, {0xa9, 0xc0}, "1600x900@60", 108'000'000},
      {"standard, an aspect that cannot be said", 3, 0x80, 38, {0x8b, 0xc0}, "1360x768@60", 85'500'000},
      {"standard, square before 1.3", 2, 0x80, 38, {0x31, 0x00}, "640x640@60", 33'097'000},
      {"standard, by GTF before 1.4", 3, 0x80, 38, {0x90, 0x4f}, "1400x1050@75", 156'000'000},
      {"standard, not listed, by GTF", 3, 0x80, 38, {0x99, 0x4a}, "1472x1104@70", 160'860'000},
      {"standard, not listed, by CVT with reduced blanking", 4, 0x80, 38, {0x99, 0x40}, "1472x1104@60", 111'000'000},
      {"standard descriptor",
       3,
       0x80,
       72,
       {0, 0, 0, 0xfa, 0, 0x61, 0x40, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 10},
       "1024x768@60",
       65'000'000},
      {"established III: the last bit",
       4,
       0x80,
       72,
       {0, 0, 0, 0xf7, 0, 10, 0, 0, 0, 0, 0, 0x10},
       "1920x1440@75",
       297'000'000},
      {"CVT code",
       4,
       0x80,
       72,
       {0, 0, 0, 0xf8, 0, 1, 0x0c, 0x28, 0x28, 0, 0, 0, 0, 0, 0, 0, 0, 0},
       "1680x1050@60",
       146'250'000},
      {"CVT code, reduced",
       4,
       0x80,
       72,
       {0, 0, 0, 0xf8, 0, 1, 0x1f, 0x38, 0x21, 0, 0, 0, 0, 0, 0, 0, 0, 0},
       "2560x1600@60",
       268'500'000},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Bytes edid = emptyBase();
    edid[19] = c.revision;
    edid[20] = c.input;
    put(edid, c.offset, c.bytes);
    fixChecksum(edid, 0);
    const ParsedEdid monitor = parsed(edid);
    ASSERT_EQ(sizesOf(monitor), Sizes{c.size});
    EXPECT_EQ(monitor.timings[0].pixelClockHz, c.clockHz);
    EXPECT_EQ(monitor.findings, Sizes{});
  }
}

TEST(ReadEdid, ReadsTheTimingsOfExtensions) {
  // Type I, 5120x2880 at 60 Hz, preferred; Type VII the same with its clock in kHz.
  const Bytes figures = {0x88, 0xff, 0x13, 0x9f, 0x00, 0x2f, 0x80, 0x1f, 0x00,
                         0x3f, 0x0b, 0x49, 0x00, 0x02, 0x80, 0x04, 0x00};
  const auto timing = [&](std::uint8_t tag, const Bytes& clock) {
    Bytes block = {0x70, 0x13, 121, 0, 0, tag, 0, 20};
    block.insert(block.end(), clock.begin(), clock.end());
    block.insert(block.end(), figures.begin(), figures.end());
    return block;
  };
  struct Case {
    const char* name;
    Bytes extension;
    Sizes sizes;
  };
  const Case cases[] = {
      {"CTA: video codes, one native", {0x02, 3, 7, 0, 0x42, 4, 0x93}, {"1920x1080@60", "1280x720@60", "1280x720@50"}},
      {"CTA: codes above 192", {0x02, 3, 6, 0, 0x41, 199}, {"1920x1080@60", "7680x4320@60"}},
      {"CTA: 4:2:0 only", {0x02, 3, 7, 0, 0xe2, 14, 96}, {"1920x1080@60", "3840x2160@50"}},
      {"CTA: revision 1 has no data blocks", {0x02, 1, 7, 0, 0x42, 4, 19}, {"1920x1080@60"}},
      {"DisplayID: larger preferred timing", timing(0x03, {0xd3, 0x6e, 0x01}), {"5120x2880@60", "1920x1080@60"}},
      {"DisplayID: clock in kHz", timing(0x22, {0x77, 0x51, 0x0e}), {"5120x2880@60", "1920x1080@60"}},
      {"DisplayID: DMT codes",
       {0x70, 0x13, 121, 0, 0, 0x06, 0, 2, 0x4c, 0x09},
       {"1920x1080@60", "2560x1600@60", "800x600@60"}},
      {"DisplayID: video codes", {0x70, 0x13, 121, 0, 0, 0x06, 0x40, 1, 31}, {"1920x1080@60", "1920x1080@50"}},
      {"DisplayID: Type II",
       {0x70, 0x13, 121, 0, 0, 0x04, 0, 11, 0x63, 0x19, 0, 0, 0x7f, 0x4e, 0x2f, 0xff, 0x02, 0x25, 0x25},
       {"1920x1080@60", "1024x768@60"}},
      {"DisplayID: Type III by CVT",
       {0x70, 0x13, 121, 0, 0, 0x05, 0, 3, 0x15, 0xd1, 59},
       {"1920x1080@60", "1680x1050@60"}},
      {"DisplayID: size and rate",
       {0x70, 0x20, 121, 0, 0, 0x24, 0, 6, 0x02, 0x6f, 0x0d, 0x9f, 0x05, 119},
       {"1920x1080@60", "3440x1440@120"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const ParsedEdid monitor = parsed(withExtension(baseWith(kFullHd60), c.extension));
    EXPECT_EQ(sizesOf(monitor), c.sizes);
    EXPECT_TRUE(monitor.timings.at(0).preferred);
  }
}

TEST(ReadEdid, PrefersANativeVideoCodeWhenTheBaseBlockHasNoTiming) {
  Bytes edid = emptyBase();
  put(edid, 38, Bytes{0xd1, 0x40});  // 1920x1440, larger
  edid = withExtension(edid, {0x02, 3, 7, 0, 0x42, 4, 0x93});
  EXPECT_EQ(sizesOf(parsed(edid)), (Sizes{"1280x720@50", "1920x1440@60", "1280x720@60"}));
  edid = withExtension(emptyBase(), {0x02, 3, 7, 0, 0x42, 4, 16});
  EXPECT_EQ(sizesOf(parsed(edid)), (Sizes{"1920x1080@60", "1280x720@60"}));  // nothing marked: the largest
}

TEST(ReadEdid, RefusesOnlyWhatHasNoUse) {
  struct Case {
    const char* name;
    Bytes edid;
    const char* fault;
  };
  Bytes headless = baseWith(kFullHd60);
  headless[7] = 0xff;
  const Case cases[] = {{"nothing", {}, "EDID is 0 bytes long, 128 at least"},
                        {"cut", Bytes(127, 0), "EDID is 127 bytes long, 128 at least"},
                        {"no header", headless, "EDID does not begin with its header"},
                        {"no timing", emptyBase(), "EDID has no usable timing"}};
  for (const Case& c : cases) {
    const auto result = readEdid(c.edid);
    ASSERT_TRUE(std::holds_alternative<std::string>(result)) << c.name;
    EXPECT_EQ(std::get<std::string>(result), c.fault) << c.name;
  }
}

TEST(ReadEdid, SaysWhatItLeftOutAndKeepsTheRest) {
  const Bytes good = baseWith(kFullHd60);
  const auto changed = [](Bytes edid, std::size_t offset, std::uint8_t value, bool fix = true) {
    edid[offset] = value;
    if (fix) fixChecksum(edid, offset / 128);
    return edid;
  };
  const Bytes cta = withExtension(good, {0x02, 3, 7, 0, 0x42, 4, 19});
  const Bytes displayId = withExtension(good, {0x70, 0x13, 121, 0, 0, 0x06, 0, 1, 0x4c});
  struct Case {
    const char* name;
    Bytes edid;
    const char* finding;
    std::size_t timings;
  };
  const Case cases[] = {
      {"base checksum", changed(good, 127, static_cast<std::uint8_t>(good[127] + 3), false), "the block sums to 0x03",
       1},
      {"extension checksum", changed(cta, 255, static_cast<std::uint8_t>(cta[255] + 1), false), "block 1: checksum is",
       3},
      {"missing extension", changed(good, 126, 2), "announces 2 extensions, 0 are there", 1},
      {"unannounced extension", changed(cta, 126, 0), "what follows them is not read", 1},
      {"half an extension", Bytes(cta.begin(), cta.begin() + 135), "block 1: is 7 bytes long instead of 128", 3},
      {"unknown extension", changed(cta, 128, 0x40), "kind 0x40 are not read", 1},
      {"empty picture", changed(changed(cta, 59, 0), 61, 0), "block 0: detailed timing 1: picture is empty", 2},
      {"CTA: timings before the data", changed(cta, 130, 3), "begin at byte 3", 1},
      {"CTA: block too long", changed(cta, 132, 0x44), "reaches beyond its collection", 1},
      {"CTA: unassigned code", changed(cta, 133, 128), "block 1: video code 128: no such", 2},
      {"CTA: reserved code", changed(cta, 133, 254), "block 1: video code 254: no such", 2},
      {"DisplayID: section too long", changed(displayId, 130, 200), "reaches beyond its block", 2},
      {"DisplayID: block too long", changed(displayId, 135, 119), "data block 0x06 reaches beyond its section", 1},
      {"DisplayID: unknown code", changed(displayId, 136, 0xee), "data block 0x06: no such timing", 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const ParsedEdid monitor = parsed(c.edid);
    const bool isSaid = std::ranges::any_of(
        monitor.findings, [&](const std::string& text) { return text.find(c.finding) != std::string::npos; });
    EXPECT_TRUE(isSaid) << ::testing::PrintToString(monitor.findings);
    EXPECT_EQ(monitor.timings.size(), c.timings);
  }
}

}  // namespace
}  // namespace vlm::sim
