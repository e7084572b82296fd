#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "Models/ModeDescription.h"
#include "Models/VLMDisplay.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/SkyLight.h"
#include "Shared/Log.h"
#include "Shared/ModeMath.h"
#include "Shared/SystemVersion.h"
#include "Shared/VLFlippers.h"

namespace vlm {

namespace {

/// Rates and scales closer than this are one.
constexpr float kCloseEnough = 0.01F;
/// Flag bits that make two modes of one size different for a user.
constexpr std::uint32_t kDistinguishingFlags = 0x8FBFFB00;
/// Bits of the scaler flags that say that it turns or mirrors the picture.
constexpr std::uint32_t kScalerRotateFlags = 0xF0;
constexpr std::uint32_t kInterlacedFlag = 0x40;
/// Modes below both are of no use on a desktop.
constexpr std::int32_t kSmallestWidth = 800, kSmallestHeight = 600;
constexpr float kLargestScale = 5.0F;
/// The part of a timing record that tells timings apart: it leaves out the identifiers before and the rest behind.
constexpr std::ptrdiff_t kTimingBegin = 12, kTimingEnd = 132;
/// The kind of variable refresh that a built-in panel has where the system says 1.
constexpr std::uint32_t kVariableRefresh = 1, kBuiltInVariableRefresh = 2;

bool isClose(float a, float b) { return std::fabs(a - b) < kCloseEnough; }

/// What the frame buffer tells about a mode's timing; zeros where it tells nothing.
struct FrameBufferTiming {
  bool interlaced = false;
  bool isScaled = false;
  bool isNative = false;
  std::int64_t pixClock = 0;
  std::int64_t totalPixels = 0;
  std::int64_t totalPixelsMin = 0;
  plist::Data record;  ///< as the frame buffer gives it
};

/// The fields that the lists are made of; a record that is cut off reads as 0 from there on.
struct TimingFields {
  explicit TimingFields(const DetailedTimingFields& fields)
      : scalerFlags(fields.scalerFlags().value_or(0)),
        horizontalScaled(fields.horizontalScaled().value_or(0)),
        verticalScaled(fields.verticalScaled().value_or(0)),
        horizontalActive(fields.horizontalActive().value_or(0)),
        verticalActive(fields.verticalActive().value_or(0)) {}

  bool isScaled() const {
    if ((scalerFlags & kScalerRotateFlags) == 0) return horizontalScaled != 0 || verticalScaled != 0;
    return horizontalScaled * verticalScaled != horizontalActive * verticalActive;
  }
  /// Scaled, but by the very factor of the backing scale.
  bool fills(float scale) const {
    return static_cast<float>(horizontalScaled) * scale == static_cast<float>(horizontalActive) &&
           static_cast<float>(verticalScaled) * scale == static_cast<float>(verticalActive);
  }

  std::uint32_t scalerFlags;
  std::uint64_t horizontalScaled, verticalScaled, horizontalActive, verticalActive;
};

/// The entry's records are in host byte order already.
FrameBufferTiming timingOf(const plist::Dictionary& frameBufferMode, float scale) {
  FrameBufferTiming result;
  if (const plist::Data* information = frameBufferMode.data("DM")) {
    result.interlaced = (displayModeInformationFlags(*information).value_or(0) & kInterlacedFlag) != 0;
  }
  const plist::Data* record = frameBufferMode.data("TM");
  if (record == nullptr || record->empty()) return result;
  result.record = *record;
  const DetailedTimingFields fields(*record);
  const TimingFields timing(fields);
  result.isScaled = timing.isScaled();
  result.isNative = !result.isScaled || timing.fills(scale);
  const std::uint64_t lineLength = timing.horizontalActive + fields.horizontalBlanking().value_or(0);
  const std::uint64_t lines = timing.verticalActive + fields.verticalBlanking().value_or(0);
  const std::uint64_t linesAtLowestRate = lines + fields.verticalBlankingExtension().value_or(0);
  result.pixClock = truncateTo<std::int64_t>(fields.pixelClock().value_or(0));
  result.totalPixels = truncateTo<std::int64_t>(lineLength * lines);
  result.totalPixelsMin = truncateTo<std::int64_t>(lineLength * linesAtLowestRate);
  VLMLog("learned pixClock = %llu et totalPixels = %llu", result.pixClock, result.totalPixels);
  return result;
}

/// Builds the list of modes from the system's descriptions, one for each mode and depth.
class ModeListing {
 public:
  ModeListing(VLMDisplay& display, bool isRemoteDesktop)
      : display_(display),
        isRemoteDesktop_(isRemoteDesktop),
        isBuiltin_(os().quartz.CGDisplayIsBuiltin(display.cgID)),
        frameBufferModes_(display.getDetailedModesArray()) {
    if (!frameBufferModes_) return;
    for (const plist::Value& entry : *frameBufferModes_) {
      const plist::Dictionary* mode = entry.dictionary();
      // Of entries with one number the first counts.
      if (mode != nullptr && mode->contains("ID")) frameBufferModeByID_.emplace(mode->sInt32("ID"), mode);
    }
  }

