#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Models/OverrideRecord.h"
#include "Platform/PropertyList.h"

namespace vlm {

class VLMDisplay;
class VLMMode;
struct SignalRange;

/// One custom resolution of a display: a timing, a scaled size, or one of the platform's standard modes by its number.
/// Totals, frequencies and `extended` follow from the rest; whoever changes a figure calls the consolidations.
class VLMOverrideResolution {
 public:
  /// `resolutionType`.
  static constexpr std::uint32_t kCustomTiming = 0, kScaled = 1, kStandardMode = 2;
  /// Types of generateValuesWithGranAct. Those above the last have its figures, but the front porch is half the
  /// blanking less the sync.
  static constexpr std::uint32_t kGTF = 0, kCVT = 1, kCVTReduced = 2, kCVTReduced2 = 3, kOwnBlanking = 4;
  /// `origin`: from the override file's own keys (and duplicates made by the user), or from its backup section.
  static constexpr std::uint16_t kOriginFile = 1, kOriginBackup = 2;
  /// Length of an EDID detailed timing descriptor (E-EDID 1.4, 3.10.2) and of a DisplayID Type I timing (DisplayID 1.3,
  /// 4.4.1).
  static constexpr std::size_t kDescriptorLength = 18, kDisplayIDTimingLength = 20;
  /// First two bytes, the clock of a timing, of a descriptor that is none: a text or range, and a place not in use.
  static constexpr std::uint32_t kDisplayDescriptor = 0x0000, kUnusedDescriptor = 0x0101;

  // --- Making one; `toInstall` set and made now unless said otherwise ---

  static std::shared_ptr<VLMOverrideResolution> initEmpty();
  /// The usual timing of a full-HD panel; its totals and frequencies are left to whoever needs them, on purpose.
  static std::shared_ptr<VLMOverrideResolution> init1920x1080x60();
  static std::shared_ptr<VLMOverrideResolution> initWithResolution(const VLMOverrideResolution& other);
  /// Of the display's current mode.
  static std::shared_ptr<VLMOverrideResolution> initWithCurrentDataFromDisplay(const VLMDisplay& display);
  /// Of a mode, as the frame buffer describes it; empty when it does not.
  static std::shared_ptr<VLMOverrideResolution> initWithMode(const VLMMode& mode, const VLMDisplay& display);
  /// From an EDID descriptor. Not filled in when it is no timing (it begins with 0x0000 or 0x0101) or is cut short.
  static std::shared_ptr<VLMOverrideResolution> initWithDTDData(std::span<const std::uint8_t> data,
                                                                std::uint16_t origin);
  /// Not filled in when the data is cut short.
  static std::shared_ptr<VLMOverrideResolution> initWithDisplayIdType1Data(std::span<const std::uint8_t> data,
                                                                           std::uint16_t origin);
  /// From an item of "scale-resolutions", data or number; not filled in for null and for items of another kind.
  static std::shared_ptr<VLMOverrideResolution> initWithScaleData(const plist::Value* item, std::uint16_t origin);
  /// A copy of the standard mode with that number; an empty entry of that number when the table lacks it.
  static std::shared_ptr<VLMOverrideResolution> initWithAppleID(std::int16_t appleID, std::int16_t status,
                                                                std::uint16_t origin);
  /// From a detailed timing record and mode information (see VLFlippers.h for lengths; the latter may be empty).
  /// `forceFlip`: both are big-endian. Not filled in when the timing record is cut short.
  static std::shared_ptr<VLMOverrideResolution> initWithTM(std::span<const std::uint8_t> timing,
                                                           std::span<const std::uint8_t> information,
                                                           std::optional<std::int16_t> appleID, bool forceFlip);
  /// From the settings file: status 1.
  static std::shared_ptr<VLMOverrideResolution> initAndDecodeReadableWith(const plist::Dictionary& dict);
  plist::Dictionary encodeReadable() const;

  /// Keeps the status.
  std::shared_ptr<VLMOverrideResolution> copy() const;
  /// For the user to change: status 0, origin 1, no original.
  std::shared_ptr<VLMOverrideResolution> duplicate() const;
  /// Sets `original` to a copy of the entry given.
  void copyBackupWith(const VLMOverrideResolution& other);
  /// Copies every stored field; `original` is copied, not shared.
  void fillWithResolution(const VLMOverrideResolution& other);

  // --- What it is ---

