#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vlm {
class VLMDisplay;
class VLMDisplaySet;
class VLMGlobals;
}  // namespace vlm

namespace vlm::sim {

class SimulatedMac;

/// What the running daemon knows, as texts. To be asked for within its process.

/// "none", "check", "dash", "diamond".
std::string markName(std::int16_t mark);

/// The set of that name, in any case of letters; its beginning will do when no other's name begins so. The reason when
/// there is none.
std::variant<std::shared_ptr<VLMDisplaySet>, std::string> setNamed(const VLMGlobals& document, const std::string& text);

/// The same among names: its place in the list.
std::variant<std::size_t, std::string> placeOfSet(const std::vector<std::string>& names, const std::string& text);

/// A display's modes, the largest first: `most` of them.
std::vector<std::vector<std::string>> modeRows(const VLMDisplay& display, std::size_t most);

/// "⌥⌘F11"; empty when the set has no hot key.
std::string shortcutText(const VLMDisplaySet& set);

/// The display sets, a row for each monitor, and one for what a set says of all of them.
std::vector<std::vector<std::string>> setRows(SimulatedMac& mac, VLMGlobals& document);

/// What commands call the display that sets know by that number; of one that is not known on the machine, what the
/// daemon shows. Absent when the daemon does not know it either.
std::optional<std::string> nameOfMonitor(SimulatedMac& mac, const VLMGlobals& document,
                                         std::optional<std::int64_t> monitorResID);

}  // namespace vlm::sim
