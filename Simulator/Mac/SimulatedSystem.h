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
  /// Knows "sysctl.proc_translated", when the machine does, and on Apple silicon "hw.optional.arm64".
  std::optional<std::int32_t> sysctlbyname(const std::string& name) override;
  bool isLogEnabled(std::string_view area) override;
  void log(std::string_view area, const std::string& text) override;
  double timeIntervalSinceReferenceDate() override;
  std::string decimalSeparator() override;
  bool CGDisplayUsesForceToGray() override;
  bool UAGrayscaleIsEnabled() override;
  void CGDisplayForceToGray(bool forceToGray) override;
  void UAGrayscaleSetEnabled(bool enabled) override;
  bool CoreDockGetAutoHideEnabled() override;
  void CoreDockSetAutoHideEnabled(bool enabled) override;
  std::optional<float> CoreAudio_GetVolume() override;
  /// Held to 0 to 1, as devices do.
  bool CoreAudio_SetVolume(float volume) override;

 private:
  /// The grey switch of Universal Access, or the older one.
  bool& graySwitch(bool ofUniversalAccess) const;

  SimulatedMac& mac_;
  Session& session_;
};

}  // namespace vlm::sim
