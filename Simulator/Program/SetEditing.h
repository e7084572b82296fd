#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "Platform/PropertyList.h"

namespace vlm {
class VLMDisplay;
}  // namespace vlm

/// What the control application does with display sets: it changes their records in what it has read of the settings
/// file. Nothing here reaches the daemon.
namespace vlm::sim {

/// Why a record was not changed; absent when it was.
using Refusal = std::optional<std::string>;

/// A display as a set knows it.
struct EditedDisplay {
  std::string name;  ///< the machine's, for messages
  std::int64_t monitorResID = 0;
  std::shared_ptr<VLMDisplay> record;  ///< never null; of one that is not attached what the daemon remembers
};

/// The set of that name, found as setNamed finds the daemon's; the reason when there is none. Valid until the settings
/// change.
std::variant<plist::Dictionary*, std::string> setRecordNamed(plist::Dictionary& settings, const std::string& text);

/// Lets a set enforce an aspect of one display, at a value as people write it (see docs/machines-and-scenarios.md). The
/// set gets a monitor for a display that it does not have yet. To be called within the daemon's process.
Refusal enforce(plist::Dictionary& set, const EditedDisplay& display, const std::string& aspect,
                const std::string& value);
Refusal ignore(plist::Dictionary& set, const EditedDisplay& display, const std::string& aspect);

/// The same of the desk as a whole: "gray" on or off.
Refusal enforceGray(plist::Dictionary& set, const std::string& value);
/// All displays show the same, or each its own.
void enforceMirroring(plist::Dictionary& set, bool isOn);
/// Adds a pair, instead of mirroring of all.
void addMirroringPair(plist::Dictionary& set, const EditedDisplay& shown, const EditedDisplay& shows);
/// "gray" or "mirroring".
Refusal ignoreOfDesk(plist::Dictionary& set, const std::string& aspect);

}  // namespace vlm::sim
