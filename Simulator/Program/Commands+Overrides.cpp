#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <ostream>

#include "Models/OverrideContent.h"
#include "Platform/Files.h"
#include "Platform/Numbers.h"
#include "Platform/Process.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/Commands.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Json.h"
#include "Simulator/Program/OnDocument.h"
#include "Simulator/Program/OverrideEntries.h"
#include "Simulator/Program/OverrideTexts.h"
#include "Simulator/Program/Paths.h"
#include "Simulator/Program/Settings.h"
#include "Simulator/Program/Views.h"

/// The control application's window of custom resolutions: it edits the daemon's records, which stay in memory until
/// they are written into the display's override file.
namespace vlm::sim {

namespace {

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

std::vector<std::string> resolutionRow(const plist::Dictionary& view, const VLMOverrideResolution& entry) {
  const bool isTiming = view.real("pixelClockMHz") > 0;
  const bool isUnknown = entry.resolutionType == VLMOverrideResolution::kStandardMode && !isTiming;
  return {isUnknown ? shortName(entry) : entry.displayedModeName(),
          *view.string("kind"),
          isTiming ? shortNumber(view.real("pixelClockMHz")) + " MHz" : "-",
          isTiming ? shortNumber(view.real("lineRateKHz")) + " kHz" : "-",
          view.boolean("overrides") ? "yes" : "-",
          wordsOf(view)};
}

/// A table whose lines are followed by the findings of what they show.
void printResolutions(Output& output, const plist::Array& views, const OverrideResolutions& entries) {
  std::vector<std::vector<std::string>> rows{
      {"RESOLUTION", "KIND", "PIXEL CLOCK", "LINE RATE", "TO THE FILE", "STATUS"}};
  for (std::size_t i = 0; i < views.size(); ++i) rows.push_back(resolutionRow(*views[i].dictionary(), *entries[i]));
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
  if (view.boolean("fileExists") && !view.boolean("fileReadable")) return text + ": cannot be read";
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
    if (!resolutions.empty()) printResolutions(output, resolutions, edit.display.overridenModes);
    printRecords(output, *view.array("records"));
    return Outcome{};
  });
}

// --- Custom resolutions ---

using Entry = std::shared_ptr<VLMOverrideResolution>;

void printEntry(Output& output, VLMDisplay& display, const VLMOverrideResolution& entry, const std::string& what) {
  const bool hasTiming = entry.resolutionType != VLMOverrideResolution::kScaled;
  output.data << what << " " << kindText(entry) << " " << shortName(entry);
  output.data << (hasTiming ? ": " + timingText(entry) : "") << "\n";
  for (const std::string& finding : display.findingsOf(entry)) {
    output.data << "    " << output.red("! ") << finding << "\n";
  }
}

Outcome add(Simulator& simulator, Arguments arguments) {
  return edited(simulator, arguments[0], [&](const Edit& edit) -> Refusal {
    const auto read = entryFor(edit.display, arguments[1], arguments[2]);
    if (const auto* reason = std::get_if<std::string>(&read)) return *reason;
    const auto& [entry, notes] = std::get<MadeEntry>(read);
    entry->toInstall = true;
    for (const Entry& known : edit.display.overridenModes) {
      if (!known->isEqualToRes(entry.get())) continue;
      const bool isScaled = known->resolutionType == VLMOverrideResolution::kScaled;
      if (known->toInstall)
        return shortName(*known) + " is there already" + (isScaled ? "" : ", with this very timing");
      // One of those that the file held before.
      known->toInstall = true;
      printEntry(simulator.output(), edit.display, *known, "back:");
      return std::nullopt;
    }
    edit.display.overridenModes.push_back(entry);
    for (const std::string& note : notes) simulator.output().data << note << "\n";
    printEntry(simulator.output(), edit.display, *entry, "added:");
    return std::nullopt;
  });
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
      if (goes) simulator.output().data << "removed: " << kindText(*entry) << " " << shortName(*entry) << "\n";
      return goes;
    });
    if (removed > 0) return std::nullopt;
    return quoted(edit.name) + " has no custom resolution" + (wantsAll ? "" : " " + quoted(arguments[1])) +
           (wantsAll ? "" : nearestOf(edit.display.overridenModes, wanted->mode));
  });
}

