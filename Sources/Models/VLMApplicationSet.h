#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Models/VLMDisplaySet.h"
#include "Platform/PropertyList.h"

namespace vlm {

/// A rule for an application: what to bring about when it starts or comes to the front.
class VLMApplicationSet {
 public:
  /// Creator code of an application that has none ("????"), and that of the rule for all applications ("VLMS").
  static constexpr std::int32_t kUnknownSignature = 0x3F3F3F3F, kAllApplicationsSignature = 0x564C4D53;

  static std::shared_ptr<VLMApplicationSet> initWithZeroData();
  /// The rule for every application that has none of its own: one a process.
  static std::shared_ptr<VLMApplicationSet> allApplicationsSet();
  static std::shared_ptr<VLMApplicationSet> initAndDecodeReadableWith(const plist::Dictionary& dict,
                                                                      const DisplaySets& sets);
  plist::Dictionary encodeReadable() const;
  ~VLMApplicationSet();
  VLMApplicationSet(const VLMApplicationSet&) = delete;
  VLMApplicationSet& operator=(const VLMApplicationSet&) = delete;

  std::optional<std::string> identifier;  ///< of the application's bundle
  std::optional<std::string> appName;
  float soundLevel = 0;  ///< output volume, 0 to 1
  bool soundLevelIsSet = false;
  bool notAtOSEvt = false;  ///< not when the application merely comes to the front
  bool restoreAtQuit = true;
  std::int32_t signature = 0;  ///< creator code
  /// Modes that others change while the application is in front: 2 mode and depth are put back, 3 the depth is.
  std::int32_t changeRes = 0;
  bool hideDock = false, hideOthers = false;

  const std::shared_ptr<VLMDisplaySet>& displaySet() const { return displaySet_; }
  /// Counts in both sets.
  void setDisplaySet(std::shared_ptr<VLMDisplaySet> set);

 private:
  VLMApplicationSet() = default;

  std::shared_ptr<VLMDisplaySet> displaySet_;
};

using ApplicationSets = std::vector<std::shared_ptr<VLMApplicationSet>>;

}  // namespace vlm
