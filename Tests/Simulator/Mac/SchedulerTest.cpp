#include "Simulator/Mac/Scheduler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace vlm::sim {
namespace {

/// A scheduler and what it called, "name@seconds since the start".
struct Timeline {
  Scheduler scheduler;
  double start = scheduler.now();
  std::vector<std::string> called;

  std::string stamp(const std::string& name) const {
    return name + "@" + std::to_string(std::lround((scheduler.now() - start) * 100));
  }
  Scheduler::Token ask(const std::string& name, double seconds, bool repeats = false, Scheduler::Body body = {}) {
    return scheduler.add({.kind = repeats ? Scheduler::Request::Kind::timer : Scheduler::Request::Kind::perform,
                          .seconds = seconds,
                          .repeats = repeats,
                          .owner = nullptr,
                          .body = [this, name, body = std::move(body)] {
                            called.push_back(stamp(name));
                            if (body) body();
                          }});
  }
  using Calls = std::vector<std::string>;
};

TEST(Scheduler, StartsAtAFixedMoment) { EXPECT_EQ(Scheduler().now(), 788'918'400.0); }

TEST(Scheduler, CallsInTheOrderOfTimeAndOfAsking) {
  Timeline line;
  line.ask("late", 2);
  line.ask("first of two", 1);
  line.ask("second of two", 1);
  line.ask("early", 0.5);
  line.ask("beyond", 3.01);
  line.scheduler.advance(3);
  EXPECT_EQ(line.called, (Timeline::Calls{"early@50", "first of two@100", "second of two@100", "late@200"}));
  EXPECT_EQ(line.stamp("now"), "now@300");
}

TEST(Scheduler, TenthsOfASecondAddUp) {
  Timeline line;
  line.ask("due", 1);
  for (int i = 0; i < 10; ++i) line.scheduler.advance(0.1);
  EXPECT_EQ(line.called, (Timeline::Calls{"due@100"}));
}

TEST(Scheduler, NeverCallsWhileItIsAskedAndCallsChainsWithinOneTurn) {
  Timeline line;
  line.ask("outer", -3, false, [&] { line.ask("inner", 0, false, [&] { line.ask("innermost", std::nan("")); }); });
  line.ask("neighbour", 0);
  EXPECT_TRUE(line.called.empty());
  line.scheduler.turn();
  EXPECT_EQ(line.called, (Timeline::Calls{"outer@0", "neighbour@0", "inner@0", "innermost@0"}));
}

TEST(Scheduler, CutsEndlessChainsAndSaysSo) {
  Timeline line;
  std::size_t calls = 0;
  std::function<void()> again = [&] {
    ++calls;
    line.scheduler.onNextTurn(nullptr, again);
  };
  again();
  line.scheduler.turn();
  EXPECT_EQ(calls, Scheduler::kMostCallsAtOneMoment + 1);
  EXPECT_EQ(line.scheduler.faults().size(), 1U);
}

TEST(Scheduler, MissedRepetitionsAreOneCallAndTheGridStays) {
  Timeline line;
  line.ask("tick", 1, true);
  line.ask("sleeper", 0.5, false, [&] { line.scheduler.passTime(3.2); });
  line.scheduler.advance(6);
  EXPECT_EQ(line.called, (Timeline::Calls{"sleeper@50", "tick@370", "tick@400", "tick@500", "tick@600"}));
}

TEST(Scheduler, ARepetitionThatSleepsOverTheNextOnesGoesOnAheadOfThem) {
  Timeline line;
  int ticks = 0;
  line.ask("tick", 1, true, [&] {
    if (++ticks == 1) line.scheduler.passTime(2.5);
  });
  line.scheduler.advance(5);
  EXPECT_EQ(line.called, (Timeline::Calls{"tick@100", "tick@400", "tick@500"}));
}

TEST(Scheduler, PassingTimeCallsNothingByItself) {
  Timeline line;
  line.ask("due", 1);
  line.scheduler.passTime(5);
  EXPECT_TRUE(line.called.empty());
  line.scheduler.turn();
  EXPECT_EQ(line.called, (Timeline::Calls{"due@500"}));
}

TEST(Scheduler, ARequestCanTakeBackItselfAndOthersWhileItIsCalled) {
  Timeline line;
  Scheduler::Token own = 0;
  const Scheduler::Token other = line.ask("other", 1.5);
  own = line.ask("tick", 1, true, [&] {
    line.scheduler.cancel(own);
    line.scheduler.cancel(other);
    line.scheduler.cancel(12345);
  });
  line.scheduler.advance(10);
  EXPECT_EQ(line.called, (Timeline::Calls{"tick@100"}));
  EXPECT_EQ(line.scheduler.find(own), nullptr);
}

TEST(Scheduler, ATimerOfNoIntervalDoesNotStopTheClock) {
  Timeline line;
  line.ask("tick", 0, true);
  line.scheduler.advance(0.01);
  EXPECT_EQ(line.called.size(), 100U);
  EXPECT_TRUE(line.scheduler.faults().empty());
}

}  // namespace
}  // namespace vlm::sim
