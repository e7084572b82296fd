#include <gtest/gtest.h>

#include <csignal>
#include <memory>

#include "Platform/Application.h"
#include "Platform/Bundle.h"
#include "Platform/IORegistry.h"
#include "Platform/Quartz.h"
#include "Platform/RunLoop.h"
#include "Platform/System.h"
#include "Platform/Workspace.h"
#include "Tests/Support/TestProcess.h"

namespace vlm::sim {
namespace {

using Lines = std::vector<std::string>;

/// What a program of these tests keeps in its Process; says when it goes, and whether it can still ask the system.
struct Kept {
  Lines* told = nullptr;
  ~Kept() {
    if (told != nullptr) told->push_back("process gone at pid " + std::to_string(os().workspace.processIdentifier()));
  }
};

/// An application that does what the test says.
struct TestApplication : ApplicationObject {
  std::function<void()> whenLaunched;
  Lines* told;
  TestApplication(Lines& lines, std::function<void()> body) : whenLaunched(std::move(body)), told(&lines) {
    os().application.setDelegate(this);
    Process::current().state<Kept>().told = told;
  }
  ~TestApplication() override { told->push_back("object gone"); }
  void applicationDidFinishLaunching() override {
    told->push_back("launched");
    whenLaunched();
    told->push_back("launched, end");
  }
};

/// A machine with one program whose main function is the usual one.
struct Launching {
  SimulatedMac mac{desktopWith({"Left"})};
  Lines told;
  Session* session = nullptr;

