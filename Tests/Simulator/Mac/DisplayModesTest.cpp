#include "Simulator/Mac/DisplayModes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "Simulator/Mac/StandardTimings.h"

namespace vlm::sim {
namespace {

ParsedEdid monitor(const MonitorDescription& description) {
  return std::get<ParsedEdid>(readEdid(std::get<plist::Data>(composeEdid(description))));
}

ParsedEdid laptopPanel() { return monitor({.nativeWidth = 2880, .nativeHeight = 1800}); }

/// "1440x900@2": sizes in points at a scale, each once, in the table's order.
std::vector<std::string> sizesOf(const ModeTable& table, float scale) {
  std::vector<std::string> sizes;
  for (const SimulatedMode& mode : table.modes) {
    const std::string size = std::to_string(mode.width) + "x" + std::to_string(mode.height);
    if (mode.scale == scale && std::ranges::find(sizes, size) == sizes.end()) sizes.push_back(size);
  }
  return sizes;
}

using Sizes = std::vector<std::string>;

const FrameBufferMode& frameBufferOf(const ModeTable& table, const SimulatedMode& mode) {
  return *std::ranges::find(table.frameBufferModes, mode.frameBufferModeID, &FrameBufferMode::id);
}

const SimulatedMode* find(const ModeTable& table, std::uint32_t width, float scale = 1.0F) {
  const auto mode =
      std::ranges::find_if(table.modes, [&](const SimulatedMode& m) { return m.width == width && m.scale == scale; });
  return mode == table.modes.end() ? nullptr : &*mode;
}

std::size_t countFlags(const ModeTable& table, std::uint32_t flag) {
  return static_cast<std::size_t>(
      std::ranges::count_if(table.modes, [&](const SimulatedMode& mode) { return (mode.ioFlags & flag) != 0; }));
}

TEST(DeriveModes, OffersALaptopPanelTheUsualSizesAtTwoPixelsAPoint) {
  const ModeTable table = deriveModes(laptopPanel(), {.hiDPI = true, .scaledSizes = true, .builtIn = true});
  EXPECT_EQ(sizesOf(table, 2), (Sizes{"1024x640", "1152x720", "1280x800", "1440x900", "1680x1050", "1920x1200"}));
  EXPECT_EQ(sizesOf(table, 1), (Sizes{"800x600", "1024x640", "1024x768", "1152x720", "1280x800", "1440x900",
                                      "1680x1050", "1920x1200", "2048x1280", "2560x1600", "2880x1800"}));
  EXPECT_EQ(countFlags(table, kDisplayModeBuiltInFlag), table.modes.size());
  EXPECT_EQ(countFlags(table, kDisplayModeStretchedFlag), 2U);

  // Half the panel is the panel's own timing, unscaled, and what the Mac starts with.
  const SimulatedMode& half = *find(table, 1440, 2);
  EXPECT_EQ(half.number, table.nativeModeNumber);
  EXPECT_EQ(half.frameBufferModeID, find(table, 2880)->frameBufferModeID);
  EXPECT_EQ(frameBufferOf(table, half).scaledWidth, 0U);
  EXPECT_EQ(half.ioFlags & (kDisplayModeNativeFlag | kDisplayModeDefaultFlag),
            kDisplayModeNativeFlag | kDisplayModeDefaultFlag);
  // Other sizes are scaled from two pixels a point; pixels of equal number share a frame-buffer mode.
  const FrameBufferMode& scaled = frameBufferOf(table, *find(table, 1680, 2));
  EXPECT_EQ(scaled.scaledWidth, 3360U);
  EXPECT_EQ(scaled.timing->horizontalActive, 2880U);
  EXPECT_EQ(find(table, 1280, 2)->frameBufferModeID, find(table, 2560)->frameBufferModeID);
}

TEST(DeriveModes, SaysWhatKindOfTimingEachModeIs) {
  const ModeTable table =
      deriveModes(monitor({.nativeWidth = 2560,
                           .nativeHeight = 1440,
                           .moreTimings = {"1920x1080i@60", "1280x720@50", "720x480@59.94", "1024x768"}}),
                  {});
  struct Case {
    const char* name;
    std::uint32_t width;
    std::uint32_t ioFlags, refreshRateFixed;
  };
  constexpr std::uint32_t kSafe = kDisplayModeValidFlag | kDisplayModeSafeFlag;
  const Case cases[] = {
      {"native", 2560, kSafe | kDisplayModeDefaultFlag | kDisplayModeNativeFlag, 0x3c000d},
      {"interlaced television, in fields", 1920, kSafe | kDisplayModeTelevisionFlag | kDisplayModeInterlacedFlag,
       60 << 16},
      {"television", 1280, kSafe | kDisplayModeTelevisionFlag, 50 << 16},
      {"60000/1001", 720, kSafe | kDisplayModeTelevisionFlag, 3928232},
      {"VESA", 1024, kSafe, 0x3c00fc},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const SimulatedMode* mode = find(table, c.width);
    ASSERT_NE(mode, nullptr);
    EXPECT_EQ(mode->ioFlags, c.ioFlags);
    EXPECT_EQ(mode->refreshRateFixed, c.refreshRateFixed);
    EXPECT_EQ(mode->flags, 0U);
  }
  EXPECT_EQ(table.nativeModeNumber, find(table, 2560)->number);
}

TEST(DeriveModes, NumbersEachDepthAndStartsWhereItIsTold) {
  const ParsedEdid edid = monitor({.moreTimings = {"800x600"}});
  const ModeOptions options = {.depths = {8, 32, 64}, .firstModeNumber = 100, .firstFrameBufferModeID = 0x2000};
  const ModeTable table = deriveModes(edid, options);
  ASSERT_EQ(table.modes.size(), 6U);
  for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(table.modes[i].number, 100 + i);
  EXPECT_EQ(table.modes[0].frameBufferModeID, table.modes[2].frameBufferModeID);
  EXPECT_EQ(table.modes[2].pixelEncoding, "-16R16G16B16");
  EXPECT_EQ(table.nativeModeNumber, 104U);  // millions of colours, not the deepest of all
  EXPECT_EQ(table.frameBufferModes.front().id, 0x2000);
  EXPECT_EQ(deriveModes(edid, options).modes, table.modes);
}

TEST(DeriveModes, AddsTheVariableRateBesideTheFixedOne) {
  const ModeTable table = deriveModes(monitor({.nativeWidth = 2560, .nativeHeight = 1440, .nativeRefreshHz = 120}),
                                      {.variableRefresh = true});
  ASSERT_EQ(table.modes.size(), 2U);
  EXPECT_EQ(table.modes[0].variableRefresh, 0U);
  EXPECT_EQ(table.modes[1].variableRefresh, 1U);
  const FrameBufferMode& variable = frameBufferOf(table, table.modes[1]);
  const std::uint32_t frame = variable.timing->verticalActive + variable.timing->verticalBlanking;
  EXPECT_EQ(variable.verticalBlankingExtension, 2 * frame);  // 120 Hz down to 40
  EXPECT_EQ(table.nativeModeNumber, table.modes[0].number);
}

TEST(DeriveModes, MakesAListHardToReadWhenAsked) {
  const ParsedEdid edid = monitor({.moreTimings = {"800x600"}});
  const ModeTable table = deriveModes(edid, {.oddities = true});
  const auto count = [&](auto predicate) { return std::ranges::count_if(table.modes, predicate); };
  EXPECT_EQ(count([](const SimulatedMode& m) { return (m.flags & kModeHiddenFlag) != 0; }), 1);
  EXPECT_EQ(count([](const SimulatedMode& m) { return m.width == 1 && m.height == 1; }), 1);
  EXPECT_EQ(count([](const SimulatedMode& m) { return m.width == 640 && m.height == 400; }), 1);
  EXPECT_EQ(count([](const SimulatedMode& m) { return m.scale > 5; }), 1);
  EXPECT_EQ(count([&](const SimulatedMode& m) { return m.width == 1600 && !frameBufferOf(table, m).timing; }), 2);
  // Three of a kind stand in a row, under their own numbers.
  const auto first = std::ranges::find(table.modes, table.nativeModeNumber, &SimulatedMode::number);
  std::set<std::int32_t> ids;
  for (auto mode = first; mode != first + 3; ++mode) {
    EXPECT_EQ(frameBufferOf(table, *mode).timing, edid.timings[0]);
    EXPECT_EQ(mode->ioFlags, first->ioFlags);
    ids.insert(mode->frameBufferModeID);
  }
  EXPECT_EQ(ids.size(), 3U);
}

TEST(ListModes, KeepsOrderRatesAndSharesEqualPixels) {
  const std::vector<ListedMode> listed = {
      {.width = 1600, .height = 900, .hidden = true},
      {.width = 1280, .height = 720, .refreshHz = 59.94, .scale = 2, .depths = {32, 30}},
      {.width = 2560, .height = 1440, .refreshHz = 59.94},
      {.width = 2560, .height = 1440, .refreshHz = 59.94},
      {.width = 1920, .height = 1080, .interlaced = true},
      {.width = 0, .height = 0, .scale = -1},
      {.width = 1024, .height = 768, .noTimingData = true},
  };
  const ModeTable table = listModes(listed, {});
  ASSERT_EQ(table.modes.size(), 8U);
  EXPECT_EQ(table.modes[0].flags, kModeHiddenFlag);
  EXPECT_EQ(table.nativeModeNumber, table.modes[1].number);
  EXPECT_EQ(table.modes[1].refreshRateFixed, 3928228U);  // 59.94 * 65536
  EXPECT_EQ(table.modes[2].pixelEncoding, pixelEncodingOfDepth(30));
  EXPECT_EQ(table.modes[3].frameBufferModeID, table.modes[1].frameBufferModeID);
  EXPECT_NE(table.modes[4].frameBufferModeID, table.modes[3].frameBufferModeID);
  const Timing& interlaced = *frameBufferOf(table, table.modes[5]).timing;
  EXPECT_TRUE(interlaced.interlaced);
  EXPECT_NEAR(interlaced.refreshRateHz(), 60, 1e-5);
  EXPECT_EQ((interlaced.verticalActive + interlaced.verticalBlanking) % 2, 1U);
  EXPECT_FALSE(frameBufferOf(table, table.modes[6]).timing.has_value());
  EXPECT_FALSE(frameBufferOf(table, table.modes[7]).timing.has_value());
}

// --- Bytes ---

/// A record of zeros with some runs of bytes in it.
struct Run {
  std::size_t offset;
  std::vector<std::uint8_t> bytes;
};

plist::Data recordOf(std::size_t length, const std::vector<Run>& runs) {
  plist::Data record(length);
  for (const Run& run : runs) std::ranges::copy(run.bytes, record.begin() + static_cast<std::ptrdiff_t>(run.offset));
  return record;
}

TEST(ModeDescription, HasEachFieldAtItsPlace) {
  const SimulatedMode mode = {.number = 0x01020304,
                              .frameBufferModeID = -2,
                              .width = 1440,
                              .height = 900,
                              .scale = 2.0F,
                              .refreshRateFixed = 0x3bf0a4,
                              .flags = kModeHiddenFlag,
                              .ioFlags = 0x2000407,
                              .pixelEncoding = "PPPPPPPP"};
  const auto record = modeDescription(mode);
  EXPECT_EQ(plist::Data(record.begin(), record.end()),
            recordOf(220, {{0, {0x04, 0x03, 0x02, 0x01, 0, 0, 0, 0x40, 0xa0, 0x05, 0, 0, 0x84, 0x03, 0, 0}},
                           {48, {'P', 'P', 'P', 'P', 'P', 'P', 'P', 'P'}},
                           {188, {0xa4, 0xf0, 0x3b, 0x00, 0x07, 0x04, 0x00, 0x02, 0xfe, 0xff, 0xff, 0xff}},
                           {208, {0x00, 0x00, 0x00, 0x40}}}));
}

TEST(ModeDescription, NamesEachDepthAsThePlatformDoes) {
  const std::pair<std::uint32_t, const char*> encodings[] = {{8, "PPPPPPPP"},
                                                             {16, "-RRRRRGGGGGBBBBB"},
                                                             {30, "--RRRRRRRRRRGGGGGGGGGGBBBBBBBBBB"},
                                                             {32, "--------RRRRRRRRGGGGGGGGBBBBBBBB"},
                                                             {48, "-16FR16FG16FB16"},
                                                             {64, "-16R16G16B16"},
                                                             {96, "-32FR32FG32FB32"},
                                                             {24, ""}};
  for (const auto& [depth, encoding] : encodings) EXPECT_EQ(pixelEncodingOfDepth(depth), encoding) << depth;
}

TEST(FrameBufferConfig, WritesTimingAndInformationOfAScaledMode) {
  ModeTable table;
  table.frameBufferModes.push_back(
      {.id = 0x1001,
       .ioFlags = kDisplayModeValidFlag | kDisplayModeStretchedFlag | kDisplayModeInterlacedFlag,
       .timing = timingOfVideoCode(5),
       .scaledWidth = 1024,
       .scaledHeight = 768,
       .verticalBlankingExtension = 0x102});
  for (const char* encoding : {"PPPPPPPP", "-RRRRRGGGGGBBBBB"}) {
    table.modes.push_back({.frameBufferModeID = 0x1001, .refreshRateFixed = 60 << 16, .pixelEncoding = encoding});
  }
  const plist::Dictionary config = frameBufferConfig(table);
  const plist::Dictionary& entry = *config.array("IOFBModes")->at(0).dictionary();
  EXPECT_EQ(entry.sInt32("ID"), 0x1001);
  EXPECT_FALSE(entry.contains("AID"));
  EXPECT_EQ(*entry.data("DM"),
            recordOf(36, {{0, {0x00, 0x04, 0, 0, 0x00, 0x03, 0, 0, 0, 0, 60, 0, 1, 0, 0, 0, 0x41, 0x08}}}));
  const std::vector<std::uint8_t> clock = {0x10, 0xf7, 0x6c, 0x04, 0, 0, 0, 0};  // 74.25 MHz
  EXPECT_EQ(*entry.data("TM"), recordOf(160, {{20, {0x01, 0, 0, 0, 0x00, 0x04, 0, 0, 0x00, 0x03, 0, 0, 0x05}},
                                              {40, clock},
                                              {48, clock},
                                              {56, clock},
                                              {64, {0x80, 0x07, 0, 0, 0x18, 0x01, 0, 0, 88, 0, 0, 0, 44, 0, 0, 0}},
                                              {80, {0x38, 0x04, 0, 0, 45, 0, 0, 0, 4, 0, 0, 0, 10, 0, 0, 0}},
                                              {112, {1, 0, 0, 0, 0, 0, 0, 0, 1}},
                                              {132, {0x02, 0x01}},
                                              {136, {1, 0, 2, 0, 1, 0, 1, 0}}}));
}

TEST(FrameBufferConfig, LeavesOutTimingsThatTheDriverDoesNotTellAndNamesKnownOnes) {
  ModeTable table;
  table.digital = false;
  table.frameBufferModes = {{.id = 1, .timing = timingOfDmtCode(0x10)}, {.id = 2}};
  table.modes = {{.frameBufferModeID = 2, .width = 1600, .height = 900}};
  const plist::Dictionary config = frameBufferConfig(table);
  const plist::Dictionary& known = *config.array("IOFBModes")->at(0).dictionary();
  const plist::Dictionary& untold = *config.array("IOFBModes")->at(1).dictionary();
  EXPECT_EQ(known.uInt32("AID"), 190U);
  EXPECT_EQ(known.data("TM")->at(32), 0);  // analog
  EXPECT_EQ(known.data("TM")->at(24), 0);  // not scaled
  EXPECT_FALSE(untold.contains("TM"));
  EXPECT_EQ(*untold.data("DM"), recordOf(36, {{0, {0x40, 0x06, 0, 0, 0x84, 0x03}}}));
}

}  // namespace
}  // namespace vlm::sim
