#include <gtest/gtest.h>

#include "Models/VLMGlobals.h"
#include "Models/VLMLaunchedApplication.h"
#include "Platform/System.h"
#include "Tests/Support/DaemonOnMac.h"
#include "Tests/Support/TestProcess.h"

namespace vlm {
namespace {

using plist::Array;
using plist::Dictionary;

const Dictionary kRule{{"identifier", "com.example.player"},
                       {"appName", "Player"},
                       {"soundLevel", 0.25},
                       {"setID", 3},
                       {"signature", -5},
                       {"changeRes", 2},
                       {"soundLevelIsSet", true},
                       {"notAtOSEvt", true},
                       {"restoreAtQuit", false},
                       {"hideDock", true},
                       {"hideOthers", true}};

Dictionary fileWith(const Array& rules, const Array& events) {
  return {{"displaySetsArray", Array{Dictionary{{"uniqueID", 3}, {"name", "S"}}}},
          {"applicationSetsArray", rules},
          {"eventsArray", events}};
}

TEST(Rules, ComeBackFromTheFileAndCountAsUsersOfTheirSet) {
  sim::TestProcess process(sim::laptopWith({}));
  VLMGlobals& document = VLMGlobals::sharedInstance();
  const Array rules{Dictionary{}, kRule};
  const Dictionary event{
      {"type", -7}, {"identifier", "com.example.ready"}, {"setID", 3}, {"argument", Array{1, Dictionary{{"a", "b"}}}}};
  const Dictionary file = fileWith(rules, {event});
  for (int i = 0; i < 2; ++i) {
    document.decodeReadableWith(file, SettingsGroup::all);
    EXPECT_EQ(document.displaySetsArray.at(0)->nbUsers, 2);
    const Dictionary written = document.encodeReadableInDict(nullptr, SettingsGroup::all);
    EXPECT_EQ((*written.array("applicationSetsArray"))[1], plist::Value(kRule));
    EXPECT_EQ(*written.array("eventsArray"), Array{event});
  }
  // Rules alone, anew: those of before no longer use the set.
  document.decodeReadableWith(file, SettingsGroup::applicationSets | SettingsGroup::events);
  EXPECT_EQ(document.displaySetsArray.at(0)->nbUsers, 2);
}

TEST(Rules, KeepTheirPlacesWhenTheFirstOrAnyOtherIsDamaged) {
  sim::TestProcess process(sim::laptopWith({}));
  VLMGlobals& document = VLMGlobals::sharedInstance();
  for (const Array& rules : {Array{}, Array{"damaged", kRule, 5, kRule}}) {
    document.decodeReadableWith(fileWith(rules, {1, Dictionary{{"type", "x"}}}), SettingsGroup::all);
    ASSERT_EQ(document.applicationSetsArray.size(), rules.empty() ? 1U : 3U);
    EXPECT_EQ(document.applicationSetsArray[0], VLMApplicationSet::allApplicationsSet());
    EXPECT_EQ(document.applicationSetsArray[0]->signature, 1447841107);
    EXPECT_TRUE(document.applicationSetsArray[0]->restoreAtQuit);
    ASSERT_EQ(document.eventsArray.size(), 1U);
    EXPECT_EQ(document.eventsArray[0]->type, 0);
  }
}

TEST(Rules, AreFoundByTheNameOfTheirNotification) {
  sim::TestProcess process(sim::laptopWith({}));
  Events events;
  for (const std::optional<std::string>& name : {std::optional<std::string>(), {""}, {"A"}, {"B"}, {"A"}}) {
    events.push_back(VLMEvent::initWithZeroData());
    events.back()->identifier = name;
  }
  EXPECT_EQ(eventWithIdentifier(events, "A"), events[2]);
  EXPECT_EQ(eventsWithIdentifier(events, "A"), (Events{events[2], events[4]}));
  EXPECT_TRUE(eventsWithIdentifier(events, "").empty());
  EXPECT_EQ(eventWithIdentifier(events, std::nullopt), nullptr);
  EXPECT_EQ(events[0]->description(), "VLMEvent 0: identifier = (null) // display set name = (null)");
}

TEST(Rules, OfAnApplicationAreBroughtAboutAndTakenBack) {
  test::DaemonOnMac on(test::laptopWith({"Left"}));
  on.launch();
  on.mac.addSession({.bundleIdentifier = "com.example.player", .name = "Player", .bundlePath = "/Player.app"});
  on.mac.addSession({.bundleIdentifier = "com.example.mail", .name = "Mail", .bundlePath = "/Mail.app"});
  const auto before = VLMLaunchedApplication::init();
  const auto rule = VLMApplicationSet::initAndDecodeReadableWith(kRule, {});
  on.inside([&](VLMGlobals& document) {
    before->soundLevel = *os().system.CoreAudio_GetVolume();
    before->isAutoHidden = os().system.CoreDockGetAutoHideEnabled();
    before->activeSetAtLaunch =
        VLMDisplaySet::initForApplicSaving("com.example.player", document.displayArray, document);
    document.applyApplicationSet(rule);
    EXPECT_EQ(os().system.CoreAudio_GetVolume(), 0.25F);
    EXPECT_TRUE(os().system.CoreDockGetAutoHideEnabled());
  });
  EXPECT_EQ(on.journalCount("hide(Mail)"), 1);
  EXPECT_EQ(on.journalCount("hide(Player)"), 0);

  ASSERT_EQ(on.mac.setMode("Left", 1280, 720), std::nullopt);
  ASSERT_EQ(on.mac.move("Left", 0, -720), std::nullopt);
  on.mac.advance(2);
  const Rect bounds = on.mac.windowServer().bounds(on.mac.display("Left"));
  on.inside([&](VLMGlobals& document) { document.applyOldApplicationSet(before); });
  EXPECT_EQ(on.mac.windowServer().bounds(on.mac.display("Left")), bounds);
  before->restoreAtQuit = true;
  on.inside([&](VLMGlobals& document) {
    document.applyOldApplicationSet(before);
    EXPECT_EQ(os().system.CoreAudio_GetVolume(), before->soundLevel);
    EXPECT_FALSE(os().system.CoreDockGetAutoHideEnabled());
  });
  on.mac.advance(2);
  on.inside([&](VLMGlobals& document) { EXPECT_EQ(document.checkMarkForSet(*before->activeSetAtLaunch, nullptr), 1); });
}

}  // namespace
}  // namespace vlm
