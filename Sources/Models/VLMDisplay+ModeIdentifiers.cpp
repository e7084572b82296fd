#include <algorithm>
#include <cmath>
#include <tuple>
#include <unordered_set>

#include "Models/ModeFacts.h"
#include "Models/VLMDisplay.h"
#include "Platform/Numbers.h"

namespace vlm {

namespace {

std::int32_t hundredthsOf(float value) {
  return wholePartTo<std::int32_t>(std::round(static_cast<double>(value) * 100));
}

/// FNV-1a, 32 bits, over numbers as little-endian bytes.
class Hash {
 public:
  Hash& add(std::uint32_t number) {
    for (int byte = 0; byte < 4; ++byte, number >>= 8) {
      value_ = truncateTo<std::uint32_t>((std::uint64_t{value_} ^ (number & 0xFF)) * 16777619U);
    }
    return *this;
  }
  std::uint32_t value() const { return value_; }

 private:
  std::uint32_t value_ = 2166136261U;
};

}  // namespace

ModeFacts ModeFacts::of(const VLMMode& mode) {
  return {.Nx = mode.Nx,
          .Ny = mode.Ny,
          .hundredthsOfHz = hundredthsOf(mode.Hz),
          .hundredthsOfScale = hundredthsOf(mode.definition),
          .interlaced = mode.interlaced,
          .isVRR = mode.isVRR,
          .isScaled = mode.isScaled};
}

std::uint32_t ModeFacts::identifier(std::uint32_t attempt) const {
  const std::uint32_t hash = Hash()
                                 .add(Nx)
                                 .add(Ny)
                                 .add(static_cast<std::uint32_t>(hundredthsOfHz))
                                 .add(static_cast<std::uint32_t>(hundredthsOfScale))
                                 .add(interlaced ? 1 : 0)
                                 .add(isVRR)
                                 .add(isScaled ? 1 : 0)
                                 .add(attempt)
                                 .value();
  return std::max(hash & kLargestModeIdentifier, 1U);
}

void VLMDisplay::consolidateUniqueModesID() {
  std::unordered_set<std::uint32_t> taken;
  for (const auto& mode : allDisplayModes) taken.insert(mode->modeUniqueID);
  std::vector<std::pair<ModeFacts, VLMMode*>> nameless;
  for (const auto& mode : validDisplayModes) {
    if (mode->modeUniqueID == VLMMode::kNoUniqueID) nameless.emplace_back(ModeFacts::of(*mode), mode.get());
  }
  // Modes that differ in their timing alone get their identifiers in the order of the timings, not of a list that the
  // system may sort otherwise next time.
  std::stable_sort(nameless.begin(), nameless.end(), [](const auto& a, const auto& b) {
    return std::tie(a.first, a.second->pixClock, a.second->totalPixels) <
           std::tie(b.first, b.second->pixClock, b.second->totalPixels);
  });
  for (const auto& [facts, mode] : nameless) {
    std::uint32_t attempt = 0;
    while (!taken.insert(facts.identifier(attempt)).second) ++attempt;
    mode->modeUniqueID = facts.identifier(attempt);
  }
  if (container == nullptr) return;
  for (const auto& mode : validDisplayModes) {
    if (mode->deskResID <= 0) mode->deskResID = container->nextDeskResID();
  }
}

}  // namespace vlm
