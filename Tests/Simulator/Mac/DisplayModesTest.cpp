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

TEST(DeriveModes, HasANativeModeWithASizeForEveryPanel) {
  const ModeOptions options{.hiDPI = true, .scaledSizes = true, .oddities = true, .builtIn = true};
  const auto panelOf = [](std::uint32_t width, std::uint32_t height, bool interlaced) {
    return Timing{.pixelClockHz = 100'000'000,
                  .horizontalActive = width,
                  .horizontalBlanking = 280,
                  .verticalActive = height,
                  .verticalBlanking = 45,
                  .interlaced = interlaced,
                  .preferred = true};
  };
  // Two pixels a point are not for fields, and three quarters of a few lines are none.
  for (const Timing& panel : {panelOf(1920, 1080, true), panelOf(4096, 2160, true), panelOf(1920, 6, false)}) {
    ParsedEdid edid;
    edid.timings = {panel};
    const ModeTable table = deriveModes(edid, options);
    EXPECT_TRUE(std::ranges::any_of(table.modes, [&](const auto& m) { return m.number == table.nativeModeNumber; }));
    for (const SimulatedMode& mode : table.modes) EXPECT_TRUE(mode.width != 0 && mode.height != 0);
  }
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

}  // namespace
}  // namespace vlm::sim
