#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "Platform/PropertyList.h"

/// What a monitor tells about itself: reading EDIDs with their CTA-861 and DisplayID extensions, and making one from a
/// description. The simulated Mac's own: the daemon's readers share no code with it, each is the other's check.
namespace vlm::sim {

/// One video timing. Vertical figures are lines of the whole frame, also when interlaced.
struct Timing {
  /// Where the timing was found; earlier sources win when two say the same. The last: not the monitor's own, but
  /// installed by an override file.
  enum class Source { detailed, displayId, cta, standard, established, installed };

  std::uint64_t pixelClockHz = 0;
  std::uint32_t horizontalActive = 0, horizontalBlanking = 0, horizontalSyncOffset = 0, horizontalSyncWidth = 0;
  std::uint32_t verticalActive = 0, verticalBlanking = 0, verticalSyncOffset = 0, verticalSyncWidth = 0;
  bool interlaced = false;
  bool positiveHorizontalSync = false, positiveVerticalSync = false;
  Source source = Source::detailed;
  /// The monitor's own preferred (native) timing.
  bool preferred = false;
  /// CTA-861 video code by which the monitor lists the timing (too); 0: none.
  std::uint8_t videoCode = 0;

  /// Frames a second; fields a second when interlaced (as a monitor's data sheet says it). 0 without totals.
  double refreshRateHz() const;
  friend bool operator==(const Timing&, const Timing&) = default;
};

/// The timings that a monitor or a driver takes. A bound of 0 is not said.
struct TimingLimits {
  std::uint64_t minClockHz = 0, maxClockHz = 0;
  std::uint32_t minFrameHz = 0, maxFrameHz = 0;  ///< fields when interlaced
  std::uint32_t minLineHz = 0, maxLineHz = 0;
  friend bool operator==(const TimingLimits&, const TimingLimits&) = default;
};

/// What an EDID says, as far as the simulated Mac needs it.
struct ParsedEdid {
  std::uint32_t vendor = 0;          ///< three letters packed in 16 bits, as in the bytes 8 and 9, first one high
  std::uint32_t product = 0;         ///< bytes 10 and 11
  std::uint32_t serial = 0;          ///< bytes 12 to 15; 0 when the monitor has none
  std::uint32_t week = 0, year = 0;  ///< byte 16 as it stands (0: not said, 255: `year` is the model's); full year
  bool digital = false;
  std::uint32_t widthCentimetres = 0, heightCentimetres = 0;
  std::string name;  ///< monitor name descriptor; empty when there is none
  std::string serialText;
  TimingLimits limits;          ///< display range limits descriptor
  std::vector<Timing> timings;  ///< preferred first, otherwise in the order found, without repetitions
  /// What was left out or repaired while reading ("block 2: checksum is 0x12"), for whoever wrote the file.
  std::vector<std::string> findings;
};

/// Reads an EDID of any length. A hard failure (shorter than 128 bytes, no EDID header, no usable timing at all) is a
/// text that says what is wrong; everything else is a finding, and what stood beside it is kept. Extension counts and
/// lengths that reach beyond the data are cut to it.
std::variant<ParsedEdid, std::string> readEdid(std::span<const std::uint8_t> edid);

/// A monitor as a machine file describes it instead of naming an EDID file.
struct MonitorDescription {
  std::string vendor = "VLM";  ///< three capital letters
  std::uint16_t product = 1;
  std::uint32_t serial = 0;  ///< 0: none
  std::string name = {};     ///< at most 13 characters are shown
  std::string serialText = {};
  std::uint32_t week = 1, year = 2020;
  bool digital = true;
  std::uint32_t widthMillimetres = 600, heightMillimetres = 340;
  std::uint32_t nativeWidth = 1920, nativeHeight = 1080;
  double nativeRefreshHz = 60;
  /// More timings to offer, "WIDTHxHEIGHT" or "WIDTHxHEIGHT@HZ" ("1920x1080i@50" for an interlaced CTA format; 60 Hz
  /// when no rate is said); detailed timings go where they fit (base block, CTA
  /// block), CTA video codes and established/standard timings are used for sizes that have one.
  std::vector<std::string> moreTimings = {};
};

/// An EDID 1.4 of one base block and, when needed, CTA-861 and DisplayID extension blocks, with right checksums.
/// A timing that cannot be expressed is an error text.
std::variant<plist::Data, std::string> composeEdid(const MonitorDescription& monitor);

}  // namespace vlm::sim
