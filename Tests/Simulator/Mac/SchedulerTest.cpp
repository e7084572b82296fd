#include "Simulator/Mac/Scheduler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>

namespace vlm::sim {
namespace {

/// A scheduler and what it called, "name@50 name@100 ": hundredths of a second since the start.
struct Timeline {
  Scheduler scheduler;
  double start = scheduler.now();
  std::string called;

  Scheduler::Token ask(const std::string& name, double seconds, Scheduler::Body body = {}, bool repeats = false) {
    const auto note = [this, name, body = std::move(body)] {
      called += name + "@" + std::to_string(std::lround((scheduler.now() - start) * 100)) + " ";
      if (body) body();
    };
    const auto kind = repeats ? Scheduler::Request::Kind::timer : Scheduler::Request::Kind::perform;
    return scheduler.add({.kind = kind, .seconds = seconds, .repeats = repeats, .owner = nullptr, .body = note});
  }
  Scheduler::Token repeat(const std::string& name, double seconds, Scheduler::Body body = {}) {
    return ask(name, seconds, std::move(body), true);
  }
};

TEST(Scheduler, CallsInTheOrderOfTimeAndOfAsking) {
  Timeline line;
  line.ask("late", 2);
  line.ask("first", 1);
  line.ask("second", 1);
  line.ask("early", 0.5);
  line.ask("beyond", 3.01);
  for (int i = 0; i < 30; ++i) line.scheduler.advance(0.1);  // tenths add up
  EXPECT_EQ(line.called, "early@50 first@100 second@100 late@200 ");
}

TEST(Scheduler, NeverCallsWhileItIsAskedAndCallsChainsWithinOneTurn) {
  Timeline line;
  line.ask("outer", -3, [&] { line.ask("inner", 0, [&] { line.ask("innermost", std::nan("")); }); });
  line.ask("neighbour", 0);
  EXPECT_EQ(line.called, "");
  line.scheduler.turn();
  EXPECT_EQ(line.called, "outer@0 neighbour@0 inner@0 innermost@0 ");
}

TEST(Scheduler, CutsEndlessChainsAndSaysSo) {
  Scheduler scheduler;
  std::size_t calls = 0;
  std::function<void()> again = [&] {
    ++calls;
    scheduler.onNextTurn(nullptr, again);
  };
  again();
  scheduler.turn();
  EXPECT_EQ(calls, Scheduler::kMostCallsAtOneMoment + 1);
  EXPECT_EQ(scheduler.faults().size(), 1U);
}

TEST(Scheduler, MissedRepetitionsAreOneCallAndTheGridStays) {
  Timeline line;
  line.repeat("tick", 1);
  line.ask("sleeper", 0.5, [&] { line.scheduler.passTime(3.2); });
  line.scheduler.advance(6);
  EXPECT_EQ(line.called, "sleeper@50 tick@370 tick@400 tick@500 tick@600 ");
  // The same when the repetition itself sleeps; the next ones go on ahead of it.
  Timeline own;
  own.repeat("tick", 1, [&] { own.scheduler.passTime(own.called.size() < 10 ? 2.5 : 0); });
  own.scheduler.advance(5);
  EXPECT_EQ(own.called, "tick@100 tick@400 tick@500 ");
}

TEST(Scheduler, ARequestCanTakeBackItselfAndOthersWhileItIsCalled) {
  Timeline line;
  Scheduler::Token own = 0;
  const Scheduler::Token other = line.ask("other", 1.5);
  own = line.repeat("tick", 1, [&] {
    for (const Scheduler::Token token : {own, other, Scheduler::Token{12345}}) line.scheduler.cancel(token);
  });
  line.scheduler.advance(10);
  EXPECT_EQ(line.called, "tick@100 ");
  EXPECT_EQ(line.scheduler.find(own), nullptr);
}

}  // namespace
}  // namespace vlm::sim
