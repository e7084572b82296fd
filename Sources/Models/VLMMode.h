#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/PropertyList.h"

namespace vlm {

class VLMDisplay;

/// IOKit display-mode flags that modes are named and judged by (bits of `sysFlags`).
constexpr std::uint32_t kSysFlagValid = 0x1;
constexpr std::uint32_t kSysFlagSafe = 0x2;
constexpr std::uint32_t kSysFlagSimulscan = 0x100;
constexpr std::uint32_t kSysFlagBuiltIn = 0x400;
constexpr std::uint32_t kSysFlagStretched = 0x800;
constexpr std::uint32_t kSysFlagTelevision = 0x100000;
constexpr std::uint32_t kSysFlagNotForUse = 0x80000000;
/// Window-server flag (a bit of `flags`): kept from users.
constexpr std::uint32_t kModeHiddenFromUser = 0x40000000;

/// One mode of one display: a size, rate and scale, with every colour depth it comes in. Owned by its display's lists.
class VLMMode {
 public:
  /// Slot k of `sysModeID` serves the depth mask 1 << (k + 3).
  static constexpr int kDepthSlots = 9;
  /// `modeUniqueID` of a mode that has none yet.
  static constexpr std::uint32_t kNoUniqueID = 0xFFFFFFFF;

  /// A fresh mode: every slot -1, no names, everything else zero.
  static std::shared_ptr<VLMMode> init();
  /// From the settings file. Never fails: what is missing or of a wrong kind is 0, false or none; a scale of 0 or below
  /// becomes 1, an unknown kind of variable refresh none. A missing slot reads as 0, not as a fresh mode's -1: files
  /// have always been read so.
  static std::shared_ptr<VLMMode> initAndDecodeReadableWith(const plist::Dictionary& dict);
  ~VLMMode();
  VLMMode(const VLMMode&) = delete;
  VLMMode& operator=(const VLMMode&) = delete;

  /// Refreshes `aliasedModeID` from the mode it names, then writes every key.
  plist::Dictionary encodeReadable();

  bool isValidAct = false;          ///< the user may choose it
  bool hasIcon = false;             ///< a desktop layout has been stored for it
  std::int32_t menuVal = 0;         ///< above 0: in the menu; 1 not yet confirmed by the user, 2 safe or confirmed
  std::uint32_t modeUniqueID = 0;   ///< stable identifier within the display
  std::int32_t aliasedModeID = 0;   ///< identifier of the mode that this one stands for; 0: none
  std::int32_t colorMask = 0;       ///< depth masks that it comes in, OR-ed
  std::uint32_t Nx = 0, Ny = 0;     ///< desktop size, as the window server counts it
  std::int32_t deskResID = 0;       ///< key of the icon layouts stored for it; unique in the document
  std::int32_t vesaMode = 0;        ///< the system's own number for a standard mode
  std::int64_t pixClock = 0;        ///< Hz; 0 when the timing is unknown
  std::int64_t totalPixels = 0;     ///< of one frame at the nominal rate, blanking included
  std::int64_t totalPixelsMin = 0;  ///< of one frame at the lowest rate of variable refresh
  std::array<std::int32_t, kDepthSlots> sysModeID;  ///< the system's mode number for each depth; -1: none
  std::uint32_t sysFlags = 0;
  std::uint32_t flags = 0;
  std::uint32_t resolutionType = 0;  ///< 1 scaled, 0 not
  float definition = 0;              ///< pixels a point; above 1 is HiDPI
  /// Pixels of a width or height that is counted as `Nx` is.
  std::uint32_t pixelsOf(std::uint32_t points) const;
  float Hz = 0;             ///< 0: unknown
  std::uint32_t isVRR = 0;  ///< 0 fixed, 1 and 2 the kinds of variable refresh
  bool showInfo = false;
  bool interlaced = false;
  std::int32_t orientation = 0;  ///< degrees, or a negative code of a mirrored one
  std::int32_t IOFBModeID = 0;   ///< the frame buffer's number
  bool isNative = false;
  bool isScaled = false;
  std::int32_t destinationOfAlias = 0;  ///< how many other modes are aliases of this one
  VLMDisplay* container = nullptr;      ///< the owner, which outlives it or clears this
  plist::Data savedTMData;              ///< the timing record found at discovery; empty: none. Not stored
  bool isDirty = false;

  const std::optional<std::string>& modeName() const { return modeName_; }
  /// A text that is not empty becomes the user's own name of the mode; anything else takes the name away.
  void setModeName(const std::optional<std::string>& name);
  bool customModeName() const { return modeName_.has_value(); }
  const std::optional<std::string>& freqName() const { return freqName_; }
  void setFreqName(const std::optional<std::string>& name);
  bool customFreqName() const { return freqName_.has_value(); }

  /// The mode that this one stands for; none when it is gone.
  std::shared_ptr<VLMMode> aliasedMode() const { return aliasedMode_.lock(); }
  /// Counts in the target; a mode that becomes an alias can no longer be chosen. Nothing happens when the target's own
  /// aliases lead back here: a ring, from a damaged file, would be switched through for ever.
  void setAliasedMode(const std::shared_ptr<VLMMode>& mode);

  /// The very object that is its display's current mode.
  bool isCurrent() const;
  bool showInMenu() const;

  // --- Names ---

  /// "1920 × 1080, 60 Hz"; sizes below 1000 are padded so that names align.
  std::string inMenuModeName(bool withFrequency) const;
  /// "59.94 Hz", or with the long unit "59.94 Hertz".
  std::string inMenuFreqString(bool shortUnit) const;
  /// A rate within `diff` of a whole number as that number, else with two decimals and the user's separator.
  static std::string freqStringFromHz(float hz, float diff);
  /// The menu name with television standard; the suffixes of stretched, simulscan and built-in modes stand twice in it.
  std::string tableViewModeName(bool withFrequency) const;
  std::string smallInMenuName() const;
  /// "16:9"; computed once, and kept even when the size changes.
  const std::string& aspectRatioString() const;
  std::string description() const;

  // --- Order: -1 this one first, +1 the other first, 0 the same ---

  int modeCompare(const VLMMode& other) const;
  int surfaceCompare(const VLMMode& other) const;
  int frequencyCompare(const VLMMode& other) const;
  int aspectRatioCompare(const VLMMode& other) const;
  std::uint64_t modeCompareSortKey() const;
  std::uint64_t surfaceCompareSortKey() const;
  std::uint64_t frequencySortKey() const;

 private:
  VLMMode();

  std::optional<std::string> modeName_;
  std::optional<std::string> freqName_;
  std::weak_ptr<VLMMode> aliasedMode_;
  mutable std::optional<std::string> aspectRatioString_;
};

}  // namespace vlm
