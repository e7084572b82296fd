#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Models/NotOwned.h"
#include "Platform/PropertyList.h"

namespace vlm {

class VLMDisplay;

/// A reference mode that a display itself offers. A short-lived value: asked for, used and dropped.
class VLMColorPreset {
 public:
  /// Not found in any display's list yet.
  static constexpr std::int32_t kNoIndex = -1;

  static std::shared_ptr<VLMColorPreset> init();
  /// The first valid preset of that name, or of that identifier, in the display's list; null when it has none.
  static std::shared_ptr<VLMColorPreset> presetWithName(const std::string& name,
                                                        const std::shared_ptr<VLMDisplay>& display);
  static std::shared_ptr<VLMColorPreset> presetWithUUID(const std::string& uuid,
                                                        const std::shared_ptr<VLMDisplay>& display);
  /// From what the system says of the preset at an index ("PresetName", "PresetUniqueID").
  static std::shared_ptr<VLMColorPreset> presetWithPresetdata(const plist::Dictionary& data, std::int32_t index,
                                                              const std::shared_ptr<VLMDisplay>& display);

  std::optional<std::string> name;
  std::optional<std::string> UUID;
  NotOwned<VLMDisplay> container;
  std::int32_t index = kNoIndex;  ///< place in the display's list

  /// As people sort names: negative, 0 or positive.
  int presetCompareByName(const VLMColorPreset& other) const;
  std::string description() const;

 private:
  VLMColorPreset() = default;
};

}  // namespace vlm
