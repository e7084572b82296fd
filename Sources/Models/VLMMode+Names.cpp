#include <cmath>

#include "Models/VLMMode.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/System.h"
#include "Shared/BundleTexts.h"
#include "Shared/Format.h"
#include "Shared/ModeMath.h"

namespace vlm {

namespace {

constexpr const char* kMenuItems = "MenuItems";
/// Numbers of texts in that table.
constexpr std::uint32_t kBuiltInText = 106, kSimulscanText = 107, kStretchedText = 109, kPALText = 110, kNTSCText = 111,
                        kUnknownRateText = 122;

/// How near to a whole number a rate must be to be shown as one, in Hz.
constexpr float kWholeRate = 0.01F;
/// The same for the lower end of a variable rate, which timings miss by more.
constexpr float kWholeLowestRate = 0.019F;
/// Narrower sizes are padded.
constexpr std::uint32_t kWidestOfThreeDigits = 999;

float rateOf(std::int64_t pixClock, std::int64_t pixels) {
  return static_cast<float>(static_cast<double>(pixClock) / static_cast<double>(pixels));
}

std::string menuText(std::uint32_t index) { return GetBundleIndNSString(kMenuItems, truncateTo<std::int32_t>(index)); }

/// The texts after the kinds of variable refresh follow that of the unknown rate.
std::string kindOfVRR(const VLMMode& mode) { return menuText(kUnknownRateText + mode.isVRR); }

bool knowsRange(const VLMMode& mode) { return mode.totalPixels > 0 && mode.totalPixelsMin > 0; }

std::string sizeOf(const VLMMode& mode) {
  return format("%@%ld × %ld%@", mode.Nx <= kWidestOfThreeDigits ? "  " : "", mode.Nx, mode.Ny,
                mode.interlaced ? "i" : "");
}

/// What stands behind the size.
std::string frequencyPart(const VLMMode& mode) {
  if (mode.isVRR == 0) {
    return mode.Hz > 0 ? format(", %@ Hz", VLMMode::freqStringFromHz(mode.Hz, kWholeRate)) : std::string();
  }
  if (!knowsRange(mode)) return format(" (%@)", kindOfVRR(mode));
  return format(" (%@ %@-%@ Hz)", kindOfVRR(mode),
                VLMMode::freqStringFromHz(rateOf(mode.pixClock, mode.totalPixelsMin), kWholeLowestRate),
                VLMMode::freqStringFromHz(rateOf(mode.pixClock, mode.totalPixels), kWholeRate));
}

std::string flagSuffixes(std::uint32_t sysFlags) {
  std::string suffixes;
  if ((sysFlags & kSysFlagStretched) != 0) suffixes += menuText(kStretchedText);
  if ((sysFlags & kSysFlagSimulscan) != 0) suffixes += menuText(kSimulscanText);
  if ((sysFlags & kSysFlagBuiltIn) != 0) suffixes += menuText(kBuiltInText);
  return suffixes;
}

std::string televisionSuffix(const VLMMode& mode) {
  if ((mode.sysFlags & kSysFlagTelevision) == 0) return {};
  if (mode.Hz == 50 || mode.Hz == 25) return menuText(kPALText);
  if (mode.Hz == 60 || mode.Hz == 30) return menuText(kNTSCText);
  return {};
}

}  // namespace

std::string VLMMode::freqStringFromHz(float hz, float diff) {
  const float whole = std::round(hz);
  if (std::fabs(hz - whole) < diff) return format("%ld", wholePartTo<std::int64_t>(whole));
  std::string text = format("%.2f", hz);
  const auto point = text.find('.');
  if (point != std::string::npos) text.replace(point, 1, os().system.decimalSeparator());
  return text;
}

std::string VLMMode::inMenuFreqString(bool shortUnit) const {
  if (freqName_) return *freqName_;
  const char* const unit = shortUnit ? "Hz" : "Hertz";
  if (isVRR != 0) {
    if (!knowsRange(*this)) return kindOfVRR(*this);
    return format("%@ (%@-%@ %@)", kindOfVRR(*this), freqStringFromHz(rateOf(pixClock, totalPixelsMin), kWholeRate),
                  freqStringFromHz(rateOf(pixClock, totalPixels), kWholeRate), unit);
  }
  if (Hz > 0) return format("%@ %@", freqStringFromHz(Hz, kWholeRate), unit);
  if (totalPixels != 0 && pixClock != 0) {
    return format("%@ %@", freqStringFromHz(rateOf(pixClock, totalPixels), kWholeRate), unit);
  }
  return shortUnit ? "? Hz" : menuText(kUnknownRateText);
}

std::string VLMMode::inMenuModeName(bool withFrequency) const {
  if (modeName_) return *modeName_;
  return sizeOf(*this) + (withFrequency ? frequencyPart(*this) : std::string()) + flagSuffixes(sysFlags);
}

std::string VLMMode::tableViewModeName(bool withFrequency) const {
  if (modeName_) return *modeName_;
  // The suffixes stand in the menu name already; the second time is meant.
  return inMenuModeName(withFrequency) + televisionSuffix(*this) + flagSuffixes(sysFlags);
}

std::string VLMMode::smallInMenuName() const {
  if (modeName_) return *modeName_;
  return tableViewModeName(true) + (definition > 1.0F ? " (HiDPI)" : "");
}

const std::string& VLMMode::aspectRatioString() const {
  if (!aspectRatioString_) aspectRatioString_ = Common_aspectRatioString(Nx, Ny);
  return *aspectRatioString_;
}

}  // namespace vlm
