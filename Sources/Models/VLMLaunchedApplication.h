#pragma once

#include <cstdint>
#include <memory>

#include "Models/VLMDisplaySet.h"
#include "Platform/Input.h"
#include "Platform/PropertyList.h"

namespace vlm {

/// A running application that has a rule, and how things stood when it started.
class VLMLaunchedApplication {
 public:
  static std::shared_ptr<VLMLaunchedApplication> init();
  static std::shared_ptr<VLMLaunchedApplication> initAndDecodeReadableWith(const plist::Dictionary& dict);
  plist::Dictionary encodeReadable() const;

  ProcessSerialNumber psn;  ///< not stored
  std::int32_t pid = 0;
  float soundLevel = -1;      ///< output volume, 0 to 1; negative: there was none
  bool isAutoHidden = false;  ///< the Dock hid itself
  bool restoreAtQuit = false;
  bool usesDiscreteGPU = false;
  std::shared_ptr<VLMDisplaySet> activeSetAtLaunch;  ///< may be null

 private:
  VLMLaunchedApplication() = default;
};

}  // namespace vlm
