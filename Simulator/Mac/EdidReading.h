#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Simulator/Mac/Edid.h"

/// The inner side of the EDID reader and composer: what the files of the one concern share.
namespace vlm::sim::edid {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kBlockLength = 128;
/// Bytes of a block that can carry content; the last one is the checksum.
constexpr std::size_t kBlockContent = kBlockLength - 1;
constexpr std::uint8_t kCtaExtension = 0x02, kDisplayIdExtension = 0x70, kBlockMapExtension = 0xf0;

/// Number at an offset, the low byte first. The caller has checked that it is there.
std::uint32_t littleEndian(Bytes bytes, std::size_t offset, std::size_t length);

/// What a block sums to, modulo 256; 0 when its checksum is right.
std::uint8_t sumOf(Bytes bytes);
/// Sets the last byte so that the block sums to 0.
void setChecksum(std::span<std::uint8_t> block);

/// "0x1f".
std::string hexadecimal(std::uint32_t value);

/// The 18 bytes of a detailed timing descriptor (E-EDID 1.4, 3.10.2), in the base block and in CTA extensions alike.
constexpr std::size_t kDescriptorLength = 18;
using Descriptor = std::span<const std::uint8_t, kDescriptorLength>;
Timing readDetailedTiming(Descriptor descriptor);
/// False when a figure is too large for its field, or the timing is interlaced.
bool fitsDetailedTiming(const Timing& timing);
void writeDetailedTiming(const Timing& timing, std::uint32_t widthMillimetres, std::uint32_t heightMillimetres,
                         std::span<std::uint8_t, kDescriptorLength> descriptor);

/// The 20 bytes of a DisplayID Type I or VII timing (DisplayID 1.3, 4.4.1), which differ in the unit of the clock.
constexpr std::size_t kDisplayIdTimingLength = 20;
constexpr std::uint32_t kTypeOneClockHz = 10'000, kTypeSevenClockHz = 1'000;
using DisplayIdTiming = std::span<const std::uint8_t, kDisplayIdTimingLength>;
Timing readDisplayIdTiming(DisplayIdTiming bytes, std::uint32_t clockUnitHz);
bool fitsDisplayIdTiming(const Timing& timing);
void writeTypeOneTiming(const Timing& timing, std::span<std::uint8_t, kDisplayIdTimingLength> bytes);

/// What has been read so far. Keeps each timing once, and remembers who claimed to be the preferred one.
class Collector {
 public:
  explicit Collector(ParsedEdid& result) : result_(result) {}

  /// Why a timing may be the preferred one.
  enum class Claim { none, firstDescriptor, displayId, ctaNative };

  /// Leaves out a timing without clock or picture, with a finding that begins with `where`.
  void add(const Timing& timing, const std::string& where, Claim claim = Claim::none);
  /// The same for a look-up that may have found nothing.
  void add(const std::optional<Timing>& timing, const std::string& where, Claim claim = Claim::none);
  void finding(std::string text);

  /// Marks the preferred timing and puts it in front. False when there is no timing at all.
  bool settlePreferredTiming();

 private:
  std::size_t indexOf(const Timing& timing);
  void remember(Claim claim, std::size_t index);
  std::size_t preferredIndex() const;

  ParsedEdid& result_;
  std::optional<std::size_t> firstDescriptor_, displayId_, ctaNative_;
};

/// The base block: identity, descriptors, established and standard timings.
void readBaseBlock(Bytes block, ParsedEdid& result, Collector& collector);
/// One CTA-861 extension, possibly cut short. `where` names the block.
void readCtaExtension(Bytes block, const std::string& where, Collector& collector);
/// One DisplayID extension, possibly cut short.
void readDisplayIdExtension(Bytes block, const std::string& where, Collector& collector);

}  // namespace vlm::sim::edid
