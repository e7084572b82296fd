#include "Simulator/Mac/SimulatedWorkspace.h"

#include <filesystem>
#include <system_error>

#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

namespace {

RunningApplication applicationOf(const Session& session) {
  const ProcessDescription& description = session.description();
  return {.processIdentifier = session.processIdentifier(),
          .bundleIdentifier = description.bundleIdentifier,
          .localizedName = description.name,
          .bundlePath = description.bundlePath};
}

std::string argumentsText(const std::vector<std::string>& arguments) {
  std::string text = "[";
  for (const std::string& argument : arguments) text += (text.size() == 1 ? "" : ", ") + quoted(argument);
  return text + "]";
}

}  // namespace

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

bool SimulatedWorkspace::activateWithOptions(std::int32_t processIdentifier, std::uint32_t options) {
  const auto application = runningApplicationWithProcessIdentifier(processIdentifier);
  if (!application) return false;
  session_.record("activateWithOptions(" + application->localizedName + ", " + std::to_string(options) + ")");
  return true;
}

bool SimulatedWorkspace::openFile(const std::string& path) {
  session_.record("openFile(" + mac_.shortPath(path) + ")");
  if (mac_.launchApplication(path) != nullptr) return true;
  std::error_code ignored;
  return path.starts_with("/System/Library/") || std::filesystem::exists(path, ignored);
}

bool SimulatedWorkspace::openURL(const std::string& url) {
  session_.record("openURL(" + url + ")");
  return url.starts_with("http://") || url.starts_with("https://");
}

void SimulatedWorkspace::openApplicationAtURL(const std::string& path, const std::vector<std::string>& arguments) {
  session_.record("openApplicationAtURL(" + path + ", " + argumentsText(arguments) + ")");
  mac_.launchApplication(path);
}

bool SimulatedWorkspace::launchApplicationAtURL(const std::string& path, std::uint32_t options,
                                                const std::vector<std::string>& arguments) {
  session_.record("launchApplicationAtURL(" + path + ", " + std::to_string(options) + ", " + argumentsText(arguments) +
                  ")");
  return mac_.launchApplication(path) != nullptr;
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
  return mac_.launchApplication(path) == nullptr ? fnfErr : 0;
}

}  // namespace vlm::sim
