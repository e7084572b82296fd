#include <algorithm>
#include <array>
#include <limits>
#include <utility>
#include <vector>

#include "Platform/Numbers.h"
#include "Shared/Shortcuts.h"
#include "Simulator/Mac/AtomicFile.h"
#include "Simulator/Mac/Bookmark.h"
#include "Simulator/Mac/IccFolders.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/OnDocument.h"
#include "Simulator/Program/Paths.h"
#include "Simulator/Program/SetEditing.h"
#include "Simulator/Program/Simulator.h"

/// The control application's window of display sets: each command saves the settings and tells the daemon.
namespace vlm::sim {

namespace {

constexpr const char* kSets = "displaySetsArray";

/// Reads the settings, lets `edit` change them, writes them back whole, and tells the daemon.
template <class Edit>
Outcome edited(Simulator& simulator, Edit edit) {
  auto settings = simulator.settings();
  if (!settings) return Outcome::refused("there is no settings file that can be read: " + simulator.settingsPath());
  if (const Refusal reason = edit(*settings)) return Outcome::refused(*reason);
  const auto failure = replaceFile(simulator.settingsPath(), composePropertyList(*settings), simulator.mac().diskFault);
  if (failure) return Outcome::notHeld("the control application cannot write: " + *failure);
  simulator.post("reloadPreferences", {});
  simulator.mac().turn();
  return {};
}

/// The same for one set's record.
template <class Edit>
Outcome editedSet(Simulator& simulator, const std::string& name, Edit edit) {
  return edited(simulator, [&](plist::Dictionary& settings) -> Refusal {
    const auto found = setRecordNamed(settings, name);
    if (const auto* reason = std::get_if<std::string>(&found)) return *reason;
    return edit(settings, *std::get<plist::Dictionary*>(found));
  });
}

// --- Making and removing ---

bool hasSet(const plist::Dictionary& settings, const std::string& name) {
  const plist::Array* const sets = settings.array(kSets);
  for (const plist::Value& value : sets == nullptr ? plist::Array() : *sets) {
    const auto other = value.dictionary() == nullptr ? std::nullopt : value.dictionary()->string("name");
    if (other && isSameName(name, *other)) return true;
  }
  return false;
}

Refusal unusableName(const plist::Dictionary& settings, const std::string& name) {
  if (name.empty()) return "a set needs a name";
  if (!isWritableText(name)) return quoted(name) + " is no name: it has control characters, or is no UTF-8";
  if (hasSet(settings, name)) return "there is a set " + quoted(name) + " already";
  return std::nullopt;
}

void enforceNothing(VLMDisplaySet& set) {
  set.hasMirroring = false;
  set.complexMirroringSet.clear();
  for (const auto& monitor : set.monitorArray) {
    monitor->modeUniqueID = monitor->selDepth = VLMMonitorInSet::kNoSetting;
    monitor->isMainDisplay = false;
  }
}

/// Unique among the sets of the file, too: the daemon may not have read what was written last. Absent when the file has
/// the highest number there is.
std::optional<std::int64_t> nextUniqueID(const VLMGlobals& document, const plist::Array& sets) {
  std::int64_t next = document.findNextSetUniqueID();
  for (const plist::Value& value : sets) {
    const auto other = value.dictionary() == nullptr ? std::nullopt : value.dictionary()->number("uniqueID");
    if (!other || *other < next) continue;
    if (*other == std::numeric_limits<std::int64_t>::max()) return std::nullopt;
    next = *other + 1;
  }
  return next;
}

Outcome add(Simulator& simulator, Arguments arguments) {
  if (arguments[1] != "from-current" && arguments[1] != "empty") {
    return Outcome::refused(quoted(arguments[1]) + " is neither from-current nor empty");
  }
  return edited(simulator, [&](plist::Dictionary& settings) -> Refusal {
    if (const Refusal reason = unusableName(settings, arguments[0])) return reason;
    return withDocument(simulator, [&](VLMGlobals& document) -> Refusal {
      // As things are now, not as the daemon's last look at them found them.
      document.updateCurrentModes();
      const auto set = VLMDisplaySet::initWithDisplays(document.displayArray, document);
      plist::Array sets = settings.array(kSets) == nullptr ? plist::Array() : *settings.array(kSets);
      set->uniqueID = nextUniqueID(document, sets);
      if (!set->uniqueID) return "a set of the settings file has the highest uniqueID already: a new one gets none";
      set->name = arguments[0];
      if (arguments[1] == "empty") enforceNothing(*set);
      sets.emplace_back(set->encodeReadable());
      settings.set(kSets, std::move(sets));
      return std::nullopt;
    });
  });
}

Outcome remove(Simulator& simulator, Arguments arguments) {
  return editedSet(simulator, arguments[0], [&](plist::Dictionary& settings, plist::Dictionary& record) -> Refusal {
    const std::string name = record.string("name").value_or("");
    if (!isSameName(arguments[0], name)) return "a set is removed by its whole name: " + quoted(name);
    const auto identifier = record.number("uniqueID");
    plist::Array& sets = *settings.find(kSets)->array();
    sets.erase(std::find_if(sets.begin(), sets.end(), [&](auto& value) { return value.dictionary() == &record; }));
    for (plist::Value& value : sets) {
      plist::Dictionary* const other = value.dictionary();
      if (other != nullptr && other->number("chainedSetUID") == identifier) other->remove("chainedSetUID");
    }
    return std::nullopt;
  });
}

// --- What a set says ---

/// A change of a set's record: the words behind its name.
struct SetEdit {
  Simulator& simulator;
  plist::Dictionary& settings;
  plist::Dictionary& set;
  Arguments words;
};

Refusal changeKey(const SetEdit& edit) {
  const std::string& text = edit.words[0];
  constexpr std::int64_t kHighestCode = 0xFFFF;
  const auto code = parseInteger(text);
  const bool isCode = code && *code >= 0 && *code <= kHighestCode;
  const auto shortcut = isCode ? truncateTo<std::int32_t>(*code) : shortcutFromText(text).value_or(kNoShortcut);
  if (text != "none" && shortcut == kNoShortcut) {
    return quoted(text) + " is no hot key such as cmd+opt+f10 or 0x6D0D, nor none";
  }
  edit.set.set("keyCode", shortcut);
  return std::nullopt;
}

Refusal changeChain(const SetEdit& edit) {
  if (edit.words[0] == "none") {
    edit.set.remove("chainedSetUID");
    return std::nullopt;
  }
  const auto next = setRecordNamed(edit.settings, edit.words[0]);
  if (const auto* reason = std::get_if<std::string>(&next)) return *reason;
  edit.set.set("chainedSetUID", std::get<plist::Dictionary*>(next)->sInt64("uniqueID"));
  return std::nullopt;
}

Refusal changeMenu(const SetEdit& edit) {
  const auto isOn = parseSwitch(edit.words[0]);
  if (!isOn) return notASwitch(edit.words[0]);
  edit.set.set("isInMenu", *isOn);
  return std::nullopt;
}

Refusal changeScript(const SetEdit& edit) {
  const std::string& text = edit.words[0];
  edit.set.remove("theScriptAlias");
  if (text == "none") {
    edit.set.remove("scriptBookmark");
    return std::nullopt;
  }
  const auto path = readPath(edit.simulator.mac(), text);
  if (const auto* reason = std::get_if<std::string>(&path)) return *reason;
  const auto bookmark = bookmarkOf(std::get<std::filesystem::path>(path));
  if (!bookmark) return "there is no file " + quoted(text);
  edit.set.set("scriptBookmark", *bookmark);
  return std::nullopt;
}

Refusal changeName(const SetEdit& edit) {
  if (const Refusal reason = unusableName(edit.settings, edit.words[0])) return reason;
  edit.set.set("name", edit.words[0]);
  return std::nullopt;
}

/// A display shows one picture, and one that shows another's has none of its own to be shown.
struct MirroringPair {
  EditedDisplay shown, shows;
};
Refusal contradiction(const std::vector<MirroringPair>& pairs, const MirroringPair& added) {
  for (const MirroringPair& pair : pairs) {
    if (pair.shows.monitorResID == added.shows.monitorResID) {
      return quoted(added.shows.name) + " shows the picture of " + quoted(pair.shown.name) + " already";
    }
    for (const auto& [shown, shows] : {std::pair(pair.shown, added.shows), std::pair(added.shown, pair.shows)}) {
      if (shown.monitorResID == shows.monitorResID) {
        return quoted(shown.name) + " cannot be shown and show another one's picture";
      }
    }
  }
  return std::nullopt;
}

/// "Left>Right,Left>Old": the right one of each pair shows the picture of the left one.
Refusal changePairs(const SetEdit& edit, const std::string& text) {
  return withDocument(edit.simulator, [&](const VLMGlobals& document) -> Refusal {
    enforceMirroring(edit.set, false);
    std::vector<MirroringPair> pairs;
    for (std::size_t begin = 0; begin <= text.size();) {
      const std::size_t end = std::min(text.find(',', begin), text.size());
      const std::string pair = text.substr(begin, end - begin);
      const std::size_t arrow = pair.find('>');
      if (arrow == std::string::npos) return notASwitch(pair) + ", nor a pair such as Left>Right";
      const auto shown = displayIn(document, edit.simulator, pair.substr(0, arrow));
      const auto shows = displayIn(document, edit.simulator, pair.substr(arrow + 1));
      for (const auto* found : {&shown, &shows}) {
        if (const auto* reason = std::get_if<std::string>(found)) return *reason;
      }
      const MirroringPair added{std::get<EditedDisplay>(shown), std::get<EditedDisplay>(shows)};
      if (added.shown.monitorResID == added.shows.monitorResID) return quoted(pair) + " is one display, not two";
      if (const Refusal reason = contradiction(pairs, added)) return reason;
      addMirroringPair(edit.set, added.shown, added.shows);
      pairs.push_back(added);
      begin = end + 1;
    }
    return std::nullopt;
  });
}

Refusal enforceOnDesk(const SetEdit& edit) {
  const std::string& aspect = edit.words[0];
  const std::string& value = edit.words[1];
  if (aspect == "gray") return enforceGray(edit.set, value);
  if (aspect != "mirroring") return quoted(aspect) + " is nothing that a set says of all displays (gray, mirroring)";
  const auto isOn = parseSwitch(value);
  if (!isOn) return changePairs(edit, value);
  enforceMirroring(edit.set, *isOn);
  return std::nullopt;
}

Refusal ignoreOnDesk(const SetEdit& edit) { return ignoreOfDesk(edit.set, edit.words[0]); }

struct Verb {
  std::string_view name;
  std::size_t words;
  const char* usage;
  Refusal (*change)(const SetEdit& edit);
};
constexpr std::array kVerbs{
    Verb{"enforce", 2, "enforce mirroring|gray VALUE", enforceOnDesk},
    Verb{"ignore", 1, "ignore mirroring|gray", ignoreOnDesk},
    Verb{"key", 1, "key SHORTCUT|none", changeKey},
    Verb{"chain", 1, "chain OTHER|none", changeChain},
    Verb{"menu", 1, "menu on|off", changeMenu},
    Verb{"script", 1, "script FILE|none", changeScript},
    Verb{"rename", 1, "rename NAME", changeName},
};

Refusal enforceProfile(const SetEdit& edit, const EditedDisplay& display, const std::string& text) {
  if (text == "factory") return "a set enforces a profile's file: show profiles has the display's own, too";
  if (!text.starts_with('/') && !text.starts_with("~/")) return quoted(text) + " is no full path";
  const auto path = readProfilePath(edit.simulator.mac(), text);
  if (const auto* reason = std::get_if<std::string>(&path)) return *reason;
  const std::string file = std::get<std::filesystem::path>(path);
  if (!isWritableText(file)) return quoted(text) + " has control characters, or is no UTF-8";
  const auto profile = profileInFile(edit.simulator.mac(), file);
  if (const auto* reason = std::get_if<std::string>(&profile)) return text + ": " + *reason;
  return enforce(edit.set, display, "profile", file);
}

Refusal wrongCount(bool isTooFew, const std::string& usage) {
  return std::string(isTooFew ? "too few" : "too many") + " words: set SET " + usage;
}

/// "set Work Left enforce mode 1024x768", "set Work Left ignore mode": the words from the display on.
Refusal changeOfDisplay(const SetEdit& edit) {
  const Arguments words = edit.words;
  const bool enforces = words[1] == "enforce";
  const std::string usage = enforces ? "DISPLAY enforce ASPECT VALUE" : "DISPLAY ignore ASPECT";
  if (!enforces && words[1] != "ignore") {
    return quoted(words[1]) + " is neither enforce nor ignore: set SET DISPLAY enforce ASPECT VALUE, or set SET " +
           usage;
  }
  const std::size_t count = enforces ? 4 : 3;
  if (words.size() != count) return wrongCount(words.size() < count, usage);
  return withDocument(edit.simulator, [&](const VLMGlobals& document) -> Refusal {
    const auto found = displayIn(document, edit.simulator, words[0]);
    if (const auto* reason = std::get_if<std::string>(&found)) return *reason;
    const auto& display = std::get<EditedDisplay>(found);
    if (!enforces) return ignore(edit.set, display, words[2]);
    if (words[2] == "profile") return enforceProfile(edit, display, words[3]);
    return enforce(edit.set, display, words[2], words[3]);
  });
}

Outcome change(Simulator& simulator, Arguments arguments) {
  return editedSet(simulator, arguments[0], [&](plist::Dictionary& settings, plist::Dictionary& set) -> Refusal {
    const Arguments words = arguments.subspan(1);
    for (const Verb& verb : kVerbs) {
      if (words[0] != verb.name) continue;
      if (words.size() != verb.words + 1) return wrongCount(words.size() <= verb.words, verb.usage);
      return verb.change({simulator, settings, set, words.subspan(1)});
    }
    return changeOfDisplay({simulator, settings, set, words});
  });
}

constexpr std::array kCommands{
    Command{"set add", "NAME from-current|empty", 2, 2,
            "the control application saves a new set: modes and depths as they are, or nothing enforced",
            "set add Work from-current", add},
    Command{"set remove", "SET", 1, 1, "it removes a set", "set remove Work", remove},
    Command{"set", "SET [DISPLAY] enforce|ignore|key|chain|menu|script|rename VALUE...", 3, 5,
            "it changes what a set says of a display, of all, or of itself", "set Work Left enforce origin -1920,0",
            change},
};

}  // namespace

std::span<const Command> setEditingCommands() { return kCommands; }

}  // namespace vlm::sim
