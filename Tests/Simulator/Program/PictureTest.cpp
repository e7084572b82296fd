#include "Simulator/Program/Picture.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "Tests/Simulator/Program/ProgramFixture.h"

namespace vlm::sim {
namespace {

PictureBox box(double x, double y, double width, double height, std::vector<std::string> lines, bool isMain = false) {
  return {.bounds = {.origin = {.x = x, .y = y}, .size = {.width = width, .height = height}},
          .lines = std::move(lines),
          .isMain = isMain};
}

TEST(Picture, DrawsDisplaysToScaleSideBySide) {
  const std::vector<PictureBox> boxes{box(0, 0, 1000, 600, {"Built-in", "1000 x 600"}, true),
                                      box(1000, -600, 2000, 1200, {"Left"}), box(-500, 100, 500, 300, {"Small one"})};
  EXPECT_EQ(drawPicture(boxes, false, {.columns = 35, .rows = 12}),
            "               +------------------+\n"
            "               |                  |\n"
            "               |       Left       |\n"
            "     +========+|                  |\n"
            "+---+|Built-in||                  |\n"
            "|Sm~|+--------++------------------+\n"
            "+---+\n");
}

TEST(Picture, KeepsToItsLimitsHoweverTheDisplaysStand) {
  std::vector<PictureBox> boxes;
  for (int i = 0; i < 5; ++i) boxes.push_back(box(0, i * 2000.0, 3000, 2000, {"a name that is far too long for it"}));
  const std::string picture = drawPicture(boxes, false, {.columns = 40, .rows = 15});
  EXPECT_LE(std::count(picture.begin(), picture.end(), '\n'), 15);
  std::size_t begin = 0;
  for (std::size_t end = picture.find('\n'); end != std::string::npos; end = picture.find('\n', begin)) {
    EXPECT_LE(columnsOf(picture.substr(begin, end - begin)), 40U);
    begin = end + 1;
  }
}

TEST(Output, CutsAndWrapsByCharactersNotBytes) {
  EXPECT_EQ(cutToColumns("1440 × 900", 10), "1440 × 900");
  EXPECT_EQ(cutToColumns("1440 × 900", 7), "1440 ×~");
  EXPECT_EQ(cutToColumns("×", 0), "");
  EXPECT_EQ(wrapped("ein ×× zwei dreizehn", 6), (std::vector<std::string>{"ein ××", "zwei", "dreizehn"}));
  EXPECT_EQ(tableOf({{"A", "B"}, {"×××", "b", "c"}, {"a"}}), "A    B\n×××  b  c\na\n");
}

}  // namespace
}  // namespace vlm::sim
