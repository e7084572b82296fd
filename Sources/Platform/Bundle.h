#pragma once

#include <optional>
#include <string>

#include "Platform/PropertyList.h"

namespace vlm {

/// The process's own bundle, and others by their place.
class Bundle {
 public:
  virtual ~Bundle() = default;

  virtual std::optional<plist::Value> objectForInfoDictionaryKey(const std::string& key) = 0;
  virtual std::optional<plist::Dictionary> infoDictionaryOfBundleAt(const std::string& path) = 0;
  virtual std::string bundlePath() = 0;
  /// A text of the user's language; absent when the table or the key is missing.
  virtual std::optional<std::string> localizedString(const std::string& table, const std::string& key) = 0;
};

}  // namespace vlm
