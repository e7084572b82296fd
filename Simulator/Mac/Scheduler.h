#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace vlm::sim {

class Session;

/// The machine's clock and everything that waits for it. What falls due is called in the order of its time, and at one
/// time in the order in which it was asked for. The clock moves in whole nanoseconds, so that tenths add up.
class Scheduler {
 public:
  using Body = std::function<void()>;
  /// 0 is none. Unique on the machine.
  using Token = std::uint64_t;

  /// Calls at one moment before a chain of immediate requests is taken for an endless one.
  static constexpr std::size_t kMostCallsAtOneMoment = 10'000;

  /// What waits, for how long and for whom.
  struct Request {
    enum class Kind { perform, timer, delivery };
    Kind kind = Kind::delivery;
    /// From now, or between two calls. Zero or less: the next turn; for a repeating one the platform's shortest
    /// interval.
    double seconds = 0;
    bool repeats = false;
    /// The process that is called, and with which the request goes; null: the machine itself.
    Session* owner = nullptr;
    Body body;
  };

  /// Seconds since 1 January 2001, 00:00 UTC. Starts at 1 January 2026.
  double now() const;

  Token add(Request request);
  /// Calls the body on the next turn.
  Token onNextTurn(Session* owner, Body body);
  /// A request that is still to be called (again), or null.
  const Request* find(Token token) const;
  void cancel(Token token);
  void cancelAllOf(const Session& owner);

  /// Calls what is due now and what that brings about at once.
  void turn();
  /// Lets time pass, and calls what falls due meanwhile at its time.
  void advance(double seconds);
  /// Lets time pass without calling anything: what fell due meanwhile is called by the next turn, a repeating request
  /// once.
  void passTime(double seconds);

  const std::vector<std::string>& faults() const { return faults_; }

 private:
  using Nanoseconds = std::int64_t;
  struct Waiting {
    Nanoseconds due = 0;
    std::uint64_t sequence = 0;
    Token token = 0;
    auto operator<=>(const Waiting&) const = default;
  };
  struct Known {
    std::shared_ptr<Request> request;
    Waiting waiting;  ///< where it stands in the queue; a repeating one that is being called stands nowhere
  };

  static Nanoseconds nanoseconds(double seconds);
  static Nanoseconds intervalOf(const Request& request);
  void enqueue(Token token, Known& known, Nanoseconds due);
  void callFirst();
  void enqueueAgain(Token token, Nanoseconds calledFor);
  void callDueUntil(Nanoseconds limit);

  Nanoseconds now_ = 0;
  std::uint64_t lastSequence_ = 0;
  Token lastToken_ = 0;
  std::set<Waiting> queue_;
  std::map<Token, Known> known_;
  std::vector<std::string> faults_;
};

}  // namespace vlm::sim