  void logFrameBufferModes() const {
    VLMLog("modes array  = %@", lazily([&] { return frameBufferModes_; }));
  }

  void add(const ModeDescription& description) {
    const float scale = description.resolution >= 0.01F ? description.resolution : 1.0F;
    const float hz = roundedHzTo2Decimals(static_cast<float>(description.refreshRate));
    if (isDropped(description, scale, hz)) return;
    const auto mask = static_cast<std::int32_t>(visibleToMaskDepth(description.bitsPerPixel));
    FrameBufferTiming timing;
    if (!isRemoteDesktop_) {
      const auto known = frameBufferModeByID_.find(description.ioDisplayModeID);
      if (known != frameBufferModeByID_.end()) timing = timingOf(*known->second, scale);
    }
    if (VLMMode* const mode = findMode(description, scale, hz, timing.interlaced)) {
      addDepth(*mode, description, mask);
      return;
    }
    VLMLog("countAndFillAllModes - this mode doesn't match - save it");
    addMode(description, scale, hz, mask, timing);
  }

 private:
  static bool isInvalid(const ModeDescription& description, float scale, float hz) {
    return (description.width == 1 && description.height == 1) || description.width < 0 || description.height < 0 ||
           (hz > 0 && hz < 1) || hz <= -1 || scale > kLargestScale || scale < 0;
  }

  static bool isDropped(const ModeDescription& description, float scale, float hz) {
    if (isInvalid(description, scale, hz)) {
      VLMLog("found invalid mode = %d", description.mode);
      return true;
    }
    if ((description.flags & kModeHiddenFromUser) != 0) {
      VLMLog("discard 4<<28 mode = %d", description.mode);
      return true;
    }
    if (description.width < kSmallestWidth && description.height < kSmallestHeight) {
      VLMLog("discard tiny mode = %d", description.mode);
      return true;
    }
    return false;
  }

  VLMMode* findMode(const ModeDescription& description, float scale, float hz, bool interlaced) const {
    if (!isRemoteDesktop_) {
      const auto modes = modesByIOFBMode_.find(description.ioDisplayModeID);
      if (modes == modesByIOFBMode_.end()) return nullptr;
      const auto found = std::find_if(modes->second.begin(), modes->second.end(),
                                      [&](const VLMMode* mode) { return isClose(mode->definition, scale); });
      return found == modes->second.end() ? nullptr : *found;
    }
    const auto& modes = display_.validDisplayModes;
    const auto found = std::find_if(modes.begin(), modes.end(), [&](const auto& mode) {
      return mode->Nx == static_cast<std::uint32_t>(description.width) &&
             mode->Ny == static_cast<std::uint32_t>(description.height) && isClose(mode->Hz, hz) &&
             (mode->sysFlags & kDistinguishingFlags) == (description.ioFlags & kDistinguishingFlags) &&
             isClose(mode->definition, scale) && mode->interlaced == interlaced;
    });
    return found == modes.end() ? nullptr : found->get();
  }

  static void setSystemMode(VLMMode& mode, std::int32_t mask, std::int32_t number) {
    const int slot = maskToIndex(static_cast<std::uint32_t>(mask)) - 3;
    // A depth that is not known has no slot.
    if (slot >= 0 && slot < VLMMode::kDepthSlots) mode.sysModeID[static_cast<std::size_t>(slot)] = number;
  }

  static void addDepth(VLMMode& mode, const ModeDescription& description, std::int32_t mask) {
    if ((mode.colorMask & mask) != 0) return;
    mode.sysFlags = description.ioFlags;
    mode.colorMask |= mask;
    setSystemMode(mode, mask, description.mode);
  }

  std::uint32_t variableRefreshOf(std::int32_t number) const {
    if (systemVersion() < kSystem12) return 0;
    const std::uint32_t kind = os().skyLight.SLSIsDisplayModeVRR(display_.cgID, number).value_or(0);
    return kind == kVariableRefresh && isBuiltin_ ? kBuiltInVariableRefresh : kind;
  }

