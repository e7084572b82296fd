#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Models/VLMGlobals.h"
#include "Tests/Support/TestProcess.h"

namespace vlm::test {

/// The displays of a simulated Mac as the document discovers them.
class DisplaysOnMac {
 public:
  explicit DisplaysOnMac(sim::MachineDescription machine) : process(std::move(machine)) { discover(); }

  static VLMGlobals& document() { return VLMGlobals::sharedInstance(); }
  /// Anew; what was done by it is not in newJournalLines() any more.
  void discover() {
    document().initializeAllDisplaysFromSystemData();
    process.newJournalLines();
  }
  sim::SimulatedMac& mac() { return process.mac(); }
  /// The record of a display by the machine's name of it; it must be attached.
  std::shared_ptr<VLMDisplay> operator[](const std::string& name) {
    return document().displayWithcgID(mac().display(name).id);
  }
  /// The only valid mode of that size; null when there is none.
  std::shared_ptr<VLMMode> mode(const std::string& name, std::uint32_t width, std::uint32_t height) {
    for (const auto& mode : (*this)[name]->validDisplayModes) {
      if (mode->Nx == width && mode->Ny == height) return mode;
    }
    return nullptr;
  }
  bool hasLogged(const std::string& text) {
    for (const std::string& line : mac().log) {
      if (line.find(text) != std::string::npos) return true;
    }
    return false;
  }

  sim::TestProcess process;
};

}  // namespace vlm::test
