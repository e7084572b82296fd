#pragma once

#include "Platform/System.h"

namespace vlm::sim {

class Session;
class SimulatedMac;

/// The machine's version, clock and log as one process sees them.
class SimulatedSystem : public System {
 public:
  SimulatedSystem(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

  std::optional<OperatingSystemVersion> operatingSystemVersion() override;
  /// Knows "sysctl.proc_translated", when the machine does.
  std::optional<std::int32_t> sysctlbyname(const std::string& name) override;
  bool isLogEnabled() override;
  void log(const std::string& text) override;
  double timeIntervalSinceReferenceDate() override;
  std::string decimalSeparator() override;
  bool CGDisplayUsesForceToGray() override;
  bool UAGrayscaleIsEnabled() override;

 private:
  SimulatedMac& mac_;
  Session& session_;
};

}  // namespace vlm::sim
