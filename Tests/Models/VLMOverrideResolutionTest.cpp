#include "Models/VLMOverrideResolution.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "Shared/VLFlippers.h"
#include "Tests/Support/DisplaysOnMac.h"

namespace vlm {
namespace {

using Resolution = VLMOverrideResolution;
using plist::Data;

/// What an entry adds to an override file.
struct Written {
  plist::Array dspc, scale, extension;
  plist::Dictionary tovr;
};

Written written(const Resolution& resolution, std::uint32_t nativeNx = 0, std::uint32_t nativeNy = 0) {
  Written result;
  resolution.addInOverridesDspc(result.dspc, result.scale, result.tovr, result.extension, nativeNx, nativeNy);
  return result;
}

std::shared_ptr<Resolution> generated(std::uint32_t type, std::uint32_t width, std::uint32_t height, double hz) {
  auto resolution = Resolution::initEmpty();
  resolution->activeNx = width;
  resolution->activeNy = height;
  resolution->vfreq = hz;
  resolution->generateValuesWithGranAct(8, type);
  return resolution;
}

TEST(OverrideResolution, ReadsAndWritesTheTimingsThatStandardsPrint) {
  const sim::TestProcess process;
  const Data progressive{0x02, 0x3A, 0x80, 0x18, 0x71, 0x38, 0x2D, 0x40, 0x58, 0x2C, 0x45, 0, 0, 0, 0, 0, 0, 0x1E};
  const Data interlaced{0x01, 0x1D, 0x80, 0x18, 0x71, 0x1C, 0x16, 0x20, 0x58, 0x2C, 0x25, 0, 0, 0, 0, 0, 0, 0x9E};
  for (const Data& bytes : {progressive, interlaced}) {
    const auto timing = Resolution::initWithDTDData(bytes, Resolution::kOriginBackup);
    EXPECT_EQ(timing->displayedModeName(), bytes == interlaced ? "1920 × 1080i, 60.05 Hz" : "1920 × 1080, 60 Hz")
        << timing->description();
    EXPECT_EQ(written(*timing).dspc, plist::Array{bytes});
    EXPECT_TRUE(timing->findings({}).empty());
    EXPECT_TRUE(timing->frontNx == 88 && timing->syncNx == 44 && timing->backNx == 148 && timing->positiveSyncV);
    EXPECT_EQ(timing->origin, Resolution::kOriginBackup);
    EXPECT_EQ(timing->status, kOverrideFoundInOverrideFile);
    timing->toInstall = false;
    EXPECT_TRUE(written(*timing).dspc.empty());
  }
  const auto lines = Resolution::initWithDTDData(interlaced, 1);
  EXPECT_TRUE(lines->frontNy == 4 && lines->syncNy == 10 && lines->backNy == 30 && lines->totalNy == 1124);
}

TEST(OverrideResolution, GivesBackEveryDescriptorThatItReads) {
  const sim::TestProcess process;
  std::mt19937 random(5);
  const auto anyBytes = [&](std::size_t count) {
    Data bytes(count);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
  };
  for (std::uint32_t clock = 1; clock < 65535; ++clock) {
    Data bytes = anyBytes(18);
    bytes[0] = static_cast<std::uint8_t>(clock);
    bytes[1] = static_cast<std::uint8_t>(clock >> 8);
    std::fill(bytes.begin() + 12, bytes.begin() + 17, std::uint8_t{0});
    bytes[17] = static_cast<std::uint8_t>((bytes[17] & 0x86) | 0x18);
    const auto timing = Resolution::initWithDTDData(bytes, 1);
    if (clock == 0x0101 || timing->extended) continue;
    const plist::Array items = written(*timing).dspc;
    ASSERT_EQ(items.size(), 1U);
    Data back = *items[0].data();
    // Cutting off may cost the clock one unit; no more, and it is the same timing.
    const std::uint32_t clockBack = back[0] | static_cast<std::uint32_t>(back[1]) << 8;
    ASSERT_TRUE(clockBack == clock || clockBack + 1 == clock) << clock;
    std::copy_n(bytes.begin(), 2, back.begin());
    ASSERT_EQ(back, bytes) << clock;
  }
  for (int i = 0; i < 2000; ++i) {
    Data bytes = anyBytes(20);
    bytes[3] &= 0x10;
    bytes[5] |= 0x10;  // too wide for the shorter form
    ASSERT_EQ(written(*Resolution::initWithDisplayIdType1Data(bytes, 1)).extension, plist::Array{bytes});
  }
}

TEST(OverrideResolution, IsLeftEmptyByWhatIsNoTimingOrCutShort) {
  const sim::TestProcess process;
  const Data timing(20, 0x22);
  Data unused = timing, text = timing;
  unused[0] = unused[1] = 1;
  text[0] = text[1] = 0;
  const plist::Value name("1920x1080");
  const std::shared_ptr<Resolution> empty[] = {Resolution::initWithDTDData(unused, 1),
                                               Resolution::initWithDTDData(text, 1),
                                               Resolution::initWithDTDData(std::span(timing).first(17), 1),
                                               Resolution::initWithDisplayIdType1Data(std::span(timing).first(19), 1),
                                               Resolution::initWithScaleData(nullptr, 1),
                                               Resolution::initWithScaleData(&name, 1),
                                               Resolution::initWithTM(Data(159, 1), {}, 2, true)};
  for (const auto& resolution : empty) {
    EXPECT_TRUE(resolution->activeNx == 0 && resolution->scaledNx == 0 && resolution->status == 0) << resolution;
    EXPECT_TRUE(resolution->toInstall);
  }
}

TEST(OverrideResolution, UsesTheLongerFormForWhatADescriptorCannotHold) {
  const sim::TestProcess process;
  using T = Resolution;
  const std::pair<std::uint32_t T::*, std::uint32_t> kLast[] = {{&T::activeNx, 4095}, {&T::activeNy, 4095},
                                                                {&T::frontNx, 1023},  {&T::syncNy, 63},
                                                                {&T::backNx, 4015},   {&T::backNy, 4087}};
  for (const auto& [field, last] : kLast) {
    for (const std::uint32_t beyond : {0U, 1U}) {
      const auto timing = Resolution::init1920x1080x60();
      (*timing).*field = last + beyond;
      timing->consolidateTotals();
      EXPECT_EQ(written(*timing).dspc.size() + 2 * written(*timing).extension.size(), 1 + beyond) << last;
    }
  }
  const auto timing = Resolution::init1920x1080x60();
  timing->pixelClock = 655.35;
  timing->consolidateTotals();
  EXPECT_TRUE(timing->extended);
}

TEST(OverrideResolution, ReadsAndWritesScaledSizes) {
  const struct {
    const char* name;
    plist::Value item;
    std::uint32_t width, height;
  } kRows[] = {{"number", 0x03840640, 1600, 900},
               {"number without height", 0x0640, 1600, 1200},
               {"size alone", Data{0, 0, 6, 0x40, 0, 0, 3, 0x84}, 1600, 900},
               {"no height", Data{0, 0, 3, 0x21, 0, 0, 0, 0}, 801, 600},
               {"cut short", Data{0, 0, 6}, 0x600, 0x480},
               {"huge", Data{0xFF, 0xFF, 0xFF, 0xFF}, 0xFFFFFFFF, 0xBFFFFFFF}};
  for (const std::int64_t minor : {12, 13}) {
    auto machine = sim::laptopWith({});
    machine.systemVersion = {.majorVersion = 10, .minorVersion = minor};
    const sim::TestProcess process(machine);
    for (const auto& row : kRows) {
      const auto scaled = Resolution::initWithScaleData(&row.item, 1);
      EXPECT_TRUE(scaled->scaledNx == row.width && scaled->scaledNy == row.height) << row.name;
    }
    const auto scaled = Resolution::initWithScaleData(&kRows[0].item, 1);
    Data item{0, 0, 6, 0x40, 0, 0, 3, 0x84, 0, 0, 0, 1, 0, 0x20, 0, 0};
    EXPECT_EQ(written(*scaled, 1600, 901).scale, plist::Array{item});
    if (minor >= 13) std::copy_n(Data{0, 0x80, 0, 4}.begin(), 4, item.begin() + 12);
    EXPECT_EQ(written(*scaled, 1600, 900).scale, plist::Array{item});
  }
}

TEST(OverrideResolution, StandsInTheSettingsFileWithEveryDigit) {
  const sim::TestProcess process;
  plist::Dictionary dict{{"pixelClock", 138.5625001}, {"interlaced", true}, {"positiveSyncH", false}, {"appleID", -10}};
  dict.set("positiveSyncV", true);
  dict.set("creationDate", 1234567890.25);
  dict.set("toInstall", false);
  std::int64_t number = 0;
  for (const char* key : {"resolutionType", "activeNx", "frontNx", "syncNx", "backNx", "activeNy", "frontNy", "syncNy",
                          "backNy", "scaledNx"}) {
    dict.set(key, number++);
  }
  dict.set("scaledNy", 0xFFFFFFFFU);
  const auto resolution = Resolution::initAndDecodeReadableWith(dict);
  EXPECT_EQ(resolution->encodeReadable(), dict);
  EXPECT_TRUE(resolution->totalNx == 10 && resolution->totalNy == 26 && resolution->vfreq > 0);
  const auto bare = Resolution::initAndDecodeReadableWith({});
  EXPECT_TRUE(bare->toInstall && bare->creationDate == 0 && bare->status == kOverrideFoundInSettings);
}

TEST(OverrideResolution, IsJoinedToThoseEqualToIt) {
  const sim::TestProcess process;
  OverrideResolutions array;
  for (int i = 0; i < 3; ++i) mergeObject(array, generated(Resolution::kCVT, 1280, 720, 60), true);
  ASSERT_EQ(array.size(), 1U);
  mergeObject(array, generated(Resolution::kCVT, 1280, 720, 75), false);
  array.push_back(array[0]->copy());
  const auto found = array[0]->copy();
  array[0]->creationDate = 0;
  array[0]->status = kOverrideFoundInSettings;
  found->status = kOverrideFoundInOverrideFile;
  found->copyBackupWith(*found);
  found->hasHiDPi = true;
  found->positiveSyncH = array[0]->positiveSyncH;
  found->pixelClock += 0.0099;
  mergeObject(array, found, true);
  ASSERT_EQ(array.size(), 2U);
  EXPECT_TRUE(!array[0]->isDuplicate && array[1]->isDuplicate && array[0]->hasHiDPi && !array[0]->hasLowDPi);
  EXPECT_EQ(array[0]->status, kOverrideFoundInSettings | kOverrideFoundInOverrideFile);
  EXPECT_EQ(array[0]->creationDate, found->creationDate);
  EXPECT_EQ(array[0]->original, found->original);
  EXPECT_EQ(array[0]->origin, 0);
  found->origin = Resolution::kOriginBackup;
  found->original = found->copy();
  mergeObject(array, found, true);
  EXPECT_EQ(array[1]->origin, Resolution::kOriginBackup);
}

TEST(OverrideResolution, KnowsWhetherItWasChanged) {
  const sim::TestProcess process;
  const auto resolution = generated(Resolution::kCVTReduced, 1920, 1080, 60);
  EXPECT_TRUE(resolution->isModified());
  resolution->status = kOverrideFoundInOverrideFile;
  resolution->copyBackupWith(*resolution);
  EXPECT_FALSE(resolution->isModified());
  resolution->backNx += 8;
  resolution->checkStatus();
  EXPECT_TRUE(resolution->isModified() && resolution->status == 0);
  resolution->backNx -= 8;
  resolution->checkStatus();
  EXPECT_EQ(resolution->status, kOverrideFoundInOverrideFile);
  resolution->toInstall = false;
  EXPECT_TRUE(resolution->isModified());
  const auto copy = resolution->copy(), duplicate = resolution->duplicate();
  EXPECT_TRUE(copy->status == resolution->status && copy->original != nullptr && !copy->toInstall);
  EXPECT_NE(copy->original, resolution->original);
  EXPECT_TRUE(duplicate->status == 0 && duplicate->origin == 1 && duplicate->original == nullptr);
}

TEST(OverrideResolution, ComparesInterlacedPorchesInFields) {
  const sim::TestProcess process;
  auto timing = generated(Resolution::kCVT, 1280, 720, 60);
  for (const bool isOdd : {false, true}) {
    timing->interlaced = true;
    timing->activeNy = isOdd ? 721 : 720;
    timing->frontNy = 5;
    timing->syncNy = 7;
    timing->backNy = 33;
    timing->consolidateTotals();
    const plist::Array descriptors = written(*timing).dspc;
    ASSERT_EQ(descriptors.size(), 1U);
    EXPECT_EQ(Resolution::initWithDTDData(*descriptors[0].data(), 1)->isEqualToRes(timing.get()), !isOdd);
    EXPECT_EQ(timing->findings({}).empty(), !isOdd);
  }
}

TEST(OverrideResolution, IsNamedByItsSizeAndRate) {
  auto machine = sim::laptopWith({});
  machine.decimalSeparator = ",";
  const sim::TestProcess process(machine);
  const struct {
    std::uint32_t width, height;
    double hz;
    bool interlaced;
    const char* name;
  } kRows[] = {{1920, 1080, 59.94, false, "1920 × 1080, 59,94 Hz"}, {1920, 1080, 59.995, false, "1920 × 1080, 60 Hz"},
               {1920, 1080, 60.02, true, "1920 × 1080i, 60,02 Hz"}, {800, 600, 75, false, "  800 × 600 , 75 Hz"},
               {999, 1000, 24, true, "  999 × 1000i, 24 Hz"},       {1000, 576, 25, true, "1000 × 576i , 25 Hz"}};
  for (const auto& row : kRows) {
    const auto timing = Resolution::initEmpty();
    timing->activeNx = row.width;
    timing->activeNy = row.height;
    timing->vfreq = row.hz;
    timing->interlaced = row.interlaced;
    EXPECT_EQ(timing->displayedModeName(), row.name);
  }
  const plist::Value item(0x02000400);
  const auto scaled = Resolution::initWithScaleData(&item, 2);
  EXPECT_EQ(scaled->displayedModeName(), "1024 × 512 ");
  EXPECT_NE(scaled->description().find("(status = 2 - dup = 0): SCALED - Nx 1024 Ny = 512 - origin = 2"),
            std::string::npos);
  EXPECT_EQ(scaled->modeCompareSortKey(), (std::uint64_t{1024} << 40) + (512 << 16));
  const auto timing = generated(Resolution::kCVTReduced2, 1024, 512, 59.94);
  EXPECT_EQ(timing->modeCompareSortKey() & 0xFFFF, 59U * 256 + 240);
  EXPECT_TRUE(scaled->modeCompare(*timing) && !timing->modeCompare(*scaled));
}

/// Of our figures, beyond the published ones. GTF's syncs always have the signs of CVT's reduced blanking.
struct Difference {
  double clock = 0;
  int activeX = 0, frontY = 0, syncY = 0, backY = 0;
};

TEST(OverrideResolution, GeneratesWhatThePublishedToolsDoButForKnownDifferences) {
  const sim::TestProcess process;
  // As edid-decode prints it. Clocks of CVT stand half a step, of its reduced blanking a quarter of one above.
  const struct {
    std::uint32_t type, width, height;
    double hz;
    int x[3], y[3];
    double clock;
    Difference more = {};
  } kRows[] = {
      {0, 640, 480, 60, {16, 64, 80}, {1, 3, 13}, 23.856},
      {0, 1024, 768, 85, {64, 112, 176}, {1, 3, 35}, 94.387},
      {0, 1920, 1080, 60, {120, 208, 328}, {1, 3, 34}, 172.798},
      {1, 1024, 768, 60, {48, 104, 152}, {3, 4, 23}, 63.5, {.clock = 0.125}},
      {1, 1920, 1200, 60, {136, 200, 336}, {3, 6, 36}, 193.25, {.clock = 0.125}},
      {1, 2560, 1440, 75, {200, 280, 480}, {3, 5, 58}, 397.25, {.clock = 0.125}},
      // The least back porch is a line less.
      {1, 640, 480, 24, {16, 64, 80}, {3, 4, 7}, 9.25, {.clock = 0.125, .backY = -1}},
      // Nearly 16:9, and nearly 4:3, are that.
      {1, 1366, 768, 60, {72, 136, 208}, {3, 10, 17}, 84.75, {.clock = 0.125, .activeX = -6, .syncY = -5, .backY = 5}},
      {1, 1152, 870, 75, {72, 120, 192}, {3, 10, 28}, 104.75, {.clock = 0.125, .syncY = -6, .backY = 6}},
      {2, 1920, 1080, 60, {48, 32, 80}, {3, 5, 23}, 138.5, {.clock = 0.0625}},
      {2, 2560, 1600, 60, {48, 32, 80}, {3, 6, 37}, 268.5, {.clock = 0.0625}},
      {2, 640, 480, 50, {48, 32, 80}, {3, 4, 7}, 19.75, {.clock = -0.1875, .backY = -1}},
      {3, 1920, 1080, 60, {8, 32, 40}, {17, 8, 6}, 133.32},
      {3, 3840, 2160, 120, {8, 32, 40}, {113, 8, 6}, 1075.804},
      // Two lines of blanking more at least.
      {3, 640, 480, 60, {8, 32, 40}, {1, 8, 6}, 21.384, {.clock = 0.086, .frontY = 2}},
  };
  for (const auto& row : kRows) {
    const auto ours = generated(row.type, row.width, row.height, row.hz);
    const std::string name = std::to_string(row.type) + ": " + ours->displayedModeName();
    const std::vector<std::uint32_t> found{ours->activeNx, ours->frontNx, ours->syncNx, ours->backNx,
                                           ours->activeNy, ours->frontNy, ours->syncNy, ours->backNy};
    std::vector<std::uint32_t> expected;
    for (const int figure :
         {static_cast<int>(row.width) + row.more.activeX, row.x[0], row.x[1], row.x[2], static_cast<int>(row.height),
          row.y[0] + row.more.frontY, row.y[1] + row.more.syncY, row.y[2] + row.more.backY}) {
      expected.push_back(static_cast<std::uint32_t>(figure));
    }
    EXPECT_EQ(found, expected) << name;
    EXPECT_NEAR(ours->pixelClock, row.clock + row.more.clock, 0.0006) << name;
    EXPECT_TRUE(ours->positiveSyncH == (row.type != 1) && ours->positiveSyncV == (row.type == 1)) << name;
    ours->vfreq = row.hz;
    for (const std::uint32_t type : {0U, 1U, 2U, 3U}) {
      EXPECT_EQ(ours->isAValidResolutionWithGranAct(8, type), type == row.type) << name << type;
    }
  }
}

TEST(OverrideResolution, GeneratesInterlacedPicturesOfTwoEqualFields) {
  const sim::TestProcess process;
  constexpr std::uint32_t kOwn = Resolution::kOwnBlanking;
  const struct {
    std::uint32_t type, height;
    double hz;
    std::vector<std::uint32_t> figures;  ///< across, then down: active, front porch, sync, back porch
    double clock;
  } kRows[] = {
      {Resolution::kGTF, 1080, 30, {1920, 64, 192, 256, 1080, 2, 6, 30}, 40.82112},
      {Resolution::kGTF, 1081, 50, {1920, 112, 208, 320, 1082, 2, 6, 58}, 73.536},
      {Resolution::kCVT, 1081, 50, {1920, 112, 200, 312, 1082, 6, 10, 54}, 73.312496},
      {Resolution::kCVTReduced, 1081, 50, {1920, 48, 32, 80, 1082, 6, 10, 38}, 59.0625},
      {kOwn, 1081, 50, {1920, 8, 32, 120, 1082, 26, 16, 12}, 59.072},
  };
  for (const auto& row : kRows) {
    auto ours = Resolution::initEmpty();
    ours->activeNx = 1920;
    ours->activeNy = row.height;
    ours->vfreq = row.hz;
    ours->interlaced = true;
    if (row.type == kOwn) ours->blankingNx = 160;
    ours->generateValuesWithGranAct(8, row.type);
    EXPECT_EQ((std::vector<std::uint32_t>{ours->activeNx, ours->frontNx, ours->syncNx, ours->backNx, ours->activeNy,
                                          ours->frontNy, ours->syncNy, ours->backNy}),
              row.figures)
        << row.type;
    EXPECT_NEAR(ours->pixelClock, row.clock, 0.0000006) << row.type;
  }
}

TEST(OverrideResolution, GeneratesManyAsItGeneratesOne) {
  std::vector<Resolution> many(1000);
  std::vector<Resolution*> all;
  std::mt19937 random(7);
  for (Resolution& each : many) {
    each.activeNx = static_cast<std::uint32_t>(random() % 5000);
    each.activeNy = static_cast<std::uint32_t>(1 + random() % 3000);
    each.vfreq = static_cast<double>(random() % 200);
    each.interlaced = random() % 4 == 0;
    all.push_back(&each);
  }
  const std::vector<Resolution> before = many;
  Resolution::generateAllValuesWithGranAct(all, 8, Resolution::kCVT);
  for (std::size_t i = 0; i < many.size(); ++i) {
    Resolution one = before[i];
    one.generateValuesWithGranAct(8, Resolution::kCVT);
    EXPECT_TRUE(one.isEqualToRes(all[i]) && one.pixelClock == many[i].pixelClock) << one.description();
    const int lines = IODisplayGetCVTSyncWidth(static_cast<std::int16_t>(one.activeNx),
                                               static_cast<std::int16_t>(one.activeNy), Resolution::kCVT);
    EXPECT_EQ(many[i].syncNy, static_cast<std::uint32_t>(one.interlaced ? 2 * lines : lines)) << one.description();
  }
}

TEST(OverrideResolution, GeneratesFromWhateverItIsGiven) {
  const sim::TestProcess process;
  EXPECT_EQ(generated(Resolution::kCVT, 1280, 720, 0)->displayedModeName(), "1280 × 720 , 59.96 Hz");
  const auto own = generated(Resolution::kCVT, 1920, 1080, 60);
  own->blankingNx = 120;
  own->vfreq = 60;
  own->generateValuesWithGranAct(8, 77);
  EXPECT_TRUE(own->frontNx == 28 && own->syncNx == 32 && own->backNx == 60 && own->syncNy == 8 && own->backNy == 6);
  own->interlaced = true;
  own->activeNy = 1079;
  own->generateValuesWithGranAct(8, Resolution::kCVTReduced2);
  EXPECT_TRUE(own->activeNy == 1080 && own->syncNy == 16 && own->backNy == 12);
  constexpr double kRates[] = {-5, 1e-9, 1818.18, 5000, 1e30, std::numeric_limits<double>::quiet_NaN()};
  for (const double rate : kRates) {
    for (const std::uint32_t size : {0U, 1U, 9U, 40000U, 0xFFFFFFFFU}) {
      for (std::uint32_t type = 0; type < 5; ++type) {
        for (const std::uint16_t granularity : std::initializer_list<std::uint16_t>{1, 8, 65535}) {
          Resolution any;
          any.interlaced = type % 2 == 0;
          any.activeNx = any.blankingNx = size;
          any.activeNy = size / 2;
          any.vfreq = rate;
          any.generateValuesWithGranAct(granularity, type);
          EXPECT_LE(any.findings({}).size(), 12U);
          (void)written(any);
          (void)any.modeCompareSortKey();
        }
      }
    }
  }
}

TEST(OverrideResolution, SaysWhyAPictureMayBeUnusable) {
  const sim::TestProcess process;
  const std::vector<SignalRange> limits{
      {.source = "the EDID's range", .minH = 30, .maxH = 160, .minV = 50, .maxV = 75, .maxPClock = 600},
      {.source = "the port's range", .maxPClock = 300}};
  using T = Resolution;
  const struct {
    const char* finding;
    double T::*clock;
    std::uint32_t T::*figure;
    double value;
  } kRows[] = {
      {"pixel clock 712.50 MHz is above the EDID's range (600.00 MHz)", &T::pixelClock, {}, 712.5},
      {"pixel clock 300.01 MHz is above the port's range (300.00 MHz)", &T::pixelClock, {}, 300.01},
      {"frame rate 43.27 Hz is below the EDID's range (50.00 Hz)", &T::pixelClock, {}, 100},
      {"line rate 29.42 kHz is below the EDID's range (30.00 kHz)", &T::pixelClock, {}, 61.2},
      {"pixel clock is missing", &T::pixelClock, {}, 0},
      {"pixel clock 167772.17 MHz is above the 167772.16 MHz that a timing can hold", &T::pixelClock, {}, 167772.17},
      {"pixel clock 2.57 MHz cannot be told from a descriptor that is no timing", &T::pixelClock, {}, 2.57},
      {"size 0 × 1080 is empty", {}, &T::activeNx, 0},
      {"horizontal front porch is missing", {}, &T::frontNx, 0},
      {"vertical sync is missing", {}, &T::syncNy, 0},
      {"vertical blanking of 6 lines is shorter than front porch and sync", {}, &T::backNy, 4294967294},
      {"horizontal size of 65537 pixels is above the 65536 that a timing can hold", {}, &T::activeNx, 65537},
      {"vertical front porch of 32769 lines is above the 32768 that a timing can hold", {}, &T::frontNy, 32769},
      {"scaled size 0 × 0 is empty", {}, &T::resolutionType, T::kScaled},
  };
  for (const auto& row : kRows) {
    const auto timing = Resolution::init1920x1080x60();
    EXPECT_TRUE(timing->findings(limits).empty());
    if (row.clock != nullptr) (*timing).*row.clock = row.value;
    if (row.figure != nullptr) (*timing).*row.figure = static_cast<std::uint32_t>(row.value);
    const auto findings = timing->findings(limits);
    EXPECT_NE(std::find(findings.begin(), findings.end(), row.finding), findings.end())
        << row.finding << " " << ::testing::PrintToString(findings);
  }
  EXPECT_EQ(Resolution::initWithAppleID(31000, 2, 1)->findings(limits),
            std::vector<std::string>{"the system has no standard mode 31000"});
}

TEST(OverrideResolution, TakesTheTimingThatTheDisplayShows) {
  test::DisplaysOnMac displays(sim::laptopWith({"Left"}));
  const auto left = displays["Left"];
  const auto shown = Resolution::initWithCurrentDataFromDisplay(*left);
  EXPECT_EQ(shown->displayedModeName(), "2560 × 1440, 60 Hz") << shown->description();
  EXPECT_TRUE(shown->status == kOverrideFoundInSystem && shown->findings({}).empty());
  VLMMode& mode = *left->currentMode.get();
  mode.IOFBModeID = 123456;
  EXPECT_EQ(Resolution::initWithMode(mode, *left)->activeNx, 0U);
}

}  // namespace
}  // namespace vlm
