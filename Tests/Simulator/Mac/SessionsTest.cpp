#include <gtest/gtest.h>

#include <csignal>
#include <memory>

#include "Platform/Application.h"
#include "Platform/Quartz.h"
#include "Platform/RunLoop.h"
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
    whenLaunched();
    told->push_back("launched");
  }
};

/// A machine with one program whose main function is the usual one.
class Sessions : public testing::Test {
 protected:
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
    processGone = "process gone at pid " + std::to_string(session->processIdentifier());
  }

  SimulatedMac mac{desktopWith({"Left"})};
  Lines told;
  Session* session = nullptr;
  std::string processGone;
};

TEST_F(Sessions, LaunchOnTheNextTurnAndStopAfterTheWholeEvent) {
  launch([&] {
    session->call([] { os().application.stop(); });
    told.emplace_back("nested call made");
  });
  EXPECT_EQ(told, Lines{"main, end"});
  EXPECT_TRUE(session->isRunning());
  mac.turn();
  EXPECT_EQ(told, (Lines{"main, end", "nested call made", "launched", "afterwards", "object gone", processGone}));
  EXPECT_FALSE(session->isRunning());
  EXPECT_EQ(Process::currentOrNull(), nullptr);
  EXPECT_TRUE(mac.faults().empty());
}

TEST_F(Sessions, EndDeliveriesAtOnceByTerminateAndTheObjectsAfterTheCall) {
  bool late = false;
  launch([&] {
    os().runLoop.performAfterDelay(0, [&] { late = true; });
    os().application.terminate();
    EXPECT_FALSE(session->isRunning());
    os().runLoop.performAfterDelay(0, [&] { late = true; });
  });
  mac.turn();
  mac.advance(10);
  EXPECT_FALSE(late);
  EXPECT_EQ(told, (Lines{"main, end", "launched", "object gone", processGone}));
  EXPECT_FALSE(mac.launch(daemonDescription(), [](Session&) { return 0; }).isRunning()) << "returned without running";
  EXPECT_TRUE(mac.sessions().empty());
}

TEST_F(Sessions, AreFaultyWhenTheyDoNotGiveEverythingBack) {
  const CGDirectDisplayID left = mac.display("Left").id;
  std::optional<CGDisplayModeRef> kept;
  Session& process = mac.addSession(daemonDescription());
  process.call([&] { kept = os().quartz.CGDisplayCopyDisplayMode(left); });
  process.end();
  EXPECT_EQ(mac.faults(), Lines{"process daemon ended with 1 platform objects that it did not give back"});
}

TEST(Processes, AreCurrentInTheirOwnCallsAloneAndEndBySignalsThatTheyDoNotHandle) {
  TestProcess process;
  const std::int32_t own = os().workspace.processIdentifier();
  Session& other = process.mac().addSession(daemonDescription());
  other.call([&] {
    EXPECT_EQ(os().workspace.processIdentifier(), other.processIdentifier());
    process.session().call([&] { EXPECT_EQ(os().workspace.processIdentifier(), own); });
    EXPECT_EQ(os().workspace.processIdentifier(), other.processIdentifier());
  });
  EXPECT_EQ(os().workspace.processIdentifier(), own);
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
  process.mac().advance(2);
  EXPECT_EQ(called, (Lines{"timer", "perform", "timer"}));
}

TEST(Applications, WhoCameToTheFrontLastIsInFront) {
  MachineDescription machine = laptopWith({"Left"});
  machine.processes = {{.bundleIdentifier = "a", .name = "A"},
                       {.bundleIdentifier = "b", .name = "B"},
                       {.name = "helper"},
                       {.bundleIdentifier = "c", .name = "C", .activationPolicy = ActivationPolicy::accessory},
                       {.bundleIdentifier = "d", .name = "D", .activationPolicy = ActivationPolicy::prohibited}};
  ProcessDescription daemon = daemonDescription();
  daemon.activationPolicy = ActivationPolicy::accessory;
  TestProcess process(machine, {}, daemon);
  Workspace& workspace = os().workspace;
  const auto inFront = [&] {
    const auto application = workspace.frontmostApplication();
    return application ? application->localizedName : "nobody";
  };
  const auto applications = workspace.runningApplications();
  ASSERT_EQ(applications.size(), 5U);  // the helper is none
  const std::int32_t a = applications[0].processIdentifier, b = applications[1].processIdentifier;
  EXPECT_EQ(inFront(), "B");
  workspace.activateWithOptions(a, 0);
  EXPECT_FALSE(workspace.activateWithOptions(applications[3].processIdentifier, 0));  // prohibited
  EXPECT_EQ(inFront(), "A");
  EXPECT_TRUE(workspace.activateWithOptions(applications[2].processIdentifier, 0));
  EXPECT_EQ(inFront(), "C") << "an accessory that has the keyboard";
  EXPECT_TRUE(workspace.hide(applications[2].processIdentifier));
  EXPECT_EQ(inFront(), "A");
  EXPECT_TRUE(workspace.hide(a));
  EXPECT_FALSE(workspace.hide(a));
  EXPECT_FALSE(workspace.hide(applications[3].processIdentifier));  // prohibited: no face to hide
  EXPECT_EQ(inFront(), "B");
  EXPECT_TRUE(workspace.hide(b));
  EXPECT_EQ(inFront(), "nobody");
  EXPECT_TRUE(workspace.activateWithOptions(a, 0));
  EXPECT_EQ(inFront(), "A");
}

}  // namespace
}  // namespace vlm::sim
