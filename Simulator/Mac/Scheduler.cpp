#include "Simulator/Mac/Scheduler.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "Platform/Numbers.h"
#include "Simulator/Mac/Session.h"

namespace vlm::sim {

namespace {

constexpr double kNanosecondsPerSecond = 1e9;
/// 1 January 2026, 00:00 UTC: 9131 days after the reference date.
constexpr double kStart = 9131.0 * 86400;
/// What the platform makes of the interval of a repeating timer that is zero or less; nanoseconds.
constexpr std::int64_t kShortestInterval = 100'000;
/// Times far beyond any run (292 years); keeps sums within 64 bits.
constexpr std::int64_t kForever = std::numeric_limits<std::int64_t>::max() / 4;

}  // namespace

double Scheduler::now() const { return kStart + static_cast<double>(now_) / kNanosecondsPerSecond; }

Scheduler::Nanoseconds Scheduler::nanoseconds(double seconds) {
  return std::clamp<Nanoseconds>(wholePartTo<Nanoseconds>(seconds * kNanosecondsPerSecond + 0.5), 0, kForever);
}

Scheduler::Nanoseconds Scheduler::intervalOf(const Request& request) {
  const Nanoseconds interval = nanoseconds(request.seconds);
  return request.repeats ? std::max(interval, kShortestInterval) : interval;
}

void Scheduler::enqueue(Token token, Known& known, Nanoseconds due) {
  known.waiting = {.due = std::min(due, kForever), .sequence = ++lastSequence_, .token = token};
  queue_.insert(known.waiting);
}

Scheduler::Token Scheduler::add(Request request) {
  const Nanoseconds due = std::min(now_, kForever) + intervalOf(request);
  const Token token = ++lastToken_;
  Known& known = known_[token];
  known.request = std::make_shared<Request>(std::move(request));
  enqueue(token, known, due);
  return token;
}

Scheduler::Token Scheduler::onNextTurn(Session* owner, Body body) {
  return add({.owner = owner, .body = std::move(body)});
}

const Scheduler::Request* Scheduler::find(Token token) const {
  const auto found = known_.find(token);
  return found == known_.end() ? nullptr : found->second.request.get();
}

void Scheduler::cancel(Token token) {
  // The node is taken out before its closure goes: what the closure owns may ask for a cancellation itself.
  const auto cancelled = known_.extract(token);
  if (!cancelled.empty()) queue_.erase(cancelled.mapped().waiting);
}

void Scheduler::cancelAllOf(const Session& owner) {
  std::vector<Token> tokens;
  for (const auto& [token, known] : known_) {
    if (known.request->owner == &owner) tokens.push_back(token);
  }
  for (const Token token : tokens) cancel(token);
}

void Scheduler::callFirst() {
  const Waiting first = *queue_.begin();
  queue_.erase(queue_.begin());
  now_ = std::max(now_, first.due);
  std::shared_ptr<Request> request = known_.at(first.token).request;
  if (!request->repeats) known_.erase(first.token);

  Session* const owner = request->owner;
  // What the closure owns goes inside of the process that it belongs to.
  const auto callAndForget = [&] {
    request->body();
    request.reset();
  };
  if (owner == nullptr) {
    callAndForget();
  } else {
    owner->call(callAndForget);
  }
  enqueueAgain(first.token, first.due);
}

/// Goes on at the first moment of its grid that lies ahead, as the platform's timers do.
void Scheduler::enqueueAgain(Token token, Nanoseconds calledFor) {
  const auto found = known_.find(token);
  if (found == known_.end()) return;
  const Nanoseconds interval = intervalOf(*found->second.request);
  enqueue(token, found->second, calledFor + ((now_ - calledFor) / interval + 1) * interval);
}

void Scheduler::callDueUntil(Nanoseconds limit) {
  std::size_t callsAtThisMoment = 0;
  while (!queue_.empty() && queue_.begin()->due <= std::max(limit, now_)) {
    if (queue_.begin()->due > now_) callsAtThisMoment = 0;
    if (++callsAtThisMoment > kMostCallsAtOneMoment) {
      faults_.push_back("more than " + std::to_string(kMostCallsAtOneMoment) +
                        " calls of the run loop at one moment: something asks for the next turn endlessly");
      return;
    }
    callFirst();
  }
}

void Scheduler::turn() { callDueUntil(now_); }

void Scheduler::advance(double seconds) {
  const Nanoseconds target = std::min(now_ + nanoseconds(seconds), kForever);
  callDueUntil(target);
  now_ = std::max(now_, target);
}

void Scheduler::passTime(double seconds) { now_ = std::min(now_ + nanoseconds(seconds), kForever); }

}  // namespace vlm::sim
