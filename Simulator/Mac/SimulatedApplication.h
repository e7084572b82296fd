#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Platform/Application.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// One process's application object. The run loop belongs to the machine: `run` only arranges what is called on its
/// next turn.
class SimulatedApplication : public Application {
 public:
  SimulatedApplication(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

  std::optional<ApplicationClass> NSClassFromString(const std::string& name) override;
  void sharedApplication(const std::optional<ApplicationClass>& applicationClass) override;
  void setDelegate(ApplicationObject* delegate) override;
  void run(std::function<void()> afterwards) override;
  void stop() override;
  void terminate() override;
  void releaseSharedApplication() override;

  /// Between `run` and the end of the loop.
  bool isRunning() const { return isRunning_; }
  /// Ends the loop when the event asked for it.
  void eventEnded();
  /// Gives up the object and whatever is called of it.
  void forget();

 private:
  SimulatedMac& mac_;
  Session& session_;
  std::unique_ptr<ApplicationObject> object_;
  bool isMade_ = false, isRunning_ = false, isStopping_ = false;
  ApplicationObject* delegate_ = nullptr;
  std::function<void()> afterwards_;
};

}  // namespace vlm::sim