  void addMode(const ModeDescription& description, float scale, float hz, std::int32_t mask,
               const FrameBufferTiming& timing) {
    const auto mode = VLMMode::init();
    mode->container = &display_;
    mode->Nx = static_cast<std::uint32_t>(description.width);
    mode->Ny = static_cast<std::uint32_t>(description.height);
    mode->Hz = hz;
    mode->isVRR = variableRefreshOf(description.mode);
    mode->definition = scale;
    mode->pixClock = timing.pixClock;
    mode->totalPixels = timing.totalPixels;
    mode->totalPixelsMin = timing.totalPixelsMin;
    mode->sysFlags = description.ioFlags;
    mode->flags = description.flags;
    mode->interlaced = timing.interlaced;
    mode->resolutionType = timing.isScaled ? 1 : 0;
    mode->IOFBModeID = description.ioDisplayModeID;
    mode->vesaMode = -1;
    mode->savedTMData = timing.record;
    mode->modeUniqueID = VLMMode::kNoUniqueID;
    mode->colorMask = mask;
    setSystemMode(*mode, mask, description.mode);
    mode->orientation = display_.orientation();
    mode->deskResID = -1;
    mode->isNative = timing.isNative;
    mode->isScaled = timing.isScaled;
    modesByIOFBMode_[mode->IOFBModeID].push_back(mode.get());
    display_.validDisplayModes.push_back(mode);
  }

  VLMDisplay& display_;
  bool isRemoteDesktop_;
  bool isBuiltin_;
  std::optional<plist::Array> frameBufferModes_;
  std::unordered_map<std::int32_t, const plist::Dictionary*> frameBufferModeByID_;
  /// The modes listed so far, in their order.
  std::unordered_map<std::int32_t, std::vector<VLMMode*>> modesByIOFBMode_;
};

bool haveSameTiming(const plist::Data& a, const plist::Data& b) {
  const auto length = static_cast<std::size_t>(kTimingEnd);
  return a.size() >= length && b.size() >= length &&
         std::equal(a.begin() + kTimingBegin, a.begin() + kTimingEnd, b.begin() + kTimingBegin);
}

bool areDuplicates(const VLMMode& a, const VLMMode& b) {
  return a.Nx == b.Nx && a.Ny == b.Ny && isClose(a.Hz, b.Hz) && isClose(a.definition, b.definition) &&
         (a.sysFlags & kDistinguishingFlags) == (b.sysFlags & kDistinguishingFlags) && a.isVRR == b.isVRR &&
         a.interlaced == b.interlaced && haveSameTiming(a.savedTMData, b.savedTMData);
}

void removeDuplicates(VLMDisplay::Modes& modes) {
  VLMLog("countAndFillAllModes - now remove duplicates");
  for (std::size_t i = 0; i < modes.size(); ++i) {
    // Meant: after a removal the mode that moved into the place is passed over in this round, so that of three alike
    // the third stays. Stored identifiers count on it.
    for (std::size_t j = i + 1; j < modes.size(); ++j) {
      if (!areDuplicates(*modes[i], *modes[j])) continue;
      VLMLog("countAndFillAllModes - removed duplicate %d x %d - %d", modes[j]->Nx, modes[j]->Ny,
             wholePartTo<std::int32_t>(modes[j]->Hz));
      modes.erase(modes.begin() + static_cast<std::ptrdiff_t>(j));
    }
  }
}

}  // namespace

void VLMDisplay::countAndFillAllModes() {
  std::int32_t count = 0;
  if (os().quartz.CGSGetNumberOfDisplayModes(cgID, count) != kCGErrorSuccess) count = 0;
  std::vector<ModeDescription> descriptions;
  for (std::int32_t index = 0; index < count; ++index) {
    if (const auto description = ModeDescription::ofDisplay(cgID, index)) descriptions.push_back(*description);
  }
  numberOfModesInCG = count;
  validDisplayModes.clear();

  const bool isRemoteDesktop = driverLocationName == kUnknownLocation;
  ModeListing listing(*this, isRemoteDesktop);
  VLMLog("countAndFillAllModes - %ld modes - found ARD ?:%d - %@", count, isRemoteDesktop,
         lazily([&] { return description(); }));
  listing.logFrameBufferModes();
  for (const ModeDescription& description : descriptions) listing.add(description);
  if (isRemoteDesktop) {
    VLMLog("countAndFillAllModes - now remove duplicates");
  } else {
    removeDuplicates(validDisplayModes);
  }
  allDisplayModes = validDisplayModes;
  VLMLog("countAndFillAllModes - quitting");
}

void VLMDisplay::prepareValidModes() {
  for (const auto& mode : validDisplayModes) {
    mode->showInfo = true;
    mode->setAliasedMode(nullptr);
    mode->hasIcon = false;
    const bool isForbidden = (mode->sysFlags & kSysFlagNotForUse) != 0 || (mode->flags & kModeHiddenFromUser) != 0;
    const bool isSafe = (mode->sysFlags & (kSysFlagValid | kSysFlagSafe)) == (kSysFlagValid | kSysFlagSafe);
    mode->isValidAct = !isForbidden;
    mode->menuVal = isForbidden ? 0 : isSafe ? 2 : 1;
    mode->setModeName(std::nullopt);
    mode->setFreqName(std::nullopt);
  }
}

}  // namespace vlm
