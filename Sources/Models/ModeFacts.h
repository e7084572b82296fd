#pragma once

#include <compare>
#include <cstdint>

namespace vlm {

class VLMMode;

/// What a user would call the same mode, from start to start and behind another dock. Numbers of the system and of the
/// frame buffer are no part of it: they are given anew at every connection.
struct ModeFacts {
  std::uint32_t Nx = 0, Ny = 0;
  std::int32_t hundredthsOfHz = 0;
  std::int32_t hundredthsOfScale = 0;
  bool interlaced = false;
  std::uint32_t isVRR = 0;
  bool isScaled = false;
  friend auto operator<=>(const ModeFacts&, const ModeFacts&) = default;

  static ModeFacts of(const VLMMode& mode);
  /// An identifier, 1 … 2^31 - 1; settings files and display sets hold such identifiers, so it never changes for the
  /// same facts and attempt. Attempts are counted from 0 when an identifier turns out to be taken.
  std::uint32_t identifier(std::uint32_t attempt) const;
};

/// Identifiers are positive also where a file stores them as signed numbers.
constexpr std::uint32_t kLargestModeIdentifier = 0x7FFFFFFF;

}  // namespace vlm
