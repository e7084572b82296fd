#include "Simulator/Program/OnDocument.h"

#include "Simulator/Program/DisplayTexts.h"

namespace vlm::sim {

std::variant<EditedDisplay, std::string> displayIn(const VLMGlobals& document, Simulator& simulator,
                                                   const std::string& text) {
  const auto found = simulator.displayNamed(text);
  if (const auto* reason = std::get_if<std::string>(&found)) return *reason;
  const SimulatedDisplay& display = *std::get<SimulatedDisplay*>(found);
  std::shared_ptr<VLMDisplay> record = display.id == 0 ? nullptr : document.displayWithcgID(display.id);
  for (const auto& known : document.extraDisplayArray) {
    if (!record && display.id == 0 && known->displayUUIDString == display.uuid) record = known;
  }
  const std::string& name = display.description.name;
  if (!record || !record->monitorResID) return "the daemon does not know " + quoted(name);
  return EditedDisplay{.name = name, .monitorResID = *record->monitorResID, .record = record};
}

}  // namespace vlm::sim
