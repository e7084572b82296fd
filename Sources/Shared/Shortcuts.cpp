#include "Shared/Shortcuts.h"

#include <array>
#include <span>

#include "Platform/Input.h"
#include "Platform/Process.h"
#include "Shared/BundleTexts.h"
#include "Shared/Format.h"
#include "Shared/UpperCase.h"

namespace vlm {

namespace {

constexpr std::uint32_t kCommandBit = cmdKey >> 8, kShiftBit = shiftKey >> 8, kOptionBit = optionKey >> 8,
                        kControlBit = controlKey >> 8;

constexpr const char* kKeyNames = "KeysDescr";
constexpr std::int32_t kNoShortcutText = 1001;

struct Modifier {
  std::uint32_t bit;
  const char* symbol;
  std::int32_t wordText;  ///< in the table of key names
};

/// In the order in which menus show them.
constexpr std::array<Modifier, 4> kModifiers = {
    {{kControlBit, "⌃", 1006}, {kOptionBit, "⌥", 1005}, {kShiftBit, "⇧", 1003}, {kCommandBit, "⌘", 1002}}};

}  // namespace

namespace {

template <class TextOfModifier>
std::string shortcutAsText(std::int32_t code, bool emptyWhenNone, TextOfModifier textOf) {
  if (code == kNoShortcut) return emptyWhenNone ? std::string() : GetBundleIndNSString(kKeyNames, kNoShortcutText);
  std::string text;
  for (const Modifier& modifier : kModifiers) {
    if ((static_cast<std::uint32_t>(code) & modifier.bit) != 0) text += textOf(modifier);
  }
  return text + Util_RetainedTranslateHotKey(shortcutKeyCode(code));
}

}  // namespace

std::string Common_MiniShortcuts(std::int32_t code, bool emptyWhenNone) {
  return shortcutAsText(code, emptyWhenNone, [](const Modifier& modifier) { return modifier.symbol; });
}

std::string Common_BigShortcuts(std::int32_t code, bool emptyWhenNone) {
  return shortcutAsText(code, emptyWhenNone, [](const Modifier& modifier) {
    return GetBundleIndNSString(kKeyNames, modifier.wordText) + "-";
  });
}

std::string Util_RetainedTranslateHotKey(std::uint8_t keyCode) {
  // "-" has the length that sends a key without a name to the keyboard layout; the names in the table avoid it.
  const std::string name = GetBundleNSString(kKeyNames, format("%d", keyCode), "-");
  return lengthInUTF16(name) != 1 ? name : Util_TranslateHotKeyFromKeyboard(keyCode);
}

std::string Util_TranslateHotKeyFromKeyboard(std::uint8_t keyCode) {
  return upperCased(os().input.UCKeyTranslate(keyCode, os().input.LMGetKbdType()).value_or(""));
}

// --- Shortcuts that people type ---

namespace {

struct Word {
  std::string_view word;
  std::uint32_t value;
};

constexpr std::array<Word, 8> kModifierWords = {{{"CMD", kCommandBit},
                                                 {"COMMAND", kCommandBit},
                                                 {"OPT", kOptionBit},
                                                 {"OPTION", kOptionBit},
                                                 {"ALT", kOptionBit},
                                                 {"CTRL", kControlBit},
                                                 {"CONTROL", kControlBit},
                                                 {"SHIFT", kShiftBit}}};

/// Virtual key codes, by place on an ANSI keyboard (Carbon, Events.h).
constexpr std::array<Word, 66> kKeyWords = {{
    {"A", 0x00},   {"S", 0x01},      {"D", 0x02},     {"F", 0x03},      {"H", 0x04},      {"G", 0x05},
    {"Z", 0x06},   {"X", 0x07},      {"C", 0x08},     {"V", 0x09},      {"B", 0x0B},      {"Q", 0x0C},
    {"W", 0x0D},   {"E", 0x0E},      {"R", 0x0F},     {"Y", 0x10},      {"T", 0x11},      {"1", 0x12},
    {"2", 0x13},   {"3", 0x14},      {"4", 0x15},     {"6", 0x16},      {"5", 0x17},      {"9", 0x19},
    {"7", 0x1A},   {"8", 0x1C},      {"0", 0x1D},     {"O", 0x1F},      {"U", 0x20},      {"I", 0x22},
    {"P", 0x23},   {"RETURN", 0x24}, {"L", 0x25},     {"J", 0x26},      {"K", 0x28},      {"N", 0x2D},
    {"M", 0x2E},   {"TAB", 0x30},    {"SPACE", 0x31}, {"DELETE", 0x33}, {"ESCAPE", 0x35}, {"ESC", 0x35},
    {"F17", 0x40}, {"F18", 0x4F},    {"F19", 0x50},   {"F20", 0x5A},    {"F5", 0x60},     {"F6", 0x61},
    {"F7", 0x62},  {"F3", 0x63},     {"F8", 0x64},    {"F9", 0x65},     {"F11", 0x67},    {"F13", 0x69},
    {"F16", 0x6A}, {"F14", 0x6B},    {"F10", 0x6D},   {"F12", 0x6F},    {"F15", 0x71},    {"F4", 0x76},
    {"F2", 0x78},  {"F1", 0x7A},     {"LEFT", 0x7B},  {"RIGHT", 0x7C},  {"DOWN", 0x7D},   {"UP", 0x7E},
}};

std::optional<std::uint32_t> valueOf(std::string_view word, std::span<const Word> words) {
  for (const Word& known : words) {
    if (known.word == word) return known.value;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::int32_t> shortcutFromText(std::string_view text) {
  const std::string capitals = upperCased(text);
  std::string_view rest = capitals;
  std::uint32_t modifiers = 0;
  for (std::size_t plus = rest.find('+'); plus != std::string_view::npos; plus = rest.find('+')) {
    const auto modifier = valueOf(rest.substr(0, plus), kModifierWords);
    if (!modifier) return std::nullopt;
    modifiers |= *modifier;
    rest.remove_prefix(plus + 1);
  }
  const auto keyCode = valueOf(rest, kKeyWords);
  if (!keyCode) return std::nullopt;
  return static_cast<std::int32_t>(*keyCode << 8 | modifiers);
}

}  // namespace vlm
