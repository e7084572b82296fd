#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <set>

#include "Models/EDIDRangeLimits.h"
#include "Models/VLMDisplay.h"
#include "Shared/VLMEDIDUtils.h"
#include "Shared/VLMExtension.h"
#include "Simulator/Mac/DisplayModes.h"
#include "Simulator/Mac/Edid.h"
#include "Simulator/Mac/Registry.h"
#include "Simulator/Mac/StandardTimings.h"
#include "Tests/Support/TestProcess.h"

/// EDIDs of real monitors, broken in every way: nothing may crash, hang, or come out without sense.
namespace vlm::sim {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// Calls the body with the content of every EDID file there is; without any the test is skipped.
void forEachOfCorpus(const std::function<void(const Bytes&)>& body) {
  const char* folder = std::getenv("VELMORATIX_EDIDS");
  if (folder == nullptr) GTEST_SKIP() << "VELMORATIX_EDIDS does not name a folder of EDID files";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".bin") continue;
    SCOPED_TRACE(entry.path().filename().string());
    std::ifstream stream(entry.path(), std::ios::binary);
    body({std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()});
  }
}

/// Reads from memory of exactly this length, so that the sanitizer sees the first byte too many.
template <class Read>
auto exactly(std::span<const std::uint8_t> bytes, Read read) {
  const std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[bytes.size()]);
  std::ranges::copy(bytes, copy.get());
  return read(std::span<const std::uint8_t>(copy.get(), bytes.size()));
}
std::variant<ParsedEdid, std::string> readExactly(std::span<const std::uint8_t> bytes) {
  return exactly(bytes, readEdid);
}

/// What holds for whatever was read; the name of what does not.
std::string faultOf(const ParsedEdid& edid) {
  const std::vector<Timing>& timings = edid.timings;
  if (timings.empty() || !timings.front().preferred) return "the preferred timing is not in front";
  if (std::ranges::count(timings, true, &Timing::preferred) != 1) return "not one preferred timing";
  for (auto timing = timings.begin(); timing != timings.end(); ++timing) {
    if (timing->pixelClockHz == 0 || !(timing->refreshRateHz() > 0)) return "a timing without rate";
    const auto isSame = [&](const Timing& other) { return isSameSignal(*timing, other); };
    if (std::any_of(timing + 1, timings.end(), isSame)) return "a timing twice";
  }
  return {};
}

std::string faultOf(const ModeTable& table) {
  std::set<std::uint32_t> numbers;
  std::set<std::int32_t> ids;
  for (const FrameBufferMode& mode : table.frameBufferModes) ids.insert(mode.id);
  if (ids.size() != table.frameBufferModes.size()) return "two frame-buffer modes with one number";
  for (const SimulatedMode& mode : table.modes) {
    if (!numbers.insert(mode.number).second) return "two modes with one number";
    if (!ids.contains(mode.frameBufferModeID)) return "a mode without frame-buffer mode";
    if (mode.width == 0 || mode.height == 0) return "a mode without size";
  }
  return numbers.contains(table.nativeModeNumber) ? "" : "no native mode";
}

TEST(EdidCorpus, MakesAModeTableOfEveryMonitor) {
  const ModeOptions everything = {
      .depths = {8, 16, 32}, .hiDPI = true, .scaledSizes = true, .oddities = true, .variableRefresh = true};
  forEachOfCorpus([&](const Bytes& bytes) {
    const auto result = readExactly(bytes);
    ASSERT_TRUE(std::holds_alternative<ParsedEdid>(result)) << std::get<std::string>(result);
    const ModeTable table = deriveModes(std::get<ParsedEdid>(result), everything);
    EXPECT_EQ(faultOf(std::get<ParsedEdid>(result)), "");
    EXPECT_EQ(faultOf(table), "");
    EXPECT_EQ(frameBufferConfig(table).array("IOFBModes")->size(), table.frameBufferModes.size());
  });
}

/// Every so many-th byte, from another one on in each file, so that every place is met in some; 1 is all of them, and
/// takes a minute.
constexpr std::size_t kStride = 8;
/// Longer files are swept to here, and cut at the ends of their blocks behind it.
constexpr std::size_t kSweptLength = 384;

/// Cut short, and then with one byte inverted.
void forEachBroken(Bytes bytes, std::size_t file, const std::function<void(std::span<const std::uint8_t>)>& check) {
  for (std::size_t length = file % kStride; length < bytes.size(); length += length < kSweptLength ? kStride : 128) {
    check(std::span(bytes).first(length));
  }
  for (std::size_t at = file % kStride; at < std::min(bytes.size(), 2 * kSweptLength); at += kStride) {
    bytes[at] ^= 0xff;
    check(bytes);
    bytes[at] ^= 0xff;
  }
}

TEST(EdidCorpus, SurvivesCutsAndInvertedBytesAndManyAtOnce) {
  const auto check = [](std::span<const std::uint8_t> bytes) {
    const auto result = readExactly(bytes);
    const auto* edid = std::get_if<ParsedEdid>(&result);
    EXPECT_EQ(edid == nullptr ? "" : faultOf(*edid), "");
  };
  std::size_t file = 0;
  forEachOfCorpus([&](const Bytes& original) {
    forEachBroken(original, file++, check);
    std::mt19937 random(1);
    for (int version = 0; version < 8; ++version) {
      Bytes flipped = original;
      flipped.resize(std::min(flipped.size(), kSweptLength));
      // Past the header, whose loss ends the reading at once.
      std::uniform_int_distribution<std::size_t> position(8, flipped.size() - 1);
      for (int i = 0; i < 12; ++i) flipped[position(random)] ^= static_cast<std::uint8_t>(random() & 0xff);
      check(flipped);
    }
  });
}

