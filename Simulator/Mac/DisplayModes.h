#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/PropertyList.h"
#include "Simulator/Mac/Edid.h"

/// The display modes that the platform offers for a monitor, and the records in which it describes them.
namespace vlm::sim {

/// IOKit display-mode flags, as the platform's headers number them.
constexpr std::uint32_t kDisplayModeValidFlag = 0x1, kDisplayModeSafeFlag = 0x2, kDisplayModeDefaultFlag = 0x4,
                        kDisplayModeInterlacedFlag = 0x40, kDisplayModeSimulscanFlag = 0x100,
                        kDisplayModeBuiltInFlag = 0x400, kDisplayModeStretchedFlag = 0x800,
                        kDisplayModeTelevisionFlag = 0x100000, kDisplayModeNativeFlag = 0x2000000;
/// Window-server mode flag: the mode is kept from users.
constexpr std::uint32_t kModeHiddenFlag = 0x40000000;

/// One line of a frame buffer's table: a timing, possibly with a scaler in front of it.
struct FrameBufferMode {
  std::int32_t id = 0;                              ///< the frame buffer's number of the mode
  std::uint32_t ioFlags = 0;                        ///< kDisplayMode…Flag bits
  std::optional<Timing> timing = {};                ///< absent: the driver gives no timing data ("TM") for it
  std::uint32_t scaledWidth = 0, scaledHeight = 0;  ///< size of the image that the scaler takes; 0 without scaling
  std::uint32_t verticalBlankingExtension = 0;  ///< lines added at the lowest rate of variable refresh; 0: fixed rate
  /// Why the monitor shows no picture with it, though it is offered; empty: it shows one.
  std::string darkBecause = {};
};

/// One mode of the window server's list: one size, rate, scale and depth.
struct SimulatedMode {
  std::uint32_t number = 0;  ///< the system's mode number, unique on its display
  std::int32_t frameBufferModeID = 0;
  std::uint32_t width = 0, height = 0;  ///< of the desktop, in points
  float scale = 1.0F;                   ///< pixels a point
  std::uint32_t refreshRateFixed = 0;   ///< Hz, 16.16 fixed point; 0 when the driver does not say
  std::uint32_t flags = 0;              ///< window-server flags
  std::uint32_t ioFlags = 0;
  std::string pixelEncoding = {};     ///< e.g. "--------RRRRRRRRGGGGGGGGBBBBBBBB"
  std::uint32_t variableRefresh = 0;  ///< 0 fixed, 1 variable

  double refreshRateHz() const { return refreshRateFixed / 65536.0; }
  friend bool operator==(const SimulatedMode&, const SimulatedMode&) = default;
};

/// What a display offers.
struct ModeTable {
  std::vector<FrameBufferMode> frameBufferModes;
  std::vector<SimulatedMode> modes;
  bool digital = true;  ///< the signal, as the timing records say it
  std::uint32_t nativeModeNumber =
      0;  ///< the preferred timing, scale 1 (or the panel's default scale), deepest usual depth
  std::uint32_t defaultModeNumber = 0;  ///< what the display comes up with the first time; mostly the native one
};

/// How a display's modes are made from its EDID.
struct ModeOptions {
  /// Visible depths offered for every mode: 8, 16, 32, 30, 64, 48, 96.
  std::vector<std::uint32_t> depths = {32};
  /// Adds sizes at two pixels a point.
  bool hiDPI = false;
  /// Adds scaled sizes below the native one with the panel's timing.
  bool scaledSizes = false;
  /// What makes a mode list hard to read: repeated timings under other numbers, hidden modes, a 1x1 and a tiny mode, a
  /// mode with an absurd scale, modes without timing data.
  bool oddities = false;
  bool builtIn = false;
  bool variableRefresh = false;
  /// The first system mode number and frame-buffer number to give; other numbers after a reconnection.
  std::uint32_t firstModeNumber = 1;
  std::int32_t firstFrameBufferModeID = 0x1000;
};

/// What an override file adds to a display's modes and takes away from them.
struct ModeAdditions {
  /// In pixels, shown with the native timing.
  struct ScaledSize {
    std::uint32_t width = 0, height = 0;
    bool hiDPI = false;  ///< at two pixels a point, too
  };
  /// In points; rate 0: any.
  struct Resolution {
    std::uint32_t width = 0, height = 0;
    double refreshHz = 0;
  };

  /// Those that the display offers anyway are not repeated.
  std::vector<Timing> timings;
  std::vector<ScaledSize> scaledSizes;
  std::optional<Resolution> defaultResolution;
  TimingLimits offered;  ///< other timings are kept back, the preferred one aside
  TimingLimits safe;     ///< what the frame buffer takes: beyond it installed timings are not called safe
  TimingLimits shown;    ///< what the monitor says it takes: beyond it installed timings stay dark
};

/// Deterministic: the same EDID, options and additions give the same table.
ModeTable deriveModes(const ParsedEdid& edid, const ModeOptions& options, const ModeAdditions& additions = {});

/// A mode that a machine file lists by hand instead.
struct ListedMode {
  std::uint32_t width = 0, height = 0;
  double refreshHz = 60;
  float scale = 1.0F;
  bool hidden = false, interlaced = false, noTimingData = false;
  bool unsafe = false;                     ///< the driver cannot tell whether the monitor shows it
  std::vector<std::uint32_t> depths = {};  ///< empty: the display's depths
};
/// The modes in the order given; the first one that is not hidden is the native one. Timings are made with CVT reduced
/// blanking; two modes of different scale and equal pixels share one.
ModeTable listModes(const std::vector<ListedMode>& modes, const ModeOptions& options,
                    const ModeAdditions& additions = {});

/// The mode whose frame buffer it uses; the mode must be one of the table's.
const FrameBufferMode& frameBufferModeOf(const ModeTable& table, const SimulatedMode& mode);

/// Visible depth (8, 16, 30, 32, 48, 64, 96) to the platform's pixel-encoding text; empty for any other.
std::string pixelEncodingOfDepth(std::uint32_t visibleDepth);

/// Length of the window server's mode description, in bytes.
constexpr std::size_t kModeDescriptionLength = 220;
/// Little-endian record: mode number at 0, flags 4, width 8, height 12, zero-ended pixel encoding from 48, refresh rate
/// (16.16) 188, IOKit flags 192, frame-buffer number 196, scale (float) 208.
std::array<std::uint8_t, kModeDescriptionLength> modeDescription(const SimulatedMode& mode);

/// The frame buffer's "IOFBConfig" property: {"IOFBModes": [{"ID", "DM" (36 bytes), "TM" (160 bytes), "AID"}, …]}, the
/// records in host byte order with the platform's layout.
plist::Dictionary frameBufferConfig(const ModeTable& table);

}  // namespace vlm::sim
