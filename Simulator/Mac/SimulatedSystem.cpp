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
  if (!mac_.logEnabled) return;
  // The lines are anybody's to drop and to add to.
  mac_.logTimes.resize(mac_.log.size());
  mac_.logTimes.push_back(mac_.journal().clock());
  mac_.log.push_back(session_.description().name + ": " + text);
}

double SimulatedSystem::timeIntervalSinceReferenceDate() { return mac_.now(); }

std::string SimulatedSystem::decimalSeparator() { return mac_.machine().decimalSeparator; }

namespace {

/// From macOS 10.15 on the grey scale of Universal Access is the one that counts, and the older switch says nothing.
bool hasNewGrayscaleSwitch(const OperatingSystemVersion& version) {
  return version.majorVersion > 10 || (version.majorVersion == 10 && version.minorVersion >= 15);
}

}  // namespace

bool SimulatedSystem::CGDisplayUsesForceToGray() {
  return mac_.grayscale && !hasNewGrayscaleSwitch(mac_.machine().systemVersion);
}

bool SimulatedSystem::UAGrayscaleIsEnabled() {
  return mac_.grayscale && hasNewGrayscaleSwitch(mac_.machine().systemVersion);
}

}  // namespace vlm::sim
