#include "Models/DisplayTransaction.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "Platform/Process.h"

namespace vlm {

namespace {

/// Every transaction of the process that has not been completed yet.
struct OpenTransactions {
  std::vector<const DisplayTransaction*> open;
};

}  // namespace

DisplayTransaction::DisplayTransaction() : config_(os().quartz.CGBeginDisplayConfiguration()) {
  Process::current().state<OpenTransactions>().open.push_back(this);
}

DisplayTransaction::~DisplayTransaction() {
  complete();
  auto& open = Process::current().state<OpenTransactions>().open;
  open.erase(std::remove(open.begin(), open.end(), this), open.end());
}

bool DisplayTransaction::complete() {
  if (config_ == nullptr) return true;
  // Completing calls back into this process, where the transaction must not be used any more.
  const CGDisplayConfigRef config = config_;
  config_ = nullptr;
  const bool isDone = os().quartz.CGCompleteDisplayConfiguration(config, kCGConfigurePermanently) == kCGErrorSuccess;
  wasRefused_ = wasRefused_ || !isDone;
  // From here on the system itself knows; what it refused is not going to happen.
  const auto goingOff = std::exchange(goingOff_, {});
  goingOn_.clear();
  for (const auto& [display, ifRefused] : goingOff) {
    if (!isDone && ifRefused) ifRefused();
  }
  return isDone;
}

bool DisplayTransaction::restart() {
  const bool isDone = complete();
  config_ = os().quartz.CGBeginDisplayConfiguration();
  return isDone;
}

void DisplayTransaction::willTurnOff(CGDirectDisplayID display, std::function<void()> ifRefused) {
  goingOn_.erase(display);
  if (config_ != nullptr) goingOff_[display] = std::move(ifRefused);
}

void DisplayTransaction::willTurnOn(CGDirectDisplayID display) {
  goingOff_.erase(display);
  if (config_ != nullptr) goingOn_.insert(display);
}

bool DisplayTransaction::isGoingOff(CGDirectDisplayID display) {
  const auto& open = Process::current().state<OpenTransactions>().open;
  return std::any_of(open.begin(), open.end(),
                     [&](const DisplayTransaction* transaction) { return transaction->goingOff_.contains(display); });
}

bool DisplayTransaction::isGoingOn(CGDirectDisplayID display) {
  const auto& open = Process::current().state<OpenTransactions>().open;
  return std::any_of(open.begin(), open.end(),
                     [&](const DisplayTransaction* transaction) { return transaction->goingOn_.contains(display); });
}

JoinedTransaction::JoinedTransaction(DisplayTransaction* given)
    : transaction_(given == nullptr ? new DisplayTransaction : given), isOwn_(given == nullptr) {}

JoinedTransaction::~JoinedTransaction() {
  if (isOwn_) delete transaction_;
}

void JoinedTransaction::completeWhenOwn() {
  if (isOwn_) transaction_->complete();
}

}  // namespace vlm
