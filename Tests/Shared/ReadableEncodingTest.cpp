#include "Shared/ReadableEncoding.h"

#include <gtest/gtest.h>

namespace vlm {
namespace {

struct Record {
  std::int64_t identity = 0;
  std::string name;
  plist::Dictionary encodeReadable() const { return {{"name", name}}; }
};

std::vector<std::shared_ptr<Record>> records(std::initializer_list<Record> list) {
  std::vector<std::shared_ptr<Record>> shared;
  for (const Record& record : list) shared.push_back(std::make_shared<Record>(record));
  return shared;
}

plist::Dictionary named(const char* name) { return {{"name", name}}; }

constexpr auto identityOf = [](const Record& record) { return record.identity; };

TEST(ReadableEncoding, KeepsEntriesThatAreNotInTheListAndReplacesTheOthers) {
  const plist::Dictionary before{{"-1", named("kept")}, {"10", named("old")}, {"3", named("kept too")}, {"x", 5}};
  const auto list = records({{.identity = 10, .name = "first"},
                             {.identity = 9, .name = "new"},
                             {.identity = 10, .name = "second"},
                             {.identity = -7, .name = "negative"}});
  EXPECT_EQ(encodeReadableInDict(list, &before, identityOf), (plist::Dictionary{{"-1", named("kept")},
                                                                                {"-7", named("negative")},
                                                                                {"10", named("second")},
                                                                                {"3", named("kept too")},
                                                                                {"9", named("new")},
                                                                                {"x", 5}}));
  EXPECT_EQ(encodeReadableInDict(list, nullptr, identityOf),
            (plist::Dictionary{{"-7", named("negative")}, {"10", named("second")}, {"9", named("new")}}));
  EXPECT_EQ(encodeReadableInDict(records({}), &before, identityOf), before);
}

}  // namespace
}  // namespace vlm
