#include "Simulator/Mac/SimulatedWorkspace.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SessionPorts.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

namespace {

RunningApplication applicationOf(const Session& session) {
  const ProcessDescription& description = session.description();
  return {.processIdentifier = session.processIdentifier(),
          .bundleIdentifier = description.bundleIdentifier,
          .localizedName = description.name,
          .bundlePath = description.bundlePath,
          .activationPolicy = description.activationPolicy};
}

std::string argumentsText(const std::vector<std::string>& arguments) {
  std::string text = "[";
  for (const std::string& argument : arguments) text += (text.size() == 1 ? "" : ", ") + quoted(argument);
  return text + "]";
}

}  // namespace

SimulatedWorkspace::SimulatedWorkspace(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {
  if (session.description().activationPolicy == ActivationPolicy::regular) comeToFront();
}

void SimulatedWorkspace::comeToFront() {
  std::uint64_t last = 0;
  for (Session* const session : mac_.sessions()) last = std::max(last, session->adapters().workspace.turnInFront_);
  turnInFront_ = last + 1;
  isHidden_ = false;
}

bool SimulatedWorkspace::launched(const std::string& bundlePath) {
  Session* const session = mac_.launchApplication(bundlePath);
  if (session == nullptr) return false;
  session->adapters().workspace.comeToFront();
  return true;
}

std::int32_t SimulatedWorkspace::processIdentifier() { return session_.processIdentifier(); }

std::vector<RunningApplication> SimulatedWorkspace::runningApplicationsWithBundleIdentifier(
    const std::string& identifier) {
  std::vector<RunningApplication> applications;
  for (const Session* const session : mac_.sessions()) {
    if (session->description().bundleIdentifier == identifier) applications.push_back(applicationOf(*session));
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

std::optional<RunningApplication> SimulatedWorkspace::runningApplicationWithProcessIdentifier(
    std::int32_t processIdentifier) {
  const Session* const session = mac_.sessionWithProcessIdentifier(processIdentifier);
  if (session == nullptr || session->description().bundleIdentifier.empty()) return std::nullopt;
  return applicationOf(*session);
}

std::vector<RunningApplication> SimulatedWorkspace::runningApplications() {
  std::vector<RunningApplication> applications;
  for (const Session* const session : mac_.sessions()) {
    if (!session->description().bundleIdentifier.empty()) applications.push_back(applicationOf(*session));
  }
  return applications;
}

std::optional<RunningApplication> SimulatedWorkspace::frontmostApplication() {
  Session* front = nullptr;
  std::uint64_t frontTurn = 0;
  for (Session* const session : mac_.sessions()) {
    const SimulatedWorkspace& other = session->adapters().workspace;
    const ProcessDescription& description = session->description();
    const bool hasFace =
        description.activationPolicy != ActivationPolicy::prohibited && !description.bundleIdentifier.empty();
    if (!hasFace || other.isHidden_ || other.turnInFront_ <= frontTurn) continue;
    front = session;
    frontTurn = other.turnInFront_;
  }
  return front == nullptr ? std::nullopt : std::optional(applicationOf(*front));
}

bool SimulatedWorkspace::hide(std::int32_t processIdentifier) {
  const auto application = runningApplicationWithProcessIdentifier(processIdentifier);
  if (!application || application->activationPolicy == ActivationPolicy::prohibited) return false;
  bool& isHidden = mac_.sessionWithProcessIdentifier(processIdentifier)->adapters().workspace.isHidden_;
  if (std::exchange(isHidden, true)) return false;
  session_.record("hide(" + application->localizedName + ")");
  return true;
}

bool SimulatedWorkspace::activateWithOptions(std::int32_t processIdentifier, std::uint32_t options) {
  const auto application = runningApplicationWithProcessIdentifier(processIdentifier);
  if (!application || application->activationPolicy == ActivationPolicy::prohibited) return false;
  session_.record("activateWithOptions(" + application->localizedName + ", " + std::to_string(options) + ")");
  mac_.sessionWithProcessIdentifier(processIdentifier)->adapters().workspace.comeToFront();
  return true;
}

bool SimulatedWorkspace::openFile(const std::string& path) {
  session_.record("openFile(" + mac_.shortPath(path) + ")");
  if (launched(path)) return true;
  std::error_code ignored;
  return path.starts_with("/System/Library/") || std::filesystem::exists(path, ignored);
}

bool SimulatedWorkspace::openURL(const std::string& url) {
  session_.record("openURL(" + url + ")");
  return url.starts_with("http://") || url.starts_with("https://");
}

void SimulatedWorkspace::openApplicationAtURL(const std::string& path, const std::vector<std::string>& arguments) {
  session_.record("openApplicationAtURL(" + path + ", " + argumentsText(arguments) + ")");
  launched(path);
}

bool SimulatedWorkspace::launchApplicationAtURL(const std::string& path, std::uint32_t options,
                                                const std::vector<std::string>& arguments) {
  session_.record("launchApplicationAtURL(" + path + ", " + std::to_string(options) + ", " + argumentsText(arguments) +
                  ")");
  return launched(path);
}

std::int32_t SimulatedWorkspace::LSFindApplicationForInfo(std::uint32_t /*creator*/,
                                                          const std::optional<std::string>& bundleIdentifier,
                                                          const std::optional<std::string>& name, std::string& path) {
  const auto found = mac_.findApplication([&](const ProcessDescription& application) {
    const bool isNamed = name && (application.name == *name || application.name + ".app" == *name);
    return isNamed || (bundleIdentifier && application.bundleIdentifier == *bundleIdentifier);
  });
  if (!found) return fnfErr;
  path = found->bundlePath;
  return 0;
}

std::int32_t SimulatedWorkspace::LSOpenFromURLSpec(const std::string& path, std::uint32_t launchFlags,
                                                   std::uint32_t code) {
  session_.record("LSOpenFromURLSpec(" + path + ", " + std::to_string(launchFlags) + ", " + fourCharText(code) + ")");
  return launched(path) ? 0 : fnfErr;
}

}  // namespace vlm::sim
