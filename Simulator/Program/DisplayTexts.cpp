#include "Simulator/Program/DisplayTexts.h"

#include <cstdio>

#include "Simulator/Mac/WindowServer.h"

namespace vlm::sim {

std::string shortNumber(double number) {
  char text[64];
  std::snprintf(text, sizeof text, "%.2f", number);
  std::string result = text;
  result.erase(result.find_last_not_of('0') + 1);
  if (result.back() == '.') result.pop_back();
  return result == "-0" ? "0" : result;
}

std::string sizeText(const SimulatedMode& mode) {
  return std::to_string(mode.width) + " x " + std::to_string(mode.height);
}

std::string rateText(const SimulatedMode& mode) {
  return mode.refreshRateFixed == 0 ? "rate unknown" : shortNumber(mode.refreshRateHz()) + " Hz";
}

std::string modeText(const SimulatedMode& mode) {
  const std::string size = std::to_string(mode.width) + "x" + std::to_string(mode.height);
  return mode.refreshRateFixed == 0 ? size : size + "@" + shortNumber(mode.refreshRateHz());
}

std::string pointText(Point point) { return "(" + shortNumber(point.x) + ", " + shortNumber(point.y) + ")"; }

std::string stateText(const SimulatedDisplay& display) {
  if (!display.plugged) return "gone";
  if (!display.enabled) return "off";
  return display.asleep ? "asleep" : "on";
}

std::string turnText(const Turn& turn) {
  if (turn.degrees == 0) return turn.flipped ? "flipped" : "upright";
  return "turned by " + std::to_string(turn.degrees) + (turn.flipped ? " and flipped" : "");
}

}  // namespace vlm::sim
