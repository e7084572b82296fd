#include "Simulator/Mac/SimulatedInput.h"

#include <algorithm>
#include <utility>

#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/Mouse.h"
#include "Simulator/Mac/Scheduler.h"
#include "Simulator/Mac/Session.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

namespace {
/// An ANSI keyboard of Apple's.
constexpr std::uint8_t kKeyboardType = 40;
/// "The parameter is wrong", for a reference that is none of the process's hot keys.
constexpr OSStatus kParameterError = -50;
}  // namespace

bool SimulatedInput::Handler::takes(const CarbonEvent& event) const {
  return std::any_of(types.begin(), types.end(), [&](const EventTypeSpec& type) {
    return type.eventClass == event.eventClass && type.eventKind == event.eventKind;
  });
}

OSStatus SimulatedInput::RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                             const EventHotKeyID& hotKeyID, std::uint32_t /*options*/,
                                             EventHotKeyRef& reference) {
  reference = 0;
  const bool isTaken = std::any_of(hotKeys_.begin(), hotKeys_.end(), [&](const auto& known) {
    return known.second.keyCode == keyCode && known.second.modifiers == modifiers;
  });
  if (isTaken) return eventHotKeyExistsErr;
  session_.record("RegisterEventHotKey(" + keyText(keyCode, modifiers) + ", " + fourCharText(hotKeyID.signature) + " " +
                  std::to_string(hotKeyID.id) + ")");
  reference = mac_.nextReference();
  hotKeys_[reference] = {.keyCode = keyCode, .modifiers = modifiers, .id = hotKeyID};
  return noErr;
}

OSStatus SimulatedInput::UnregisterEventHotKey(EventHotKeyRef reference) {
  const auto found = hotKeys_.find(reference);
  if (found == hotKeys_.end()) return kParameterError;
  session_.record("UnregisterEventHotKey(" + keyText(found->second.keyCode, found->second.modifiers) + ")");
  hotKeys_.erase(found);
  return noErr;
}

OSStatus SimulatedInput::InstallApplicationEventHandler(const std::vector<EventTypeSpec>& types, EventHandler handler) {
  std::string text;
  for (const EventTypeSpec& type : types) {
    if (!text.empty()) text += ", ";
    text += fourCharText(type.eventClass) + " " + std::to_string(type.eventKind);
  }
  session_.record("InstallApplicationEventHandler(" + text + ")");
  handlers_.push_back(std::make_shared<Handler>(Handler{.types = types, .handler = std::move(handler)}));
  return noErr;
}

bool SimulatedInput::pressKey(std::uint32_t keyCode, std::uint32_t modifiers) {
  const auto found = std::find_if(hotKeys_.begin(), hotKeys_.end(), [&](const auto& known) {
    return known.second.keyCode == keyCode && known.second.modifiers == modifiers;
  });
  if (found == hotKeys_.end()) return false;
  CarbonEvent event;
  event.eventClass = kEventClassKeyboard;
  event.eventKind = kEventHotKeyPressed;
  event.directObject = found->second.id;
  mac_.scheduler().onNextTurn(&session_, [this, event] { deliver(event); });
  return true;
}

void SimulatedInput::deliver(const CarbonEvent& event) {
  const auto handlers = handlers_;
  for (auto handler = handlers.rbegin(); handler != handlers.rend(); ++handler) {
    if ((*handler)->takes(event) && (*handler)->handler(event) != eventNotHandledErr) return;
  }
}

void SimulatedInput::sessionEnded() {
  hotKeys_.clear();
  std::exchange(handlers_, {}).clear();
  std::exchange(monitors_, {}).clear();
  mac_.mouse().sessionEnded(session_);
}

std::optional<std::string> SimulatedInput::UCKeyTranslate(std::uint16_t virtualKeyCode,
                                                          std::uint32_t /*keyboardType*/) {
  return textOfUSKey(virtualKeyCode);
}

std::uint8_t SimulatedInput::LMGetKbdType() { return kKeyboardType; }

}  // namespace vlm::sim
