#include "Shared/Prefs.h"

#include <gtest/gtest.h>

#include <limits>

#include "Platform/Files.h"
#include "Platform/Preferences.h"
#include "Shared/CheckedRelease.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm {
namespace {

class Prefs : public ::testing::Test {
 protected:
  Prefs() : mac_(sim::MachineDescription{}), scope_(mac_.addSession({.name = "daemon"}).process()) {}

  sim::SimulatedMac mac_;
  Process::Scope scope_;
};

TEST_F(Prefs, AreReadFromTheMachineWideFileOnlyWhileTheUserHasNone) {
  const std::string file = "/Preferences/org.kelvane.velmoratix.daemon.plist";
  const std::string own = mac_.homeFolder() + "/Library" + file;
  const std::string machineWide = *os().files.libraryDirectory(Files::Domain::local) + file;
  EXPECT_EQ(Prefs_GetVLM4PrefsURL(false), own);
  ASSERT_EQ(os().files.writeToURLAtomically({{"a", 1}}, machineWide), std::nullopt);
  EXPECT_EQ(Prefs_GetVLM4PrefsURL(false), machineWide);
  EXPECT_EQ(Prefs_GetVLM4PrefsURL(true), own);
  ASSERT_EQ(os().files.writeToURLAtomically({{"a", 2}}, own), std::nullopt);
  EXPECT_EQ(Prefs_GetVLM4PrefsURL(false), own);
}

TEST_F(Prefs, OfAFailedSaveAreLaidOverWhatOthersHaveWrittenMeanwhileKeyByKey) {
  using plist::Dictionary;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Dictionary before{{"alone", 1},          {"nan", nan}, {"ofBoth", 1}, {"removed", 1}, {"removedButChanged", 1},
                          {"removedByOthers", 1}};
  const auto change = [&](const Dictionary* current) {
    Dictionary changed = *current;
    for (const char* const key : {"added", "alone", "nan", "ofBoth"}) changed.set(key, "ours");
    for (const char* const key : {"removed", "removedButChanged"}) changed.remove(key);
    return changed;
  };
  const Dictionary others{{"addedByOthers", 2}, {"alone", 1},   {"nan", 1},
                          {"ofBoth", 2},        {"removed", 1}, {"removedButChanged", 2}};
  const Dictionary expected{{"added", "ours"}, {"addedByOthers", 2}, {"alone", "ours"},
                            {"nan", 1},        {"ofBoth", 2},        {"removedButChanged", 2}};
  const std::string path = *Prefs_GetVLM4PrefsURL(true);
  ASSERT_EQ(os().files.writeToURLAtomically(before, path), std::nullopt);
  mac_.diskFault = sim::DiskFault::full;
  EXPECT_FALSE(Prefs_SaveSettings(change));
  mac_.diskFault = sim::DiskFault::none;
  ASSERT_EQ(os().files.writeToURLAtomically(others, path), std::nullopt);
  // More than one look: each must leave the same.
  for (int time = 0; time < 2; ++time) EXPECT_EQ(*Prefs_LoadSettings(), expected);
  EXPECT_TRUE(Prefs_IsSavePending());
  EXPECT_TRUE(Prefs_SaveSettings([](const Dictionary* current) { return *current; }));
  EXPECT_FALSE(Prefs_IsSavePending());
  EXPECT_EQ(os().files.dictionaryWithContentsOfURL(path), expected);
}

TEST_F(Prefs, HoldDictionariesAndTakeAnythingElseForAbsent) {
  const std::string domain = "org.kelvane.velmorati.desktop-layout";
  const plist::Dictionary origins{{"1", 5}};
  Common_SaveDictFromUser("Origins", origins, domain);
  os().preferences.CFPreferencesSetValue("IconsPos", "text", domain);
  EXPECT_EQ(Common_LoadDictFromUser("Origins", domain), origins);
  EXPECT_EQ(Common_LoadDictMutableFromUser("Origins", domain), origins);
  for (const char* key : {"IconsPos", "WindowPos"}) {
    SCOPED_TRACE(key);
    EXPECT_EQ(Common_LoadDictFromUser(key, domain), std::nullopt);
    EXPECT_EQ(Common_LoadDictMutableFromUser(key, domain), plist::Dictionary());
  }
  Common_SaveDictFromUser("Origins", std::nullopt, domain);
  EXPECT_EQ(Common_LoadDictFromUser("Origins", domain), std::nullopt);
}

TEST_F(Prefs, ReachOtherProcessesOnlyWhenTheCallerSynchronises) {
  const std::string domain = "org.kelvane.velmorati.desktop-layout";
  const plist::Dictionary own{{"1", 5}};
  Preferences& other = mac_.addSession({.name = "other"}).ports().preferences;
  Common_SaveDictFromUser("Origins", own, domain);
  Common_LoadDictFromUser("Origins", domain);
  Common_LoadDictMutableFromUser("Origins", domain);
  EXPECT_EQ(other.CFPreferencesCopyValue("Origins", domain), std::nullopt);
  os().preferences.CFPreferencesSynchronize(domain);
  EXPECT_EQ(other.CFPreferencesCopyValue("Origins", domain), plist::Value(own));
}

struct Counted : CountedObject {
  explicit Counted(std::int64_t references) : count(references) {}
  std::int64_t retainCount() const override { return count; }
  void release() override { --count; }
  std::int64_t count;
};

TEST_F(Prefs, CheckedReleaseTellsOfMistakesAndReleasesAllTheSame) {
  Counted held(1), unheld(0);
  Common_CheckedRelease(&held, "value");
  EXPECT_EQ(held.count, 0);
  EXPECT_TRUE(mac_.log.empty());

  const std::string line = std::to_string(__LINE__ + 1);
  Common_CheckedRelease(nullptr, "value"), Common_CheckedRelease(&unheld, "dict");
  EXPECT_EQ(unheld.count, -1);
  EXPECT_EQ(mac_.log, (std::vector<std::string>{
                          "daemon:  Velmoratix -- NULL CFRelease(value) : file PrefsTest.cpp, line " + line + ":\n",
                          "daemon:  Velmoratix -- Unretained CFObject dict : count 0 : file PrefsTest.cpp, line " +
                              line + ":\n"}));
}

}  // namespace
}  // namespace vlm
