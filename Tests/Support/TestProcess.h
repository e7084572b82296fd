#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"
#include "Tests/Support/Machines.h"

namespace vlm::sim {

/// What the daemon's process is called and where it lies.
ProcessDescription daemonDescription(const std::string& version = "4.15.1");

/// A fresh simulated Mac, and the test as the program of one process on it: `os()` asks that process's system for as
/// long as this object lives. At its end the test fails when something was not given back, a transaction is open, or
/// the machine saw a fault.
///
///   TestProcess process(laptopWith({"Left"}));
///   os().quartz.CGDisplayIsOnline(process.mac().display("Left").id);
class TestProcess {
 public:
  explicit TestProcess(MachineDescription machine = laptopWith({"Left", "Right"}), std::string homeFolder = {},
                       const ProcessDescription& description = daemonDescription());
  ~TestProcess();
  TestProcess(const TestProcess&) = delete;
  TestProcess& operator=(const TestProcess&) = delete;

  SimulatedMac& mac() { return *mac_; }
  Session& session() { return *session_; }
  SimulatedDisplay& display(const std::string& name) { return mac_->display(name); }

  /// What the journal got since the last call.
  std::vector<std::string> newJournalLines();
  /// Only those of one function ("sleep").
  std::vector<std::string> newJournalLines(const std::string& function);
  /// Faults are what this test is about: they are handed out, and do not fail it at its end.
  std::vector<std::string> takeFaults();

 private:
  std::unique_ptr<SimulatedMac> mac_;
  Session* session_;
  std::unique_ptr<Session::Visit> visit_;
  std::size_t journalLinesSeen_ = 0, faultsTaken_ = 0;
};

}  // namespace vlm::sim
