#pragma once

#include <string>

#include "Platform/Geometry.h"
#include "Simulator/Mac/JournalText.h"

namespace vlm::sim {

struct SimulatedDisplay;
struct SimulatedMode;
struct Turn;
class WindowServer;

/// What the program calls things in tables, pictures and reasons.

/// "1440 x 900", points.
std::string sizeText(const SimulatedMode& mode);
/// "60 Hz", "59.94 Hz"; "rate unknown" when the driver does not say.
std::string rateText(const SimulatedMode& mode);
/// "1440x900@60", as commands take it.
std::string modeText(const SimulatedMode& mode);
/// "(0, -900)".
std::string pointText(Point point);
/// "on", "off" (plugged, not enabled), "asleep", "gone" (unplugged).
std::string stateText(const SimulatedDisplay& display);
/// "turned by 90", "turned by 180 and flipped", "upright".
std::string turnText(const Turn& turn);
/// At most two decimals, without trailing zeros.
std::string shortNumber(double number);

}  // namespace vlm::sim
