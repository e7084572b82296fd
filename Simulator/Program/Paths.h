#pragma once

#include <filesystem>
#include <string>
#include <variant>

/// Paths as people write them: "~/" is the home folder of the machine. Each answers the reason when the text is none.
namespace vlm::sim {

class SimulatedMac;

using PathRead = std::variant<std::filesystem::path, std::string>;

/// A full path, of what begins nowhere from the folder that the program runs in.
PathRead readPath(const SimulatedMac& mac, const std::string& text);
/// The same of a profile: where a Mac has its profiles the machine has its own ("/Library/ColorSync/…",
/// "/System/Library/ColorSync/…").
PathRead readProfilePath(const SimulatedMac& mac, const std::string& text);
/// One within the home folder.
PathRead readPathAtHome(const SimulatedMac& mac, const std::string& text);

}  // namespace vlm::sim
