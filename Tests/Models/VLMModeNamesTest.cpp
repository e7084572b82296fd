#include <gtest/gtest.h>

#include <limits>

#include "Models/CADisplayModeNames.h"
#include "Models/VLMMode.h"
#include "Tests/Support/TestProcess.h"

namespace vlm {
namespace {

sim::MachineDescription laptopWithSeparator(const std::string& separator) {
  auto machine = sim::laptopWith({});
  machine.decimalSeparator = separator;
  return machine;
}

/// 1920 × 1080 at 60 Hz.
std::shared_ptr<VLMMode> usualMode() {
  auto mode = VLMMode::init();
  mode->Nx = 1920;
  mode->Ny = 1080;
  mode->Hz = 60;
  mode->definition = 1;
  return mode;
}

/// From 47.99 to 120 Hz, as a timing has it.
void makeVariable(VLMMode& mode) {
  mode.isVRR = 1;
  mode.pixClock = 533250000;
  mode.totalPixels = 4444000;
  mode.totalPixelsMin = 11112000;
}

TEST(ModeNames, SayWhatIsKnownOfTheMode) {
  const sim::TestProcess process(laptopWithSeparator("."));
  constexpr std::uint32_t kAllFlags = kSysFlagTelevision | kSysFlagStretched | kSysFlagSimulscan | kSysFlagBuiltIn;
  const struct {
    const char* name;
    void (*change)(VLMMode&);
    const char *inMenu, *frequency, *longFrequency, *small;
  } kRows[] = {
      {"small size", [](VLMMode& m) { m.Nx = 800, m.Ny = 600; },  //
       "  800 × 600, 60 Hz", "60 Hz", "60 Hertz", "  800 × 600, 60 Hz"},
      {"interlaced HiDPI", [](VLMMode& m) { m.interlaced = true, m.Hz = 59.94F, m.definition = 2; },
       "1920 × 1080i, 59.94 Hz", "59.94 Hz", "59.94 Hertz", "1920 × 1080i, 59.94 Hz (HiDPI)"},
      {"nearly whole rate", [](VLMMode& m) { m.Hz = 59.995F; },  //
       "1920 × 1080, 60 Hz", "60 Hz", "60 Hertz", "1920 × 1080, 60 Hz"},
      {"rate in the timing alone", [](VLMMode& m) { m.Hz = 0, m.pixClock = 148500000, m.totalPixels = 2475000; },
       "1920 × 1080", "60 Hz", "60 Hertz", "1920 × 1080"},
      {"no rate at all", [](VLMMode& m) { m.Hz = 0; },  //
       "1920 × 1080", "? Hz", "Unknown rate", "1920 × 1080"},
      // The lower end counts as whole in the mode's name alone.
      {"variable rate", makeVariable,  //
       "1920 × 1080 (Variable 48-120 Hz)", "Variable (47.99-120 Hz)", "Variable (47.99-120 Hertz)",
       "1920 × 1080 (Variable 48-120 Hz)"},
      {"variable rate without a range", [](VLMMode& m) { m.isVRR = 2; },  //
       "1920 × 1080 (Adaptive)", "Adaptive", "Adaptive", "1920 × 1080 (Adaptive)"},
      // The suffixes stand twice in the longer name, on purpose.
      {"flags", [](VLMMode& m) { m.sysFlags = kAllFlags, m.Hz = 50; },
       "1920 × 1080, 50 Hz (stretched) (simulscan) (built-in)", "50 Hz", "50 Hertz",
       "1920 × 1080, 50 Hz (stretched) (simulscan) (built-in) PAL (stretched) (simulscan) (built-in)"},
  };
  for (const auto& row : kRows) {
    const auto mode = usualMode();
    row.change(*mode);
    EXPECT_EQ(mode->inMenuModeName(true), row.inMenu) << row.name;
    EXPECT_EQ(mode->inMenuFreqString(true), row.frequency) << row.name;
    EXPECT_EQ(mode->inMenuFreqString(false), row.longFrequency) << row.name;
    EXPECT_EQ(mode->smallInMenuName(), row.small) << row.name;
  }
}

TEST(ModeNames, NameTheTelevisionStandardOfExactRates) {
  const sim::TestProcess process;
  const std::pair<float, const char*> kRows[] = {{25.0F, " PAL"},  {50.0F, " PAL"}, {30.0F, " NTSC"},
                                                 {60.0F, " NTSC"}, {59.94F, ""},    {24.0F, ""}};
  for (const auto& [hz, suffix] : kRows) {
    const auto mode = usualMode();
    mode->Hz = hz;
    mode->sysFlags = kSysFlagTelevision;
    EXPECT_EQ(mode->tableViewModeName(false), std::string("1920 × 1080") + suffix) << hz;
  }
}

TEST(ModeNames, AreTheUsersWhereTheUserGaveOne) {
  const sim::TestProcess process;
  const auto mode = usualMode();
  mode->sysFlags = kSysFlagBuiltIn;
  mode->definition = 2;
  mode->setModeName("100 % mine");
  mode->setFreqName("quick");
  EXPECT_EQ(mode->inMenuModeName(true), "100 % mine");
  EXPECT_EQ(mode->tableViewModeName(true), "100 % mine");
  EXPECT_EQ(mode->smallInMenuName(), "100 % mine");
  EXPECT_EQ(mode->inMenuFreqString(true), "quick");
  mode->setModeName("");
  EXPECT_EQ(mode->inMenuModeName(false), "1920 × 1080 (built-in)");
}

TEST(ModeNames, StandWhateverTheRateIs) {
  const sim::TestProcess process;
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  for (const float hz : {std::numeric_limits<float>::quiet_NaN(), kInfinity, -kInfinity, 3e38F, -3e38F}) {
    const auto mode = usualMode();
    mode->Hz = hz;
    EXPECT_EQ(mode->inMenuModeName(true).rfind("1920 × 1080", 0), 0U) << hz;
    EXPECT_FALSE(mode->inMenuFreqString(true).empty()) << hz;
  }
}

TEST(ModeNames, UseTheUsersDecimalSeparator) {
  const sim::TestProcess process(laptopWithSeparator(","));
  EXPECT_EQ(VLMMode::freqStringFromHz(59.94F, 0.01F), "59,94");
  EXPECT_EQ(VLMMode::freqStringFromHz(59.5F, 0.01F), "59,50");
}

TEST(CADisplayModeNames, LeaveNoGapWhereAPartIsEmpty) {
  CADisplayModeValues mode;
  mode.bitDepth = 8;
  mode.colorMode = "DolbyVisionLowLatencyLimited";
  EXPECT_EQ(menuModeString(mode), "Internal (8-bit) - RGB - DolbyVision LowLatency - Limited Range");
  mode.isExternal = mode.colorModeIsYCbCr = true;
  mode.hdrMode = "HDR10";
  mode.colorMode = "";
  EXPECT_EQ(colorModeString(mode), "8-bit - HDR10 - YCbCr - Full Range");
  EXPECT_EQ(description(mode), "CADisplayMode 0x0 0Hz 8bit YCbCr  HDR10 ");
}

}  // namespace
}  // namespace vlm
