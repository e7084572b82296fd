#pragma once

#include <cstdint>
#include <string_view>

#include "Platform/PropertyList.h"

namespace vlm {

/// A switch of an override file whose key alone counts ("display-refresh-rate-policy"). The three t's of the name are
/// the name's.
class VLMOverrideBoolSettting {
 public:
  bool settingInOverride = false;     ///< as found in the override file
  bool settingInPreferences = false;  ///< as saved last in the settings file
  bool settingActual = false;         ///< as the user wants it now

  /// Status kOverrideFoundInSettings and kOverrideFoundInOverrideFile each set what was found there; any other nothing.
  void fillWithValue(bool value, std::int16_t status);
  /// It differs from the settings file.
  bool isModified() const { return settingActual != settingInPreferences; }
  /// It differs from the override file.
  bool shouldOverride() const { return settingActual != settingInOverride; }
  /// For the settings file; from then on it is unmodified.
  plist::Dictionary encodeReadable();
  void decodeReadableWith(const plist::Dictionary& dict);
  /// Sets the key of an override file's content or removes it; leaves alone what is as it was found there.
  void addInOverrideDictionary(plist::Dictionary& content, std::string_view overrideKey) const;
};

}  // namespace vlm
