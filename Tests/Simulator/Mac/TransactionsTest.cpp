#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "Platform/Quartz.h"
#include "Simulator/Mac/SimulatedMac.h"
#include "Tests/Simulator/Mac/SmallMachines.h"

namespace vlm::sim {
namespace {

using Lines = std::vector<std::string>;

/// Panel at (0, 0), A and B in a row to the right of it, and a process that transacts.
class Transactions : public testing::Test {
 protected:
  Transactions() {
    for (const auto& display : mac.windowServer().displays()) names[display->id] = display->description.name;
  }

  /// Writes "daemon A 0x1" for every call from now on.
  void watch(Session& session) {
    session.ports().quartz.CGDisplayRegisterReconfigurationCallback([this, &session](CGDirectDisplayID id, auto flags) {
      std::ostringstream text;
      text << session.description().name << " " << names[id] << " 0x" << std::hex << flags;
      heard.push_back(text.str());
    });
  }

  /// The calls of a process for one change: about to, for each display, and then what was done.
  static Lines round(const std::string& process, const std::string& panel, const std::string& a, const std::string& b) {
    const std::string to = process + " ";
    return {to + "Panel 0x1", to + "A 0x1", to + "B 0x1", to + "Panel " + panel, to + "A " + a, to + "B " + b};
  }

