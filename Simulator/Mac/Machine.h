#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Platform/Geometry.h"
#include "Platform/PropertyList.h"
#include "Platform/System.h"
#include "Platform/Workspace.h"
#include "Simulator/Mac/DisplayModes.h"
#include "Simulator/Mac/Edid.h"

/// Descriptions of machines: property lists in Simulator/Machines, or made by a test.
namespace vlm::sim {

enum class Processor { intel, appleSilicon };

/// How a monitor behaves on its I²C wire; see DdcMonitor.
enum class DdcBehaviour { none, healthy, slow, deaf, garbled, wrongCode, intermittent };

/// An I²C bus of a frame buffer: it cannot be opened, or nothing can be sent on it, or it works.
enum class I2CBus { working, closed, failing };

struct DisplayDescription {
  /// What machine files, commands and the journal call it; unique on its machine.
  std::string name;
  plist::Data edid;
  bool builtIn = false;
  bool plugged = true;
  bool enabled = true;
  /// Where its frame buffer sits; monitors without serial numbers are told apart by it. 0-based.
  std::uint32_t port = 0;
  ModeOptions modeOptions;
  /// When not empty, these modes instead of those that the EDID gives.
  std::vector<ListedMode> listedModes;
  /// "1440x900@60" or "1440x900"; empty: the default mode.
  std::string mode;
  /// Absent: placed to the right of the display before it.
  std::optional<Point> origin;
  bool canRotate = true;
  bool canOverscan = false;
  bool canUnderscan = false;
  bool canDisable = true;
  bool supportsHDR = false;
  /// Whether the system's own display services reach its brightness (built-in panels).
  bool systemBrightness = false;
  float brightness = 0.75F;
  DdcBehaviour ddc = DdcBehaviour::none;
  /// Highest value and current value of its brightness control over DDC/CI.
  std::uint16_t ddcMaximum = 100;
  std::uint16_t ddcCurrent = 75;
  /// The buses of its frame buffer, in their order (Intel); every one that works leads to the monitor.
  std::vector<I2CBus> i2cBuses{I2CBus::working};
  /// What they can transfer where the monitor talks at all ("IOI2CTransactionTypes"): 0x2 simple, 0x4 DDC/CI reply.
  std::uint32_t i2cTransactionTypes = 0x6;
  /// They count reply delays in milliseconds; else in nanoseconds.
  bool i2cDelayInMilliseconds = false;
  /// Names of the colour presets that it offers; their identifiers follow from the name, and of repeated names from the
  /// place among them. A place without a name holds no valid one.
  std::vector<std::string> presets;
  /// The frame buffer's "IOFBProbeOptions"; absent: it has none.
  std::optional<std::int32_t> probeOptions;
  /// The display with which it is one panel at the end of two cables: whenever both are there it shows that one's
  /// picture. Empty: it stands for itself.
  std::string hardwareMirrorOf;

  /// "IOI2CTransactionTypes" as its buses publish it: 0 where there is nothing to talk to.
  std::uint32_t publishedTransactionTypes() const { return ddc == DdcBehaviour::none ? 0 : i2cTransactionTypes; }
};

/// A window that a process has open as long as it runs.
struct WindowDescription {
  Rect frame = {};
  /// Of the window server; 0 is that of ordinary windows, desktops lie far below.
  std::int64_t layer = 0;
};

struct ProcessDescription {
  std::string bundleIdentifier = {};
  std::string name = {};
  std::string bundlePath = {};
  std::string version = {};
  ActivationPolicy activationPolicy = ActivationPolicy::regular;
  /// The first one in front.
  std::vector<WindowDescription> windows = {};
};

struct MachineDescription {
  std::string name;
  Processor processor = Processor::intel;
  OperatingSystemVersion systemVersion{.majorVersion = 12, .minorVersion = 6, .patchVersion = 0};
  std::vector<DisplayDescription> displays;
  /// What runs from the beginning, and the applications that do not but are installed. A path that is empty is that of
  /// "/Applications/NAME.app".
  std::vector<ProcessDescription> processes;
  std::vector<ProcessDescription> applications;
  /// Whether the machine has a "AppleGraphicsControl" service (two graphics processors).
  bool graphicsControl = false;
  bool darkAppearance = false;
  bool grayscale = false;
  bool dockAutoHides = false;
  /// Of the output device, 0 to 1; absent: there is none.
  std::optional<float> volume = 0.5F;
  /// Whether the user lets programs control the computer.
  bool accessibilityTrusted = false;
  std::string decimalSeparator = ".";
  /// A folder of the host whose colour profiles count among the system's own; empty: none.
  std::string systemProfiles;
};

/// Reads a machine file; its keys stand in the tables of Machine.cpp. An unknown key, a value of a wrong kind, an EDID
/// that cannot be used: an error text that names file, place and reason ("laptop.plist: displays[1] (Left): key
/// "colour" is not known").
std::variant<MachineDescription, std::string> readMachine(const std::string& path);

/// Why there can be no such machine ("displays Left and Right are both on port 1"), or nothing: its displays have
/// names and ports of their own, usable EDIDs and the modes that they shall begin with, and one at most is built in.
std::optional<std::string> faultInMachine(const MachineDescription& machine);

/// Bytes of an EDID that has all the blocks that it can have.
constexpr std::size_t kLongestEdid = 256UL * 128;

/// A display from any raw EDID file, to be added to a machine; the error names file and reason. Without a name it is
/// called after the monitor, or after the file where the monitor does not say one.
std::variant<DisplayDescription, std::string> readDisplay(const std::string& edidPath, const std::string& name);

/// The lowest port that no display of the machine is on.
std::uint32_t firstFreePort(const MachineDescription& machine);
/// Puts a display on the first free port, under a name that no other one has ("Left 2").
void addDisplay(MachineDescription& machine, DisplayDescription display);

}  // namespace vlm::sim