// --- Single records ---

/// Lets a record go into the file with what `fill` puts into it; without, it shall go out of it.
template <class Record, class Fill>
void putInto(VLMDisplay& display, std::shared_ptr<Record>& record, bool overrides, Fill fill) {
  if (record == nullptr) record = std::make_shared<Record>();
  if (!overrides && !record->shouldOverride && !record->isModified()) return;
  record->shouldOverride = overrides;
  // It is as the user wants it, wherever it was found before.
  record->status = 0;
  if (overrides) fill(*record);
  if (overrides || record->isModified()) return;
  // There is nothing of it in the file to be taken out; what is no choice of the user's follows the system.
  record = nullptr;
  const auto count = display.countOfOriginalModes;
  display.completeOverridesWithActualSettings();
  // Nothing of the resolutions was read.
  display.countOfOriginalModes = count;
}

Outcome name(Simulator& simulator, Arguments arguments) {
  const std::string& text = arguments[1];
  if (text.empty() || !isWritableText(text)) {
    return Outcome::refused("a name has characters, none of them control characters: " + quoted(text));
  }
  if (text.find(kOverrideNamePrefix) != std::string::npos) {
    return Outcome::refused(quoted(std::string(kOverrideNamePrefix)) + " is taken out of names when they are read");
  }
  return edited(simulator, arguments[0], [&](const Edit& edit) -> Refusal {
    putInto(edit.display, edit.display.displayName, text != "off",
            [&](VLMOverrideDisplayName& record) { record.name = text; });
    // What is no choice of the user's follows the system.
    if (text == "off" && edit.display.displayName != nullptr)
      edit.display.displayName->name = edit.display.sysMonitorName;
    return std::nullopt;
  });
}

struct RangeLimit {
  const char* what;
  const char* unit;
  double most;
  bool isWhole;  ///< the platform's record has no fractions
};
constexpr std::array kRangeLimits{RangeLimit{"a line rate", " kHz", 10000, false},
                                  RangeLimit{"a frame rate", " Hz", 1000, true},
                                  RangeLimit{"a pixel clock", " MHz", 100000, false}};

Refusal faultOfSpan(const std::string& text, const SpanArgument& span, const RangeLimit& limit) {
  if (span.highest < span.lowest) return quoted(text) + ": the lower number comes first";
  if (span.lowest < 0 || span.highest > limit.most) {
    return quoted(text) + ": " + limit.what + " is at most " + shortNumber(limit.most) + limit.unit;
  }
  const bool isWhole = span.lowest == std::floor(span.lowest) && span.highest == std::floor(span.highest);
  if (limit.isWhole && !isWhole) return quoted(text) + ": " + limit.what + " is in whole" + limit.unit + " there";
  return std::nullopt;
}

