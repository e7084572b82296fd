#pragma once

#include <cstdint>

namespace vlm {

/// A point of the global display space: points, x to the right, y down, (0, 0) at the main display's top left corner.
struct Point {
  double x = 0;
  double y = 0;
  friend bool operator==(const Point&, const Point&) = default;
};

/// A size in points.
struct Size {
  double width = 0;
  double height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

/// A rectangle of the global display space, in points.
struct Rect {
  Point origin;
  Size size;
  friend bool operator==(const Rect&, const Rect&) = default;

  /// Whether the point lies inside; the left and top edges belong to the rectangle, the right and bottom ones do not.
  bool contains(Point point) const {
    return point.x >= origin.x && point.x < origin.x + size.width && point.y >= origin.y &&
           point.y < origin.y + size.height;
  }
};

/// A display's position as the settings file packs it: vertical first, then horizontal, whole points.
struct DisplayPosition {
  std::int16_t v = 0;
  std::int16_t h = 0;
  friend bool operator==(const DisplayPosition&, const DisplayPosition&) = default;

  /// Vertical in the low half, horizontal in the high half.
  std::uint32_t packed() const {
    return static_cast<std::uint32_t>(static_cast<std::uint16_t>(v)) |
           static_cast<std::uint32_t>(static_cast<std::uint16_t>(h)) << 16;
  }
  static DisplayPosition unpack(std::uint32_t packed) {
    return {.v = static_cast<std::int16_t>(static_cast<std::uint16_t>(packed)),
            .h = static_cast<std::int16_t>(static_cast<std::uint16_t>(packed >> 16))};
  }
};

}  // namespace vlm
