#include "Platform/MacOS/Adapters.h"
#include "Platform/MacOS/PrivateSymbols.h"
#include "Platform/MacOS/PropertyListBridge.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/sysctl.h>

#import <AudioToolbox/AudioHardwareService.h>
#import <CoreAudio/CoreAudio.h>
#import <Foundation/Foundation.h>
#import <os/log.h>

namespace vlm::native {

namespace {

// --- Log ---

constexpr const char* kLogSubsystem = "org.kelvane.velmoratix.daemon";
/// The only kind that is off until somebody reads it or a logging profile asks for it: reading the displays anew writes
/// a line for each of their modes.
constexpr os_log_type_t kLogType = OS_LOG_TYPE_DEBUG;

// --- Volume ---

/// False when the object lacks the property, or has it in another size.
template <class Value>
bool readProperty(AudioObjectID object, const AudioObjectPropertyAddress& address, Value& value) {
  UInt32 size = sizeof value;
  return AudioObjectGetPropertyData(object, &address, 0, nullptr, &size, &value) == noErr && size == sizeof value;
}

AudioObjectPropertyAddress outputProperty(AudioObjectPropertySelector selector, AudioObjectPropertyElement element) {
  return {.mSelector = selector, .mScope = kAudioObjectPropertyScopeOutput, .mElement = element};
}

bool isSettable(AudioObjectID device, const AudioObjectPropertyAddress& address) {
  Boolean settable = 0;
  return AudioObjectHasProperty(device, &address) != 0 &&
         AudioObjectIsPropertySettable(device, &address, &settable) == noErr && settable != 0;
}

/// kAudioObjectUnknown when there is none.
AudioObjectID outputDevice() {
  const AudioObjectPropertyAddress address = {.mSelector = kAudioHardwarePropertyDefaultOutputDevice,
                                              .mScope = kAudioObjectPropertyScopeGlobal,
                                              .mElement = kAudioObjectPropertyElementMain};
  AudioObjectID device = kAudioObjectUnknown;
  return readProperty(kAudioObjectSystemObject, address, device) ? device : kAudioObjectUnknown;
}

/// Those that set all channels at once; the first keeps the balance between them.
constexpr AudioObjectPropertySelector kWholeVolumes[] = {kAudioHardwareServiceDeviceProperty_VirtualMainVolume,
                                                         kAudioDevicePropertyVolumeScalar};

/// The controls that together are the device's volume: one for all channels, else those of the two stereo channels.
/// Empty when its volume cannot be set.
std::vector<AudioObjectPropertyAddress> volumeControls(AudioObjectID device) {
  if (device == kAudioObjectUnknown) return {};
  for (const AudioObjectPropertySelector selector : kWholeVolumes) {
    const auto address = outputProperty(selector, kAudioObjectPropertyElementMain);
    if (isSettable(device, address)) return {address};
  }
  UInt32 channels[2] = {};
  const auto stereo = outputProperty(kAudioDevicePropertyPreferredChannelsForStereo, kAudioObjectPropertyElementMain);
  if (!readProperty(device, stereo, channels)) return {};
  std::vector<AudioObjectPropertyAddress> controls;
  for (const UInt32 channel : channels) {
    const auto address = outputProperty(kAudioDevicePropertyVolumeScalar, channel);
    if (isSettable(device, address)) controls.push_back(address);
  }
  return controls;
}

class NativeSystem final : public System {
 public:
  std::optional<OperatingSystemVersion> operatingSystemVersion() override {
    const NSOperatingSystemVersion version = NSProcessInfo.processInfo.operatingSystemVersion;
    return OperatingSystemVersion{.majorVersion = version.majorVersion,
                                  .minorVersion = version.minorVersion,
                                  .patchVersion = version.patchVersion};
  }
  std::optional<std::int32_t> sysctlbyname(const std::string& name) override {
    std::int32_t value = 0;
    std::size_t size = sizeof value;
    if (::sysctlbyname(name.c_str(), &value, &size, nullptr, 0) != 0 || size != sizeof value) return std::nullopt;
    return value;
  }

  bool isLogEnabled(std::string_view area) override { return os_log_type_enabled(logOf(area), kLogType); }
  void log(std::string_view area, const std::string& text) override {
    // Public: a text that is made at run time is else shown as "<private>".
    os_log_with_type(logOf(area), kLogType, "%{public}s", text.c_str());
  }

  double timeIntervalSinceReferenceDate() override { return CFAbsoluteTimeGetCurrent(); }
  std::string decimalSeparator() override {
    return textFromCF((__bridge CFStringRef)NSLocale.currentLocale.decimalSeparator).value_or(".");
  }

  bool CGDisplayUsesForceToGray() override {
    const auto isGray = privateSymbols().CGDisplayUsesForceToGray;
    return isGray != nullptr && isGray();
  }
  bool UAGrayscaleIsEnabled() override {
    const auto isGray = privateSymbols().UAGrayscaleIsEnabled;
    return isGray != nullptr && isGray();
  }
  void CGDisplayForceToGray(bool forceToGray) override {
    if (const auto force = privateSymbols().CGDisplayForceToGray) force(forceToGray);
  }
  void UAGrayscaleSetEnabled(bool enabled) override {
    if (const auto enable = privateSymbols().UAGrayscaleSetEnabled) enable(enabled);
  }

  bool CoreDockGetAutoHideEnabled() override {
    const auto hides = privateSymbols().CoreDockGetAutoHideEnabled;
    return hides != nullptr && hides();
  }
  void CoreDockSetAutoHideEnabled(bool enabled) override {
    if (const auto enable = privateSymbols().CoreDockSetAutoHideEnabled) enable(enabled);
  }

  std::optional<float> CoreAudio_GetVolume() override {
    const AudioObjectID device = outputDevice();
    const auto controls = volumeControls(device);
    if (controls.empty()) return std::nullopt;
    Float32 sum = 0;
    for (const auto& control : controls) {
      Float32 volume = 0;
      if (!readProperty(device, control, volume)) return std::nullopt;
      sum += volume;
    }
    return sum / static_cast<Float32>(controls.size());
  }
  bool CoreAudio_SetVolume(float volume) override {
    if (std::isnan(volume)) return false;
    const Float32 held = std::clamp(volume, 0.0F, 1.0F);
    const AudioObjectID device = outputDevice();
    const auto controls = volumeControls(device);
    return !controls.empty() && std::all_of(controls.begin(), controls.end(), [&](const auto& control) {
      return AudioObjectSetPropertyData(device, &control, 0, nullptr, sizeof held, &held) == noErr;
    });
  }

 private:
  /// An area is a category of the system's log.
  os_log_t logOf(std::string_view area) {
    auto found = logs_.find(area);
    if (found == logs_.end()) {
      std::string category(area);
      const os_log_t log = os_log_create(kLogSubsystem, category.c_str());
      found = logs_.emplace(std::move(category), log).first;
    }
    return found->second;
  }

  std::map<std::string, os_log_t, std::less<>> logs_;
};

}  // namespace

std::unique_ptr<System> makeNativeSystem() { return std::make_unique<NativeSystem>(); }

}  // namespace vlm::native
