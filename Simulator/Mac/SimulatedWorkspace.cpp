#include "Simulator/Mac/SimulatedWorkspace.h"

#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

std::int32_t SimulatedWorkspace::processIdentifier() { return session_.processIdentifier(); }

std::vector<RunningApplication> SimulatedWorkspace::runningApplicationsWithBundleIdentifier(
    const std::string& identifier) {
  std::vector<RunningApplication> applications;
  for (const Session* const session : mac_.sessions()) {
    const ProcessDescription& description = session->description();
    if (description.bundleIdentifier != identifier) continue;
    applications.push_back({.processIdentifier = session->processIdentifier(),
                            .bundleIdentifier = description.bundleIdentifier,
                            .localizedName = description.name,
                            .bundlePath = description.bundlePath});
  }
  return applications;
}

bool SimulatedWorkspace::forceTerminate(std::int32_t processIdentifier) {
  Session* const session = mac_.sessionWithProcessIdentifier(processIdentifier);
  if (session == nullptr) return false;
  session_.record("forceTerminate(" + std::to_string(processIdentifier) + ")");
  session->end();
  return true;
}

}  // namespace vlm::sim