  SimulatedMac mac{smallMachine(2)};
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
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0; A 1000,0 1200x900; B 0,800");
  EXPECT_EQ(
      mac.journal().lines(),
      (Lines{"daemon: CGBeginDisplayConfiguration()", "daemon: CGSConfigureDisplayMode(A, 2)",
             "daemon: CGSConfigureDisplayOrigin(B, 0, 800)", "daemon: CGSConfigureDisplayEnabled(B, true)",
             "daemon: CGConfigureDisplayMirrorOfDisplay(B, none)", "daemon: CGCompleteDisplayConfiguration(2) = 0"}));
}

TEST_F(Transactions, AreRefusedAsAWholeForOneBadChange) {
  mac.display("B").description.canDisable = false;
  server.refuseMode(mac.display("A"), 3);
  watch(daemon);
  const struct {
    std::string change, reason;
  } rows[] = {
      {"Nobody at 1 0", "there is no display 0x77"},
      {"A mode 6", "A has no mode 6"},
      {"A mode -1", "A has no mode -1"},
      {"A mode 3", "A refuses mode 3"},
      {"B off", "B cannot be turned off"},
      {"A shows A", "A cannot mirror itself"},
      {"B shows A, A off", "A is off and cannot be mirrored"},
      {"A shows Panel, A off", "A is off and mirrors nothing"},
  };
  const std::string before = arrangementOf(mac);
  for (const auto& [change, reason] : rows) {
    EXPECT_EQ(transact(daemon, "Panel mode 2, " + change), kCGErrorIllegalArgument) << change;
    EXPECT_EQ(mac.journal().lines().back(), "daemon: CGCompleteDisplayConfiguration(2) = 1001: " + reason);
    EXPECT_EQ(changeByAnother(mac, "Panel mode 2, " + change), reason) << change;
    EXPECT_EQ(arrangementOf(mac), before) << change;
  }
  mac.turn();
  EXPECT_TRUE(heard.empty());
  EXPECT_EQ(server.openTransactions(), 0U);
}

TEST_F(Transactions, LeaveOneDisplayOnAndFailOnceWhenToldTo) {
  EXPECT_EQ(transact(daemon, "A off, B off, Panel off"), kCGErrorIllegalArgument);
  EXPECT_EQ(transact(daemon, "A off, B off, Panel off, B on"), kCGErrorSuccess);
  EXPECT_EQ(arrangementOf(mac), "Panel off; A off; B 0,0");
  EXPECT_EQ(transact(daemon, "B shows A"), kCGErrorIllegalArgument) << "A is off";
  EXPECT_EQ(transact(daemon, "B off"), kCGErrorIllegalArgument);
  server.failNextTransaction(kCGErrorFailure);
  EXPECT_EQ(transact(daemon, "B mode 2"), kCGErrorFailure);
  EXPECT_EQ(mac.display("B").modeNumber, 1U);
  EXPECT_EQ(transact(daemon, "B mode 2"), kCGErrorSuccess);
}

TEST_F(Transactions, AreFaultyWhenStaleMissingOrLeftOpen) {
  const CGDirectDisplayID a = mac.display("A").id;
  const CGDisplayConfigRef config = quartz.CGBeginDisplayConfiguration();
  quartz.CGCompleteDisplayConfiguration(config, kCGConfigurePermanently);
  EXPECT_EQ(quartz.CGSConfigureDisplayMode(config, a, 2), kCGErrorIllegalArgument);
  EXPECT_EQ(quartz.CGSConfigureDisplayMode(nullptr, a, 2), kCGErrorIllegalArgument);
  EXPECT_EQ(quartz.CGCompleteDisplayConfiguration(config, kCGConfigurePermanently), kCGErrorIllegalArgument);
  quartz.CGSConfigureDisplayMode(quartz.CGBeginDisplayConfiguration(), a, 2);
  daemon.end();
  EXPECT_EQ(server.openTransactions(), 0U);
  EXPECT_EQ(mac.display("A").modeNumber, 1U);
  EXPECT_EQ(server.faults(), (Lines{"daemon: CGSConfigureDisplayMode(A, 2) in a transaction that is not open",
                                    "CGSConfigureDisplayMode(A, 2) without a transaction",
                                    "daemon: CGCompleteDisplayConfiguration(2) in a transaction that is not open",
                                    "daemon: ended with a display-configuration transaction open"}));
}

// --- Callbacks ---

TEST_F(Transactions, TellAboutToForEachDisplayAndThenWhatWasDone) {
  const struct {
    const char *change, *undo;
    Lines calls;
  } rows[] = {
      {"A mode 4", "A mode 1", round("daemon", "0x0", "0x8", "0x0")},  // the rate alone
      {"A mode 2", "A mode 1", round("daemon", "0x1000", "0x1008", "0x1002")},
      {"A at 0 0", "Panel at 0 0", round("daemon", "0x1002", "0x1006", "0x1002")},
      {"B off", "B on", round("daemon", "0x1000", "0x1000", "0x1200")},
      {"B shows Panel", "B shows nothing", round("daemon", "0x1000", "0x1000", "0x1402")},
      {"A mode 1, A on", "A on", {}},
  };
  watch(daemon);
  for (const auto& row : rows) {
    heard.clear();
    EXPECT_EQ(transact(daemon, row.change), kCGErrorSuccess) << row.change;
    EXPECT_EQ(heard, row.calls) << row.change;
    EXPECT_EQ(transact(daemon, row.undo), kCGErrorSuccess) << row.undo;
  }
}

TEST_F(Transactions, CallTheirOwnProcessAtOnceAndOthersOnTheNextTurn) {
  Session& other = addProcess(mac, "other");
  watch(other);
  watch(daemon);
  transact(daemon, "A mode 4");
  EXPECT_EQ(heard, round("daemon", "0x0", "0x8", "0x0"));
  heard.clear();
  mac.turn();
  EXPECT_EQ(heard, round("other", "0x0", "0x8", "0x0"));
  heard.clear();
  changeByAnother(mac, "A mode 1");
  EXPECT_TRUE(heard.empty());
  mac.turn();
  EXPECT_EQ(heard.size(), 12U) << "what somebody else did reaches everybody later";
}

TEST_F(Transactions, MayBeMadeInACallback) {
  int calls = 0;
  quartz.CGDisplayRegisterReconfigurationCallback([&](CGDirectDisplayID, auto) {
    if (++calls != 1) return;
    quartz.CGDisplayRegisterReconfigurationCallback([](CGDirectDisplayID, auto) {});
    transact(daemon, "B mode 2");
  });
  transact(daemon, "A mode 2");
  EXPECT_EQ(calls, 12);
  EXPECT_EQ(arrangementOf(mac), "Panel 0,0; A 1000,0 1200x900; B 2200,0 1200x900");
}

TEST_F(Transactions, TellNothingToAProcessThatEndedMeanwhile) {
  Session& other = addProcess(mac, "other");
  int calls = 0;
  other.ports().quartz.CGDisplayRegisterReconfigurationCallback([&](CGDirectDisplayID, auto) {
    ++calls;
    other.end();
  });
  watch(daemon);
  changeByAnother(mac, "A mode 2");
  daemon.end();
  mac.turn();
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(heard.empty());
}

}  // namespace
}  // namespace vlm::sim
