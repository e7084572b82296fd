#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Platform/PropertyList.h"

namespace vlm {

class VLMDisplaySet;
class VLMGlobals;

/// What a display set can say of a monitor, or of the desk as a whole (from `mirroring` on).
enum class SetAspect {
  mode,
  depth,
  overscan,
  underscan,
  origin,
  hdr,
  orientation,
  colorPreset,
  colorProfile,
  activity,
  mirroring,
  mainDisplay,
  gray,
};

/// One reason why the mark beside a set is not a plain check.
struct SetFinding {
  enum class Kind {
    differs,      ///< the mark is none
    notAttached,  ///< at best a dash, as for `off`
    off,          ///< attached, and not active though the set does not say so
    silent,       ///< the set says nothing of a display that is on: at best a diamond
  };
  Kind kind = Kind::differs;
  std::optional<SetAspect> aspect = {};           ///< absent: the monitor as such
  std::optional<std::int64_t> monitorResID = {};  ///< absent: not one monitor's
  /// As the set stores them: a mode's identifier, a depth's mask, a packed origin. `wanted` is there when something
  /// differs; `found` is absent where the display has nothing of the kind.
  std::optional<plist::Value> wanted = {}, found = {};
};

/// The mark beside a set, as VLMGlobals::checkMarkForSet gives it, with all its reasons: the comparison goes on behind
/// the first difference. Monitor by monitor in each group of reasons; empty for a plain check.
std::int16_t explainMarkForSet(VLMGlobals& document, const VLMDisplaySet& set, std::vector<SetFinding>& findings);

}  // namespace vlm
