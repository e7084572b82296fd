#pragma once

#include <cstdint>
#include <optional>

namespace vlm::sim {

/// How a picture is turned: clockwise by 0, 90, 180 or 270 degrees, then perhaps from left to right as in a mirror.
struct Turn {
  std::uint32_t degrees = 0;
  bool flipped = false;
  friend bool operator==(const Turn&, const Turn&) = default;
};

/// The angle by which settings and commands know a turn: its degrees, or -1, -2, -3, -4 for the flipped 0, 180, 90 and
/// 270. Nothing for any other angle.
std::optional<Turn> turnOfAngle(std::int64_t angle);
std::int32_t angleOf(const Turn& turn);

/// The code by which frame buffers know it ("IOFBTransform"). Nothing for any other code.
std::optional<Turn> turnOfTransform(std::uint32_t transform);
std::uint32_t transformOf(const Turn& turn);

}  // namespace vlm::sim
