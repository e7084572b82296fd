#pragma once

#include <cstdint>

#include "Simulator/Mac/Edid.h"

/// How the tables of published timings write one down.
namespace vlm::sim::timingrows {

/// Active, blanking, sync offset and sync width, in pixels or in lines of the frame. Borders count as blanking.
struct Axis {
  std::uint16_t active, blanking, syncOffset, syncWidth;
};

enum Traits : std::uint8_t {
  kNegative = 0,
  kPositiveH = 1,
  kPositiveV = 2,
  kPositive = kPositiveH | kPositiveV,
  kInterlaced = 4,
  kReduced = 8  ///< reduced blanking
};

constexpr Traits operator|(Traits a, Traits b) { return static_cast<Traits>(int{a} | int{b}); }

struct Row {
  std::uint32_t pixelClockKHz;
  Axis horizontal, vertical;
  Traits traits;
};

constexpr Timing timingOf(const Row& row, Timing::Source source) {
  Timing timing;
  timing.pixelClockHz = std::uint64_t{row.pixelClockKHz} * 1000;
  timing.horizontalActive = row.horizontal.active;
  timing.horizontalBlanking = row.horizontal.blanking;
  timing.horizontalSyncOffset = row.horizontal.syncOffset;
  timing.horizontalSyncWidth = row.horizontal.syncWidth;
  timing.verticalActive = row.vertical.active;
  timing.verticalBlanking = row.vertical.blanking;
  timing.verticalSyncOffset = row.vertical.syncOffset;
  timing.verticalSyncWidth = row.vertical.syncWidth;
  timing.interlaced = (row.traits & kInterlaced) != 0;
  timing.positiveHorizontalSync = (row.traits & kPositiveH) != 0;
  timing.positiveVerticalSync = (row.traits & kPositiveV) != 0;
  timing.source = source;
  return timing;
}

}  // namespace vlm::sim::timingrows
