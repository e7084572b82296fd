#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Shared/VLMEDIDUtils.h"
#include "Shared/VLMExtension.h"
#include "Tests/Support/TestProcess.h"

namespace vlm {
namespace {

using Bytes = plist::Data;

/// So many bytes that all differ from their neighbours.
VLMTiming timing(std::size_t number) {
  VLMTiming bytes;
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(16 * number + i);
  return bytes;
}

std::vector<VLMTiming> timings(std::size_t count) {
  std::vector<VLMTiming> list;
  while (list.size() < count) list.push_back(timing(list.size()));
  return list;
}

void put(Bytes& edid, std::size_t at, const Bytes& bytes) {
  std::ranges::copy(bytes, edid.begin() + static_cast<std::ptrdiff_t>(at));
}

/// With blocks that hold nothing but these bytes at their begin.
Bytes edidWith(const std::vector<Bytes>& extensions) {
  Bytes edid = syntheticEDID(0x10AC, 0xA0C1);
  for (const Bytes& extension : extensions) {
    edid.resize(edid.size() + kEDIDBlockLength);
    put(edid, edid.size() - kEDIDBlockLength, extension);
  }
  edid[kEDIDExtensionCountAt] = static_cast<std::uint8_t>(extensions.size());
  return edid;
}

Bytes textBlock(const std::string& text, std::uint8_t length) {
  Bytes bytes = {0x0B, 0, length};
  bytes.insert(bytes.end(), text.begin(), text.end());
  return bytes;
}

/// An extension of two data blocks, the first of which is of this tag and length, and empty.
Bytes displayID(std::uint8_t tag, std::uint8_t length, const Bytes& second) {
  Bytes bytes = {0x70, 0x13, 121, 0, 0, tag, 0, length};
  bytes.resize(bytes.size() + length);
  bytes.insert(bytes.end(), second.begin(), second.end());
  return bytes;
}

class EDID : public ::testing::Test {
  sim::TestProcess process_;

