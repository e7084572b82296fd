#include "Models/VLMOverrideResolution.h"

#include <algorithm>
#include <cmath>

#include "Models/VLMDisplay.h"
#include "Models/VLMStandardResolutions.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Platform/System.h"
#include "Shared/VLFlippers.h"

namespace vlm {

namespace {

/// From 1 January 1970 to 1 January 2001.
constexpr double kSecondsBeforeReferenceDate = 978307200;

/// Pixel clocks of one timing may differ by this much: what a file rounds away. MHz.
constexpr double kSamePixelClock = 0.01;

double now() { return os().system.timeIntervalSinceReferenceDate() + kSecondsBeforeReferenceDate; }

/// Porches and sync of an interlaced timing are kept in fields, where their lowest bit is lost.
std::uint32_t comparable(std::uint32_t lines, bool interlaced) {
  return interlaced ? lines & ~std::uint32_t{1} : lines;
}

bool isSameTiming(const VLMOverrideResolution& a, const VLMOverrideResolution& b) {
  const auto sameLines = [&](std::uint32_t x, std::uint32_t y) {
    return comparable(x, a.interlaced) == comparable(y, a.interlaced);
  };
  return a.interlaced == b.interlaced && a.activeNx == b.activeNx && a.frontNx == b.frontNx && a.syncNx == b.syncNx &&
         a.backNx == b.backNx && a.activeNy == b.activeNy && sameLines(a.frontNy, b.frontNy) &&
         sameLines(a.syncNy, b.syncNy) && sameLines(a.backNy, b.backNy) &&
         std::fabs(a.pixelClock - b.pixelClock) <= kSamePixelClock && a.positiveSyncH == b.positiveSyncH &&
         a.positiveSyncV == b.positiveSyncV;
}

const plist::Dictionary* frameBufferModeOf(const plist::Array& modes, std::int32_t number) {
  for (const plist::Value& entry : modes) {
    const plist::Dictionary* mode = entry.dictionary();
    if (mode != nullptr && mode->contains("ID") && mode->sInt32("ID") == number) return mode;
  }
  return nullptr;
}

}  // namespace

std::shared_ptr<VLMOverrideResolution> VLMOverrideResolution::initEmpty() {
  auto resolution = std::make_shared<VLMOverrideResolution>();
  resolution->toInstall = true;
  resolution->creationDate = now();
  return resolution;
}

std::shared_ptr<VLMOverrideResolution> VLMOverrideResolution::init1920x1080x60() {
  auto resolution = initEmpty();
  resolution->pixelClock = 138.56;
  resolution->activeNx = 1920;
  resolution->frontNx = 48;
  resolution->syncNx = 32;
  resolution->backNx = 80;
  resolution->activeNy = 1080;
  resolution->frontNy = 3;
  resolution->syncNy = 5;
  resolution->backNy = 23;
  return resolution;
}

std::shared_ptr<VLMOverrideResolution> VLMOverrideResolution::initWithResolution(const VLMOverrideResolution& other) {
  // No need to ask the clock: it is as old as the other.
  auto resolution = std::make_shared<VLMOverrideResolution>();
  resolution->fillWithResolution(other);
  return resolution;
}

std::shared_ptr<VLMOverrideResolution> VLMOverrideResolution::initWithCurrentDataFromDisplay(
    const VLMDisplay& display) {
  const auto mode = display.currentMode.get();
  return mode == nullptr ? initEmpty() : initWithMode(*mode, display);
}

std::shared_ptr<VLMOverrideResolution> VLMOverrideResolution::initWithMode(const VLMMode& mode,
                                                                           const VLMDisplay& display) {
  const auto modes = display.getDetailedModesArray();
  const plist::Dictionary* found = modes ? frameBufferModeOf(*modes, mode.IOFBModeID) : nullptr;
  if (found == nullptr) return initEmpty();
  const auto appleID = found->contains("AID") ? std::optional(found->sInt16("AID")) : std::nullopt;
  if (appleID && VLMStandardResolutions::sharedInstance().standardResolutionWithAppleID(*appleID) != nullptr) {
    return initWithAppleID(*appleID, kOverrideFoundInSystem, 0);
  }
  const plist::Data* timing = found->data("TM");
  if (timing == nullptr) return initEmpty();
  const plist::Data* information = found->data("DM");
  return initWithTM(*timing, information == nullptr ? std::span<const std::uint8_t>() : std::span(*information),
                    appleID, false);
}

std::shared_ptr<VLMOverrideResolution> VLMOverrideResolution::initWithAppleID(std::int16_t appleID, std::int16_t status,
                                                                              std::uint16_t origin) {
  auto resolution = initEmpty();
  const double madeNow = resolution->creationDate;
  if (const auto standard = VLMStandardResolutions::sharedInstance().standardResolutionWithAppleID(appleID)) {
    resolution->fillWithResolution(*standard);
  }
  resolution->creationDate = madeNow;
  resolution->resolutionType = kStandardMode;
  resolution->appleID = appleID;
  resolution->status = status;
  resolution->origin = origin;
  return resolution;
}

std::shared_ptr<VLMOverrideResolution> VLMOverrideResolution::copy() const {
  auto resolution = initWithResolution(*this);
  resolution->status = status;
  return resolution;
}

std::shared_ptr<VLMOverrideResolution> VLMOverrideResolution::duplicate() const {
  auto resolution = copy();
  resolution->status = 0;
  resolution->origin = kOriginFile;
  resolution->original.reset();
  // It is there to be changed.
  resolution->isDuplicate = false;
  return resolution;
}

void VLMOverrideResolution::copyBackupWith(const VLMOverrideResolution& other) {
  auto backup = other.copy();
  // It is what others are compared with, and needs none itself: chains would grow with every call.
  backup->original.reset();
  original = std::move(backup);
}

void VLMOverrideResolution::fillWithResolution(const VLMOverrideResolution& other) {
  const std::int16_t ownStatus = status;
  *this = VLMOverrideResolution(other);
  status = ownStatus;
  if (original != nullptr) original = original->copy();
  consolidateTotals();
}

bool VLMOverrideResolution::isEqualToRes(const VLMOverrideResolution* other) const {
  if (other == nullptr || other->resolutionType != resolutionType) return false;
  switch (resolutionType) {
    case kCustomTiming:
      return isSameTiming(*this, *other);
    case kScaled:
      return scaledNx == other->scaledNx && scaledNy == other->scaledNy;
    case kStandardMode:
      return appleID == other->appleID;
    default:
      return false;
  }
}

bool VLMOverrideResolution::isModified() const {
  return original == nullptr || !isEqualToRes(original.get()) || toInstall != original->toInstall;
}

void VLMOverrideResolution::checkStatus() {
  status = isEqualToRes(original.get()) ? original->status : std::int16_t{0};
}

std::uint64_t VLMOverrideResolution::modeCompareSortKey() const {
  const bool isScaled = resolutionType == kScaled;
  const std::uint64_t width = isScaled ? scaledNx : activeNx;
  const std::uint64_t height = isScaled ? scaledNy : activeNy;
  return width << 40 | height << 16 | (isScaled ? 0 : wholePartTo<std::uint64_t>(vfreq * 256));
}

bool VLMOverrideResolution::modeCompare(const VLMOverrideResolution& other) const {
  return modeCompareSortKey() < other.modeCompareSortKey();
}

bool VLMOverrideResolution::standardModeCompare(const VLMOverrideResolution& other) const {
  if (activeNx != other.activeNx) return activeNx < other.activeNx;
  if (activeNy != other.activeNy) return activeNy < other.activeNy;
  return vfreq < other.vfreq;
}

namespace {

void join(VLMOverrideResolution& element, const VLMOverrideResolution& object) {
  element.status = truncateTo<std::int16_t>(element.status | object.status);
  if (element.original == nullptr) {
    element.original = object.original;
  } else if (object.original != nullptr) {
    element.original->status = truncateTo<std::int16_t>(element.original->status | object.original->status);
  }
  if (element.creationDate == 0) element.creationDate = object.creationDate;
  if (object.origin > 0) element.origin = object.origin;
  element.hasHiDPi = element.hasHiDPi || object.hasHiDPi;
  element.hasLowDPi = element.hasLowDPi || object.hasLowDPi;
}

}  // namespace

void mergeObject(OverrideResolutions& array, const std::shared_ptr<VLMOverrideResolution>& object,
                 bool addIfNotExisiting) {
  if (object == nullptr) return;
  bool isThere = false;
  for (const auto& element : std::span(array).first(std::min(array.size(), kMostResolutions))) {
    if (!element->isEqualToRes(object.get())) continue;
    join(*element, *object);
    if (isThere) element->isDuplicate = true;
    isThere = true;
  }
  if (!isThere && addIfNotExisiting && array.size() < kMostResolutions) array.push_back(object);
}

}  // namespace vlm
