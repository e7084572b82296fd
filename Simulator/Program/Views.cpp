#include "Simulator/Program/Views.h"

#include <array>
#include <cmath>

#include "Models/VLMGlobals.h"
#include "Platform/Numbers.h"
#include "Simulator/Mac/SimulatedMac.h"
#include "Simulator/Program/DisplayTexts.h"

namespace vlm::sim {

namespace {

std::int64_t depthOf(const SimulatedMode& mode) {
  constexpr std::array<std::uint32_t, 7> kDepths{8, 16, 30, 32, 48, 64, 96};
  for (const std::uint32_t depth : kDepths) {
    if (pixelEncodingOfDepth(depth) == mode.pixelEncoding) return depth;
  }
  return 0;
}

plist::Dictionary shownModeView(const SimulatedMode& mode) {
  return {{"systemMode", mode.number},
          {"width", mode.width},
          {"height", mode.height},
          {"refreshHz", rateView(mode.refreshRateHz())},
          {"scale", mode.scale}};
}

void addArrangement(plist::Dictionary& view, SimulatedMac& mac, const SimulatedDisplay& display) {
  WindowServer& windowServer = mac.windowServer();
  const Rect bounds = windowServer.bounds(display);
  view.set("mode", shownModeView(display.mode()));
  view.set("depth", depthOf(display.mode()));
  view.set("origin", pointView(bounds.origin.x, bounds.origin.y));
  view.set("rotation", angleOf(display.turn));
  const SimulatedDisplay* master = display.mirrors == 0 ? nullptr : windowServer.displayWithID(display.mirrors);
  if (master != nullptr) view.set("mirrors", master->description.name);
}

void addPicture(plist::Dictionary& view, const SimulatedDisplay& display) {
  const DisplayDescription& description = display.description;
  if (description.systemBrightness) {
    view.set("brightness", display.brightness);
  } else if (description.ddc != DdcBehaviour::none) {
    view.set("brightness", static_cast<double>(display.ddcCurrent) / description.ddcMaximum);
  }
  if (description.canOverscan) view.set("overscan", display.overscan != 0);
  if (description.canUnderscan) view.set("underscan", display.underscan);
  if (description.supportsHDR) view.set("hdr", display.hdr);
  if (display.activePreset < description.presets.size()) {
    view.set("colorPreset", description.presets[display.activePreset]);
  }
  if (display.customProfile) view.set("colorProfile", *display.customProfile);
}

}  // namespace

plist::Dictionary displayView(SimulatedMac& mac, const SimulatedDisplay& display) {
  plist::Dictionary view{{"name", display.description.name}, {"uuid", display.uuid},
                         {"state", stateText(display)},      {"builtIn", display.description.builtIn},
                         {"port", display.description.port}, {"main", mac.windowServer().mainDisplay() == &display}};
  if (display.id != 0) view.set("systemIdentifier", display.id);
  if (display.isArranged()) addArrangement(view, mac, display);
  addPicture(view, display);
  return view;
}

plist::Dictionary machineView(const SimulatedMac& mac) {
  plist::Dictionary view{{"grayscale", mac.grayscale}, {"dockAutoHides", mac.dockAutoHides}};
  if (mac.volume) view.set("volume", *mac.volume);
  if (mac.powerSource) view.set("powerSource", *mac.powerSource);
  return view;
}

plist::Dictionary pointView(double x, double y) { return {{"x", x}, {"y", y}}; }

plist::Array displaysView(SimulatedMac& mac) {
  plist::Array displays;
  for (const auto& display : mac.windowServer().displays()) displays.emplace_back(displayView(mac, *display));
  return displays;
}

void addDaemonsIdentifiers(plist::Array& displays, const VLMGlobals& document) {
  for (plist::Value& value : displays) {
    plist::Dictionary& view = *value.dictionary();
    const auto identifier = truncateTo<CGDirectDisplayID>(view.sInt64("systemIdentifier"));
    const auto record = identifier == 0 ? nullptr : document.displayWithcgID(identifier);
    if (!record || !record->monitorResID) continue;
    view.set("monitorResID", *record->monitorResID);
    plist::Value* const mode = view.find("mode");
    const std::shared_ptr<VLMMode> current = record->currentMode.get();
    if (mode != nullptr && current) mode->dictionary()->set("modeUniqueID", current->modeUniqueID);
  }
}

double rateView(double hz) { return std::round(hz * 100) / 100; }

plist::Array pictureView(SimulatedMac& mac) {
  plist::Array boxes;
  for (const auto& display : mac.windowServer().displays()) {
    if (!display->isArranged()) continue;
    const Rect bounds = mac.windowServer().bounds(*display);
    boxes.emplace_back(plist::Dictionary{{"name", display->description.name},
                                         {"x", bounds.origin.x},
                                         {"y", bounds.origin.y},
                                         {"width", bounds.size.width},
                                         {"height", bounds.size.height},
                                         {"main", mac.windowServer().mainDisplay() == display.get()}});
  }
  return boxes;
}

plist::Array linesView(const std::vector<std::string>& lines, const std::string& key,
                       const std::vector<double>& times) {
  plist::Array view;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::string& line = lines[i];
    const std::size_t colon = line.find(": ");
    plist::Dictionary entry;
    if (colon != std::string::npos) entry.set("process", line.substr(0, colon));
    entry.set(key, colon == std::string::npos ? line : line.substr(colon + 2));
    if (i < times.size()) entry.set("seconds", times[i]);
    view.emplace_back(std::move(entry));
  }
  return view;
}

namespace {

std::string viewTextOfDictionary(const plist::Dictionary& view) {
  if (const auto name = view.string("name")) return *name;
  if (view.contains("x")) return pointText({.x = view.real("x"), .y = view.real("y")});
  if (!view.contains("width")) return "mode " + std::to_string(view.sInt64("modeUniqueID")) + ", which is not there";
  std::string text = std::to_string(view.sInt64("width")) + "x" + std::to_string(view.sInt64("height"));
  if (view.real("refreshHz") > 0) text += "@" + shortNumber(view.real("refreshHz"));
  if (view.real("scale", 1) > 1) text += ", " + shortNumber(view.real("scale")) + " pixels a point";
  return text;
}

}  // namespace

std::string viewText(const plist::Value* value) {
  if (value == nullptr) return "-";
  if (value->dictionary() != nullptr) return viewTextOfDictionary(*value->dictionary());
  if (value->string() != nullptr) return *value->string();
  if (value->kind() == plist::Value::Kind::boolean) return value->boolean() ? "on" : "off";
  return value->isNumber() ? shortNumber(value->real()) : plist::describe(*value);
}

}  // namespace vlm::sim
