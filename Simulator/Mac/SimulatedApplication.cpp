#include "Simulator/Mac/SimulatedApplication.h"

#include <utility>

#include "Simulator/Mac/Scheduler.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

std::optional<ApplicationClass> SimulatedApplication::NSClassFromString(const std::string& name) {
  return session_.classNamed(name);
}

void SimulatedApplication::sharedApplication(const std::optional<ApplicationClass>& applicationClass) {
  if (isMade_) return;
  session_.record("sharedApplication()");
  isMade_ = true;
  if (applicationClass && *applicationClass) object_ = (*applicationClass)();
}

void SimulatedApplication::setDelegate(ApplicationObject* delegate) {
  session_.record("setDelegate()");
  delegate_ = delegate;
}

void SimulatedApplication::run(std::function<void()> afterwards) {
  session_.record("run()");
  isRunning_ = true;
  afterwards_ = std::move(afterwards);
  mac_.scheduler().onNextTurn(&session_, [this] {
    if (delegate_ != nullptr) delegate_->applicationDidFinishLaunching();
  });
}

void SimulatedApplication::stop() {
  session_.record("stop()");
  if (isRunning_) isStopping_ = true;
}

void SimulatedApplication::terminate() {
  session_.record("terminate()");
  session_.end();
}

void SimulatedApplication::releaseSharedApplication() {
  session_.record("releaseSharedApplication()");
  forget();
}

void SimulatedApplication::eventEnded() {
  if (!isStopping_) return;
  isStopping_ = false;
  isRunning_ = false;
  const auto afterwards = std::exchange(afterwards_, nullptr);
  if (afterwards) afterwards();
  session_.end();
}

void SimulatedApplication::forget() {
  delegate_ = nullptr;
  isRunning_ = false;
  // Out of the member first: what goes may ask for the application.
  const auto object = std::move(object_);
  const auto afterwards = std::exchange(afterwards_, nullptr);
}

}  // namespace vlm::sim
