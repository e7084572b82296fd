#include <array>
#include <ostream>

#include "Models/VLMStandardResolutions.h"
#include "Platform/Numbers.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Json.h"
#include "Simulator/Program/OnDocument.h"
#include "Simulator/Program/OverrideTexts.h"
#include "Simulator/Program/Paths.h"
#include "Simulator/Program/Settings.h"
#include "Simulator/Program/Views.h"

/// The control application's window of custom resolutions: it edits the daemon's records, which stay in memory until
/// they are written into the display's override file.
namespace vlm::sim {

namespace {

/// No monitor and no descriptor reaches beyond.
constexpr std::uint32_t kLargestSide = 32767;
constexpr double kHighestRateHz = 1000;

/// A display of the daemon's that a command is about.
struct Edit {
  Simulator& simulator;
  VLMGlobals& document;
  VLMDisplay& display;
  std::string name;  ///< the machine's
};

/// Does something with the daemon's record of a display, within its process.
template <class Action>
Outcome onRecord(Simulator& simulator, const std::string& text, Action action) {
  Session* const session = simulator.daemon();
  if (session == nullptr) return Outcome::refused("no daemon runs; launch-daemon starts one");
  Outcome outcome;
  session->call([&] {
    VLMGlobals& document = VLMGlobals::sharedInstance();
    const auto found = displayIn(document, simulator, text);
    if (const auto* reason = std::get_if<std::string>(&found)) {
      outcome = Outcome::refused(*reason);
    } else {
      const auto& display = std::get<EditedDisplay>(found);
      outcome = action(Edit{simulator, document, *display.record, display.name});
    }
  });
  return outcome;
}

/// The same, after which the display knows whether its file must be written.
template <class Change>
Outcome edited(Simulator& simulator, const std::string& text, Change change) {
  const Outcome outcome = onRecord(simulator, text, [&](const Edit& edit) {
    const Refusal reason = change(edit);
    if (reason) return Outcome::refused(*reason);
    edit.display.checkIsDirty();
    return Outcome{};
  });
  simulator.mac().turn();
  return outcome;
}

std::string wordsOf(const plist::Dictionary& view) {
  std::string text;
  for (const plist::Value& word : *view.array("status")) text += (text.empty() ? "" : ", ") + *word.string();
  return text.empty() ? "-" : text;
}

// --- Looking ---

std::vector<std::string> resolutionRow(const plist::Dictionary& view) {
  const bool isTiming = view.contains("pixelClockMHz");
  return {*view.string("name"),
          *view.string("kind"),
          isTiming ? shortNumber(view.real("pixelClockMHz")) + " MHz" : "-",
          isTiming ? shortNumber(view.real("lineRateKHz")) + " kHz" : "-",
          view.boolean("overrides") ? "yes" : "-",
          wordsOf(view)};
}

/// A table whose lines are followed by the findings of what they show.
void printResolutions(Output& output, const plist::Array& views) {
  std::vector<std::vector<std::string>> rows{
      {"RESOLUTION", "KIND", "PIXEL CLOCK", "LINE RATE", "TO THE FILE", "STATUS"}};
  for (const plist::Value& view : views) rows.push_back(resolutionRow(*view.dictionary()));
  const std::string table = tableOf(rows);
  std::size_t end = table.find('\n');
  output.data << output.bold(table.substr(0, end)) << "\n";
  for (const plist::Value& view : views) {
    const std::size_t begin = end + 1;
    end = table.find('\n', begin);
    output.data << table.substr(begin, end - begin) << "\n";
    for (const plist::Value& finding : *view.dictionary()->array("findings")) {
      output.data << "    " << output.red("! ") << *finding.string() << "\n";
    }
  }
}

void printRecords(Output& output, const plist::Array& views) {
  std::vector<std::vector<std::string>> rows{{"RECORD", "VALUE", "TO THE FILE", "STATUS"}};
  for (const plist::Value& value : views) {
    const plist::Dictionary& view = *value.dictionary();
    rows.push_back(
        {*view.string("record"), *view.string("value"), view.boolean("overrides") ? "yes" : "-", wordsOf(view)});
  }
  const std::string table = tableOf(rows);
  const std::size_t headerEnd = table.find('\n');
  output.data << output.bold(table.substr(0, headerEnd)) << table.substr(headerEnd);
}

std::string fileText(const plist::Dictionary& view) {
  std::string text = *view.string("file");
  if (!view.boolean("fileExists")) {
    text += view.boolean("fileFound") ? ": not there yet; the platform has one of its own" : ": not there yet";
  }
  text += view.boolean("hasBackup") ? "; it keeps what was found at first" : "";
  return text + (view.boolean("needsWriting") ? "; must be written" : "; nothing to be written");
}

Outcome show(Simulator& simulator, Arguments arguments) {
  return onRecord(simulator, arguments[0], [](const Edit& edit) {
    const plist::Dictionary view = overridesView(edit.display, edit.name);
    Output& output = edit.simulator.output();
    if (edit.simulator.wantsJson) {
      output.data << jsonText(view) << "\n";
      return Outcome{};
    }
    output.data << output.bold(edit.name) << ": " << fileText(view) << "\n";
    const plist::Array& resolutions = *view.array("resolutions");
    if (!resolutions.empty()) printResolutions(output, resolutions);
    printRecords(output, *view.array("records"));
    return Outcome{};
  });
}

// --- Custom resolutions ---

using Entry = std::shared_ptr<VLMOverrideResolution>;
using EntryMade = std::variant<Entry, std::string>;

EntryMade scaledEntry(const ResolutionArgument& wanted) {
  if (wanted.interlaced) return "a scaled size is never interlaced";
  const Entry entry = VLMOverrideResolution::initEmpty();
  entry->resolutionType = VLMOverrideResolution::kScaled;
  entry->scaledNx = wanted.mode.width;
  entry->scaledNy = wanted.mode.height;
  return entry;
}

EntryMade standardEntry(const ResolutionArgument& wanted, const std::string& text) {
  constexpr std::int16_t kMadeNow = 0;
  for (const Entry& standard : VLMStandardResolutions::sharedInstance().standardResolutions()) {
    if (!wanted.matches(*standard)) continue;
    return VLMOverrideResolution::initWithAppleID(standard->appleID, kMadeNow, VLMOverrideResolution::kOriginFile);
  }
  return quoted(text) + " is not in the platform's table of standard modes";
}

EntryMade generatedEntry(const VLMDisplay& display, const ResolutionArgument& wanted, std::uint32_t type) {
  const Entry entry = VLMOverrideResolution::initEmpty();
  entry->activeNx = wanted.mode.width;
  entry->activeNy = wanted.mode.height;
  entry->vfreq = *wanted.mode.refreshHz;
  entry->interlaced = wanted.interlaced;
  std::uint16_t active = 1, sync = 1;
  display.getGranularityActive(active, sync);
  // A driver that says 0 says nothing.
  entry->generateValuesWithGranAct(std::max<std::uint16_t>(active, 1), type);
  return entry;
}

struct Formula {
  std::string_view name;
  std::uint32_t type;
};
constexpr std::array kFormulas{Formula{"gtf", VLMOverrideResolution::kGTF}, Formula{"cvt", VLMOverrideResolution::kCVT},
                               Formula{"cvt-rb", VLMOverrideResolution::kCVTReduced},
                               Formula{"cvt-rb2", VLMOverrideResolution::kCVTReduced2}};

EntryMade entryFor(const VLMDisplay& display, const std::string& text, const std::string& kind) {
  const auto wanted = parseResolution(text);
  if (!wanted) return quoted(text) + " is no resolution such as 1600x900@60 or 1920x1080i@50";
  const ModeArgument& mode = wanted->mode;
  if (std::max(mode.width, mode.height) > kLargestSide || mode.refreshHz.value_or(0) > kHighestRateHz) {
    return quoted(text) + " is beyond " + std::to_string(kLargestSide) + " pixels and " + shortNumber(kHighestRateHz) +
           " Hz";
  }
  if (kind == "scaled") return scaledEntry(*wanted);
  if (!mode.refreshHz) return "a " + kind + " resolution needs a rate: " + text + "@60";
  if (kind == "standard") return standardEntry(*wanted, text);
  for (const Formula& formula : kFormulas) {
    if (formula.name == kind) return generatedEntry(display, *wanted, formula.type);
  }
  return quoted(kind) + " is none of gtf, cvt, cvt-rb, cvt-rb2, scaled, standard";
}

void printEntry(Output& output, VLMDisplay& display, const VLMOverrideResolution& entry, const std::string& what) {
  const bool hasTiming = entry.resolutionType != VLMOverrideResolution::kScaled;
  output.data << what << " " << kindText(entry) << " " << entry.displayedModeName();
  output.data << (hasTiming ? ": " + timingText(entry) : "") << "\n";
  for (const std::string& finding : display.findingsOf(entry)) {
    output.data << "    " << output.red("! ") << finding << "\n";
  }
}

Outcome add(Simulator& simulator, Arguments arguments) {
  return edited(simulator, arguments[0], [&](const Edit& edit) -> Refusal {
    const EntryMade made = entryFor(edit.display, arguments[1], arguments[2]);
    if (const auto* reason = std::get_if<std::string>(&made)) return *reason;
    const Entry& entry = std::get<Entry>(made);
    entry->toInstall = true;
    for (const Entry& known : edit.display.overridenModes) {
      if (!known->isEqualToRes(entry.get())) continue;
      if (known->toInstall) return known->displayedModeName() + " is there already, with this very timing";
      // One of those that the file held before.
      known->toInstall = true;
      printEntry(simulator.output(), edit.display, *known, "back:");
      return std::nullopt;
    }
    edit.display.overridenModes.push_back(entry);
    printEntry(simulator.output(), edit.display, *entry, "added:");
    return std::nullopt;
  });
}

/// Rates of formulas are seldom round.
std::string namesOf(const OverrideResolutions& entries) {
  std::string names;
  for (const Entry& entry : entries) {
    if (entry->toInstall) names += (names.empty() ? "; it has " : "; ") + entry->displayedModeName();
  }
  return names;
}

Outcome remove(Simulator& simulator, Arguments arguments) {
  const bool wantsAll = arguments[1] == "all";
  const auto wanted = parseResolution(arguments[1]);
  if (!wantsAll && !wanted) {
    return Outcome::refused(quoted(arguments[1]) + " is neither all nor a resolution such as 1600x900 or 1600x900@60");
  }
  return edited(simulator, arguments[0], [&](const Edit& edit) -> Refusal {
    const std::size_t removed = std::erase_if(edit.display.overridenModes, [&](const Entry& entry) {
      const bool goes = entry->toInstall && (wantsAll || wanted->matches(*entry));
      if (goes) simulator.output().data << "removed: " << kindText(*entry) << " " << entry->displayedModeName() << "\n";
      return goes;
    });
    if (removed > 0) return std::nullopt;
    return quoted(edit.name) + " has no custom resolution" + (wantsAll ? "" : " " + quoted(arguments[1])) +
           namesOf(edit.display.overridenModes);
  });
}

// --- Single records ---

/// Lets a record go into the file with what `fill` puts into it; without, it shall go out of it.
template <class Record, class Fill>
void putInto(std::shared_ptr<Record>& record, bool overrides, Fill fill) {
  if (record == nullptr) record = std::make_shared<Record>();
  record->shouldOverride = overrides;
  // It is as the user wants it, wherever it was found before.
  record->status = 0;
  if (overrides) fill(*record);
}

Outcome name(Simulator& simulator, Arguments arguments) {
  const std::string& text = arguments[1];
  if (text.empty() || !isWritableText(text)) {
    return Outcome::refused("a name has characters, none of them control characters: " + quoted(text));
  }
  return edited(simulator, arguments[0], [&](const Edit& edit) -> Refusal {
    putInto(edit.display.displayName, text != "off", [&](VLMOverrideDisplayName& record) { record.name = text; });
    // What is no choice of the user's follows the system.
    if (text == "off") edit.display.displayName->name = edit.display.sysMonitorName;
    return std::nullopt;
  });
}

Outcome range(Simulator& simulator, Arguments arguments) {
  const bool isOff = arguments[1] == "off";
  if (arguments.size() != (isOff ? 2U : 4U)) {
    return Outcome::refused(
        "override range DISPLAY MINH-MAXH MINV-MAXV MINCLOCK-MAXCLOCK, or override range DISPLAY off");
  }
  std::array<SpanArgument, 3> spans;
  for (std::size_t i = 0; !isOff && i < spans.size(); ++i) {
    const auto span = parseSpan(arguments[i + 1]);
    if (!span || span->highest > kLargestSide) {
      return Outcome::refused(quoted(arguments[i + 1]) + " is no range such as 30-81, the lower number first");
    }
    spans[i] = *span;
  }
  return edited(simulator, arguments[0], [&](const Edit& edit) -> Refusal {
    putInto(edit.display.monitorTiming, !isOff, [&](VLMOverrideMonitorRange& record) {
      record.minH = spans[0].lowest;
      record.maxH = spans[0].highest;
      record.minV = static_cast<std::uint32_t>(spans[1].lowest);
      record.maxV = static_cast<std::uint32_t>(spans[1].highest);
      record.minPClock = spans[2].lowest;
      record.maxPClock = spans[2].highest;
    });
    return std::nullopt;
  });
}

Outcome defaultResolution(Simulator& simulator, Arguments arguments) {
  const bool isOff = arguments[1] == "off";
  const auto mode = parseMode(arguments[1]);
  if (!isOff && (!mode || !mode->refreshHz || *mode->refreshHz > kHighestRateHz)) {
    return Outcome::refused(quoted(arguments[1]) + " is neither off nor a resolution with a rate such as 1920x1080@60");
  }
  return edited(simulator, arguments[0], [&](const Edit& edit) -> Refusal {
    putInto(edit.display.defaultResolution, !isOff, [&](VLMOverrideDefaultResolution& record) {
      record.Nx = mode->width;
      record.Ny = mode->height;
      record.Hz = *mode->refreshHz;
    });
    return std::nullopt;
  });
}

Outcome pixels(Simulator& simulator, Arguments arguments) {
  const bool isOff = arguments[1] == "off";
  const auto size = parseMode(arguments[1]);
  if (!isOff && (!size || size->refreshHz)) {
    return Outcome::refused(quoted(arguments[1]) + " is neither off nor a size such as 3840x2160");
  }
  return edited(simulator, arguments[0], [&](const Edit& edit) -> Refusal {
    putInto(edit.display.displayPixelDimensions, !isOff, [&](VLMOverrideDisplayPixelDimensions& record) {
      record.Nx = size->width;
      record.Ny = size->height;
    });
    return std::nullopt;
  });
}

Outcome policy(Simulator& simulator, Arguments arguments) {
  const auto isOn = parseSwitch(arguments[1]);
  if (!isOn) return Outcome::refused(notASwitch(arguments[1]));
  return edited(simulator, arguments[0], [&](const Edit& edit) -> Refusal {
    auto& record = edit.display.displayFreqPolicy;
    if (record == nullptr) record = std::make_shared<VLMOverrideBoolSettting>();
    record->settingActual = *isOn;
    return std::nullopt;
  });
}

Outcome importEdid(Simulator& simulator, Arguments arguments) {
  const bool isOff = arguments[1] == "off";
  const bool keepsOwnIdentity = arguments.size() == 3;
  if (keepsOwnIdentity && (isOff || arguments[2] != "--own-identity")) {
    return Outcome::refused("behind the file stands --own-identity or nothing, not " + quoted(arguments[2]));
  }
  plist::Data edid;
  if (!isOff) {
    const auto path = readPath(simulator.mac(), arguments[1]);
    if (const auto* reason = std::get_if<std::string>(&path)) return Outcome::refused(*reason);
    std::string reason;
    const auto content = readFile(std::get<std::filesystem::path>(path), kLongestEdid, reason);
    if (!content) return Outcome::refused(arguments[1] + ": " + reason);
    edid.assign(content->begin(), content->end());
  }
  return edited(simulator, arguments[0], [&](const Edit& edit) -> Refusal {
    if (!isOff) return edit.display.importEDID(edid, !keepsOwnIdentity);
    edit.display.importedEDID.reset();
    return std::nullopt;
  });
}

// --- The file ---

/// The settings keep what the file now has; of a monitor that is not attached they do so only when it has changed.
void saveRecords(const Edit& edit) {
  edit.display.setIsDirty(true);
  edit.document.savePrefs(SettingsGroup::displayRecords);
  edit.display.checkIsDirty();
}

Outcome notWritten(const Edit& edit, const std::string& reason) {
  return Outcome::notHeld(edit.display.overridePathForSaving() + " is not written: " + reason);
}

Outcome write(Simulator& simulator, Arguments arguments) {
  const Outcome outcome = onRecord(simulator, arguments[0], [&](const Edit& edit) {
    const OverrideComposition composed = edit.display.composeOverrides();
    if (const auto failure = edit.display.writeOverrides(composed.content)) return notWritten(edit, *failure);
    for (const std::string& finding : composed.findings) {
      simulator.output().data << simulator.output().red("! ") << finding << "\n";
    }
    saveRecords(edit);
    return Outcome{};
  });
  simulator.mac().turn();
  return outcome;
}

Outcome restore(Simulator& simulator, Arguments arguments) {
  const Outcome outcome = onRecord(simulator, arguments[0], [&](const Edit& edit) {
    if (const auto failure = edit.display.restoreOverrides()) return notWritten(edit, *failure);
    saveRecords(edit);
    return Outcome{};
  });
  if (!outcome.held()) return outcome;
  simulator.post("reloadPreferences", {});
  simulator.mac().turn();
  return {};
}

/// Somebody else, or an earlier version, has written there: nobody is asked, and nobody is told.
Outcome file(Simulator& simulator, Arguments arguments) {
  return onRecord(simulator, arguments[0], [&](const Edit& edit) {
    const std::filesystem::path place = simulator.mac().hostPath(edit.display.overridePathForSaving());
    plist::Value root = readPropertyList(place).value.value_or(plist::Dictionary());
    const bool isFirstOfList = arguments[1].starts_with("0.") && root == plist::Value(plist::Dictionary());
    if (isFirstOfList) root = plist::Array();
    if (!setValueAt(root, arguments[1], valueFrom(arguments[2]))) {
      return Outcome::refused("the file has no place " + arguments[1]);
    }
    std::error_code error;
    std::filesystem::create_directories(place.parent_path(), error);
    if (error) return Outcome::notHeld(error.message());
    const auto failure = replaceFile(place, composePropertyList(root));
    return failure ? Outcome::notHeld(*failure) : Outcome{};
  });
}

Outcome administrator(Simulator& simulator, Arguments arguments) {
  const auto isOn = parseSwitch(arguments[0]);
  if (!isOn) return Outcome::refused(notASwitch(arguments[0]));
  simulator.mac().administratorAllows = *isOn;
  return {};
}

constexpr std::array kCommands{
    Command{"override show", "DISPLAY", 1, 1,
            "custom resolutions and the other overrides of a display, with their state and what speaks against them",
            "override show Left", show, true},
    Command{"override add", "DISPLAY WIDTHxHEIGHT[i][@HZ] gtf|cvt|cvt-rb|cvt-rb2|scaled|standard", 3, 3,
            "the control application adds a custom resolution; in memory, until override write",
            "override add Left 1600x900@60 cvt-rb", add},
    Command{"override remove", "DISPLAY WIDTHxHEIGHT[i][@HZ]|all", 2, 2, "it removes custom resolutions of that size",
            "override remove Left 1600x900@60", remove},
    Command{"override name", "DISPLAY NAME|off", 2, 2, "the name that the system shows", "override name Left Desk",
            name},
    Command{"override range", "DISPLAY MINH-MAXH|off [MINV-MAXV] [MINCLOCK-MAXCLOCK]", 2, 4,
            "what the monitor takes: line rate in kHz, frame rate in Hz, pixel clock in MHz",
            "override range Left 30-81 56-76 25-170", range},
    Command{"override default", "DISPLAY WIDTHxHEIGHT@HZ|off", 2, 2, "the resolution that the system begins with",
            "override default Left 1920x1080@60", defaultResolution},
    Command{"override pixels", "DISPLAY WIDTHxHEIGHT|off", 2, 2, "the size of the panel in pixels",
            "override pixels Left 2560x1440", pixels},
    Command{"override policy", "DISPLAY on|off", 2, 2, "the refresh-rate policy", "override policy Left on", policy},
    Command{"override import", "DISPLAY FILE|off [--own-identity]", 2, 3,
            "another EDID for it: maker, model and date stay the monitor's, or are the file's own",
            "override import Left ~/better.bin", importEdid},
    Command{"override write", "DISPLAY", 1, 1, "writes all that into the display's override file, as an administrator",
            "override write Left", write},
    Command{"override restore", "DISPLAY", 1, 1, "the override file is again what it was before the first write",
            "override restore Left", restore},
    Command{"override file", "DISPLAY KEYPATH VALUE", 3, 3,
            "an earlier version, or somebody else, has put a value into the override file; data:0A1F for bytes",
            "override file Left VLDisplayProductName Desk", file},
    Command{"administrator", "on|off", 1, 1, "whether the user lets programs act as an administrator",
            "administrator on", administrator},
};

}  // namespace

std::span<const Command> overrideCommands() { return kCommands; }

}  // namespace vlm::sim