 protected:
  static constexpr std::size_t kBlock = kEDIDBlockLength;
};

TEST_F(EDID, OurExtensionIsFoundWhereItMayStand) {
  const Bytes text = textBlock("Velmoratix", 10);
  Bytes textFirst = {0x70, 0x13, 121, 0, 0};
  textFirst.insert(textFirst.end(), text.begin(), text.end());
  Bytes third = {0x01, 0, 0};
  third.insert(third.end(), text.begin(), text.end());
  const Bytes ours = displayID(0x03, 60, text);
  struct Row {
    const char* name;
    std::vector<Bytes> extensions;
    std::uint8_t found;
    int declared = -1;
  };
  const Row rows[] = {
      {.name = "no extension", .extensions = {}, .found = 255},
      {.name = "text alone", .extensions = {textFirst}, .found = 1},
      {.name = "behind timings, behind others",
       .extensions = {{0x02, 3}, displayID(0x03, 20, third), ours},
       .found = 3},
      {.name = "longer mark", .extensions = {displayID(0x03, 100, textBlock("Velmoratix-imp", 14))}, .found = 1},
      {.name = "length of 9", .extensions = {displayID(0x03, 60, textBlock("Velmoratix", 9))}, .found = 255},
      {.name = "another text", .extensions = {displayID(0x03, 60, textBlock("Velmoratiy", 10))}, .found = 255},
      {.name = "behind another data block", .extensions = {displayID(0x00, 60, text)}, .found = 255},
      {.name = "ends with its block", .extensions = {displayID(0x03, 107, text)}, .found = 1},
      {.name = "more declared", .extensions = {{0x02}, ours}, .found = 2, .declared = 255},
      {.name = "more declared, none ours", .extensions = {{0x02}}, .found = 255, .declared = 255},
      {.name = "less declared", .extensions = {{0x02}, ours}, .found = 255, .declared = 1},
  };
  for (const Row& row : rows) {
    Bytes edid = edidWith(row.extensions);
    if (row.declared >= 0) edid[kEDIDExtensionCountAt] = static_cast<std::uint8_t>(row.declared);
    EXPECT_EQ(VLMEDID_findVLMDisplayIDExtensionInEDID(Bytes(edid)), row.found) << row.name;
  }
  // Out of its block, into the next one and past the end.
  Bytes edid = edidWith({{}, {}});
  put(edid, kBlock, displayID(0x03, 108, text));
  EXPECT_EQ(VLMEDID_findVLMDisplayIDExtensionInEDID(edid), 255);
  edid = edidWith({displayID(0x03, 107, text)});
  edid[kBlock + 7] = 255;
  EXPECT_EQ(VLMEDID_findVLMDisplayIDExtensionInEDID(edid), 255);
}

TEST_F(EDID, MatchesByIdentityOrByAllElse) {
  const Bytes edid = edidWith({{0x02, 3}, {0x70, 0x12}});
  for (std::size_t at = 0; at < edid.size(); ++at) {
    Bytes other = edid;
    other[at] ^= 0xFF;
    // A count of 253 for the two blocks that are there changes nothing.
    const bool isOther = at >= kEDIDExtensionCountAt && at < kBlock;
    const bool isIdentity = at < 18, isLeftOut = (at >= 8 && at < 12) || at == 16 || at == 17;
    EXPECT_EQ(VLMEDID_doEDIDMatch(edid, other, true), isOther || (!isIdentity && at < kBlock)) << at;
    EXPECT_EQ(VLMEDID_doEDIDMatch(other, edid, false), isOther || isLeftOut) << at;
  }
  // As many blocks as the shorter one declares.
  Bytes shorter = edid;
  shorter[kEDIDExtensionCountAt] = 1;
  shorter[2 * kBlock] = 1;
  EXPECT_TRUE(VLMEDID_doEDIDMatch(edid, shorter, true));
  shorter[kEDIDExtensionCountAt] = 2;
  EXPECT_FALSE(VLMEDID_doEDIDMatch(edid, shorter, true));
  const Bytes cut(edid.begin(), edid.begin() + kBlock - 1);
  EXPECT_FALSE(VLMEDID_doEDIDMatch(cut, cut, true));
  EXPECT_FALSE(VLMEDID_doEDIDMatch(edid, {}, false));
}

TEST_F(EDID, TakesTimingsAndGivesThemBack) {
  const Bytes base = edidWith({{0x02, 3}});
  const Bytes clean = withoutVLMExtensions(base);
  for (const std::size_t count : {0U, 1U, 5U, 6U, 11U}) {
    for (const bool imported : {false, true}) {
      SCOPED_TRACE(std::to_string(count) + (imported ? " imported" : ""));
      std::size_t left = 99;
      const Bytes edid = withVLMExtensions(base, timings(count), imported, left);
      const std::size_t ours = count == 0 && imported ? 1 : (count + 4) / 5;
      EXPECT_EQ(left, 0U);
      EXPECT_EQ(edid.size(), (2 + ours) * kBlock);
      EXPECT_EQ(edid[kEDIDExtensionCountAt], 1 + ours);
      EXPECT_EQ(VLMEDID_findVLMDisplayIDExtensionInEDID(edid), ours == 0 ? kNoVLMExtension : 2);
      EXPECT_EQ(timingsInVLMExtensions(edid), timings(count));
      EXPECT_EQ(hasImportedMark(edid), imported);
      EXPECT_EQ(withoutVLMExtensions(edid), clean);
      EXPECT_EQ(VLMEDID_calcChecksum(edid, 0, 127), 0U);
      for (std::size_t block = 2; block < 2 + ours; ++block) {
        const auto bytes = std::span(edid).subspan(block * kBlock, kBlock);
        EXPECT_EQ(VLMEDID_calcChecksum(bytes, 0, 127), 0U);
        EXPECT_EQ(VLMEDID_calcChecksum(bytes, 1, 126), 0U) << "of the section";
        EXPECT_EQ(bytes[4], block == 2 ? ours - 1 : 0) << "sections that follow";
      }
      const Bytes named = withIdentityOf(edid, syntheticEDID(0x4C2D, 0x1234));
      EXPECT_TRUE(VLMEDID_doEDIDMatch(edid, named, false));
      EXPECT_FALSE(VLMEDID_doEDIDMatch(edid, named, true));
      EXPECT_EQ(VLMEDID_calcChecksum(named, 0, 127), 0U);
    }
  }
}

TEST_F(EDID, KeepsTheMonitorsBlocksAsTheyAreAndTakesNoMoreThanThereIsRoomFor) {
  std::size_t left = 0;
  Bytes older = edidWith({displayID(0x01, 12, {})});
  older[kBlock + 1] = 0x12;
  Bytes edid = withVLMExtensions(older, timings(6), false, left);
  EXPECT_TRUE(std::equal(older.begin() + kBlock, older.end(), edid.begin() + kBlock));
  EXPECT_EQ(edid[2 * kBlock + 1], 0x12) << "the version of the monitor's own section";
  EXPECT_EQ(edid[2 * kBlock + 4], 0) << "the monitor's own section tells how many follow";

  edid = withVLMExtensions(edidWith(std::vector<Bytes>(252, {0x02})), timings(11), false, left);
  EXPECT_EQ(left, 1U);
  EXPECT_EQ(edid.size(), 255 * kBlock);
  EXPECT_EQ(timingsInVLMExtensions(edid), timings(10));
  withVLMExtensions(edidWith(std::vector<Bytes>(255, {0x02})), timings(1), true, left);
  EXPECT_EQ(left, 1U);

  // Whatever stands behind the first of our blocks is read as one.
  edid = edidWith(
      {displayID(0x03, 60, textBlock("Velmoratix", 10)), {0, 0, 0, 0, 0, 0, 0, 45}, {0, 0, 0, 0, 0, 0, 0, 255}});
  EXPECT_EQ(timingsInVLMExtensions(edid).size(), 3U + 2 + 5);
}

}  // namespace
}  // namespace vlm
