#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "Models/SignalRange.h"

namespace vlm {

/// What a monitor says in its range limits descriptor (E-EDID 1.4, 3.10.3.3); absent without one. Figures that it
/// leaves open are 0.
std::optional<SignalRange> rangeLimitsInEDID(std::span<const std::uint8_t> edid);

}  // namespace vlm
