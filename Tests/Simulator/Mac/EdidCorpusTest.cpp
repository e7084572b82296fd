#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <set>

#include "Simulator/Mac/DisplayModes.h"
#include "Simulator/Mac/Edid.h"
#include "Simulator/Mac/StandardTimings.h"

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
std::variant<ParsedEdid, std::string> readExactly(std::span<const std::uint8_t> bytes) {
  const std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[bytes.size()]);
  std::ranges::copy(bytes, copy.get());
  return readEdid({copy.get(), bytes.size()});
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

TEST(EdidCorpus, SurvivesEveryCutAndManyFlippedBytes) {
  constexpr std::size_t kWholeSweep = 384;  // longer files are cut at the ends of their blocks only
  const auto check = [](std::span<const std::uint8_t> bytes) {
    const auto result = readExactly(bytes);
    const auto* edid = std::get_if<ParsedEdid>(&result);
    EXPECT_EQ(edid == nullptr ? "" : faultOf(*edid), "");
  };
  forEachOfCorpus([&](const Bytes& original) {
    std::mt19937 random(1);
    const std::span<const std::uint8_t> whole(original);
    for (std::size_t length = 0; length < whole.size(); length += length < kWholeSweep ? 1 : 128) {
      check(whole.first(length));
    }
    for (int version = 0; version < 20; ++version) {
      Bytes flipped(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(std::min(whole.size(), kWholeSweep)));
      // Past the header, whose loss ends the reading at once.
      std::uniform_int_distribution<std::size_t> position(8, flipped.size() - 1);
      for (int i = 0; i < 12; ++i) flipped[position(random)] ^= static_cast<std::uint8_t>(random() & 0xff);
      check(flipped);
    }
  });
}

}  // namespace
}  // namespace vlm::sim
