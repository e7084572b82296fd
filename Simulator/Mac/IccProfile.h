#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Platform/PropertyList.h"

/// Colour profiles (ICC.1) as bytes: reading and making them. The simulated Mac's own; the daemon reads what it needs
/// by itself.
namespace vlm::sim {

/// A profile whose header and tag table hold together.
class IccProfile {
 public:
  static constexpr std::size_t kHeaderSize = 128;

  /// The reason when the bytes hold no profile. What stands behind the length that the header names is no part of it.
  static std::variant<IccProfile, std::string> read(plist::Data bytes);

  std::span<const std::uint8_t> header() const { return std::span(bytes_).first(kHeaderSize); }
  /// A tag's bytes, its type in front, by its four characters; absent when the profile lacks it.
  std::optional<std::span<const std::uint8_t>> tag(std::string_view signature) const;
  /// What the tag "desc" says, in English when it speaks several languages. UTF-8; absent when there is no such text.
  std::optional<std::string> description() const;

 private:
  IccProfile() = default;

  struct Tag {
    std::string signature;
    std::size_t offset = 0, size = 0;
  };

  plist::Data bytes_;
  std::vector<Tag> tags_;
};

/// The monitor that a profile is made for, as the tag "mmod" names it.
struct ProfiledMonitor {
  std::uint32_t vendor = 0, product = 0, serial = 0;
};

/// A display's profile (class 'mntr', RGB, primaries of sRGB, gamma 2.2). `name` is UTF-8.
plist::Data composeDisplayProfile(const std::string& name, const std::optional<ProfiledMonitor>& monitor);

}  // namespace vlm::sim
