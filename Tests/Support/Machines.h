#pragma once

#include <string>
#include <vector>

#include "Simulator/Mac/Machine.h"

/// Machines for tests.
namespace vlm::sim {

/// An Intel laptop: a built-in Retina panel "Built-in" of 2880x1800 (1440x900 points) at (0, 0), whose brightness the
/// system controls, and these monitors in a row to the right of it. "Left" has 2560x1440 pixels and answers DDC/CI,
/// "Right" 1920x1080, any other one 1680x1050; all have serial numbers and a few smaller timings.
MachineDescription laptopWith(const std::vector<std::string>& externals);

/// The same without the panel.
MachineDescription desktopWith(const std::vector<std::string>& externals);

/// One external monitor as above, on no port yet (sim::addDisplay gives it one).
DisplayDescription externalMonitor(const std::string& name);

/// The panel of the laptop.
DisplayDescription builtInPanel();

/// A display with the EDID of the description, which must be expressible.
DisplayDescription displayOf(const std::string& name, const MonitorDescription& monitor);

}  // namespace vlm::sim
