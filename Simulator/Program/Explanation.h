#pragma once

#include <string>

#include "Platform/PropertyList.h"

namespace vlm {
class VLMDisplaySet;
class VLMGlobals;
}  // namespace vlm

namespace vlm::sim {

class SimulatedMac;

/// Why the mark beside a set is what it is, monitor by monitor; to be asked for within the daemon's process. Nothing is
/// logged meanwhile.
///   set, mark     the set's name; the mark as markName has it
///   monitors      of the set, then those attached that it does not know: name, identifier, state, differences
///   differences   of the desk as a whole
/// A monitor's state is one of: matches, differs, notAttached, off, silent (on, and the set says nothing of it),
/// notAsked (the set asks for nothing, or the display is not there to be compared), notInSet.
/// A difference has aspect, wanted and, where there is something, found.
plist::Dictionary explanationOf(SimulatedMac& mac, VLMGlobals& document, const VLMDisplaySet& set);

/// The same as a table and a sentence.
std::string explanationText(const plist::Dictionary& explanation);

}  // namespace vlm::sim
