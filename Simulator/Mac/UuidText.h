#pragma once

#include <string>
#include <string_view>

namespace vlm::sim {

/// An identifier shaped as a UUID in capital letters, always the same for the same name.
std::string uuidText(std::string_view name);
/// Whether the text has that shape, in letters of any case.
bool isUuidText(std::string_view text);

}  // namespace vlm::sim
