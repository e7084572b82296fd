#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vlm {

/// Versions of this program and its copies.
class VersionChecker {
 public:
  /// One per process.
  static VersionChecker& sharedInstance();

  /// "5.2.1" as one integer, for comparing: major * 65536 + minor * 256 + patch, held to 32 bits. Missing parts are 0,
  /// a part ends at what is no digit ("5b3.2" is 5.2), parts after the third do not count.
  std::int32_t getVersionFromString(std::string_view text) const;
  /// The own version; 0 when the own bundle does not say.
  std::int32_t currentPackageVersionInteger() const;
  /// For people: "5.2 (5.2.1)"; what the own bundle does not say is left out.
  std::string longVersionString() const;
};

}  // namespace vlm
