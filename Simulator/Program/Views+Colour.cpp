#include "Colour/VLMColorPreset.h"
#include "Colour/VLMColorProfile.h"
#include "Models/VLMDisplay.h"
#include "Simulator/Program/Views.h"

namespace vlm::sim {

plist::Array profilesView(VLMDisplay& display) {
  const auto inUse = display.currentColorProfileURL();
  plist::Array view;
  bool isDedicated = true;
  for (const auto& list : display.colorProfilesForThisDisp()) {
    for (const auto& profile : list) {
      view.emplace_back(plist::Dictionary{{"name", profile->name().value_or("")},
                                          {"location", profile->location.value_or("")},
                                          {"dedicated", isDedicated},
                                          {"current", profile->location == inUse}});
    }
    isDedicated = false;
  }
  return view;
}

plist::Array presetsView(VLMDisplay& display) {
  const auto inUse = display.currentColorPresetUUID();
  plist::Array view;
  for (const auto& preset : display.allColorPresetsForThisDisp()) {
    view.emplace_back(plist::Dictionary{{"index", preset->index},
                                        {"name", preset->name.value_or("")},
                                        {"uuid", preset->UUID.value_or("")},
                                        {"current", preset->UUID == inUse}});
  }
  return view;
}

}  // namespace vlm::sim
