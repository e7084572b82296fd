#pragma once

#include <memory>
#include <string>
#include <variant>

#include "Platform/PropertyList.h"

namespace vlm {
class VLMDisplaySet;
}  // namespace vlm

namespace vlm::sim {

class Simulator;

/// What applying a set would change, found out by doing it in a copy of this very process (fork), which is not let
/// write any file. Nothing changes here. The reason when the copy could not be made or came to grief.
///   set, mark, markAfter   as markName has them
///   changes                display (missing for the desk as a whole), aspect, before, after: keys of displaysView
///   calls                  what is asked of the system for it, as `show journal --json` has it
///   seconds                simulated time until everything is quiet
///   isRepeated             the set was applied less than a second ago, so that the daemon drops the request
std::variant<plist::Dictionary, std::string> planFor(Simulator& simulator, const std::shared_ptr<VLMDisplaySet>& set);

/// The same as tables.
std::string planText(const plist::Dictionary& plan);

}  // namespace vlm::sim
