#include "Simulator/Mac/StandardModeTable.h"

#include <algorithm>
#include <initializer_list>

#include "Simulator/Mac/DisplayModes.h"
#include "Simulator/Mac/ModeTableBuilder.h"
#include "Simulator/Mac/StandardTimings.h"
#include "Simulator/Mac/SystemVersion.h"

namespace vlm::sim {
namespace {

void turn(plist::Data& record, std::size_t width, std::initializer_list<std::size_t> offsets) {
  for (const std::size_t offset : offsets) {
    const auto first = record.begin() + static_cast<std::ptrdiff_t>(offset);
    std::reverse(first, first + static_cast<std::ptrdiff_t>(width));
  }
}

/// IODetailedTimingInformationV2: scaler and signal, the three clocks, both axes, borders and syncs.
plist::Data bigEndianTiming(plist::Data record) {
  turn(record, 4, {20, 24, 28, 32, 36});
  turn(record, 8, {40, 48, 56});
  for (std::size_t offset = 64; offset < 128; offset += 4) turn(record, 4, {offset});
  return record;
}

/// IODisplayModeInformation: size and flags.
plist::Data bigEndianInformation(plist::Data record) {
  turn(record, 4, {0, 4, 16});
  return record;
}

plist::Dictionary entryOf(const Timing& timing) {
  const ModeOptions options;
  ModeTableBuilder builder(options);
  builder.addFrameBufferMode({.ioFlags = kDisplayModeValidFlag | kDisplayModeSafeFlag, .timing = timing});
  // As a frame buffer describes it, in host order.
  const plist::Dictionary config = frameBufferConfig(builder.finish(0, 1.0F));
  const plist::Dictionary& mode = *config.array("IOFBModes")->front().dictionary();
  return {{"TM", bigEndianTiming(*mode.data("TM"))}, {"DM", bigEndianInformation(*mode.data("DM"))}};
}

}  // namespace

const plist::Dictionary& standardModeTable() {
  static const plist::Dictionary table = [] {
    plist::Dictionary modes;
    for (const std::uint32_t number : appleTimingNumbers()) {
      modes.set(std::to_string(number), entryOf(*timingOfAppleNumber(number)));
    }
    return plist::Dictionary{{"std-modes", std::move(modes)}};
  }();
  return table;
}

const std::string& standardModeTablePath(const OperatingSystemVersion& version) {
  static const std::string inCoreDisplay =
      "/System/Library/Frameworks/CoreDisplay.framework/Versions/A/Resources/IOGraphicsProperties.plist";
  static const std::string inIOKit = "/System/Library/Frameworks/IOKit.framework/Resources/IOGraphicsProperties.plist";
  return isAtLeast(version, 10, 13) ? inCoreDisplay : inIOKit;
}

}  // namespace vlm::sim
