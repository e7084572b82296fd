#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// What keeps libplist from files that it cannot bear: it goes down one call a level, and makes a value anew for every
/// reference to it. And from those of which it would lose something in silence.
namespace vlm::sim {

/// Arrays and dictionaries in each other.
constexpr std::size_t kDeepestPropertyList = 512;
/// Values that a binary file stands for once everything that it refers to repeatedly is written out.
constexpr std::uint64_t kMostPropertyListValues = 20'000'000;

/// Why a property list must not be handed to libplist, or nothing. That it is a good one is not said: what is
/// malformed but harmless, libplist refuses itself.
std::optional<std::string> dangerInPropertyList(std::string_view content);

}  // namespace vlm::sim
