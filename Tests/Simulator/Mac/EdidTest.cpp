#include "Simulator/Mac/Edid.h"

#include <gtest/gtest.h>

#include "Simulator/Mac/StandardTimings.h"
#include "Tests/Simulator/Mac/EdidTestFiles.h"

namespace vlm::sim {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

/// A descriptor of the base block that is no timing.
Bytes descriptor(std::uint8_t tag, const Bytes& content, std::uint8_t fill = 0) {
  Bytes bytes = {0, 0, 0, tag, 0};
  bytes.insert(bytes.end(), content.begin(), content.end());
  bytes.resize(18, fill);
  return bytes;
}

/// A DisplayID 1.3 extension of one data block.
Bytes displayId(const Bytes& dataBlock) {
  Bytes extension = {0x70, 0x13, 121, 0, 0};
  extension.insert(extension.end(), dataBlock.begin(), dataBlock.end());
  return extension;
}

TEST(ReadEdid, TellsIdentityTextsAndTheFirstTimingOfABaseBlock) {
  Bytes edid = baseWith(kFullHd60);
  put(edid, 72, descriptor(0xfc, {'L', 'e', 'f', 't', ' ', 'O', 'n', 'e', '\n'}, ' '));
  put(edid, 90, descriptor(0xff, {'S', 'N', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B'}));
  const ParsedEdid monitor = parsed(edid);
  EXPECT_EQ(monitor.vendor, 0x0443U);
  EXPECT_EQ(monitor.product, 0x1234U);
  EXPECT_EQ(monitor.serial, 0x12345678U);
  EXPECT_EQ(monitor.year, 2011U);
  EXPECT_TRUE(monitor.digital);
  EXPECT_EQ(monitor.widthCentimetres, 53U);
  EXPECT_EQ(monitor.name, "Left One");
  EXPECT_EQ(monitor.serialText, "SN123456789AB");
  EXPECT_EQ(monitor.findings, std::vector<std::string>());
  ASSERT_EQ(sizesOf(monitor), "1920x1080@60");
  EXPECT_TRUE(isSameSignal(monitor.timings[0], timingOfVideoCode(16).value()));
  // "No serial number" spelt like an unused timing, and a size that only the timing says.
  put(edid, 12, Bytes{1, 1, 1, 1});
  put(edid, 22, Bytes{0});
  EXPECT_EQ(parsed(edid).serial, 0U);
  EXPECT_EQ(parsed(edid).widthCentimetres, 70U);
}

TEST(ReadEdid, CountsTheLinesOfAnInterlacedFrame) {
  const Timing timing = parsed(baseWith(kFullHdInterlaced60)).timings.at(0);
  EXPECT_TRUE(isSameSignal(timing, timingOfVideoCode(5).value()));
  EXPECT_DOUBLE_EQ(timing.refreshRateHz(), 60);  // fields
}

TEST(ReadEdid, KeepsEachTimingOnceUnderItsFirstSource) {
  // 1080p60 as descriptor, standard timing and video codes 16 and 76; 1080i60 beside it.
  Bytes edid = baseWith(kFullHd60);
  put(edid, 38, Bytes{0xd1, 0xc0});
  const ParsedEdid monitor = parsed(withExtension(edid, {0x02, 3, 8, 0, 0x43, 16, 76, 5}));
  EXPECT_EQ(sizesOf(monitor), "1920x1080@60 1920x1080i@60");
  EXPECT_EQ(monitor.timings.at(0).source, Timing::Source::detailed);
  EXPECT_EQ(monitor.timings.at(0).videoCode, 16);
}

TEST(ReadEdid, UnderstandsEstablishedAndStandardTimings) {
  const struct {
    const char* name;
    std::uint8_t revision;
    std::size_t offset;
    Bytes bytes;
    const char* size;
    std::uint64_t clockHz;
  } cases[] = {
      {"established: the last bit", 3, 37, {0x80}, "1152x870@75", 100'000'000},
      {"established III: the last bit", 4, 72, descriptor(0xf7, {10, 0, 0, 0, 0, 0, 0x10}), "1920x1440@75",
       297'000'000},
      {"standard: in VESA's list", 3, 38, {0xb3, 0x00}, "1680x1050@60", 146'250'000},
      {"standard: an aspect that cannot be said", 3, 38, {0x8b, 0xc0}, "1360x768@60", 85'500'000},
      {"standard: square before 1.3", 2, 38, {0x31, 0x00}, "640x640@60", 33'097'000},
      {"standard: not listed, by GTF before 1.4", 3, 38, {0x99, 0x4a}, "1472x1104@70", 160'860'000},
      {"standard: not listed, by reduced CVT", 4, 38, {0x99, 0x40}, "1472x1104@60", 111'000'000},
      {"standard descriptor", 3, 72, descriptor(0xfa, {0x61, 0x40}, 1), "1024x768@60", 65'000'000},
      {"CVT code", 4, 72, descriptor(0xf8, {1, 0x0c, 0x28, 0x28}), "1680x1050@60", 146'250'000},
      {"CVT code, reduced", 4, 72, descriptor(0xf8, {1, 0x1f, 0x38, 0x21}), "2560x1600@60", 268'500'000},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Bytes edid = emptyBase();
    edid[19] = c.revision;
    put(edid, c.offset, c.bytes);
    const ParsedEdid monitor = parsed(edid);
    ASSERT_EQ(sizesOf(monitor), c.size);
    EXPECT_EQ(monitor.timings[0].pixelClockHz, c.clockHz);
    EXPECT_EQ(monitor.findings, std::vector<std::string>());
  }
}

TEST(ReadEdid, ReadsTheTimingsOfExtensions) {
  // 5120x2880 at 60 Hz, preferred; the clock in units of 10 kHz or 1 kHz.
  const auto large = [](std::uint8_t tag, std::uint8_t low, std::uint8_t middle, std::uint8_t high) {
    return displayId({tag,  0,    20,   low,  middle, high, 0x88, 0xff, 0x13, 0x9f, 0x00, 0x2f,
                      0x80, 0x1f, 0x00, 0x3f, 0x0b,   0x49, 0x00, 0x02, 0x80, 0x04, 0x00});
  };
  const struct {
    const char* name;
    Bytes extension;
    const char* sizes;
  } cases[] = {
      {"CTA: video codes, one native", {0x02, 3, 7, 0, 0x42, 4, 0x93}, "1920x1080@60 1280x720@60 1280x720@50"},
      {"CTA: codes above 192", {0x02, 3, 6, 0, 0x41, 199}, "1920x1080@60 7680x4320@60"},
      {"CTA: 4:2:0 only", {0x02, 3, 7, 0, 0xe2, 14, 96}, "1920x1080@60 3840x2160@50"},
      {"CTA: revision 1 has no data blocks", {0x02, 1, 7, 0, 0x42, 4, 19}, "1920x1080@60"},
      {"DisplayID: larger preferred timing", large(0x03, 0xd3, 0x6e, 0x01), "5120x2880@60 1920x1080@60"},
      {"DisplayID: clock in kHz", large(0x22, 0x77, 0x51, 0x0e), "5120x2880@60 1920x1080@60"},
      {"DisplayID: DMT codes", displayId({6, 0, 2, 0x4c, 0x09}), "1920x1080@60 2560x1600@60 800x600@60"},
      {"DisplayID: video codes", displayId({6, 0x40, 1, 31}), "1920x1080@60 1920x1080@50"},
      {"DisplayID: size and rate", displayId({0x24, 0, 6, 2, 0x6f, 13, 0x9f, 5, 119}), "1920x1080@60 3440x1440@120"},
  };
  for (const auto& c : cases) {
    const ParsedEdid monitor = parsed(withExtension(baseWith(kFullHd60), c.extension));
    EXPECT_EQ(sizesOf(monitor), c.sizes) << c.name;
    EXPECT_TRUE(monitor.timings.at(0).preferred) << c.name;
  }
}

TEST(ReadEdid, RefusesOnlyWhatHasNoUse) {
  Bytes headless = baseWith(kFullHd60);
  headless[7] = 0xff;
  const auto fault = [](const Bytes& edid) { return std::get<std::string>(readEdid(edid)); };
  EXPECT_EQ(fault({}), "EDID is 0 bytes long, 128 at least");
  EXPECT_EQ(fault(Bytes(127, 0)), "EDID is 127 bytes long, 128 at least");
  EXPECT_EQ(fault(headless), "EDID does not begin with its header");
  EXPECT_EQ(fault(emptyBase()), "EDID has no usable timing");
}

TEST(ReadEdid, SaysWhatItLeftOutAndKeepsTheRest) {
  const Bytes good = baseWith(kFullHd60);
  const auto changed = [](Bytes edid, std::size_t offset, unsigned value) {
    edid[offset] = static_cast<std::uint8_t>(value);
    if (offset % 128 != 127) fixChecksum(edid, offset / 128);
    return edid;
  };
  const Bytes cta = withExtension(good, {0x02, 3, 7, 0, 0x42, 4, 19});
  const Bytes displayID = withExtension(good, displayId({0x06, 0, 1, 0x4c}));
  const struct {
    Bytes edid;
    const char* finding;
    std::size_t timings;
  } cases[] = {
      {changed(good, 127, good[127] + 3U), "the block sums to 0x03", 1},
      {changed(cta, 255, cta[255] + 1U), "block 1: checksum is", 3},
      {changed(good, 126, 2), "announces 2 extensions, 0 are there", 1},
      {changed(cta, 126, 0), "what follows them is not read", 1},
      {Bytes(cta.begin(), cta.begin() + 135), "block 1: is 7 bytes long instead of 128", 3},
      {changed(cta, 128, 0x40), "kind 0x40 are not read", 1},
      {changed(changed(cta, 59, 0), 61, 0), "block 0: detailed timing 1: picture is empty", 2},
      {changed(cta, 130, 3), "begin at byte 3", 1},
      {changed(cta, 132, 0x44), "reaches beyond its collection", 1},
      {changed(cta, 133, 128), "block 1: video code 128: no such", 2},
      {changed(displayID, 130, 200), "reaches beyond its block", 2},
      {changed(displayID, 135, 119), "data block 0x06 reaches beyond its section", 1},
      {changed(displayID, 136, 0xee), "data block 0x06: no such timing", 1},
  };
  for (const auto& c : cases) {
    const ParsedEdid monitor = parsed(c.edid);
    EXPECT_NE(::testing::PrintToString(monitor.findings).find(c.finding), std::string::npos)
        << c.finding << " is not in " << ::testing::PrintToString(monitor.findings);
    EXPECT_EQ(monitor.timings.size(), c.timings) << c.finding;
  }
}

}  // namespace
}  // namespace vlm::sim
