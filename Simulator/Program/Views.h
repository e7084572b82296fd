#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Platform/PropertyList.h"

namespace vlm {
class VLMDisplay;
class VLMGlobals;
}  // namespace vlm

namespace vlm::sim {

class SimulatedMac;
struct SimulatedDisplay;
struct SimulatedMode;

/// What `show` answers with --json: values whose keys stay. A key is missing where there is nothing of the kind (the
/// origin of a display that is off).

/// Every display of the machine, in the system's order.
plist::Array displaysView(SimulatedMac& mac);
plist::Dictionary displayView(SimulatedMac& mac, const SimulatedDisplay& display);
/// What is no display's: grey scale, Dock, volume, power source.
plist::Dictionary machineView(const SimulatedMac& mac);
/// Adds what the daemon calls the displays that it sees and their modes: "monitorResID", and in "mode"
/// "modeUniqueID", as messages and the settings file have them. To be called within its process.
void addDaemonsIdentifiers(plist::Array& displays, const VLMGlobals& document);
/// Where each display stands on the desktop.
plist::Array pictureView(SimulatedMac& mac);
/// Lines that begin with a process's name and ": ", as objects with "process" and the rest under `key`, and with
/// "seconds" since the machine's start as far as there are `times`.
plist::Array linesView(const std::vector<std::string>& lines, const std::string& key,
                       const std::vector<double>& times = {});
/// A rate as every view has it: in hundredths of a Hz, 0 when it is unknown.
double rateView(double hz);

/// A point as an object with "x" and "y".
plist::Dictionary pointView(double x, double y);

// --- Of the daemon's document; to be asked for within its process ---

/// The modes that the daemon found, the largest first: `most` of them.
plist::Array modesView(const VLMDisplay& display, std::size_t most);
plist::Array setsView(SimulatedMac& mac, VLMGlobals& document);
/// The colour profiles that suit a display, those made for its very model first, and its colour presets.
plist::Array profilesView(VLMDisplay& display);
plist::Array presetsView(VLMDisplay& display);
/// A mode of a display, which may be null, by the identifier that sets know it by: "modeUniqueID", and "name" while
/// the display has it.
plist::Dictionary modeView(const VLMDisplay* display, std::uint64_t identifier);

/// Bits that a pixel takes, of a depth in mask form; 0 when there is no such depth.
std::int64_t bitsOfDepth(std::uint64_t mask);

/// A value of a view as people read it: a mode's name or size, "(0, 0)", on, off, 1.5; "-" for null.
std::string viewText(const plist::Value* value);

}  // namespace vlm::sim
