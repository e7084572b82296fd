#include "Simulator/Program/Picture.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "Simulator/Mac/WindowServer.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Output.h"

namespace vlm::sim {

namespace {

/// A character cell is about twice as high as it is wide.
constexpr double kCellProportion = 2;
constexpr std::string_view kBeforeRate = " @ ";
/// A box smaller than this shows nothing of what stands in it.
constexpr std::size_t kFewestColumns = 4, kFewestRows = 3;

struct Strokes {
  const char *horizontal, *vertical, *topLeft, *topRight, *bottomLeft, *bottomRight, *menuBar;
};
constexpr Strokes kAscii{"-", "|", "+", "+", "+", "+", "="};
constexpr Strokes kBoxDrawing{"─", "│", "┌", "┐", "└", "┘", "▀"};

/// A box in character cells; right and bottom belong to it.
struct Cells {
  std::size_t left = 0, top = 0, right = 0, bottom = 0;
  std::size_t innerColumns() const { return right - left - 1; }
  std::size_t innerRows() const { return bottom - top - 1; }
};

/// The rectangle around all boxes.
struct Extent {
  double left = 0, top = 0, right = 0, bottom = 0;
  explicit Extent(const std::vector<PictureBox>& boxes) {
    left = boxes.front().bounds.origin.x, right = left;
    top = boxes.front().bounds.origin.y, bottom = top;
    for (const PictureBox& box : boxes) {
      left = std::min(left, box.bounds.origin.x);
      top = std::min(top, box.bounds.origin.y);
      right = std::max(right, box.bounds.origin.x + box.bounds.size.width);
      bottom = std::max(bottom, box.bounds.origin.y + box.bounds.size.height);
    }
  }
};

/// A mode that is too long for one line gives its rate a line of its own.
std::vector<std::string> brokenToFit(const std::vector<std::string>& lines, std::size_t columns) {
  std::vector<std::string> result;
  for (const std::string& line : lines) {
    const std::size_t at = columnsOf(line) <= columns ? std::string::npos : line.find(kBeforeRate);
    result.push_back(line.substr(0, at));
    if (at != std::string::npos) result.push_back(line.substr(at + kBeforeRate.size()));
  }
  return result;
}

class Canvas {
 public:
  explicit Canvas(bool utf8) : strokes_(utf8 ? kBoxDrawing : kAscii) {}

  void draw(const PictureBox& box, const Cells& cells) {
    for (std::size_t x = cells.left; x <= cells.right; ++x) {
      put(x, cells.top, strokes_.horizontal);
      put(x, cells.bottom, strokes_.horizontal);
      if (box.isMain && x != cells.left && x != cells.right) put(x, cells.top, strokes_.menuBar);
    }
    for (std::size_t y = cells.top + 1; y < cells.bottom; ++y) {
      put(cells.left, y, strokes_.vertical);
      put(cells.right, y, strokes_.vertical);
    }
    put(cells.left, cells.top, strokes_.topLeft);
    put(cells.right, cells.top, strokes_.topRight);
    put(cells.left, cells.bottom, strokes_.bottomLeft);
    put(cells.right, cells.bottom, strokes_.bottomRight);
    write(box.lines, cells);
  }

  std::string text() const {
    std::string result;
    for (const auto& row : rows_) {
      std::string line;
      for (const std::string& cell : row) line += cell.empty() ? " " : cell;
      line.erase(line.find_last_not_of(' ') + 1);
      result += line + "\n";
    }
    return result;
  }

 private:
  void put(std::size_t x, std::size_t y, std::string character) {
    if (rows_.size() <= y) rows_.resize(y + 1);
    if (rows_[y].size() <= x) rows_[y].resize(x + 1);
    rows_[y][x] = std::move(character);
  }

  /// In the middle, as many lines as there is room for.
  void write(const std::vector<std::string>& given, const Cells& cells) {
    const std::vector<std::string> lines = brokenToFit(given, cells.innerColumns());
    const std::size_t count = std::min(lines.size(), cells.innerRows());
    std::size_t y = cells.top + 1 + (cells.innerRows() - count) / 2;
    for (std::size_t i = 0; i < count; ++i, ++y) {
      const std::string line = cutToColumns(lines[i], cells.innerColumns());
      std::size_t x = cells.left + 1 + (cells.innerColumns() - columnsOf(line)) / 2;
      for (std::size_t at = 0; at < line.size(); ++x) {
        std::size_t next = at + 1;
        while (next < line.size() && (static_cast<unsigned char>(line[next]) & 0xC0U) == 0x80U) ++next;
        put(x, y, line.substr(at, next - at));
        at = next;
      }
    }
  }

  const Strokes& strokes_;
  std::vector<std::vector<std::string>> rows_;
};

std::size_t cellAt(double points, double perCell) { return static_cast<std::size_t>(std::lround(points / perCell)); }

}  // namespace

std::string drawPicture(const std::vector<PictureBox>& boxes, bool utf8, PictureSize limit) {
  if (boxes.empty()) return {};
  const Extent extent(boxes);
  // Points a column: the larger of what the width and what the height asks for.
  const double perColumn =
      std::max({(extent.right - extent.left) / static_cast<double>(limit.columns),
                (extent.bottom - extent.top) / static_cast<double>(limit.rows) / kCellProportion, 1.0});
  const double perRow = perColumn * kCellProportion;
  Canvas canvas(utf8);
  for (const PictureBox& box : boxes) {
    const double x = box.bounds.origin.x - extent.left, y = box.bounds.origin.y - extent.top;
    Cells cells{.left = cellAt(x, perColumn), .top = cellAt(y, perRow)};
    // One less than where the next one begins, so that neighbours stand side by side.
    cells.right = std::max(cellAt(x + box.bounds.size.width, perColumn), cells.left + kFewestColumns) - 1;
    cells.bottom = std::max(cellAt(y + box.bounds.size.height, perRow), cells.top + kFewestRows) - 1;
    canvas.draw(box, cells);
  }
  return canvas.text();
}

std::vector<PictureBox> boxesOf(WindowServer& windowServer) {
  std::vector<PictureBox> boxes;
  for (const auto& display : windowServer.displays()) {
    if (!display->isArranged() || display->mirrors != 0) continue;
    PictureBox box{.bounds = windowServer.bounds(*display), .lines = {}, .isMain = false};
    box.isMain = windowServer.mainDisplay() == display.get();
    std::string names = display->description.name;
    for (const auto& other : windowServer.displays()) {
      if (other->isArranged() && other->mirrors == display->id) names += " + " + other->description.name;
    }
    box.lines = {names, sizeText(display->mode()) + std::string(kBeforeRate) + rateText(display->mode())};
    if (box.isMain) box.lines.emplace_back("main display");
    boxes.push_back(std::move(box));
  }
  return boxes;
}

}  // namespace vlm::sim
