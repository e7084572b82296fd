#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vlm {

class VLMDisplay;

/// The place of a colour preset in a display's list; none when the display does not offer it.
std::optional<std::int32_t> presetIndexWithUUID(const std::string& uuid, const VLMDisplay& display);

}  // namespace vlm
