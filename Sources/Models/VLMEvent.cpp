#include "Models/VLMEvent.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Platform/Numbers.h"
#include "Shared/Format.h"

namespace vlm {

std::shared_ptr<VLMEvent> VLMEvent::initWithZeroData() {
  std::shared_ptr<VLMEvent> event(new VLMEvent);
  event->identifier = std::string();
  return event;
}

VLMEvent::~VLMEvent() { setDisplaySet(nullptr); }

void VLMEvent::setDisplaySet(std::shared_ptr<VLMDisplaySet> set) {
  if (displaySet_) --displaySet_->nbUsers;
  if (set) ++set->nbUsers;
  displaySet_ = std::move(set);
}

std::shared_ptr<VLMEvent> VLMEvent::initAndDecodeReadableWith(const plist::Dictionary& dict, const DisplaySets& sets) {
  std::shared_ptr<VLMEvent> event(new VLMEvent);
  event->type = dict.sInt32("type");
  event->identifier = dict.string("identifier");
  if (const plist::Value* const argument = dict.find("argument")) event->argument = *argument;
  event->setDisplaySet(findSetByUniqueID(sets, dict.number("setID")));
  return event;
}

plist::Dictionary VLMEvent::encodeReadable() const {
  plist::Dictionary dict{{"type", truncateTo<std::int32_t>(type)}};
  if (identifier && !identifier->empty()) dict.set("identifier", *identifier);
  if (displaySet_ && displaySet_->uniqueID) dict.set("setID", *displaySet_->uniqueID);
  if (argument) dict.set("argument", *argument);
  return dict;
}

std::string VLMEvent::description() const {
  return format("VLMEvent %ld: identifier = %@ // display set name = %@", static_cast<long>(type), identifier,
                displaySet_ ? displaySet_->name : std::nullopt);
}

Events eventsWithIdentifier(const Events& events, const std::optional<std::string>& name) {
  Events found;
  if (!name || name->empty()) return found;
  std::copy_if(events.begin(), events.end(), std::back_inserter(found),
               [&](const auto& event) { return event->identifier == name; });
  return found;
}

std::shared_ptr<VLMEvent> eventWithIdentifier(const Events& events, const std::optional<std::string>& name) {
  const Events found = eventsWithIdentifier(events, name);
  return found.empty() ? nullptr : found.front();
}

}  // namespace vlm
