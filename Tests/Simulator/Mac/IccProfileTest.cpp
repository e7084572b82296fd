#include "Simulator/Mac/IccProfile.h"

#include <gtest/gtest.h>

namespace vlm::sim {
namespace {

/// Tags without content behind the table's end.
plist::Data profileWithTags(std::size_t count) {
  constexpr std::size_t kTagsAt = 132, kTagSize = 12;
  plist::Data bytes = composeDisplayProfile("A", std::nullopt);
  bytes.resize(kTagsAt);
  bytes.resize(kTagsAt + count * kTagSize);
  const auto put = [&](std::size_t at, std::size_t number) {
    for (std::size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<std::uint8_t>(number >> (24 - 8 * i) & 0xFF);
  };
  put(0, bytes.size());
  put(kTagsAt - 4, count);
  for (std::size_t i = 0; i < count; ++i) put(kTagsAt + i * kTagSize + 4, bytes.size());
  return bytes;
}

TEST(IccProfile, IsReadWholeOrRefusedAndHarmlessWhenDamaged) {
  const std::string name = "Größe 𝄞";
  const plist::Data bytes = composeDisplayProfile(name, ProfiledMonitor{.vendor = 0x1234});
  EXPECT_EQ(std::get<IccProfile>(IccProfile::read(bytes)).description(), name);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const plist::Data cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(i));
    EXPECT_TRUE(std::holds_alternative<std::string>(IccProfile::read(cut))) << i;
    plist::Data damaged = bytes;
    damaged[i] ^= 0xFF;
    const auto read = IccProfile::read(damaged);
    if (const auto* profile = std::get_if<IccProfile>(&read)) profile->description();
  }
}

TEST(IccProfile, HasAThousandTagsAtMost) {
  EXPECT_TRUE(std::holds_alternative<IccProfile>(IccProfile::read(profileWithTags(1000))));
  EXPECT_TRUE(std::holds_alternative<std::string>(IccProfile::read(profileWithTags(1001))));
}

}  // namespace
}  // namespace vlm::sim
