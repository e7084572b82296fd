#include "Simulator/Mac/JournalText.h"

#include <cstdio>

namespace vlm::sim {

std::string numberText(double number) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", number);
  return text;
}

std::string keyText(std::uint32_t keyCode, std::uint32_t modifiers) {
  std::string text;
  if ((modifiers & controlKey) != 0) text += "ctrl+";
  if ((modifiers & optionKey) != 0) text += "opt+";
  if ((modifiers & shiftKey) != 0) text += "shift+";
  if ((modifiers & cmdKey) != 0) text += "cmd+";
  char code[16];
  std::snprintf(code, sizeof code, "0x%02x", keyCode);
  return text + code;
}

std::string fourCharText(std::uint32_t code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const auto character = static_cast<char>(code >> shift & 0xff);
    text += character >= ' ' && character <= '~' ? character : '?';
  }
  return text;
}

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

/// Bytes. Any process can post anything, and the journal keeps a line of it.
constexpr std::size_t kLongestNotificationText = 4096;

std::string notificationText(const Notification& notification) {
  std::string text = notification.name;
  if (notification.object) text += ", " + quoted(*notification.object);
  if (notification.userInfo) text += ", " + plist::describe(*notification.userInfo);
  if (text.size() <= kLongestNotificationText) return text;
  std::size_t end = kLongestNotificationText;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;  // not within a character
  return text.substr(0, end) + "…";
}

std::string centerText(NotificationCenter center) {
  switch (center) {
    case NotificationCenter::local:
      return "local";
    case NotificationCenter::workspace:
      return "workspace";
    case NotificationCenter::distributed:
      return "distributed";
  }
  return {};
}

}  // namespace vlm::sim
