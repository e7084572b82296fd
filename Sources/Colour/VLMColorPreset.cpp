#include "Colour/VLMColorPreset.h"

namespace vlm {

std::optional<std::int32_t> presetIndexWithUUID(const std::string& /*uuid*/, const VLMDisplay& /*display*/) {
  // Walks the display's presets and compares their identifiers.
  return std::nullopt;
}

}  // namespace vlm
