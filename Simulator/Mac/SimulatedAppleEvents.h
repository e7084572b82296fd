#pragma once

#include <map>
#include <utility>

#include "Platform/AppleEvents.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// One process's Apple event handlers. Scripts are noted in the journal and come out as the machine is told.
class SimulatedAppleEvents : public AppleEvents {
 public:
  SimulatedAppleEvents(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

  void setEventHandler(std::uint32_t eventClass, std::uint32_t eventID, Handler handler) override;
  bool executeAppleScript(const std::string& source) override;
  bool executeAppleScriptAtURL(const std::string& path) override;

  void deliver(std::uint32_t eventClass, std::uint32_t eventID);
  void sessionEnded();

 private:
  SimulatedMac& mac_;
  Session& session_;
  std::map<std::pair<std::uint32_t, std::uint32_t>, Handler> handlers_;
};

}  // namespace vlm::sim
