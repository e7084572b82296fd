#include "Models/VLMOverrideDisplayName.h"

#include <gtest/gtest.h>

namespace vlm {
namespace {

TEST(DisplayNameRecord, IsModifiedWhenTheOverrideOfItWouldDiffer) {
  const auto record = VLMOverrideDisplayName::initWithString("A", kOverrideFoundInOverrideFile, true);
  EXPECT_FALSE(record->isModified());
  record->name = "B";
  EXPECT_TRUE(record->isModified());
  record->original->shouldOverride = record->shouldOverride = false;
  EXPECT_FALSE(record->isModified());
  EXPECT_EQ(VLMOverrideDisplayName::initWithString({}, 1, true), nullptr);
  const auto saved = VLMOverrideDisplayName::initAndDecodeReadableWith({{"name", "C"}, {"shouldOverride", true}});
  EXPECT_EQ(saved->status, kOverrideFoundInSettings);
  EXPECT_TRUE(saved->isModified()) << "nothing is known to be in a file yet";
}

}  // namespace
}  // namespace vlm
