#include "Shared/Shortcuts.h"

#include <gtest/gtest.h>

#include "Platform/Process.h"
#include "Shared/BundleTexts.h"
#include "Shared/UpperCase.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm {
namespace {

class Shortcuts : public ::testing::Test {
 protected:
  Shortcuts() : mac_(sim::MachineDescription{}), scope_(mac_.addSession({.name = "daemon"}).process()) {}

  sim::SimulatedMac mac_;
  Process::Scope scope_;
};

TEST_F(Shortcuts, AreShownAsSymbolsInFixedOrderAndTheNameOfTheKey) {
  struct Row {
    const char* typed;
    std::int32_t code;
    const char* shown;
    const char* inWords;
  };
  const Row rows[] = {
      {.typed = "cmd+opt+f11", .code = 0x6709, .shown = "⌥⌘F11", .inWords = "Option-Command-F11"},
      {.typed = "Shift+Command+ctrl+alt+A",
       .code = 0x001B,
       .shown = "⌃⌥⇧⌘A",
       .inWords = "Control-Option-Shift-Command-A"},
      {.typed = "left", .code = 0x7B00, .shown = "Left", .inWords = "Left"},
      {.typed = "control+1", .code = 0x1210, .shown = "⌃1", .inWords = "Control-1"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(shortcutFromText(row.typed), row.code) << row.typed;
    EXPECT_EQ(Common_MiniShortcuts(row.code, true), row.shown);
    EXPECT_EQ(Common_BigShortcuts(row.code, true), row.inWords);
  }
  EXPECT_EQ(Common_MiniShortcuts(0x6704, true), "F11") << "Caps Lock is not shown";
  EXPECT_EQ(Common_MiniShortcuts(0xFF00, true), "") << "no key of the layout";
  EXPECT_EQ(Common_MiniShortcuts(kNoShortcut, true), "");
  EXPECT_EQ(Common_MiniShortcuts(kNoShortcut, false), "None");
}

TEST_F(Shortcuts, OfKeysThatTypeNothingVisibleHaveNamesInTheTable) {
  for (int keyCode = 0; keyCode < 128; ++keyCode) {
    const std::string name = Util_RetainedTranslateHotKey(static_cast<std::uint8_t>(keyCode));
    for (const char c : name) EXPECT_GT(static_cast<unsigned char>(c), 0x1F) << keyCode;
    EXPECT_NE(lengthInUTF16(GetBundleNSString("KeysDescr", std::to_string(keyCode), "--")), 1U) << keyCode;
  }
}

TEST(ShortcutText, IsRefusedWhenItIsNone) {
  for (const char* text : {"", "cmd", "cmd+", "+a", "cmd+a+b", "cmd++", "hyper+a", "f21", "cmd + a", "cmd+ä"}) {
    EXPECT_EQ(shortcutFromText(text), std::nullopt) << text;
  }
}

TEST(UpperCase, KnowsTheLettersOfKeyboards) {
  EXPECT_EQ(upperCased("aéÿßœčžłğąż÷"), "AÉŸSSŒČŽŁĞĄŻ÷");
  EXPECT_EQ(upperCased("αςάώ яёў"), "ΑΣΆΏ ЯЁЎ");
  EXPECT_EQ(upperCased("日\xFF\xC3"), "日\xFF\xC3");
  EXPECT_EQ(lengthInUTF16("é日😀"), 4U);
}

}  // namespace
}  // namespace vlm
