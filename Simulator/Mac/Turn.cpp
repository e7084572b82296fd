#include "Simulator/Mac/Turn.h"

#include <array>

namespace vlm::sim {

namespace {

/// Of an upright, right-turned, upside-down and left-turned picture: axes swapped 0x10, x inverted 0x20, y inverted
/// 0x40.
constexpr std::array<std::uint32_t, 4> kTransforms{0x00, 0x30, 0x60, 0x50};
constexpr std::uint32_t kInvertX = 0x20;
constexpr std::array<std::int32_t, 4> kFlippedAngles{-1, -3, -2, -4};
constexpr std::array<Turn, 8> kTurns{
    {{0, false}, {90, false}, {180, false}, {270, false}, {0, true}, {90, true}, {180, true}, {270, true}}};

}  // namespace

std::optional<Turn> turnOfAngle(std::int64_t angle) {
  for (const Turn& turn : kTurns) {
    if (angleOf(turn) == angle) return turn;
  }
  return std::nullopt;
}

std::int32_t angleOf(const Turn& turn) {
  if (!turn.flipped) return static_cast<std::int32_t>(turn.degrees);
  return kFlippedAngles[turn.degrees / 90 % 4];
}

std::optional<Turn> turnOfTransform(std::uint32_t transform) {
  for (const Turn& turn : kTurns) {
    if (transformOf(turn) == transform) return turn;
  }
  return std::nullopt;
}

std::uint32_t transformOf(const Turn& turn) {
  return kTransforms[turn.degrees / 90 % 4] ^ (turn.flipped ? kInvertX : 0);
}

}  // namespace vlm::sim
