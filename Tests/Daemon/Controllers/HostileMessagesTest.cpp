#include <gtest/gtest.h>

#include "Platform/Notifications.h"
#include "Tests/Support/DaemonOnMac.h"

/// Any process of the session can post anything under the daemon's name.
namespace vlm {
namespace {

using plist::Array;
using plist::Dictionary;
using plist::Value;

constexpr std::size_t kDeeperThanAnyStack = 100'000;

/// Lists in dictionaries in lists, `depth` containers. Built from the inside, and without a copy.
Value nested(std::size_t depth) {
  Value value = 1;
  for (std::size_t i = 0; i < depth / 2; ++i) {
    Array list;
    list.push_back(std::move(value));
    Dictionary dictionary;
    dictionary.set("list", Value(std::move(list)));
    value = Value(std::move(dictionary));
  }
  return value;
}

TEST(HostileMessages, ChangeNothingWhateverTheirParametersAre) {
  test::DaemonOnMac on(test::laptopWith({"Left", "Right"}));
  on.launch();
  on.mac.advance(2);
  const auto before = on.inside([](VLMGlobals& document) { return document.getPrefs(0x3FFF); });
  const std::int64_t left = on.inside([&](VLMGlobals& document) {
    return document.displayWithcgID(on.mac.display("Left").id)->monitorResID.value_or(0);
  });

  std::vector<Value> odd{Value("text"),
                         Value(std::string(2'000'000, 'x')),
                         Value(plist::Data(1000)),
                         Value(plist::Date{1e300}),
                         Value(true),
                         Value(-1e300),
                         Value(~0ULL),
                         Value(Array(20'000, Value("x")))};
  odd.push_back(nested(600));
  odd.push_back(nested(1000));
  const auto post = [&](const char* command, const Dictionary& userInfo) {
    on.mac.postDistributed({.name = test::kDaemonIdentifier, .object = command, .userInfo = userInfo});
    on.mac.turn();
  };
  for (const Value& value : odd) {
    post("kVLMUseThisMode", {{"parameter1", value}, {"parameter2", 1}});
    post("kVLMUseThisMode", {{"parameter1", left}, {"parameter2", value}});
    post("kVLMUseThisMode", {{"parameter2", value}});
  }
  for (const char* const command :
       {"ScanDisp", "QuitAndRun", "rearrangeD", "replaceD", "openSysPref", "doAddStatusItem", "EnableHotKeys",
        "reloadPreferences", "kVLMNotifyNewVersion", "noCommand"}) {
    post(command, {{"parameter1", odd.back()}, {"parameter2", odd.front()}});
  }
  on.mac.advance(2);
  EXPECT_EQ(on.inside([](VLMGlobals& document) { return document.getPrefs(0x3FFF); }), before);
}

TEST(HostileMessages, NestWithoutEndAndArriveWithoutTheirDeepestParts) {
  test::DaemonOnMac on(test::laptopWith({"Left"}));
  on.launch();
  Notification message{.name = test::kDaemonIdentifier, .object = "kVLMUseThisMode", .userInfo = Dictionary()};
  message.userInfo->set("parameter1", nested(kDeeperThanAnyStack));
  message.userInfo->set("parameter2", 7);
  on.mac.postDistributed(message);
  on.mac.turn();
  const auto& arrived = *on.mac.distributedPosts().back().userInfo;
  EXPECT_EQ(arrived.sInt32("parameter2"), 7);
  std::size_t depth = 1;
  for (const Value* inside = arrived.find("parameter1"); inside != nullptr; ++depth) {
    const Array* const list = inside->array();
    inside = list == nullptr ? inside->dictionary()->find("list") : list->empty() ? nullptr : list->data();
  }
  EXPECT_EQ(depth, 512U);

  message.name = "local";
  on.inside([&](VLMGlobals&) { os().notifications.post(NotificationCenter::local, message, 0); });
  EXPECT_EQ(on.mac.sessions().size(), 1U);
}

}  // namespace
}  // namespace vlm
