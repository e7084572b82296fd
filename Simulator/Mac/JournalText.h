#pragma once

#include <cstdint>
#include <string>

#include "Platform/Input.h"
#include "Platform/Notifications.h"

/// How arguments stand in the journal.
namespace vlm::sim {

/// At most six digits: 0.5, 1, 2.25.
std::string numberText(double number);
/// "opt+cmd+0x67": Carbon modifiers in the order control, option, shift, command, then the virtual key code.
std::string keyText(std::uint32_t keyCode, std::uint32_t modifiers);
/// The four characters that a code packs.
std::string fourCharText(std::uint32_t code);
/// `daemon, "QuitVLMDaemon", {parameter1 = 1}`: name, object and user info, as far as there are any.
std::string notificationText(const Notification& notification);
std::string centerText(NotificationCenter center);
std::string quoted(const std::string& text);

}  // namespace vlm::sim
