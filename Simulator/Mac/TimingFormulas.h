#pragma once

#include <cstdint>
#include <optional>

#include "Simulator/Mac/Edid.h"

/// Timings that follow from a size and a rate by VESA's formulas, for monitors that only say the size.
namespace vlm::sim {

enum class Blanking { normal, reduced, reducedV2 };

/// A progressive timing by VESA CVT 1.2. The width is kept also where the formula would round it down to a multiple of
/// 8. The formula rounds the pixel clock down to coarse steps; with a `clockStepHz` it is rounded to the nearest of
/// such steps instead, which keeps the rate that was asked for. Nothing when the size is empty, has more than 16 bits,
/// or the rate is not above 1 or above 1000.
std::optional<Timing> coordinatedVideoTiming(std::uint32_t width, std::uint32_t height, double refreshHz,
                                             Blanking blanking, std::uint64_t clockStepHz = 0);

/// The same by VESA GTF 1.1 with its default curve, as monitors before EDID 1.4 expect.
std::optional<Timing> generalizedTiming(std::uint32_t width, std::uint32_t height, double refreshHz);

}  // namespace vlm::sim
