#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Models/VLMDisplaySet.h"
#include "Platform/PropertyList.h"

namespace vlm {

/// A rule: when a notification of this name is posted, a display set is applied.
class VLMEvent {
 public:
  /// Notification centres that a rule can listen to; rules of any other kind are kept, and never fire.
  static constexpr std::int64_t kWorkspace = 1, kDistributed = 2;

  static std::shared_ptr<VLMEvent> initWithZeroData();
  static std::shared_ptr<VLMEvent> initAndDecodeReadableWith(const plist::Dictionary& dict, const DisplaySets& sets);
  plist::Dictionary encodeReadable() const;
  std::string description() const;
  ~VLMEvent();
  VLMEvent(const VLMEvent&) = delete;
  VLMEvent& operator=(const VLMEvent&) = delete;

  std::int64_t type = 0;                  ///< stored in 32 bits
  std::optional<std::string> identifier;  ///< the notification's name
  std::optional<plist::Value> argument;   ///< whatever the rule's owner put there

  const std::shared_ptr<VLMDisplaySet>& displaySet() const { return displaySet_; }
  /// Counts in both sets.
  void setDisplaySet(std::shared_ptr<VLMDisplaySet> set);

 private:
  VLMEvent() = default;

  std::shared_ptr<VLMDisplaySet> displaySet_;
};

using Events = std::vector<std::shared_ptr<VLMEvent>>;

/// The first rule for a notification, or null; every one of them in their order. None for an absent or empty name.
std::shared_ptr<VLMEvent> eventWithIdentifier(const Events& events, const std::optional<std::string>& name);
Events eventsWithIdentifier(const Events& events, const std::optional<std::string>& name);

}  // namespace vlm
