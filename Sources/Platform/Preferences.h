#pragma once

#include <optional>
#include <string>

#include "Platform/PropertyList.h"

namespace vlm {

/// Preference domains, always for the current user and any host.
class Preferences {
 public:
  virtual ~Preferences() = default;

  virtual std::optional<plist::Value> CFPreferencesCopyValue(const std::string& key,
                                                             const std::string& applicationID) = 0;
  /// No value removes the key. Reaches the disk with the next synchronise.
  virtual void CFPreferencesSetValue(const std::string& key, const std::optional<plist::Value>& value,
                                     const std::string& applicationID) = 0;
  virtual bool CFPreferencesSynchronize(const std::string& applicationID) = 0;
};

}  // namespace vlm
