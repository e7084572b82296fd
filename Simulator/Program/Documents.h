#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vlm::sim {

/// Texts for people and shells, made from the tables of options and commands: "man" (the manual page), "bash", "zsh",
/// "fish" (completions), "machines" (the names of the machines that come with the program, one a line). Absent for any
/// other kind. The repository keeps the first four as files.
std::optional<std::string> documentOf(std::string_view kind);

}  // namespace vlm::sim
