#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Keyboard shortcuts as one code: Carbon modifiers shifted right by 8 in bits 0 to 7, virtual key code in bits 8
/// to 15.
namespace vlm {

inline constexpr std::int32_t kNoShortcut = -1;
/// The modifiers that count; Caps Lock (bit 2) never does.
inline constexpr std::uint32_t kShortcutModifierMask = 0xFB;

constexpr std::uint8_t shortcutKeyCode(std::int32_t code) {
  return static_cast<std::uint8_t>(static_cast<std::uint32_t>(code) >> 8 & 0xFF);
}

/// "⌃⌥⇧⌘F11". Without a shortcut: empty, or the word for none.
std::string Common_MiniShortcuts(std::int32_t code, bool emptyWhenNone);
/// The same in words: "Control-Option-Shift-Command-F11".
std::string Common_BigShortcuts(std::int32_t code, bool emptyWhenNone);
/// The name of a key: from the table of names (function keys and the like), else what it types.
std::string Util_RetainedTranslateHotKey(std::uint8_t keyCode);
/// What a key types in the current keyboard layout, in capitals; empty when the layout does not know.
std::string Util_TranslateHotKeyFromKeyboard(std::uint8_t keyCode);

/// The code of a shortcut as people type it: "cmd+opt+f11". Modifiers cmd, opt (alt), ctrl and shift, also in full;
/// then one key by its place on a US keyboard: a letter, a digit, f1 to f20, left, right, up, down, space, return,
/// escape (esc), tab, delete. Letter case does not matter. Nothing when it is none of these.
std::optional<std::int32_t> shortcutFromText(std::string_view text);

}  // namespace vlm
