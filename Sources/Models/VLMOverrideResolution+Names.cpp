#include <cmath>

#include "Models/VLMOverrideResolution.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/System.h"
#include "Shared/BundleTexts.h"
#include "Shared/Format.h"

namespace vlm {

namespace {

constexpr const char* kControlPanel = "ControlPanel";
/// Number of the text for type 0 in that table.
constexpr std::uint32_t kFirstTypeText = 3000;
/// How near to a whole number a rate must be to be shown as one, Hz.
constexpr double kWholeRate = 0.01;
/// Smaller numbers are padded.
constexpr std::uint32_t kFourDigits = 1000;

std::string rateText(double rate) {
  std::string text = format("%.2f", rate);
  const auto point = text.find('.');
  if (point != std::string::npos) text.replace(point, 1, os().system.decimalSeparator());
  return text;
}

}  // namespace

std::string VLMOverrideResolution::displayedModeName() const {
  const bool isScaled = resolutionType == kScaled;
  const std::uint32_t width = isScaled ? scaledNx : activeNx;
  const std::uint32_t height = isScaled ? scaledNy : activeNy;
  const std::string widthText = format(width < kFourDigits ? "  %ld" : "%ld", width);
  const std::string heightText = format("%ld%@%@", height, interlaced ? "i" : "", height < kFourDigits ? " " : "");
  if (isScaled) return format("%@ × %@", widthText, heightText);
  const double whole = std::round(vfreq);
  if (std::fabs(vfreq - whole) <= kWholeRate) {
    return format("%@ × %@, %ld Hz", widthText, heightText, wholePartTo<std::int64_t>(whole));
  }
  return format("%@ × %@, %@ Hz", widthText, heightText, rateText(vfreq));
}

std::string VLMOverrideResolution::resolutionTypeText() const {
  return GetBundleIndNSString(kControlPanel, truncateTo<std::int32_t>(kFirstTypeText + resolutionType));
}

std::string VLMOverrideResolution::description() const {
  switch (resolutionType) {
    case kCustomTiming:
      return format(
          "VLMOverrideResolution %p (status = %d - dup = %d): CUSTOM - Nx = %d Ny = %d freq = %g pixclock = %g - "
          "origin "
          "= %d",
          this, status, isDuplicate ? 1 : 0, activeNx, activeNy, vfreq, pixelClock, origin);
    case kScaled:
      return format("VLMOverrideResolution %p (status = %d - dup = %d): SCALED - Nx %d Ny = %d - origin = %d", this,
                    status, isDuplicate ? 1 : 0, scaledNx, scaledNy, origin);
    case kStandardMode:
      return format("VLMOverrideResolution %p: TOVR - origin = %d", this, origin);
    default:
      return format("VLMOverrideResolution %p", this);
  }
}

}  // namespace vlm
