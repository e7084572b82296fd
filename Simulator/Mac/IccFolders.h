#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Simulator/Mac/IccProfile.h"

/// The colour profiles on the machine's disk. The machine's own ones (one for each display, made from its EDID, and the
/// system's) are written when somebody first looks for a profile; a disk that refuses them lacks them.
namespace vlm::sim {

class SimulatedMac;
struct SimulatedDisplay;

/// Paths of the files that are called as profiles are, in every folder for them; whether they hold one is seen when
/// they are opened. The user's first, or left out; each folder's in ascending order.
enum class ProfilesOf { everybody, machine };
std::vector<std::string> installedProfiles(SimulatedMac& mac, ProfilesOf whom);
/// The profile in a file, or why there is none.
std::variant<IccProfile, std::string> profileInFile(SimulatedMac& mac, const std::string& path);
/// Where the profile lies that a display came with.
std::string factoryProfile(SimulatedMac& mac, const SimulatedDisplay& display);
/// The display has this profile (a file URL that holds one) from now on, or the factory's. When it is another one than
/// before, every process is told on its next turn.
void useProfile(SimulatedMac& mac, SimulatedDisplay& display, const std::optional<std::string>& location);

}  // namespace vlm::sim
