#include <limits>
#include <type_traits>

#include "Models/VLMMode.h"
#include "Platform/Numbers.h"

namespace vlm {

namespace {

/// What is no number ranks below all numbers: an order in which it were equal to everything would be none, and sorting
/// by it undefined.
template <class Number>
Number ranked(Number value) {
  if constexpr (std::is_floating_point_v<Number>) {
    if (value != value) return -std::numeric_limits<Number>::infinity();
  }
  return value;
}

template <class Number>
int largerFirst(Number a, Number b) {
  a = ranked(a);
  b = ranked(b);
  return a > b ? -1 : a < b ? 1 : 0;
}

/// Wraps for areas of 2^31 and above, which then sort behind all others.
std::int32_t wrappedArea(const VLMMode& mode) { return truncateTo<std::int32_t>(mode.Nx * mode.Ny); }

/// At least 1, so that portrait and landscape of one shape are alike.
float ratioOf(const VLMMode& mode) {
  const auto ratio = static_cast<float>(static_cast<double>(mode.Nx) / static_cast<double>(mode.Ny));
  return ratio < 1 ? 1 / ratio : ratio;
}

std::uint64_t unitOfVRR(const VLMMode& mode) { return mode.isVRR > 0 ? 1 : 0; }

}  // namespace

int VLMMode::modeCompare(const VLMMode& other) const {
  if (const int order = largerFirst(Nx, other.Nx)) return order;
  if (const int order = largerFirst(Ny, other.Ny)) return order;
  if (const int order = largerFirst(definition, other.definition)) return order;
  if (const int order = largerFirst(Hz, other.Hz)) return order;
  if (interlaced != other.interlaced) return interlaced ? 1 : -1;
  return largerFirst(isVRR, other.isVRR);
}

int VLMMode::surfaceCompare(const VLMMode& other) const {
  if (const int order = largerFirst(wrappedArea(*this), wrappedArea(other))) return order;
  return modeCompare(other);
}

int VLMMode::frequencyCompare(const VLMMode& other) const {
  if (const int order = largerFirst(frequencySortKey(), other.frequencySortKey())) return order;
  return modeCompare(other);
}

// Not to be given to std::sort as it stands: two modes without a name for their shape compare by size, whatever shape
// stands between theirs, so three modes can follow each other in a circle.
int VLMMode::aspectRatioCompare(const VLMMode& other) const {
  if (aspectRatioString() != other.aspectRatioString()) {
    if (const int order = largerFirst(ratioOf(*this), ratioOf(other))) return order;
  }
  return modeCompare(other);
}

std::uint64_t VLMMode::modeCompareSortKey() const {
  const auto signedHeight = static_cast<std::int64_t>(truncateTo<std::int32_t>(Ny));
  return static_cast<std::uint64_t>(Nx) << 40 | static_cast<std::uint64_t>(signedHeight) << 16 |
         (wholePartTo<std::uint64_t>(Hz * 256) + unitOfVRR(*this));
}

std::uint64_t VLMMode::surfaceCompareSortKey() const { return static_cast<std::uint64_t>(Nx) * Ny; }

std::uint64_t VLMMode::frequencySortKey() const {
  if (Hz > 0) return wholePartTo<std::uint64_t>(Hz * 65536) + unitOfVRR(*this);
  if (totalPixels == 0 || pixClock == 0) return 0;
  const double rate = static_cast<double>(pixClock) * 65536.0 / static_cast<double>(totalPixels);
  return wholePartTo<std::uint64_t>(rate) + unitOfVRR(*this);
}

}  // namespace vlm
