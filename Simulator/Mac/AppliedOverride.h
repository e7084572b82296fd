#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/PropertyList.h"
#include "Simulator/Mac/DisplayModes.h"
#include "Simulator/Mac/Edid.h"

namespace vlm::sim {

/// What the system makes of a monitor and its override file.
struct AppliedOverride {
  plist::Data edidBytes;  ///< in use: the monitor's own, or the one of the file
  /// That one read. Identity, date and kind of signal stay the monitor's own: by them the system knows it. Timings that
  /// the monitor does not have are marked as installed.
  ParsedEdid edid;
  ModeAdditions additions;
  TimingLimits range;                       ///< of the frame buffer
  std::optional<plist::Value> productName;  ///< a text, or texts by language
  /// What of the file cannot be used, by key: "dspc[2]: has 17 bytes, 18 make a timing".
  std::vector<std::string> findings;
};

/// `content` is empty where there is no file. Whatever in it is of no use is left out with a finding; keys that change
/// nothing on this machine are none.
AppliedOverride applyOverride(const plist::Data& edidBytes, const ParsedEdid& monitor,
                              const plist::Dictionary& content);

}  // namespace vlm::sim