  std::uint32_t resolutionType = kCustomTiming;
  /// Pixels; blanking is front + sync + back, total is active + blanking.
  std::uint32_t activeNx = 0, frontNx = 0, syncNx = 0, backNx = 0, blankingNx = 0, totalNx = 0;
  /// Lines, of the whole frame also when interlaced.
  std::uint32_t activeNy = 0, frontNy = 0, syncNy = 0, backNy = 0, blankingNy = 0, totalNy = 0;
  double pixelClock = 0;  ///< MHz
  double hfreq = 0;       ///< kHz
  double vfreq = 0;       ///< Hz; fields when interlaced
  bool interlaced = false, positiveSyncH = false, positiveSyncV = false;
  std::uint32_t scaledNx = 0, scaledNy = 0;
  std::int16_t appleID = 0;  ///< the platform's number of a standard mode, else 0
  double creationDate = 0;   ///< seconds since 1 January 1970, UTC
  bool toInstall = false;    ///< it goes into the override file
  std::int16_t status = 0;   ///< kOverrideFoundIn… bits; 0: changed
  std::uint16_t origin = 0;
  bool isDuplicate = false;
  float aspectRatio = 0;
  bool hasLowDPi = false, hasHiDPi = false;
  /// The entry as it was read.
  std::shared_ptr<VLMOverrideResolution> original;
  bool extended = false;  ///< the timing does not fit an EDID descriptor
  std::optional<std::string> aspectRatioString;

  // --- Figures ---

  /// Wraps at 32 bits: figures may come from anywhere.
  void consolidateTotals();
  void consolidateHFreq();
  void consolidateVFreq();
  /// Fills in a whole timing from `activeNx`, `activeNy`, `vfreq` (0: 60 Hz), `interlaced`, and `blankingNx` for
  /// kOwnBlanking. `granAct`: the horizontal granularity, pixels, never 0. Sizes and rates for which there is no timing
  /// give figures without meaning, but nothing worse. Allocates nothing.
  void generateValuesWithGranAct(std::uint16_t granAct, std::uint32_t type);
  /// The same for many at once, which takes a fifth of the time for each. None of them twice, none null.
  static void generateAllValuesWithGranAct(std::span<VLMOverrideResolution* const> resolutions, std::uint16_t granAct,
                                           std::uint32_t type);
  /// Whether it is exactly what the generator makes of its size and rate. Some timings are not: their clock's rounding
  /// gives them a rate of which the generator makes another one.
  bool isAValidResolutionWithGranAct(std::uint16_t granAct, std::uint32_t type) const;

  // --- The override file ---

  /// Appends it, in the form of its kind, to what it belongs in; nothing unless `toInstall`.
  void addInOverridesDspc(plist::Array& dspc, plist::Array& scale, plist::Dictionary& tovr, plist::Array& edidExtension,
                          std::uint32_t nativeNx, std::uint32_t nativeNy) const;

  // --- Comparing ---

  bool isEqualToRes(const VLMOverrideResolution* other) const;
  /// Changed since it was read: made by the user, of other values than `original`, or taken in or out.
  bool isModified() const;
  /// The original's status when it equals that again, else 0.
  void checkStatus();
  std::uint64_t modeCompareSortKey() const;
  /// Whether this one stands before the other.
  bool modeCompare(const VLMOverrideResolution& other) const;
  bool standardModeCompare(const VLMOverrideResolution& other) const;

  // --- Texts ---

  /// Padded with blanks so that names stand below each other.
  std::string displayedModeName() const;
  std::string resolutionTypeText() const;
  std::string description() const;

  // --- Findings ---

  /// Why the picture may be unusable with it, one text each; none when nothing speaks against it. Changes nothing and
  /// keeps nobody from installing it.
  std::vector<std::string> findings(const std::vector<SignalRange>& ranges) const;

 private:
  std::vector<std::string> timingFindings() const;
};

using OverrideResolutions = std::vector<std::shared_ptr<VLMOverrideResolution>>;

/// Entries that a list gets: no display has as many, and a damaged file must not keep anybody busy. More than what is
/// read of one override file.
inline constexpr std::size_t kMostResolutions = 14000;
/// Joins an entry to those equal to it: the first stays the entry, later ones are marked as duplicates. With
/// `addIfNotExisiting` an entry that is not there yet is appended, up to kMostResolutions.
void mergeObject(OverrideResolutions& array, const std::shared_ptr<VLMOverrideResolution>& object,
                 bool addIfNotExisiting);

}  // namespace vlm