Outcome range(Simulator& simulator, Arguments arguments) {
  const bool isOff = arguments[1] == "off";
  if (arguments.size() != (isOff ? 2U : 4U)) {
    return Outcome::refused("a range is off, or three of them, as in override range Left 30-81 56-76 25-170");
  }
  std::array<SpanArgument, 3> spans;
  double highest = 0;
  for (std::size_t i = 0; !isOff && i < spans.size(); ++i) {
    const auto span = parseSpan(arguments[i + 1]);
    if (!span) return Outcome::refused(quoted(arguments[i + 1]) + " is no range such as 30-81");
    if (const Refusal reason = faultOfSpan(arguments[i + 1], *span, kRangeLimits[i])) return Outcome::refused(*reason);
    spans[i] = *span;
    highest = std::max(highest, span->highest);
  }
  if (!isOff && highest == 0) return Outcome::refused("a range of zeros says nothing; override range DISPLAY off");
  return edited(simulator, arguments[0], [&](const Edit& edit) -> Refusal {
    putInto(edit.display, edit.display.monitorTiming, !isOff, [&](VLMOverrideMonitorRange& record) {
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

/// The size, and rate where there is one, that stands behind a command; absent for "off".
std::variant<std::optional<ModeArgument>, std::string> readSize(const std::string& text, const std::string& example) {
  if (text == "off") return std::optional<ModeArgument>();
  const auto read = readResolution(text, "1920x1080@60");
  const auto* const wanted = std::get_if<ResolutionArgument>(&read);
  if (wanted == nullptr && text.find('@') != std::string::npos) return std::get<std::string>(read);
  if (wanted == nullptr) return quoted(text) + " is neither off nor " + example;
  const auto& [mode, interlaced] = *wanted;
  const bool wantsRate = example.find('@') != std::string::npos;
  if (interlaced || mode.refreshHz.has_value() != wantsRate) return quoted(text) + " is neither off nor " + example;
  if (const Refusal reason = faultOfSize(mode)) return *reason;
  return std::optional(mode);
}

Outcome defaultResolution(Simulator& simulator, Arguments arguments) {
  const auto read = readSize(arguments[1], "a resolution with a rate such as 1920x1080@60");
  if (const auto* reason = std::get_if<std::string>(&read)) return Outcome::refused(*reason);
  const auto& mode = std::get<std::optional<ModeArgument>>(read);
  return edited(simulator, arguments[0], [&](const Edit& edit) -> Refusal {
    putInto(edit.display, edit.display.defaultResolution, mode.has_value(), [&](VLMOverrideDefaultResolution& record) {
      record.Nx = mode->width;
      record.Ny = mode->height;
      record.Hz = *mode->refreshHz;
    });
    return std::nullopt;
  });
}

Outcome pixels(Simulator& simulator, Arguments arguments) {
  const auto read = readSize(arguments[1], "a size such as 3840x2160");
  if (const auto* reason = std::get_if<std::string>(&read)) return Outcome::refused(*reason);
  const auto& size = std::get<std::optional<ModeArgument>>(read);
  return edited(simulator, arguments[0], [&](const Edit& edit) -> Refusal {
    putInto(edit.display, edit.display.displayPixelDimensions, size.has_value(),
            [&](VLMOverrideDisplayPixelDimensions& record) {
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
  if (arguments[1] == "--own-identity") return Outcome::refused("in front of --own-identity stands a file");
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
    std::ostream& answer = simulator.output().data;
    if (isOff) {
      const bool hadOne = edit.display.importedEDID.has_value();
      edit.display.importedEDID.reset();
      answer << (hadOne ? "the imported EDID is taken back" : "there was no imported EDID") << "\n";
      return std::nullopt;
    }
    if (const Refusal reason = edit.display.importEDID(edid, !keepsOwnIdentity)) return arguments[1] + ": " + *reason;
    answer << "imported: " << edid.size() << " bytes of " << arguments[1] << ", with "
           << (keepsOwnIdentity ? "its own" : "the monitor's") << " maker, model and date\n";
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
  const std::string path = edit.display.overridePathForSaving();
  if (reason.starts_with(path)) return Outcome::notHeld("not written: " + reason);
  const bool isForbidden = reason == std::strerror(EACCES) && !edit.simulator.mac().administratorAllows;
  const std::string hint = isForbidden ? " (administrator on lets it)" : "";
  return Outcome::notHeld(path + " is not written: " + reason + hint);
}

/// The file has all of it, the snapshot of what was there before aside.
bool isInFile(const Edit& edit, plist::Dictionary content) {
  auto inFile = edit.display.makeContentOfOverrideDictionary(true);
  if (!inFile) return false;
  for (plist::Dictionary* each : {&content, &*inFile}) each->remove(OverrideKey::backup);
  return content == *inFile;
}

Outcome write(Simulator& simulator, Arguments arguments) {
  const Outcome outcome = onRecord(simulator, arguments[0], [&](const Edit& edit) {
    const OverrideComposition composed = edit.display.composeOverrides();
    const std::string path = edit.display.overridePathForSaving();
    std::ostream& answer = simulator.output().data;
    const bool isSame = isInFile(edit, composed.content);
    if (isSame) {
      // Somebody else may have written into it since; and the settings may have what was wished for in between.
      edit.display.readOverrideFileAnew();
      saveRecords(edit);
    }
    if (isSame && !edit.display.willNeedToSaveOverride()) {
      const bool isThere = os().files.checkResourceIsReachable(path);
      answer << "nothing to be written: " << (isThere ? "the file has all of it" : "nothing is overridden") << "\n";
      return Outcome{};
    }
    for (const std::string& finding : composed.findings) {
      answer << simulator.output().red("! ") << withoutPadding(finding) << "\n";
    }
    if (isSame && !composed.findings.empty()) return notWritten(edit, "nothing that is missing in it can be");
    if (const auto failure = edit.display.writeOverrides(composed.content)) return notWritten(edit, *failure);
    answer << "written: " << path << "; the display heeds it when it is plugged in the next time\n";
    saveRecords(edit);
    return Outcome{};
  });
  simulator.mac().turn();
  return outcome;
}

Outcome restore(Simulator& simulator, Arguments arguments) {
  const Outcome outcome = onRecord(simulator, arguments[0], [&](const Edit& edit) {
    const bool hadFile = edit.display.contentBeforeOverrides().has_value();
    if (const auto failure = edit.display.restoreOverrides()) return notWritten(edit, *failure);
    std::ostream& answer = simulator.output().data;
    if (hadFile) {
      answer << edit.display.overridePathForSaving() << " is as it was found at first\n";
    } else {
      answer << "there is no file; what was not written is forgotten\n";
    }
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
  if (arguments[1].empty()) return Outcome::refused("the key path is empty; DisplayProductName is one");
  const plist::Value value = valueFrom(arguments[2]);
  if (value.string() != nullptr && arguments[2].starts_with("data:")) {
    return Outcome::refused(quoted(arguments[2]) + " is no bytes such as data:0A1F; text:data: begins a text");
  }
  return onRecord(simulator, arguments[0], [&](const Edit& edit) {
    const std::string path = edit.display.overridePathForSaving();
    const std::filesystem::path place = simulator.mac().hostPath(path);
    const PropertyListResult read = readPropertyList(place);
    std::error_code error;
    if (!read.value && std::filesystem::exists(place, error)) return Outcome::refused(path + ": " + read.reason);
    plist::Value root = read.value.value_or(plist::Dictionary());
    const bool isFirstOfList = arguments[1].starts_with("0.") && root == plist::Value(plist::Dictionary());
    if (isFirstOfList) root = plist::Array();
    if (!setValueAt(root, arguments[1], value)) {
      return Outcome::refused("the file has no place " + arguments[1]);
    }
    std::filesystem::create_directories(place.parent_path(), error);
    if (error) return Outcome::notHeld(error.message());
    const auto failure = replaceFile(place, composePropertyList(root));
    return failure ? Outcome::notHeld(*failure) : Outcome{};
  });
}

/// The file ends early, as after a fault of the disk.
Outcome cut(Simulator& simulator, Arguments arguments) {
  const auto bytes = parseInteger(arguments[1]);
  if (!bytes || *bytes < 0) return Outcome::refused(quoted(arguments[1]) + " is no number of bytes");
  return onRecord(simulator, arguments[0], [&](const Edit& edit) {
    const std::string path = edit.display.overridePathForSaving();
    const std::filesystem::path place = simulator.mac().hostPath(path);
    const auto length = static_cast<std::uintmax_t>(*bytes);
    std::error_code error;
    const auto size = std::filesystem::file_size(place, error);
    if (!error && size < length) return Outcome::refused(path + " has " + std::to_string(size) + " bytes only");
    if (!error) std::filesystem::resize_file(place, length, error);
    return error ? Outcome::refused(path + ": " + error.message()) : Outcome{};
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
    Command{"override range", "DISPLAY off|(MINH-MAXH MINV-MAXV MINCLOCK-MAXCLOCK)", 2, 4,
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
    Command{"override cut", "DISPLAY BYTES", 2, 2, "the override file is cut short, as after a fault of the disk",
            "override cut Left 100", cut},
    Command{"administrator", "on|off", 1, 1, "whether the user lets programs act as an administrator",
            "administrator on", administrator},
};

}  // namespace

std::span<const Command> overrideCommands() { return kCommands; }

}  // namespace vlm::sim
