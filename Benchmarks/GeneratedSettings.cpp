#include "Benchmarks/GeneratedSettings.h"

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <utility>
#include <variant>

#include "Models/VLMGlobals.h"
#include "Simulator/Mac/PropertyListFile.h"

namespace vlm::bench {

namespace {

constexpr int kDisplays = 20, kAttached = 4, kModes = 150, kSets = 50, kMonitors = 4;

plist::Dictionary modeDictionary(int display, int index) {
  const auto mode = VLMMode::init();
  mode->Nx = static_cast<std::uint32_t>(800 + index * 8);
  mode->Ny = static_cast<std::uint32_t>(600 + index * 4);
  mode->Hz = 59.94F;
  mode->definition = 1.0F;
  mode->modeUniqueID = static_cast<std::uint32_t>(1000003 * (index + 1) + display);
  mode->deskResID = display * kModes + index + 1;
  mode->pixClock = 148500000;
  mode->totalPixels = 2475000;
  mode->colorMask = 32;
  mode->sysModeID[2] = index;
  mode->isValidAct = true;
  return mode->encodeReadable();
}

plist::Dictionary displayDictionary(int index) {
  const auto display = VLMDisplay::init();
  display->monitorResID = 1001 + index;
  display->sysMonitorName = "Monitor " + std::to_string(index);
  display->driverLocationName = "IOService:/PCI0/GFX0/Framebuffer@" + std::to_string(index);
  display->displayUUIDString = "37D8832A-2D66-02CA-B9F7-8F30A301B230";
  plist::Dictionary dict = display->encodeReadable();
  plist::Array modes;
  for (int mode = 0; mode < kModes; ++mode) modes.emplace_back(modeDictionary(index, mode));
  dict.set("displayModes", modes);
  dict.set("allDisplayModes", std::move(modes));
  return dict;
}

plist::Dictionary setDictionary(int index) {
  plist::Array monitors;
  for (int i = 0; i < kMonitors; ++i) {
    const auto monitor = VLMMonitorInSet::initEmpty();
    monitor->monitorResID = 1001 + (index + i) % kDisplays;
    monitors.emplace_back(monitor->encodeReadable());
  }
  return {
      {"name", "Set " + std::to_string(index)}, {"uniqueID", index + 1}, {"keyCode", -1}, {"monitorArray", monitors}};
}

sim::DisplayDescription displayOnMachine(int index, int modes) {
  const std::string name = "Monitor " + std::to_string(index);
  auto edid = sim::composeEdid({.product = static_cast<std::uint16_t>(1 + index % 4),
                                .serial = static_cast<std::uint32_t>(1000 + index),
                                .name = name,
                                .serialText = "SN" + std::to_string(index),
                                .moreTimings = {}});
  if (const auto* reason = std::get_if<std::string>(&edid)) {
    std::cerr << name << ": " << *reason << "\n";
    std::abort();
  }
  sim::DisplayDescription display;
  display.name = name;
  display.edid = std::get<plist::Data>(std::move(edid));
  display.modeOptions.depths = {8, 16, 32};
  for (int mode = 0; mode < modes; ++mode) {
    display.listedModes.push_back(
        {.width = static_cast<std::uint32_t>(800 + mode * 8), .height = static_cast<std::uint32_t>(600 + mode * 4)});
  }
  return display;
}

}  // namespace

plist::Dictionary generatedSettings() {
  plist::Dictionary all;
  plist::Array attached, sets;
  for (int i = 0; i < kDisplays; ++i) {
    all.set(std::to_string(1001 + i), displayDictionary(i));
    if (i < kAttached) attached.emplace_back(1001 + i);
  }
  for (int i = 0; i < kSets; ++i) sets.emplace_back(setDictionary(i));
  return {{"Version", VLMGlobals::kSettingsFormatVersion},
          {"allDisplays", all},
          {"volatileDisplays", attached},
          {"displaySetsArray", sets}};
}

sim::MachineDescription machineWith(int displays, int modes) {
  sim::MachineDescription machine;
  for (int i = 0; i < displays; ++i) sim::addDisplay(machine, displayOnMachine(i, modes));
  return machine;
}

ProcessOnMac::ProcessOnMac(sim::MachineDescription machine)
    : mac(std::move(machine)), session(mac.addSession({.bundleIdentifier = "benchmark", .name = "benchmark"})) {
  mac.logEnabled = false;
}

std::string ProcessOnMac::settingsPath() const {
  return mac.homeFolder() + "/Library/Preferences/org.kelvane.velmoratix.daemon.plist";
}

std::string ProcessOnMac::writeSettings(const plist::Dictionary& settings) const {
  std::string content = sim::composePropertyList(settings);
  std::ofstream(settingsPath(), std::ios::binary | std::ios::trunc) << content;
  return content;
}

}  // namespace vlm::bench
