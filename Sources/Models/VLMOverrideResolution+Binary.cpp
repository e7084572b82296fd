#include <algorithm>
#include <array>
#include <string_view>

#include "Models/BigEndian.h"
#include "Models/OverrideContent.h"
#include "Models/VLMOverrideResolution.h"
#include "Models/VLMStandardResolutions.h"
#include "Platform/Numbers.h"
#include "Shared/Format.h"
#include "Shared/SystemVersion.h"
#include "Shared/VLFlippers.h"

/// The forms in which an override file and the system keep a custom resolution; what reads one stands beside what
/// writes it.
namespace vlm {

namespace {

using Bytes = std::span<const std::uint8_t>;

std::uint8_t byteOf(std::uint32_t number, unsigned shift = 0) { return truncateTo<std::uint8_t>(number >> shift); }
/// The lowest bits of a number, from `shift` on.
std::uint32_t bits(std::uint32_t number, unsigned count, unsigned shift = 0) {
  return number >> shift & ((std::uint32_t{1} << count) - 1);
}
std::uint32_t little16(Bytes bytes, std::size_t at) { return bytes[at] | std::uint32_t{bytes[at + 1]} << 8; }
void putLittle16(plist::Data& bytes, std::size_t at, std::uint32_t number) {
  bytes[at] = byteOf(number);
  bytes[at + 1] = byteOf(number, 8);
}
void consolidate(VLMOverrideResolution& resolution) {
  resolution.consolidateTotals();
  resolution.consolidateHFreq();
  resolution.consolidateVFreq();
}

// --- EDID detailed timing descriptor (E-EDID 1.4, 3.10.2). Vertical figures are of one field. ---

/// Flags, byte 17.
constexpr std::uint8_t kSeparateSync = 0x18, kPositiveH = 0x02, kPositiveV = 0x04, kDescriptorInterlaced = 0x80;
/// Hz of one unit; what is above a whole number of them is cut off. A decimal number of MHz whose nearest binary
/// fraction lies below it loses a unit (32.01 MHz is stored as 32.00), which still counts as the same timing.
constexpr std::int64_t kClockUnit = 10000;

plist::Data descriptorOf(const VLMOverrideResolution& timing) {
  const std::uint32_t fields = timing.interlaced ? 2 : 1;
  const std::uint32_t active = timing.activeNy / fields, front = timing.frontNy / fields, sync = timing.syncNy / fields,
                      blanking = front + sync + timing.backNy / fields;
  const std::uint32_t blankingX = timing.frontNx + timing.syncNx + timing.backNx;
  plist::Data bytes(VLMOverrideResolution::kDescriptorLength);
  putLittle16(bytes, 0, truncateTo<std::uint32_t>(wholePartTo<std::int64_t>(1e6 * timing.pixelClock) / kClockUnit));
  bytes[2] = byteOf(timing.activeNx);
  bytes[3] = byteOf(blankingX);
  bytes[4] = byteOf(bits(timing.activeNx, 4, 8) << 4 | bits(blankingX, 4, 8));
  bytes[5] = byteOf(active);
  bytes[6] = byteOf(blanking);
  bytes[7] = byteOf(bits(active, 4, 8) << 4 | bits(blanking, 4, 8));
  bytes[8] = byteOf(timing.frontNx);
  bytes[9] = byteOf(timing.syncNx);
  bytes[10] = byteOf(bits(front, 4) << 4 | bits(sync, 4));
  bytes[11] = byteOf(bits(timing.frontNx, 2, 8) << 6 | bits(timing.syncNx, 2, 8) << 4 | bits(front, 2, 4) << 2 |
                     bits(sync, 2, 4));
  bytes[17] = byteOf(kSeparateSync | (timing.positiveSyncH ? kPositiveH : 0U) |
                     (timing.positiveSyncV ? kPositiveV : 0U) | (timing.interlaced ? kDescriptorInterlaced : 0U));
  return bytes;
}

void readDescriptor(VLMOverrideResolution& timing, Bytes bytes) {
  timing.pixelClock = little16(bytes, 0) / 100.0;
  timing.activeNx = bytes[2] | bits(bytes[4], 4, 4) << 8;
  timing.frontNx = bytes[8] | bits(bytes[11], 2, 6) << 8;
  timing.syncNx = bytes[9] | bits(bytes[11], 2, 4) << 8;
  timing.backNx = (bytes[3] | bits(bytes[4], 4) << 8) - timing.frontNx - timing.syncNx;
  timing.interlaced = (bytes[17] & kDescriptorInterlaced) != 0;
  timing.positiveSyncH = (bytes[17] & kPositiveH) != 0;
  timing.positiveSyncV = (bytes[17] & kPositiveV) != 0;
  const std::uint32_t fields = timing.interlaced ? 2 : 1;
  const std::uint32_t front = bits(bytes[10], 4, 4) | bits(bytes[11], 2, 2) << 4;
  const std::uint32_t sync = bits(bytes[10], 4) | bits(bytes[11], 2) << 4;
  timing.activeNy = fields * (bytes[5] | bits(bytes[7], 4, 4) << 8);
  timing.frontNy = fields * front;
  timing.syncNy = fields * sync;
  timing.backNy = fields * ((bytes[6] | bits(bytes[7], 4) << 8) - front - sync);
}

// --- DisplayID Type I detailed timing (DisplayID 1.3, 4.4.1). Every number is stored less 1; vertical figures are of
// the whole frame. ---

constexpr std::uint8_t kDisplayIDInterlaced = 0x10;
/// Of the porches, on top of their 15 bits.
constexpr std::uint32_t kPositiveSync = 0x8000, kPorchMask = 0x7FFF;

plist::Data displayIDTimingOf(const VLMOverrideResolution& timing) {
  plist::Data bytes(VLMOverrideResolution::kDisplayIDTimingLength);
  const auto clock = truncateTo<std::uint32_t>(wholePartTo<std::int64_t>(100 * timing.pixelClock + 0.5)) - 1;
  putLittle16(bytes, 0, clock);
  bytes[2] = byteOf(clock, 16);
  bytes[3] = timing.interlaced ? kDisplayIDInterlaced : std::uint8_t{0};
  const auto putAxis = [&](std::size_t at, std::uint32_t active, std::uint32_t front, std::uint32_t sync,
                           std::uint32_t back, bool positive) {
    putLittle16(bytes, at, active - 1);
    putLittle16(bytes, at + 2, front + sync + back - 1);
    putLittle16(bytes, at + 4, ((front - 1) & kPorchMask) | (positive ? kPositiveSync : 0));
    putLittle16(bytes, at + 6, sync - 1);
  };
  putAxis(4, timing.activeNx, timing.frontNx, timing.syncNx, timing.backNx, timing.positiveSyncH);
  putAxis(12, timing.activeNy, timing.frontNy, timing.syncNy, timing.backNy, timing.positiveSyncV);
  return bytes;
}

void readDisplayIDTiming(VLMOverrideResolution& timing, Bytes bytes) {
  timing.pixelClock = ((little16(bytes, 0) | std::uint32_t{bytes[2]} << 16) + 1) / 100.0;
  timing.interlaced = (bytes[3] & kDisplayIDInterlaced) != 0;
  const auto readAxis = [&](std::size_t at, std::uint32_t& active, std::uint32_t& front, std::uint32_t& sync,
                            std::uint32_t& back, bool& positive) {
    active = little16(bytes, at) + 1;
    front = (little16(bytes, at + 4) & kPorchMask) + 1;
    sync = little16(bytes, at + 6) + 1;
    back = little16(bytes, at + 2) + 1 - front - sync;
    positive = (little16(bytes, at + 4) & kPositiveSync) != 0;
  };
  readAxis(4, timing.activeNx, timing.frontNx, timing.syncNx, timing.backNx, timing.positiveSyncH);
  readAxis(12, timing.activeNy, timing.frontNy, timing.syncNy, timing.backNy, timing.positiveSyncV);
}

// --- Item of "scale-resolutions" ---

/// Flags: any scaled size; and the display's own size, from 10.13 on.
constexpr std::uint32_t kScaledFlags = 0x00200000, kNativeFlags = 0x00800004;
constexpr std::size_t kScaleItemLength = 16, kScaleSizeLength = 8;

plist::Data scaleItemOf(const VLMOverrideResolution& scaled, std::uint32_t nativeNx, std::uint32_t nativeNy) {
  const bool isNative = scaled.scaledNx == nativeNx && scaled.scaledNy == nativeNy;
  plist::Data bytes(kScaleItemLength);
  putBigEndian32(bytes, 0, scaled.scaledNx);
  putBigEndian32(bytes, 4, scaled.scaledNy);
  putBigEndian32(bytes, 8, 1);
  putBigEndian32(bytes, 12, isNative && systemVersion() >= kSystem10_13 ? kNativeFlags : kScaledFlags);
  return bytes;
}

void readScaleItem(VLMOverrideResolution& scaled, const plist::Value& item) {
  if (const plist::Data* data = item.data()) {
    std::array<std::uint8_t, kScaleSizeLength> bytes{};
    std::copy_n(data->begin(), std::min(data->size(), bytes.size()), bytes.begin());
    scaled.scaledNx = bigEndian32(bytes, 0);
    scaled.scaledNy = bigEndian32(bytes, 4);
  } else {
    const auto number = truncateTo<std::uint32_t>(item.uInt64());
    scaled.scaledNx = bits(number, 16);
    scaled.scaledNy = bits(number, 16, 16);
  }
  if (scaled.scaledNy == 0) scaled.scaledNy = truncateTo<std::uint32_t>(std::uint64_t{scaled.scaledNx} * 3 / 4);
}

// --- Item of "tovr": the mode's number is its key ---

plist::Data standardModeItem() {
  plist::Data bytes(16);
  std::copy(kStandardModeMark.begin(), kStandardModeMark.end(), bytes.begin());
  putBigEndian32(bytes, 8, 11);
  putBigEndian32(bytes, 12, 128);
  return bytes;
}

// --- The system's detailed timing record; it is read only ---

/// Of the flags of mode information.
constexpr std::uint32_t kInformationInterlaced = 0x40;

/// In host byte order.
template <std::size_t length, class Flip>
std::array<std::uint8_t, length> recordOf(Bytes bytes, Flip flip, bool forceFlip) {
  std::array<std::uint8_t, length> record{};
  std::copy_n(bytes.begin(), std::min(bytes.size(), length), record.begin());
  flip(record, forceFlip);
  return record;
}

void readTimingRecord(VLMOverrideResolution& timing, const DetailedTimingFields& fields) {
  const std::uint64_t clock = fields.pixelClock().value_or(0);
  timing.pixelClock = static_cast<double>(clock != 0 ? clock : fields.minPixelClock().value_or(0)) / 1e6;
  timing.activeNx = fields.horizontalActive().value_or(0);
  timing.frontNx = fields.horizontalSyncOffset().value_or(0);
  timing.syncNx = fields.horizontalSyncPulseWidth().value_or(0);
  timing.backNx = fields.horizontalBlanking().value_or(0) - timing.frontNx - timing.syncNx;
  timing.activeNy = fields.verticalActive().value_or(0);
  timing.frontNy = fields.verticalSyncOffset().value_or(0);
  timing.syncNy = fields.verticalSyncPulseWidth().value_or(0);
  timing.backNy = fields.verticalBlanking().value_or(0) - timing.frontNy - timing.syncNy;
  timing.scaledNx = fields.horizontalScaled().value_or(0);
  timing.scaledNy = fields.verticalScaled().value_or(0);
  timing.positiveSyncH = fields.horizontalSyncConfig().value_or(0) != 0;
  timing.positiveSyncV = fields.verticalSyncConfig().value_or(0) != 0;
}

bool isScaledTiming(const VLMOverrideResolution& timing) {
  return (timing.scaledNx != 0 && timing.scaledNx != timing.activeNx) ||
         (timing.scaledNy != 0 && timing.scaledNy != timing.activeNy);
}

}  // namespace

std::shared_ptr<VLMOverrideResolution> VLMOverrideResolution::initWithDTDData(Bytes data, std::uint16_t origin) {
  auto resolution = initEmpty();
  if (data.size() < kDescriptorLength) return resolution;
  const std::uint32_t clock = little16(data, 0);
  if (clock == kDisplayDescriptor || clock == kUnusedDescriptor) return resolution;
  readDescriptor(*resolution, data);
  resolution->status = kOverrideFoundInOverrideFile;
  resolution->origin = origin;
  consolidate(*resolution);
  return resolution;
}

std::shared_ptr<VLMOverrideResolution> VLMOverrideResolution::initWithDisplayIdType1Data(Bytes data,
                                                                                         std::uint16_t origin) {
  auto resolution = initEmpty();
  if (data.size() < kDisplayIDTimingLength) return resolution;
  readDisplayIDTiming(*resolution, data);
  resolution->status = kOverrideFoundInOverrideFile;
  resolution->origin = origin;
  consolidate(*resolution);
  return resolution;
}

std::shared_ptr<VLMOverrideResolution> VLMOverrideResolution::initWithScaleData(const plist::Value* item,
                                                                                std::uint16_t origin) {
  auto resolution = initEmpty();
  if (item == nullptr || (item->data() == nullptr && !item->isNumber())) return resolution;
  resolution->resolutionType = kScaled;
  resolution->status = kOverrideFoundInOverrideFile;
  resolution->origin = origin;
  readScaleItem(*resolution, *item);
  return resolution;
}

std::shared_ptr<VLMOverrideResolution> VLMOverrideResolution::initWithTM(Bytes timing, Bytes information,
                                                                         std::optional<std::int16_t> appleID,
                                                                         bool forceFlip) {
  auto resolution = initEmpty();
  if (timing.size() < kIODetailedTimingInformationV2Length) return resolution;
  const auto record =
      recordOf<kIODetailedTimingInformationV2Length>(timing, Common_FlipIODetailedTimingInformationV2, forceFlip);
  const auto flags =
      recordOf<kIODisplayModeInformationLength>(information, Common_FlipIODisplayModeInformation, forceFlip);
  readTimingRecord(*resolution, DetailedTimingFields(record));
  resolution->interlaced = (displayModeInformationFlags(flags).value_or(0) & kInformationInterlaced) != 0;
  resolution->status = kOverrideFoundInSystem;
  if (appleID && VLMStandardResolutions::sharedInstance().standardResolutionWithAppleID(*appleID) != nullptr) {
    resolution->resolutionType = kStandardMode;
    resolution->appleID = *appleID;
  } else {
    resolution->resolutionType = isScaledTiming(*resolution) ? kScaled : kCustomTiming;
  }
  consolidate(*resolution);
  return resolution;
}

void VLMOverrideResolution::addInOverridesDspc(plist::Array& dspc, plist::Array& scale, plist::Dictionary& tovr,
                                               plist::Array& edidExtension, std::uint32_t nativeNx,
                                               std::uint32_t nativeNy) const {
  if (!toInstall) return;
  switch (resolutionType) {
    case kCustomTiming:
      if (extended) {
        edidExtension.emplace_back(displayIDTimingOf(*this));
      } else {
        dspc.emplace_back(descriptorOf(*this));
      }
      break;
    case kScaled:
      scale.emplace_back(scaleItemOf(*this, nativeNx, nativeNy));
      break;
    case kStandardMode:
      tovr.set(format("%d", appleID), standardModeItem());
      break;
    default:
      break;
  }
}

}  // namespace vlm
