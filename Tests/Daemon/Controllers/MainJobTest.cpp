#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "Daemon/Controllers/VLMDaemonMainController.h"
#include "Models/Script_Send.h"
#include "Models/VLMDisplaySet.h"
#include "Tests/Support/DaemonOnMac.h"
#include "Tests/Support/Machines.h"

namespace vlm {
namespace {

using plist::Array;
using plist::Dictionary;

/// Command and Option with F11.
constexpr std::uint32_t kFirstSetKey = 0x67, kFirstSetModifiers = cmdKey | optionKey;

class MainJob : public ::testing::Test {
 protected:
  MainJob() : on_(test::laptopWith({"Left", "Right"})) {
    on_.launch();
    on_.mac.advance(2);
  }
  bool press() {
    const bool isTaken = on_.mac.pressKey(kFirstSetKey, kFirstSetModifiers);
    on_.mac.turn();
    return isTaken;
  }
  std::vector<std::string> postsSince(std::size_t first) {
    std::vector<std::string> posts;
    for (std::size_t i = first; i < on_.mac.distributedPosts().size(); ++i) {
      posts.push_back(on_.mac.distributedPosts()[i].object.value_or(""));
    }
    return posts;
  }

  test::DaemonOnMac on_;
};

TEST_F(MainJob, RecordsWhatAnotherProgramChangedWithoutFightingIt) {
  ASSERT_EQ(on_.mac.setMode("Left", 1280, 720), std::nullopt);
  on_.mac.advance(5);
  on_.inside([&](VLMGlobals& document) {
    const auto left = document.displayWithcgID(on_.mac.display("Left").id);
    EXPECT_EQ(left->currentMode.get()->Nx, 1280U);
    const Dictionary saved = on_.settings();
    const Dictionary* record = saved.dictionary("allDisplays")->dictionary(std::to_string(*left->monitorResID));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->uInt32("currentMode"), left->currentMode.get()->modeUniqueID);
  });
  EXPECT_EQ(on_.mac.display("Left").mode().width, 1280U);
}

TEST_F(MainJob, TakesEverythingDownBeforeAReloadAndPutsItUpBehindIt) {
  const auto journalOfReload = [&] {
    on_.mac.journal().clear();
    on_.inside([](VLMGlobals& document) { document.applicationObject->reloadPrefsFromFile(); });
    std::vector<std::string> calls;
    for (const std::string& line : on_.mac.journal().lines()) {
      const std::string call = line.substr(line.find(' ') + 1);
      calls.push_back(call.substr(0, call.find('(')));
    }
    return calls;
  };
  journalOfReload();
  const std::vector<std::string> expected{"UnregisterEventHotKey",
                                          "UnregisterEventHotKey",
                                          "UnregisterEventHotKey",
                                          "removeMonitor",
                                          "DisplayServicesUnregisterForBrightnessChangeNotifications",
                                          "CFRunLoopRemoveSource",
                                          "IOI2CSendRequest",
                                          "IOI2CSendRequest",
                                          "writeToURLAtomically",
                                          "RegisterEventHotKey",
                                          "RegisterEventHotKey",
                                          "RegisterEventHotKey",
                                          "addGlobalMonitorForEventsMatchingMask",
                                          "DisplayServicesRegisterForBrightnessChangeNotifications",
                                          "CFRunLoopAddSource",
                                          "setVisible",
                                          "setImage"};
  EXPECT_EQ(journalOfReload(), expected);
}

TEST_F(MainJob, TakesTwoPostsOfItsOwnInARowForOneOfAnother) {
  on_.mac.log.clear();
  on_.inside([](VLMGlobals& document) {
    Script_SendDaemonReloadSettings(document);
    Script_SendDaemonReloadSettings(document);
  });
  on_.mac.turn();
  EXPECT_EQ(std::count_if(on_.mac.log.begin(), on_.mac.log.end(),
                          [](const auto& line) { return line.find("loadPrefsFromFile") != line.npos; }),
            1);
}

TEST_F(MainJob, KeepsItsSettingsWhileTheirFolderOrVolumeIsAway) {
  const std::string library = on_.mac.homeFolder() + "/Library", file = on_.settingsPath();
  const auto setsAfterReload = [&] {
    return on_.inside([](VLMGlobals& document) {
      document.applicationObject->reloadPrefsFromFile();
      return document.displaySetsArray.size();
    });
  };
  std::filesystem::rename(library, library + " away");
  EXPECT_EQ(setsAfterReload(), 1U);
  std::filesystem::rename(library + " away", library);
  EXPECT_EQ(setsAfterReload(), 1U);
  // A link that leads nowhere at the moment is no place for a new file.
  std::filesystem::rename(file, file + ".volume");
  std::filesystem::create_symlink(on_.mac.homeFolder() + "/Volume/settings", file);
  on_.inside([](VLMGlobals& document) { document.savePrefs(SettingsGroup::watched); });
  EXPECT_TRUE(std::filesystem::is_symlink(file));
}

TEST_F(MainJob, SwitchesOneDisplayAtTheControlApplicationsCommand) {
  const auto [display, mode] = on_.inside([&](VLMGlobals& document) {
    const auto left = document.displayWithcgID(on_.mac.display("Left").id);
    const auto found =
        std::find_if(left->validDisplayModes.begin(), left->validDisplayModes.end(),
                     [](const auto& candidate) { return candidate->Nx == 1280 && candidate->Ny == 720; });
    (*found)->menuVal = 2;
    return std::pair(*left->monitorResID, static_cast<std::int32_t>((*found)->modeUniqueID));
  });
  for (const Dictionary& userInfo :
       {Dictionary{}, Dictionary{{"parameter1", display}}, Dictionary{{"parameter1", "x"}, {"parameter2", mode}},
        Dictionary{{"parameter1", 9}, {"parameter2", mode}}}) {
    on_.mac.postDistributed({.name = test::kDaemonIdentifier, .object = "kVLMUseThisMode", .userInfo = userInfo});
  }
  on_.mac.turn();
  EXPECT_EQ(on_.mac.display("Left").mode().width, 2560U);
  on_.mac.postDistributed({.name = test::kDaemonIdentifier,
                           .object = "kVLMUseThisMode",
                           .userInfo = Dictionary{{"parameter1", display}, {"parameter2", mode}}});
  on_.mac.turn();
  EXPECT_EQ(on_.mac.display("Left").mode().width, 1280U);
}

TEST_F(MainJob, LeavesASetsHotKeyToOthersAlsoWhenItAppliedTheSet) {
  ASSERT_EQ(on_.mac.setMode("Left", 1280, 720), std::nullopt);
  on_.mac.advance(2);
  const auto send = [&](std::uint32_t signature, std::uint32_t identifier) {
    return on_.inside([&](VLMGlobals& document) {
      return VLMDaemonMainController::Daemon_AppCommandProcess({.eventClass = kEventClassKeyboard,
                                                                .eventKind = kEventHotKeyPressed,
                                                                .directObject = EventHotKeyID{signature, identifier},
                                                                .processID = {}},
                                                               document);
    });
  };
  EXPECT_EQ(send(1, 26381), eventNotHandledErr);
  EXPECT_EQ(on_.mac.display("Left").mode().width, 1280U);
  EXPECT_EQ(send(kHotKeySignature, 26381), eventNotHandledErr);
  EXPECT_EQ(on_.mac.display("Left").mode().width, 2560U);
  EXPECT_EQ(send(kHotKeySignature, kHotKeyOpenControlApp), noErr);
}

TEST_F(MainJob, TakesItsHotKeysBackHoweverOftenTheyWereInstalled) {
  for (const char* command : {"EnableHotKeys", "EnableHotKeys", "DisableHotKeys"}) {
    EXPECT_TRUE(on_.mac.pressKey(kFirstSetKey, kFirstSetModifiers));
    on_.mac.postDistributed({.name = test::kDaemonIdentifier, .object = command, .userInfo = {}});
    on_.mac.turn();
  }
  EXPECT_FALSE(on_.mac.pressKey(kFirstSetKey, kFirstSetModifiers));
}

TEST_F(MainJob, RecordsPositionMainDisplayAndMirroring) {
  const struct {
    const char* name;
    std::function<void(sim::SimulatedMac&)> change;
    std::vector<const char*> logs;
  } kRows[] = {
      {.name = "position",
       .change = [](sim::SimulatedMac& mac) { mac.move("Right", 4000, 100); },
       .logs = {"Position Changed for disp 1003"}},
      {.name = "main",
       .change = [](sim::SimulatedMac& mac) { mac.move("Left", 0, 0); },
       .logs = {"Main Disp Changed", "Position Changed for disp 1001"}},
      {.name = "mirroring",
       .change =
           [](sim::SimulatedMac& mac) {
             mac.windowServer().changeByAnother({{.kind = sim::DisplayChange::Kind::mirror,
                                                  .display = mac.display("Right").id,
                                                  .master = mac.display("Left").id}});
           },
       .logs = {"Mirror Changed to 1 ", "One disp Changed -> save changes"}},
  };
  for (const auto& row : kRows) {
    on_.mac.log.clear();
    row.change(on_.mac);
    on_.mac.advance(2);
    for (const char* log : row.logs) EXPECT_TRUE(on_.hasLogged(log)) << row.name << ": " << log;
    on_.mac.log.clear();
    on_.mac.advance(2);
    EXPECT_FALSE(on_.hasLogged("One disp Changed")) << row.name << " is recorded once";
  }
}

TEST_F(MainJob, PutsAModeBackThatIsNotForUse) {
  on_.inside([&](VLMGlobals& document) {
    for (const auto& mode : document.displayWithcgID(on_.mac.display("Left").id)->validDisplayModes) {
      if (mode->Nx == 1280 && mode->Ny == 720) mode->isValidAct = false;
    }
  });
  ASSERT_EQ(on_.mac.setMode("Left", 1280, 720), std::nullopt);
  on_.mac.advance(2);
  EXPECT_EQ(on_.mac.display("Left").mode().width, 2560U);
}

TEST_F(MainJob, SwitchesToTheModeThatAnAliasStandsFor) {
  on_.inside([&](VLMGlobals& document) {
    const auto left = document.displayWithcgID(on_.mac.display("Left").id);
    for (const auto& mode : left->validDisplayModes) {
      if (mode->Nx == 1280 && mode->Ny == 720) mode->setAliasedMode(left->currentMode.get());
    }
  });
  ASSERT_EQ(on_.mac.setMode("Left", 1280, 720), std::nullopt);
  on_.mac.advance(2);
  EXPECT_EQ(on_.mac.display("Left").mode().width, 2560U);
}

TEST_F(MainJob, WaitsWithARebuildWhileASetIsApplied) {
  on_.mac.log.clear();
  on_.inside([](VLMGlobals& document) { document.needsUpdatingDisplays = document.isSetExecuted = true; });
  on_.mac.advance(3);
  EXPECT_FALSE(on_.hasLogged("loadPrefsFromFile"));
  on_.inside([](VLMGlobals& document) { document.isSetExecuted = false; });
  on_.mac.advance(1);
  EXPECT_TRUE(on_.hasLogged("loadPrefsFromFile"));
}

TEST_F(MainJob, ForgetsCurrentModesOnWakeAndFindsThemAgain) {
  on_.mac.postWorkspace({.name = "NSWorkspaceDidWakeNotification", .object = {}, .userInfo = {}});
  on_.inside([](VLMGlobals& document) { EXPECT_EQ(document.displayArray[1]->currentMode.get(), nullptr); });
  on_.mac.advance(1.5);
  on_.inside([](VLMGlobals& document) { EXPECT_NE(document.displayArray[1]->currentMode.get(), nullptr); });
}

}  // namespace
}  // namespace vlm
