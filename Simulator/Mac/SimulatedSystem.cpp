#include "Simulator/Mac/SimulatedSystem.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

std::optional<OperatingSystemVersion> SimulatedSystem::operatingSystemVersion() { return mac_.machine().systemVersion; }

std::optional<std::int32_t> SimulatedSystem::sysctlbyname(const std::string& name) {
  if (name == "sysctl.proc_translated") return mac_.processTranslated;
  // The processor's own, also for a process that is translated.
  const bool isAppleSilicon = mac_.machine().processor == Processor::appleSilicon || mac_.processTranslated == 1;
  if (name == "hw.optional.arm64" && isAppleSilicon) return 1;
  return std::nullopt;
}

bool SimulatedSystem::isLogEnabled(std::string_view /*area*/) { return mac_.logEnabled; }

void SimulatedSystem::log(std::string_view /*area*/, const std::string& text) {
  mac_.addLogLine(session_.description().name + ": " + text);
}

double SimulatedSystem::timeIntervalSinceReferenceDate() { return mac_.now(); }

std::string SimulatedSystem::decimalSeparator() { return mac_.machine().decimalSeparator; }

namespace {

/// From macOS 10.15 on the grey scale of Universal Access is the one that counts, and the older switch shows nothing.
bool hasNewGrayscaleSwitch(const OperatingSystemVersion& version) {
  return version.majorVersion > 10 || (version.majorVersion == 10 && version.minorVersion >= 15);
}

}  // namespace

bool& SimulatedSystem::graySwitch(bool ofUniversalAccess) const {
  return hasNewGrayscaleSwitch(mac_.machine().systemVersion) == ofUniversalAccess ? mac_.grayscale
                                                                                  : mac_.unheededGraySwitch;
}

bool SimulatedSystem::CGDisplayUsesForceToGray() { return graySwitch(false); }

bool SimulatedSystem::UAGrayscaleIsEnabled() { return graySwitch(true); }

void SimulatedSystem::CGDisplayForceToGray(bool forceToGray) {
  session_.record(std::string("CGDisplayForceToGray(") + (forceToGray ? "true)" : "false)"));
  graySwitch(false) = forceToGray;
}

void SimulatedSystem::UAGrayscaleSetEnabled(bool enabled) {
  session_.record(std::string("UAGrayscaleSetEnabled(") + (enabled ? "true)" : "false)"));
  graySwitch(true) = enabled;
}

// --- Dock and volume ---

bool SimulatedSystem::CoreDockGetAutoHideEnabled() { return mac_.dockAutoHides; }

void SimulatedSystem::CoreDockSetAutoHideEnabled(bool enabled) {
  session_.record(std::string("CoreDockSetAutoHideEnabled(") + (enabled ? "true)" : "false)"));
  mac_.dockAutoHides = enabled;
}

std::optional<float> SimulatedSystem::CoreAudio_GetVolume() { return mac_.volume; }

bool SimulatedSystem::CoreAudio_SetVolume(float volume) {
  session_.record("CoreAudio_SetVolume(" + numberText(double(volume)) + ")");
  if (!mac_.volume || std::isnan(volume)) return false;
  mac_.volume = std::clamp(volume, 0.0F, 1.0F);
  return true;
}

}  // namespace vlm::sim
