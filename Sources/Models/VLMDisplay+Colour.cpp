#include "Models/VLMDisplay.h"

namespace vlm {

// Colour presets of a display will be read and chosen here.
bool VLMDisplay::hasDisplayPresets() const { return false; }
std::optional<std::string> VLMDisplay::currentColorPresetUUID() const { return std::nullopt; }
void VLMDisplay::setDisplayPreset(std::int32_t /*index*/) {}
// Its colour profile will be read and set here.
std::optional<std::string> VLMDisplay::currentColorProfileURL() const { return std::nullopt; }
void VLMDisplay::setDisplayProfile(const std::optional<std::string>& /*url*/) {}

}  // namespace vlm