  void launch(std::function<void()> whenLaunched) {
    session = &mac.launch(daemonDescription(), [&](Session& own) {
      own.defineClass("Main", [this, whenLaunched] { return std::make_unique<TestApplication>(told, whenLaunched); });
      os().application.sharedApplication(os().application.NSClassFromString("Main"));
      os().application.run([this] {
        told.emplace_back("afterwards");
        os().application.releaseSharedApplication();
      });
      told.emplace_back("main, end");
      return 0;
    });
  }
};

TEST(Sessions, AnApplicationIsLaunchedOnTheNextTurnAndStopsAfterTheEvent) {
  Launching test;
  test.launch([] { os().application.stop(); });
  EXPECT_EQ(test.told, Lines{"main, end"});
  EXPECT_TRUE(test.session->isRunning());
  test.mac.turn();
  EXPECT_EQ(test.told, (Lines{"main, end", "launched", "launched, end", "afterwards", "object gone",
                              "process gone at pid " + std::to_string(test.session->processIdentifier())}));
  EXPECT_FALSE(test.session->isRunning());
  EXPECT_EQ(Process::currentOrNull(), nullptr);
  EXPECT_TRUE(test.mac.faults().empty());
}

TEST(Sessions, StopInsideOfANestedCallWaitsForTheWholeEvent) {
  Launching test;
  test.launch([&] {
    test.session->call([] { os().application.stop(); });
    test.told.emplace_back("nested call made");
  });
  test.mac.turn();
  EXPECT_EQ(test.told[2], "nested call made");
  EXPECT_EQ(test.told[4], "afterwards");
}

TEST(Sessions, TerminateEndsDeliveriesAtOnceAndTheObjectsAfterTheCall) {
  Launching test;
  bool late = false;
  test.launch([&] {
    os().runLoop.performAfterDelay(0, [&] { late = true; });
    os().application.terminate();
    EXPECT_FALSE(test.session->isRunning());
    os().runLoop.performAfterDelay(0, [&] { late = true; });
  });
  test.mac.turn();
  test.mac.advance(10);
  EXPECT_FALSE(late);
  EXPECT_EQ(test.told, (Lines{"main, end", "launched", "launched, end", "object gone",
                              "process gone at pid " + std::to_string(test.session->processIdentifier())}));
}

TEST(Sessions, AProgramThatReturnsWithoutRunningHasEnded) {
  SimulatedMac mac(desktopWith({"Left"}));
  EXPECT_FALSE(mac.launch(daemonDescription(), [](Session&) { return 0; }).isRunning());
  EXPECT_TRUE(mac.sessions().empty());
}

TEST(Sessions, WhatAProcessDoesNotGiveBackIsAFault) {
  SimulatedMac mac(laptopWith({"Left"}));
  const CGDirectDisplayID left = mac.display("Left").id;
  auto kept = std::make_unique<std::optional<CGDisplayModeRef>>();
  Session& session = mac.addSession(daemonDescription());
  session.call([&] { *kept = os().quartz.CGDisplayCopyDisplayMode(left); });
  EXPECT_EQ(session.heldObjects(), 1U);
  session.end();
  EXPECT_EQ(mac.faults(), Lines{"process daemon ended with 1 platform objects that it did not give back"});
  kept.reset();
}

TEST(Sessions, ATransactionLeftOpenIsAFault) {
  SimulatedMac mac(laptopWith({"Left"}));
  Session& session = mac.addSession(daemonDescription());
  session.call([] { os().quartz.CGBeginDisplayConfiguration(); });
  session.end();
  EXPECT_EQ(mac.faults().size(), 1U);
}

TEST(Sessions, EachIsCurrentInItsOwnCallsAlone) {
  TestProcess process;
  const std::int32_t own = os().workspace.processIdentifier();
  Session& other = process.mac().addSession(daemonDescription());
  std::int32_t seen = 0;
  other.call([&] {
    seen = os().workspace.processIdentifier();
    process.session().call([&] { EXPECT_EQ(os().workspace.processIdentifier(), own); });
    EXPECT_EQ(os().workspace.processIdentifier(), seen);
  });
  EXPECT_EQ(seen, other.processIdentifier());
  EXPECT_EQ(os().workspace.processIdentifier(), own);
}

TEST(Sessions, ASignalCallsItsHandlerOnTheNextTurnOrEndsTheProcess) {
  TestProcess process;
  Session& other = process.mac().addSession(daemonDescription());
  bool handled = false;
  os().runLoop.setSignalHandler(SIGINT, [&] { handled = true; });
  process.mac().signal(process.session(), SIGINT);
  process.mac().signal(other, SIGINT);
  EXPECT_FALSE(other.isRunning());
  EXPECT_FALSE(handled);
  process.mac().turn();
  EXPECT_TRUE(handled);
  EXPECT_TRUE(process.session().isRunning());
}

TEST(Workspace, ListsCopiesInTheOrderOfTheirStartEachAtItsOwnPlace) {
  TestProcess process;
  Session& second = process.mac().addSession(daemonDescription("4.15.2"));
  process.mac().addSession({.bundleIdentifier = "other", .name = "other", .bundlePath = "", .version = "1"});
  const auto running = os().workspace.runningApplicationsWithBundleIdentifier("org.kelvane.velmoratix.daemon");
  ASSERT_EQ(running.size(), 2U);
  EXPECT_EQ(running[0].processIdentifier, os().workspace.processIdentifier());
  EXPECT_EQ(running[0].bundlePath, os().bundle.bundlePath());
  EXPECT_EQ(running[1].processIdentifier, second.processIdentifier());
  EXPECT_EQ(os().bundle.infoDictionaryOfBundleAt(running[0].bundlePath)->string("CFBundleVersion"), "4.15.1");
  EXPECT_EQ(os().bundle.infoDictionaryOfBundleAt(running[1].bundlePath)->string("CFBundleVersion"), "4.15.2");
  EXPECT_EQ(os().bundle.infoDictionaryOfBundleAt("/elsewhere"), std::nullopt);
}

TEST(Workspace, ForceTerminateEndsTheProcessInItsOwnName) {
  Launching test;
  test.launch([] {});
  test.mac.turn();
  const std::int32_t victim = test.session->processIdentifier();
  Session& killer = test.mac.addSession(daemonDescription());
  test.mac.journal().clear();
  killer.call([&] {
    EXPECT_TRUE(os().workspace.forceTerminate(victim));
    EXPECT_FALSE(os().workspace.forceTerminate(victim));
  });
  EXPECT_FALSE(test.session->isRunning());
  EXPECT_EQ(test.told.back(), "process gone at pid " + std::to_string(victim));
  EXPECT_EQ(test.mac.journal().lines(), Lines{"daemon: forceTerminate(" + std::to_string(victim) + ")"});
}

TEST(Workspace, AProcessMayForceItsOwnEnd) {
  Launching test;
  test.launch([] { os().workspace.forceTerminate(os().workspace.processIdentifier()); });
  test.mac.turn();
  EXPECT_EQ(test.told[2], "launched, end");
  EXPECT_EQ(test.told.size(), 5U);
}

TEST(RunLoop, EndsTimersAndPerformsByTheirOwnKindOnly) {
  TestProcess process;
  RunLoop& loop = os().runLoop;
  Lines called;
  const RunLoopToken timer = loop.scheduledTimerWithTimeInterval(1, true, [&] { called.emplace_back("timer"); });
  const RunLoopToken perform = loop.performAfterDelay(1.5, [&] { called.emplace_back("perform"); });
  loop.cancelPerform(timer);
  loop.invalidateTimer(perform);
  process.mac().advance(2);
  loop.invalidateTimer(timer);
  loop.invalidateTimer(timer);
  loop.sleep(0.25);
  process.mac().advance(2);
  EXPECT_EQ(called, (Lines{"timer", "perform", "timer"}));
  EXPECT_EQ(process.newJournalLines(),
            (Lines{"daemon: scheduledTimerWithTimeInterval(1, repeats)", "daemon: performAfterDelay(1.5)",
                   "daemon: invalidateTimer(1)", "daemon: sleep(0.25)"}));
  EXPECT_EQ(os().system.timeIntervalSinceReferenceDate(), 788'918'404.25);
}

}  // namespace
}  // namespace vlm::sim
