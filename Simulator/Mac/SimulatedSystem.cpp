#include "Simulator/Mac/SimulatedSystem.h"

#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

std::optional<OperatingSystemVersion> SimulatedSystem::operatingSystemVersion() { return mac_.machine().systemVersion; }

std::optional<std::int32_t> SimulatedSystem::sysctlbyname(const std::string& name) {
  if (name != "sysctl.proc_translated") return std::nullopt;
  return mac_.processTranslated;
}

bool SimulatedSystem::isLogEnabled() { return mac_.logEnabled; }

void SimulatedSystem::log(const std::string& text) {
  if (mac_.logEnabled) mac_.log.push_back(session_.description().name + ": " + text);
}

double SimulatedSystem::timeIntervalSinceReferenceDate() { return mac_.now(); }

std::string SimulatedSystem::decimalSeparator() { return mac_.machine().decimalSeparator; }

bool SimulatedSystem::CGDisplayUsesForceToGray() { return mac_.grayscale; }

bool SimulatedSystem::UAGrayscaleIsEnabled() { return mac_.grayscale; }

}  // namespace vlm::sim
