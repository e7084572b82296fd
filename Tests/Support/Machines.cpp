#include "Tests/Support/Machines.h"

#include <gtest/gtest.h>

#include <utility>

namespace vlm::sim {

DisplayDescription displayOf(const std::string& name, const MonitorDescription& monitor) {
  auto edid = composeEdid(monitor);
  if (const auto* const reason = std::get_if<std::string>(&edid)) ADD_FAILURE() << name << ": " << *reason;
  DisplayDescription display;
  display.name = name;
  if (auto* const bytes = std::get_if<plist::Data>(&edid)) display.edid = std::move(*bytes);
  return display;
}

DisplayDescription builtInPanel() {
  MonitorDescription monitor;
  monitor.vendor = "APP";
  monitor.product = 41001;
  monitor.name = "Panel";
  monitor.widthMillimetres = 331;
  monitor.heightMillimetres = 207;
  monitor.nativeWidth = 2880;
  monitor.nativeHeight = 1800;
  DisplayDescription panel = displayOf("Built-in", monitor);
  panel.builtIn = true;
  panel.canRotate = false;
  panel.systemBrightness = true;
  panel.modeOptions.hiDPI = true;
  panel.modeOptions.scaledSizes = true;
  return panel;
}

DisplayDescription externalMonitor(const std::string& name) {
  MonitorDescription monitor;
  monitor.name = name.substr(0, 13);
  monitor.product = name == "Left" ? 2701 : name == "Right" ? 2401 : 2201;
  monitor.serial = 1000;
  for (const char character : name) monitor.serial = monitor.serial * 31 + static_cast<std::uint8_t>(character);
  monitor.nativeWidth = name == "Left" ? 2560 : name == "Right" ? 1920 : 1680;
  monitor.nativeHeight = name == "Left" ? 1440 : name == "Right" ? 1080 : 1050;
  monitor.moreTimings = {"1280x1024", "1280x720", "1024x768", "800x600", "640x480"};
  if (name == "Left") monitor.moreTimings.insert(monitor.moreTimings.begin(), {"1920x1080", "1920x1080@50"});
  DisplayDescription display = displayOf(name, monitor);
  if (name == "Left") display.ddc = DdcBehaviour::healthy;
  return display;
}

MachineDescription desktopWith(const std::vector<std::string>& externals) {
  MachineDescription machine;
  machine.name = "Desktop";
  for (const std::string& name : externals) addDisplay(machine, externalMonitor(name));
  return machine;
}

MachineDescription laptopWith(const std::vector<std::string>& externals) {
  MachineDescription machine;
  machine.name = "Laptop";
  addDisplay(machine, builtInPanel());
  for (const std::string& name : externals) addDisplay(machine, externalMonitor(name));
  return machine;
}

}  // namespace vlm::sim
