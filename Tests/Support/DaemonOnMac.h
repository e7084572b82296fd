#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "Daemon/Controllers/DaemonMain.h"
#include "Models/VLMGlobals.h"
#include "Platform/Files.h"
#include "Platform/Process.h"
#include "Simulator/Mac/SimulatedMac.h"
#include "Tests/Support/Machines.h"

namespace vlm::test {

using sim::laptopWith;

inline constexpr const char* kDaemonIdentifier = "org.kelvane.velmoratix.daemon";

/// A simulated Mac and the daemon on it. At its end nothing may be left over: no fault, no open transaction.
class DaemonOnMac {
  /// As another program of the user's.
  template <class Body>
  decltype(auto) otherProcess(Body body) {
    if (other_ == nullptr) other_ = &mac.addSession({.bundleIdentifier = "test.reader", .name = "reader"});
    Process::Scope scope(other_->process());
    return body();
  }

 public:
  explicit DaemonOnMac(sim::MachineDescription machine) : mac(std::move(machine)) {}
  ~DaemonOnMac() {
    EXPECT_EQ(mac.windowServer().openTransactions(), 0U);
    for (const std::string& fault : mac.faults()) ADD_FAILURE() << fault;
  }

  /// Starts a copy and lets it finish launching.
  sim::Session& launch(const std::string& version = "5.0") {
    ++copies_;
    daemon_ = &mac.launch({.bundleIdentifier = kDaemonIdentifier,
                           .name = copies_ == 1 ? "daemon" : "daemon " + std::to_string(copies_),
                           .bundlePath = "/Applications/Copy " + std::to_string(copies_) + ".app",
                           .version = version},
                          [](sim::Session& session) {
                            const std::string name = "VLMDaemonMainController";
                            session.defineClass(name, *applicationClassNamed(name));
                            return VLMDaemonMain();
                          });
    mac.turn();
    return *daemon_;
  }

  sim::Session& daemon() { return *daemon_; }

  /// Looks into the daemon: its Process is current, its document is given.
  template <class Body>
  decltype(auto) inside(Body body) {
    Process::Scope scope(daemon_->process());
    return body(VLMGlobals::sharedInstance());
  }

  std::string settingsPath() const { return mac.homeFolder() + "/Library/Preferences/" + kDaemonIdentifier + ".plist"; }
  plist::Dictionary settings() {
    return otherProcess(
        [&] { return os().files.dictionaryWithContentsOfURL(settingsPath()).value_or(plist::Dictionary()); });
  }
  void writeSettings(const plist::Dictionary& settings) {
    otherProcess([&] { EXPECT_EQ(os().files.writeToURLAtomically(settings, settingsPath()), std::nullopt); });
  }

  /// How often a text stands in the journal.
  std::ptrdiff_t journalCount(const std::string& text) {
    const auto& lines = mac.journal().lines();
    return std::count_if(lines.begin(), lines.end(),
                         [&](const std::string& line) { return line.find(text) != line.npos; });
  }
  bool hasLogged(const std::string& text) const {
    return std::any_of(mac.log.begin(), mac.log.end(),
                       [&](const std::string& line) { return line.find(text) != line.npos; });
  }

  sim::SimulatedMac mac;

 private:
  sim::Session* daemon_ = nullptr;
  sim::Session* other_ = nullptr;
  int copies_ = 0;
};

}  // namespace vlm::test
