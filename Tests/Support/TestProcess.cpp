#include "Tests/Support/TestProcess.h"

#include <gtest/gtest.h>

#include <utility>

namespace vlm::sim {

ProcessDescription daemonDescription(const std::string& version) {
  return {.bundleIdentifier = "org.kelvane.velmoratix.daemon",
          .name = "daemon",
          .bundlePath = "/Applications/Velmoratix.app/Contents/Library/LoginItems/Velmoratix Daemon.app",
          .version = version};
}

TestProcess::TestProcess(MachineDescription machine, std::string homeFolder, const ProcessDescription& description)
    : mac_(std::make_unique<SimulatedMac>(std::move(machine), std::move(homeFolder))),
      session_(&mac_->addSession(description)),
      visit_(std::make_unique<Session::Visit>(*session_)) {}

TestProcess::~TestProcess() {
  EXPECT_EQ(mac_->windowServer().openTransactions(), 0U) << "transactions left open";
  visit_.reset();
  session_->end();
  EXPECT_EQ(session_->heldObjects(), 0U) << "platform objects that were not given back";
  for (const std::string& fault : takeFaults()) ADD_FAILURE() << "fault on the simulated Mac: " << fault;
}

std::vector<std::string> TestProcess::newJournalLines() {
  const auto& lines = mac_->journal().lines();
  const std::size_t from = std::exchange(journalLinesSeen_, lines.size());
  if (from > lines.size()) return lines;  // the journal was cleared meanwhile
  return {lines.begin() + static_cast<std::ptrdiff_t>(from), lines.end()};
}

std::vector<std::string> TestProcess::newJournalLines(const std::string& function) {
  std::vector<std::string> lines = newJournalLines();
  std::erase_if(lines, [&](const std::string& line) { return line.find(": " + function + "(") == std::string::npos; });
  return lines;
}

std::vector<std::string> TestProcess::takeFaults() {
  std::vector<std::string> faults = mac_->faults();
  faults.erase(faults.begin(), faults.begin() + static_cast<std::ptrdiff_t>(faultsTaken_));
  faultsTaken_ += faults.size();
  return faults;
}

}  // namespace vlm::sim
