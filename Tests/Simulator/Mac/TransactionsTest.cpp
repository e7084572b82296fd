#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Platform/Quartz.h"
#include "Simulator/Mac/SimulatedMac.h"
#include "Tests/Simulator/Mac/SmallMachines.h"

namespace vlm::sim {
namespace {

using Lines = std::vector<std::string>;

/// Panel at (0, 0), A and B to the right of it, and a process that transacts.
class Transactions : public testing::Test {
 protected:
  explicit Transactions(const MachineDescription& machine = smallMachine(2)) : mac(machine) {}

  /// Writes "daemon A 0x1" for every call from now on.
  void watch(Session& session) {
    session.ports().quartz.CGDisplayRegisterReconfigurationCallback(
        [this, &session](CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags) {
          char text[16];
          std::snprintf(text, sizeof text, "0x%x", flags);
          heard.push_back(session.description().name + " " + names[display] + " " + text);
        });
    for (const auto& display : mac.windowServer().displays()) names[display->id] = display->description.name;
  }

  SimulatedMac mac;
  Session& daemon = addProcess(mac, "daemon");
  Quartz& quartz = daemon.ports().quartz;
  WindowServer& server = mac.windowServer();
  std::map<CGDirectDisplayID, std::string> names;
  Lines heard;
};

TEST_F(Transactions, TakeEffectAllTogetherWhenTheyComplete) {
  const CGDirectDisplayID a = mac.display("A").id, b = mac.display("B").id;
  const std::string before = arrangementOf(mac);
  const CGDisplayConfigRef config = quartz.CGBeginDisplayConfiguration();
  EXPECT_EQ(quartz.CGSConfigureDisplayMode(config, a, 2), kCGErrorSuccess);
  EXPECT_EQ(quartz.CGSConfigureDisplayOrigin(config, b, 0, 800), kCGErrorSuccess);
  EXPECT_EQ(quartz.CGSConfigureDisplayEnabled(config, b, true), kCGErrorSuccess);
  EXPECT_EQ(quartz.CGConfigureDisplayMirrorOfDisplay(config, b, kCGNullDirectDisplay), kCGErrorSuccess);
  EXPECT_EQ(arrangementOf(mac), before);
  EXPECT_EQ(server.openTransactions(), 1U);
  EXPECT_EQ(quartz.CGCompleteDisplayConfiguration(config, kCGConfigurePermanently), kCGErrorSuccess);
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0 1000x800; A 1000,0 1200x900; B 0,800 1000x800");
  EXPECT_EQ(
      mac.journal().lines(),
      (Lines{"daemon: CGBeginDisplayConfiguration()", "daemon: CGSConfigureDisplayMode(A, 2)",
             "daemon: CGSConfigureDisplayOrigin(B, 0, 800)", "daemon: CGSConfigureDisplayEnabled(B, true)",
             "daemon: CGConfigureDisplayMirrorOfDisplay(B, none)", "daemon: CGCompleteDisplayConfiguration(2) = 0"}));
  EXPECT_TRUE(mac.faults().empty());
}

struct Refusal {
  const char* name;
  std::function<void(Changes&)> change;
  const char* reason;
};

TEST_F(Transactions, AreRefusedAsAWholeForOneBadChange) {
  mac.display("B").description.canDisable = false;
  server.refuseMode(mac.display("A"), 3);
  const DisplayChange toUnknown{.kind = DisplayChange::Kind::origin, .display = 0x77, .x = 1};
  const Refusal cases[] = {
      {.name = "unknown display",
       .change = [&](Changes& changes) { changes.add(toUnknown); },
       .reason = "there is no display 0x77"},
      {.name = "mode of no display",
       .change = [](Changes& changes) { changes.mode("A", 6); },
       .reason = "A has no mode 6"},
      {.name = "negative mode",
       .change = [](Changes& changes) { changes.mode("A", -1); },
       .reason = "A has no mode -1"},
      {.name = "refused mode", .change = [](Changes& changes) { changes.mode("A", 3); }, .reason = "A refuses mode 3"},
      {.name = "display that stays on",
       .change = [](Changes& changes) { changes.off("B"); },
       .reason = "B cannot be turned off"},
      {.name = "mirror of itself",
       .change = [](Changes& changes) { changes.mirror("A", "A"); },
       .reason = "A cannot mirror itself"},
      {.name = "mirror of a display that goes off",
       .change = [](Changes& changes) { changes.mirror("B", "A").off("A"); },
       .reason = "A is off and cannot be mirrored"},
  };
  watch(daemon);
  const std::string before = arrangementOf(mac);
  for (const Refusal& row : cases) {
    Changes changes(mac);
    changes.mode("Panel", 2);
    row.change(changes);
    EXPECT_EQ(changes.by(daemon), kCGErrorIllegalArgument) << row.name;
    EXPECT_EQ(mac.journal().lines().back(),
              std::string("daemon: CGCompleteDisplayConfiguration(2) = 1001: ") + row.reason);
    EXPECT_EQ(changes.byAnother(), row.reason) << row.name;
    EXPECT_EQ(arrangementOf(mac), before) << row.name;
  }
  mac.turn();
  EXPECT_TRUE(heard.empty());
  EXPECT_EQ(server.openTransactions(), 0U);
}

TEST_F(Transactions, LeaveOneDisplayOn) {
  EXPECT_EQ(Changes(mac).off("A").off("B").off("Panel").by(daemon), kCGErrorIllegalArgument);
  EXPECT_EQ(Changes(mac).off("A").off("B").off("Panel").on("B").by(daemon), kCGErrorSuccess);
  EXPECT_EQ(arrangementOf(mac), "Panel off; A off; B 0,0 1000x800");
  EXPECT_EQ(Changes(mac).mirror("B", "A").by(daemon), kCGErrorIllegalArgument) << "A is off";
  EXPECT_EQ(Changes(mac).off("B").by(daemon), kCGErrorIllegalArgument);
}

TEST_F(Transactions, FailOnceWhenToldTo) {
  server.failNextTransaction(kCGErrorFailure);
  EXPECT_EQ(Changes(mac).mode("A", 2).by(daemon), kCGErrorFailure);
  EXPECT_EQ(mac.display("A").modeNumber, 1U);
  EXPECT_EQ(Changes(mac).mode("A", 2).by(daemon), kCGErrorSuccess);
  EXPECT_EQ(mac.display("A").modeNumber, 2U);
}

TEST_F(Transactions, AreFaultyWhenStaleMissingOrLeftOpen) {
  const CGDirectDisplayID a = mac.display("A").id;
  const CGDisplayConfigRef config = quartz.CGBeginDisplayConfiguration();
  quartz.CGCompleteDisplayConfiguration(config, kCGConfigurePermanently);
  EXPECT_EQ(quartz.CGSConfigureDisplayMode(config, a, 2), kCGErrorIllegalArgument);
  EXPECT_EQ(quartz.CGSConfigureDisplayMode(nullptr, a, 2), kCGErrorIllegalArgument);
  EXPECT_EQ(quartz.CGCompleteDisplayConfiguration(config, kCGConfigurePermanently), kCGErrorIllegalArgument);
  const CGDisplayConfigRef open = quartz.CGBeginDisplayConfiguration();
  quartz.CGSConfigureDisplayMode(open, a, 2);
  daemon.end();
  EXPECT_EQ(server.openTransactions(), 0U);
  EXPECT_EQ(mac.display("A").modeNumber, 1U);
  EXPECT_EQ(server.faults(), (Lines{"daemon: CGSConfigureDisplayMode(A, 2) in a transaction that is not open",
                                    "CGSConfigureDisplayMode(A, 2) without a transaction",
                                    "daemon: CGCompleteDisplayConfiguration(2) in a transaction that is not open",
                                    "daemon: ended with a display-configuration transaction open"}));
}

TEST_F(Transactions, ChangePartsWhenTheMasterMirrorsItsMirror) {
  EXPECT_EQ(Changes(mac).mirror("A", "Panel").mirror("B", "Panel").by(daemon), kCGErrorSuccess);
  const CGDirectDisplayID panel = mac.display("Panel").id, a = mac.display("A").id, b = mac.display("B").id;
  EXPECT_EQ(Changes(mac).mirror("Panel", "A").by(daemon), kCGErrorSuccess);
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0 1000x800 shows A; A 0,0 1000x800; B 0,0 1000x800 shows A");
  EXPECT_EQ(quartz.CGDisplayMirrorsDisplay(panel), a);
  EXPECT_EQ(quartz.CGDisplayPrimaryDisplay(b), a);
  EXPECT_EQ(quartz.CGDisplayPrimaryDisplay(a), a);
  EXPECT_TRUE(quartz.CGDisplayIsInMirrorSet(a));
  EXPECT_TRUE(quartz.CGDisplayIsActive(a));
  EXPECT_FALSE(quartz.CGDisplayIsActive(b));
  EXPECT_EQ(Changes(mac).off("A").by(daemon), kCGErrorSuccess);
  EXPECT_FALSE(quartz.CGDisplayIsInMirrorSet(b)) << "its master went off";
}

// --- Callbacks ---

struct Notice {
  const char* name;
  std::function<void(Changes&)> change;
  Lines done;  ///< of the second round
};

TEST_F(Transactions, TellAboutToForEachDisplayAndThenWhatWasDone) {
  const Notice cases[] = {
      {.name = "rate alone",
       .change = [](Changes& changes) { changes.mode("A", 4); },
       .done = {"Panel 0x0", "A 0x8", "B 0x0"}},
      {.name = "size of the first in the row",
       .change = [](Changes& changes) { changes.mode("A", 2); },
       .done = {"Panel 0x1000", "A 0x1008", "B 0x1002"}},
      {.name = "another main display",
       .change = [](Changes& changes) { changes.origin("A", 0, 0); },
       .done = {"Panel 0x1002", "A 0x1006", "B 0x1002"}},
      {.name = "off",
       .change = [](Changes& changes) { changes.off("B"); },
       .done = {"Panel 0x1000", "A 0x1000", "B 0x1200"}},
      {.name = "mirroring",
       .change = [](Changes& changes) { changes.mirror("B", "Panel"); },
       .done = {"Panel 0x1000", "A 0x1000", "B 0x1402"}},
      {.name = "nothing", .change = [](Changes& changes) { changes.mode("A", 1).on("A"); }, .done = {}},
  };
  for (const Notice& row : cases) {
    SimulatedMac fresh(smallMachine(2));
    Session& process = addProcess(fresh, "p");
    Lines calls;
    process.ports().quartz.CGDisplayRegisterReconfigurationCallback([&](CGDirectDisplayID id, auto flags) {
      char text[16];
      std::snprintf(text, sizeof text, " 0x%x", flags);
      calls.push_back(fresh.windowServer().displayWithID(id)->description.name + text);
    });
    Changes changes(fresh);
    row.change(changes);
    EXPECT_EQ(changes.by(process), kCGErrorSuccess) << row.name;
    Lines expected;
    if (!row.done.empty()) expected = {"Panel 0x1", "A 0x1", "B 0x1"};
    expected.insert(expected.end(), row.done.begin(), row.done.end());
    EXPECT_EQ(calls, expected) << row.name;
  }
}

TEST_F(Transactions, CallTheirOwnProcessAtOnceAndOthersOnTheNextTurn) {
  Session& other = addProcess(mac, "other");
  watch(other);
  watch(daemon);
  Changes(mac).mode("A", 4).by(daemon);
  EXPECT_EQ(heard, (Lines{"daemon Panel 0x1", "daemon A 0x1", "daemon B 0x1", "daemon Panel 0x0", "daemon A 0x8",
                          "daemon B 0x0"}));
  heard.clear();
  mac.turn();
  EXPECT_EQ(heard,
            (Lines{"other Panel 0x1", "other A 0x1", "other B 0x1", "other Panel 0x0", "other A 0x8", "other B 0x0"}));
  heard.clear();
  Changes(mac).mode("A", 1).byAnother();
  EXPECT_TRUE(heard.empty());
  mac.turn();
  EXPECT_EQ(heard.size(), 12U) << "what somebody else did reaches everybody later";
}

TEST_F(Transactions, TellOfDisplaysThatComeAndGo) {
  watch(daemon);
  const CGDirectDisplayID before = mac.display("B").id;
  mac.unplug("B");
  mac.turn();
  EXPECT_EQ(heard, (Lines{"daemon Panel 0x1", "daemon A 0x1", "daemon B 0x1", "daemon Panel 0x1000", "daemon A 0x1000",
                          "daemon B 0x1020"}));
  heard.clear();
  mac.plug("B");
  names[mac.display("B").id] = "B again";
  EXPECT_NE(mac.display("B").id, before);
  mac.turn();
  EXPECT_EQ(heard.back(), "daemon B again 0x1010");
}

TEST_F(Transactions, MayBeMadeInACallback) {
  int calls = 0;
  quartz.CGDisplayRegisterReconfigurationCallback([&](CGDirectDisplayID, auto) {
    if (++calls != 1) return;
    quartz.CGDisplayRegisterReconfigurationCallback([](CGDirectDisplayID, auto) {});
    Changes(mac).mode("B", 2).by(daemon);
  });
  Changes(mac).mode("A", 2).by(daemon);
  EXPECT_EQ(calls, 12);
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0 1000x800; A 1000,0 1200x900; B 2200,0 1200x900");
}

TEST_F(Transactions, TellNothingToAProcessThatEndedMeanwhile) {
  Session& other = addProcess(mac, "other");
  int calls = 0;
  other.ports().quartz.CGDisplayRegisterReconfigurationCallback([&](CGDirectDisplayID, auto) {
    ++calls;
    other.end();
  });
  Changes(mac).mode("A", 2).byAnother();
  mac.turn();
  EXPECT_EQ(calls, 1);
  watch(daemon);
  Changes(mac).mode("A", 1).byAnother();
  daemon.end();
  mac.turn();
  EXPECT_TRUE(heard.empty());
  EXPECT_TRUE(mac.faults().empty());
}

}  // namespace
}  // namespace vlm::sim
