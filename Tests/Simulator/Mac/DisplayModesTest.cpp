#include "Simulator/Mac/DisplayModes.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "Simulator/Mac/StandardTimings.h"

namespace vlm::sim {
namespace {

ModeTable modesOf(const MonitorDescription& monitor, const ModeOptions& options) {
  return deriveModes(std::get<ParsedEdid>(readEdid(std::get<plist::Data>(composeEdid(monitor)))), options);
}

/// "1440x900 1680x1050": sizes in points at a scale, each once, in the table's order.
std::string sizesOf(const ModeTable& table, float scale) {
  std::string sizes;
  for (const SimulatedMode& mode : table.modes) {
    const std::string size = std::to_string(mode.width) + "x" + std::to_string(mode.height);
    if (mode.scale == scale && sizes.find(size) == std::string::npos) sizes += (sizes.empty() ? "" : " ") + size;
  }
  return sizes;
}

const FrameBufferMode& frameBufferOf(const ModeTable& table, const SimulatedMode& mode) {
  return *std::ranges::find(table.frameBufferModes, mode.frameBufferModeID, &FrameBufferMode::id);
}

/// There must be one.
const SimulatedMode& find(const ModeTable& table, std::uint32_t width, float scale = 1.0F) {
  return *std::ranges::find_if(table.modes,
                               [&](const SimulatedMode& m) { return m.width == width && m.scale == scale; });
}

TEST(DeriveModes, OffersALaptopPanelTheUsualSizesAtTwoPixelsAPoint) {
  const ModeTable table =
      modesOf({.nativeWidth = 2880, .nativeHeight = 1800}, {.hiDPI = true, .scaledSizes = true, .builtIn = true});
  EXPECT_EQ(sizesOf(table, 2), "1024x640 1152x720 1280x800 1440x900 1680x1050 1920x1200");
  EXPECT_EQ(sizesOf(table, 1),
            "800x600 1024x640 1024x768 1152x720 1280x800 1440x900 1680x1050 1920x1200 2048x1280 2560x1600 2880x1800");
  constexpr std::uint32_t kNativeAndDefault = kDisplayModeNativeFlag | kDisplayModeDefaultFlag;
  // Half the panel is the panel's own timing, unscaled, and what the Mac starts with.
  const SimulatedMode& half = find(table, 1440, 2);
  EXPECT_EQ(half.number, table.nativeModeNumber);
  EXPECT_EQ(half.ioFlags & kNativeAndDefault, kNativeAndDefault);
  EXPECT_EQ(half.frameBufferModeID, find(table, 2880).frameBufferModeID);
  EXPECT_EQ(frameBufferOf(table, half).scaledWidth, 0U);
  // Other sizes are scaled from two pixels a point; pixels of equal number share a frame-buffer mode.
  const FrameBufferMode& scaled = frameBufferOf(table, find(table, 1680, 2));
  EXPECT_EQ(scaled.scaledWidth, 3360U);
  EXPECT_EQ(scaled.timing->horizontalActive, 2880U);
  EXPECT_EQ(find(table, 1280, 2).frameBufferModeID, find(table, 2560).frameBufferModeID);
}

TEST(DeriveModes, NumbersEachDepthAndAddsTheVariableRateBesideTheFixedOne) {
  const ModeTable deep = modesOf({}, {.depths = {8, 32, 64}, .firstModeNumber = 100, .firstFrameBufferModeID = 0x2000});
  ASSERT_EQ(deep.modes.size(), 3U);
  EXPECT_EQ(deep.modes[2].number, 102U);
  EXPECT_EQ(deep.modes[2].frameBufferModeID, 0x2000);
  EXPECT_EQ(deep.modes[2].pixelEncoding, "-16R16G16B16");
  EXPECT_EQ(deep.nativeModeNumber, 101U);  // millions of colours, not the deepest of all
  const ModeTable table = modesOf({.nativeRefreshHz = 120}, {.variableRefresh = true});
  ASSERT_EQ(table.modes.size(), 2U);
  EXPECT_EQ(table.modes[1].variableRefresh, 1U);
  EXPECT_EQ(table.nativeModeNumber, table.modes[0].number);
  const FrameBufferMode& variable = frameBufferOf(table, table.modes[1]);
  EXPECT_EQ(variable.verticalBlankingExtension,
            2 * (variable.timing->verticalActive + variable.timing->verticalBlanking));  // 120 Hz down to 40
}

// --- Bytes ---

/// A record of zeros with some runs of bytes in it.
plist::Data recordOf(std::size_t length, const std::vector<std::pair<std::ptrdiff_t, plist::Data>>& runs) {
  plist::Data record(length);
  for (const auto& [offset, bytes] : runs) std::ranges::copy(bytes, record.begin() + offset);
  return record;
}

TEST(ModeDescription, HasEachFieldAtItsPlace) {
  const auto record = modeDescription({.number = 0x01020304,
                                       .frameBufferModeID = -2,
                                       .width = 1440,
                                       .height = 900,
                                       .scale = 2.0F,
                                       .refreshRateFixed = 0x3bf0a4,
                                       .flags = kModeHiddenFlag,
                                       .ioFlags = 0x2000407,
                                       .pixelEncoding = "PPPPPPPP"});
  EXPECT_EQ(plist::Data(record.begin(), record.end()),
            recordOf(220, {{0, {0x04, 0x03, 0x02, 0x01, 0, 0, 0, 0x40, 0xa0, 0x05, 0, 0, 0x84, 0x03, 0, 0}},
                           {48, {'P', 'P', 'P', 'P', 'P', 'P', 'P', 'P'}},
                           {188, {0xa4, 0xf0, 0x3b, 0x00, 0x07, 0x04, 0x00, 0x02, 0xfe, 0xff, 0xff, 0xff}},
                           {208, {0x00, 0x00, 0x00, 0x40}}}));
}

TEST(FrameBufferConfig, WritesTimingAndInformationUnlessTheDriverDoesNotTell) {
  ModeTable table;
  table.frameBufferModes = {{.id = 0x1001,
                             .ioFlags = kDisplayModeValidFlag | kDisplayModeStretchedFlag | kDisplayModeInterlacedFlag,
                             .timing = timingOfVideoCode(5),
                             .scaledWidth = 1024,
                             .scaledHeight = 768,
                             .verticalBlankingExtension = 0x102},
                            {.id = 2}};
  for (const char* encoding : {"PPPPPPPP", "-RRRRRGGGGGBBBBB"}) {
    table.modes.push_back({.frameBufferModeID = 0x1001, .refreshRateFixed = 60 << 16, .pixelEncoding = encoding});
  }
  table.modes.push_back({.frameBufferModeID = 2, .width = 1600, .height = 900});
  const plist::Dictionary config = frameBufferConfig(table);
  const plist::Dictionary& entry = *config.array("IOFBModes")->at(0).dictionary();
  EXPECT_EQ(entry.sInt32("ID"), 0x1001);
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
  const plist::Dictionary& untold = *config.array("IOFBModes")->at(1).dictionary();
  EXPECT_FALSE(untold.contains("TM"));
  EXPECT_EQ(*untold.data("DM"), recordOf(36, {{0, {0x40, 0x06, 0, 0, 0x84, 0x03}}}));
}

}  // namespace
}  // namespace vlm::sim
