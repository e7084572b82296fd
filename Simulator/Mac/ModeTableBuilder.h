#pragma once

#include <cstdint>
#include <vector>

#include "Simulator/Mac/DisplayModes.h"

/// The inner side of making mode tables: numbering frame-buffer modes, and giving each mode one entry a depth.
namespace vlm::sim {

/// The refresh rate of a timing (fields when interlaced), 16.16 fixed point.
std::uint32_t refreshRateFixedOf(const Timing& timing);

/// Whether the bounds that an override file sets let it be offered.
bool isOffered(const ModeAdditions& additions, const Timing& timing);
/// The last step: marks which installed timings are unsafe or stay dark, and chooses the default mode.
void settleInstalled(ModeTable& table, const ModeAdditions& additions);

class ModeTableBuilder {
 public:
  explicit ModeTableBuilder(const ModeOptions& options) : options_(options) {}

  /// What is offered at every depth.
  struct Line {
    std::uint32_t width = 0, height = 0;
    float scale = 1.0F;
    std::int32_t frameBufferModeID = 0;
    std::uint32_t refreshRateFixed = 0;
    std::uint32_t flags = 0;
    std::vector<std::uint32_t> depths;  ///< empty: the display's
  };

  /// Gives the mode its number.
  std::int32_t addFrameBufferMode(FrameBufferMode mode);
  void addLine(Line line) { lines_.push_back(std::move(line)); }
  /// Timings and scaled sizes of an override file, behind what is there. The native mode gives the scaled ones its
  /// timing; without one there are none.
  void addInstalled(const ModeAdditions& additions, std::int32_t nativeFrameBufferModeID);
  /// By size, scale, rate, frame-buffer mode.
  void sortLines();
  /// Numbers the modes. The native one is the given line's, at the depth that people use.
  ModeTable finish(std::int32_t nativeFrameBufferModeID, float nativeScale);

  const std::vector<FrameBufferMode>& frameBufferModes() const { return frameBufferModes_; }
  const std::vector<Line>& lines() const { return lines_; }
  /// The frame-buffer mode with this number, which `addFrameBufferMode` gave.
  const FrameBufferMode& frameBufferMode(std::int32_t id) const;

 private:
  void appendModes(const Line& line, ModeTable& table) const;
  void addInstalledTiming(const Timing& timing, const ModeAdditions& additions);
  void addInstalledSize(const ModeAdditions::ScaledSize& size, const FrameBufferMode& native);

  const ModeOptions& options_;
  std::vector<FrameBufferMode> frameBufferModes_;
  std::vector<Line> lines_;
};

}  // namespace vlm::sim
