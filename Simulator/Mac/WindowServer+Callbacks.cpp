#include <algorithm>
#include <utility>

#include "Simulator/Mac/WindowServerParts.h"

/// Who hears of changes: reconfiguration and brightness callbacks of the processes.
namespace vlm::sim {
namespace {

/// First "about to" for every display, then "done" for every display. The process may end, and may bring about further
/// changes, in the middle of it.
void deliver(const ReconfigurationObserver& observer, const std::vector<DisplayNotice>& notices) {
  const auto call = [&](CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags) {
    if (observer.session != nullptr) observer.session->call([&] { observer.callback(display, flags); });
  };
  for (const DisplayNotice& notice : notices) call(notice.id, kCGDisplayBeginConfigurationFlag);
  for (const DisplayNotice& notice : notices) call(notice.id, notice.flags);
}

/// Cuts the observers of a process off: those that a delivery still holds hear nothing more.
template <class Observer, class Condition>
void removeObservers(std::vector<std::shared_ptr<Observer>>& observers, Condition leaves) {
  std::erase_if(observers, [&](const std::shared_ptr<Observer>& observer) {
    if (!leaves(*observer)) return false;
    observer->session = nullptr;
    return true;
  });
}

}  // namespace

void WindowServer::addReconfigurationCallback(Session& session, Quartz::ReconfigurationCallback callback) {
  implementation_->observers.push_back(std::make_shared<ReconfigurationObserver>(
      ReconfigurationObserver{.session = &session, .callback = std::move(callback)}));
}

void WindowServer::addBrightnessCallback(Session& session, CGDirectDisplayID display,
                                         SkyLight::BrightnessCallback callback) {
  removeBrightnessCallback(session, display);
  implementation_->brightnessObservers.push_back(std::make_shared<BrightnessObserver>(
      BrightnessObserver{.session = &session, .display = display, .callback = std::move(callback)}));
}

void WindowServer::removeBrightnessCallback(Session& session, CGDirectDisplayID display) {
  removeObservers(implementation_->brightnessObservers, [&](const BrightnessObserver& observer) {
    return observer.session == &session && observer.display == display;
  });
}

void WindowServer::sessionEnded(Session& session) {
  const auto belongs = [&](const auto& observer) { return observer.session == &session; };
  removeObservers(implementation_->observers, belongs);
  removeObservers(implementation_->brightnessObservers, belongs);
  for (auto& [number, transaction] : implementation_->transactions) {
    if (!transaction.open || transaction.session != &session) continue;
    transaction = {.session = nullptr, .process = transaction.process, .open = false, .changes = {}};
    addFault(transaction.process + ": ended with a display-configuration transaction open");
  }
}

void WindowServer::Implementation::onNextTurn(std::function<void()> body) const {
  if (server.onNextTurn) server.onNextTurn(std::move(body));
}

void WindowServer::Implementation::notify(const DisplayConfiguration& before, const DisplayConfiguration& after,
                                          const Session* by) {
  if (whenLeft && by == nullptr) return;
  const std::vector<DisplayNotice> notices = noticesOf(before, after);
  if (notices.empty()) return;
  const auto current = observers;  // who registers from now on hears of later changes only
  const auto isOther = [by](const auto& observer) { return observer->session != by; };
  if (std::any_of(current.begin(), current.end(), isOther)) {
    onNextTurn([current, notices, isOther] {
      for (const auto& observer : current) {
        if (isOther(observer)) deliver(*observer, notices);
      }
    });
  }
  if (by == nullptr) return;
  for (const auto& observer : current) {
    if (observer->session == by) deliver(*observer, notices);
  }
}

void WindowServer::leaveSession() { implementation_->whenLeft = implementation_->configuration(); }

void WindowServer::returnToSession() {
  if (!implementation_->whenLeft) return;
  const DisplayConfiguration before = *std::exchange(implementation_->whenLeft, std::nullopt);
  implementation_->notify(before, implementation_->configuration(), nullptr);
}

void WindowServer::callBack(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags) {
  const auto current = implementation_->observers;
  for (const auto& observer : current) {
    if (observer->session != nullptr) observer->session->call([&] { observer->callback(display, flags); });
  }
}

void WindowServer::setBrightness(SimulatedDisplay& display, float brightness, const Session* by) {
  if (display.brightness == brightness) return;
  display.brightness = brightness;
  const auto current = implementation_->brightnessObservers;
  implementation_->onNextTurn([current, id = display.id, brightness, by] {
    for (const auto& observer : current) {
      Session* session = observer->session;
      if (session == nullptr || session == by || observer->display != id) continue;
      session->call([&] { observer->callback(id, {{"value", brightness}}); });
    }
  });
}

}  // namespace vlm::sim
