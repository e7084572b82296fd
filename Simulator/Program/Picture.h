#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Platform/Geometry.h"

namespace vlm::sim {

class WindowServer;

/// One picture on the desktop: a display, or several that show the same.
struct PictureBox {
  Rect bounds;                     ///< points
  std::vector<std::string> lines;  ///< from the most important one; those that find no room are left out
  bool isMain = false;             ///< carries the menu bar
};

/// How large the drawing may become.
struct PictureSize {
  std::size_t columns = 98;
  std::size_t rows = 16;
};

/// The boxes to scale, side by side as on the desk. ASCII, or box-drawing characters.
std::string drawPicture(const std::vector<PictureBox>& boxes, bool utf8, PictureSize limit = {});

/// The displays that have a place on the desktop, as boxes.
std::vector<PictureBox> boxesOf(WindowServer& windowServer);

}  // namespace vlm::sim