/// 7680x4320 at 60 Hz, 2068.66 MHz.
constexpr VLMTiming kLargeTiming = {0x11, 0x28, 0x03, 0x00, 0xff, 0x1d, 0x4f, 0x00, 0x07, 0x80,
                                    0x1f, 0x00, 0xdf, 0x10, 0x7a, 0x00, 0x6c, 0x00, 0x07, 0x00};

Bytes withLargeTiming(const Bytes& edid) {
  std::size_t left = 0;
  return withVLMExtensions(withoutVLMExtensions(edid), std::array{kLargeTiming, kLargeTiming}, true, left);
}

TEST(EdidCorpus, SurvivesCutsAndInvertedBytesInTheDaemon) {
  const TestProcess process;
  std::size_t file = 0;
  forEachOfCorpus([&](const Bytes& original) {
    const Bytes whole = withLargeTiming(original);
    const auto read = [&](std::span<const std::uint8_t> edid) {
      const std::size_t found = VLMEDID_findVLMDisplayIDExtensionInEDID(edid);
      EXPECT_TRUE(found == kNoVLMExtension || (found + 1) * 128 <= edid.size());
      EXPECT_LE(timingsInVLMExtensions(edid).size(), found == kNoVLMExtension ? 0U : 5 * 255);
      EXPECT_TRUE(edid.size() < 128 || VLMEDID_calcChecksum(withoutVLMExtensions(edid), 0, 127) == 0);
      hasImportedMark(edid);
      rangeLimitsInEDID(edid);
      VLMEDID_doEDIDMatch(edid, whole, true);
      return VLMEDID_doEDIDMatch(whole, edid, false);
    };
    forEachBroken(whole, file++, [&](std::span<const std::uint8_t> bytes) { exactly(bytes, read); });
  });
}

std::string withoutBlanksAtItsEnd(std::string text) {
  while (text.ends_with(' ')) text.pop_back();
  return text;
}

/// Each is the other's check: the daemon's readers and the simulated Mac's share no code.
TEST(EdidCorpus, IsTheSameToTheDaemonAndToTheMachine) {
  TestProcess process;
  const SimulatedDisplay& left = process.display("Left");
  Bytes before;
  forEachOfCorpus([&](const Bytes& bytes) {
    const ParsedEdid parsed = std::get<ParsedEdid>(readExactly(bytes));
    process.mac().windowServer().registry().setProperty(left.displayService, "IODisplayEDID", bytes);
    const auto display = VLMDisplay::init();
    display->cgID = left.id;
    EXPECT_EQ(display->initializeRegistryData(), 0);
    EXPECT_EQ(display->serialNumber, parsed.serial);
    EXPECT_EQ(display->manufactureWeek, parsed.week);
    EXPECT_EQ(display->manufactureYear, parsed.year);
    // The machine shows what is no character, the daemon leaves it out.
    const auto isPlain = [](const std::string& text) { return !text.empty() && text.find('?') == text.npos; };
    if (isPlain(parsed.serialText)) {
      EXPECT_EQ(withoutBlanksAtItsEnd(display->edidSerialString.value_or("")), parsed.serialText);
    }
    if (isPlain(parsed.name)) {
      EXPECT_EQ(withoutBlanksAtItsEnd(*display->sysMonitorName), parsed.name);
    }
    const auto limits = rangeLimitsInEDID(bytes).value_or(vlm::SignalRange());
    EXPECT_EQ(limits.maxPClock * 1e6, static_cast<double>(parsed.limits.maxClockHz));
    EXPECT_EQ(limits.minH * 1000, parsed.limits.minLineHz);
    EXPECT_EQ(limits.maxH * 1000, parsed.limits.maxLineHz);
    EXPECT_EQ(limits.minV, parsed.limits.minFrameHz);
    EXPECT_EQ(limits.maxV, parsed.limits.maxFrameHz);

    for (std::size_t at = 54; at < 126; at += VLMOverrideResolution::kDescriptorLength) {
      const auto descriptor = std::span(bytes).subspan(at, VLMOverrideResolution::kDescriptorLength);
      const auto read = exactly(descriptor, [](auto data) { return VLMOverrideResolution::initWithDTDData(data, 1); });
      const auto isIt = [&](const Timing& timing) {
        return timing.horizontalActive == read->activeNx && timing.verticalActive == read->activeNy &&
               timing.horizontalSyncOffset == read->frontNx && timing.verticalSyncWidth == read->syncNy &&
               std::abs(static_cast<double>(timing.pixelClockHz) - 1e6 * read->pixelClock) < 1;
      };
      EXPECT_TRUE(read->activeNx == 0 || std::ranges::any_of(parsed.timings, isIt)) << at;
    }

    const ParsedEdid overridden = std::get<ParsedEdid>(readExactly(withLargeTiming(bytes)));
    const auto isLarge = [](const Timing& timing) {
      return timing.horizontalActive == 7680 && timing.verticalActive == 4320 && timing.pixelClockHz == 2'068'660'000;
    };
    EXPECT_TRUE(std::ranges::any_of(overridden.timings, isLarge));

    for (const bool identityOnly : {false, true}) {
      EXPECT_TRUE(VLMEDID_doEDIDMatch(bytes, withLargeTiming(bytes), identityOnly));
      EXPECT_EQ(VLMEDID_doEDIDMatch(bytes, before, identityOnly), VLMEDID_doEDIDMatch(before, bytes, identityOnly));
    }
    before = bytes;
  });
}

}  // namespace
}  // namespace vlm::sim
