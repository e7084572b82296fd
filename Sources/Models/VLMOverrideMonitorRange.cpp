#include "Models/VLMOverrideMonitorRange.h"

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>

#include "Models/OverrideContent.h"
#include "Models/ReadableField.h"
#include "Shared/VLFlippers.h"

namespace vlm {

namespace {

using Field = ReadableField<VLMOverrideMonitorRange>;
using Record = std::array<std::uint8_t, kIOTimingRangeLength>;

// Where the limits stand in the platform's record: 64 bits, Hz, and 32 bits, Hz.
constexpr std::size_t kMinPixelClockAt = 32, kMaxPixelClockAt = 40, kMinFrameRateAt = 64, kMaxFrameRateAt = 68,
                      kMinLineRateAt = 72, kMaxLineRateAt = 76;
constexpr double kHzInkHz = 1e3, kHzInMHz = 1e6;
/// The same value once it has been through a file.
constexpr double kSame = 0.01;

template <auto kMember>
constexpr Field rangeField(std::string_view key) {
  return {.key = key,
          .readKey = key,
          .written = [](const VLMOverrideMonitorRange& range) { return plist::Value(range.*kMember); },
          .read = [](VLMOverrideMonitorRange& range, const plist::Dictionary& dict,
                     const Field& row) { range.*kMember = dict.real(row.readKey); }};
}

constexpr std::array kRangeFields{
    rangeField<&VLMOverrideMonitorRange::minH>("minH"),
    rangeField<&VLMOverrideMonitorRange::maxH>("maxH"),
    readable::field<&VLMOverrideMonitorRange::minV>("minV"),
    readable::field<&VLMOverrideMonitorRange::maxV>("maxV"),
    rangeField<&VLMOverrideMonitorRange::minPClock>("minPClock"),
    rangeField<&VLMOverrideMonitorRange::maxPClock>("maxPClock"),
};

/// A field of the record; all ones say that there is no such limit.
template <class Number>
Number limitAt(const Record& record, std::size_t at) {
  Number number = 0;
  std::memcpy(&number, record.data() + at, sizeof(Number));
  return number == std::numeric_limits<Number>::max() ? Number{0} : number;
}

template <class Number>
void putLimit(plist::Data& record, std::size_t at, Number number) {
  std::memcpy(record.data() + at, &number, sizeof(Number));
}

bool areClose(double a, double b) { return std::abs(a - b) < kSame; }

}  // namespace

std::shared_ptr<VLMOverrideMonitorRange> VLMOverrideMonitorRange::initWithIODisplayTimingRange(
    const std::optional<plist::Data>& range, std::int16_t status, bool shouldOverride) {
  if (!range || range->size() < kIOTimingRangeLength) return nullptr;
  Record bytes{};
  std::memcpy(bytes.data(), range->data(), bytes.size());
  // Files and registry keep it in host order.
  Common_FlipIOTimingRange(bytes, false);
  auto record = std::make_shared<VLMOverrideMonitorRange>();
  record->minH = limitAt<std::uint32_t>(bytes, kMinLineRateAt) / kHzInkHz;
  record->maxH = limitAt<std::uint32_t>(bytes, kMaxLineRateAt) / kHzInkHz;
  record->minV = limitAt<std::uint32_t>(bytes, kMinFrameRateAt);
  record->maxV = limitAt<std::uint32_t>(bytes, kMaxFrameRateAt);
  record->minPClock = static_cast<double>(limitAt<std::uint64_t>(bytes, kMinPixelClockAt)) / kHzInMHz;
  record->maxPClock = static_cast<double>(limitAt<std::uint64_t>(bytes, kMaxPixelClockAt)) / kHzInMHz;
  record->status = status;
  record->shouldOverride = shouldOverride;
  record->copyBackupWith(*record);
  return record;
}

std::shared_ptr<VLMOverrideMonitorRange> VLMOverrideMonitorRange::initAndDecodeReadableWith(
    const plist::Dictionary& dict) {
  auto record = std::make_shared<VLMOverrideMonitorRange>();
  for (const Field& row : kRangeFields) row.read(*record, dict, row);
  record->shouldOverride = dict.boolean("shouldOverride");
  record->status = kOverrideFoundInSettings;
  return record;
}

plist::Dictionary VLMOverrideMonitorRange::encodeReadable() const {
  plist::Dictionary dict;
  for (const Field& row : kRangeFields) dict.set(row.key, row.written(*this));
  dict.set("shouldOverride", shouldOverride);
  return dict;
}

void VLMOverrideMonitorRange::addInOverrideDictionary(plist::Dictionary& content) const {
  if (!shouldOverride) {
    content.remove(OverrideKey::timingRange);
    return;
  }
  plist::Data record(kIOTimingRangeLength);
  putLimit(record, kMinLineRateAt, wholePartTo<std::uint32_t>(minH * kHzInkHz));
  putLimit(record, kMaxLineRateAt, wholePartTo<std::uint32_t>(maxH * kHzInkHz));
  putLimit(record, kMinFrameRateAt, minV);
  putLimit(record, kMaxFrameRateAt, maxV);
  putLimit(record, kMinPixelClockAt, wholePartTo<std::uint64_t>(minPClock * kHzInMHz));
  putLimit(record, kMaxPixelClockAt, wholePartTo<std::uint64_t>(maxPClock * kHzInMHz));
  Common_FlipIOTimingRange(std::span<std::uint8_t, kIOTimingRangeLength>(record), false);
  content.set(OverrideKey::timingRange, std::move(record));
}

void VLMOverrideMonitorRange::fillWithTimingRange(const VLMOverrideMonitorRange& other) {
  minH = other.minH;
  maxH = other.maxH;
  minV = other.minV;
  maxV = other.maxV;
  minPClock = other.minPClock;
  maxPClock = other.maxPClock;
  shouldOverride = other.shouldOverride;
}

bool VLMOverrideMonitorRange::isEqualToTimingRange(const VLMOverrideMonitorRange* other) const {
  return other != nullptr && areClose(minH, other->minH) && areClose(maxH, other->maxH) && minV == other->minV &&
         maxV == other->maxV && areClose(minPClock, other->minPClock) && areClose(maxPClock, other->maxPClock);
}

bool VLMOverrideMonitorRange::isEmpty() const {
  return minH == 0 && maxH == 0 && minV == 0 && maxV == 0 && minPClock == 0 && maxPClock == 0;
}

}  // namespace vlm
