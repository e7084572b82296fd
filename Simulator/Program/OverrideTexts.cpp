#include "Simulator/Program/OverrideTexts.h"

#include <algorithm>
#include <array>

#include "Models/OverrideContent.h"
#include "Platform/Files.h"
#include "Platform/Process.h"
#include "Shared/VLMExtension.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Views.h"

namespace vlm::sim {

namespace {

std::string sizeOf(std::uint32_t width, std::uint32_t height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

std::string spanText(double lowest, double highest) { return shortNumber(lowest) + "-" + shortNumber(highest); }

// --- Each record in the form of its command; asked of one that shall be in the file ---

std::string textOf(const VLMOverrideDisplayName& name) { return name.name.value_or(""); }

std::string textOf(const VLMOverrideMonitorRange& range) {
  if (range.isEmpty()) return "-";
  return spanText(range.minH, range.maxH) + " " + spanText(range.minV, range.maxV) + " " +
         spanText(range.minPClock, range.maxPClock);
}

std::string textOf(const VLMOverrideDefaultResolution& resolution) {
  return sizeOf(resolution.Nx, resolution.Ny) + "@" + shortNumber(resolution.Hz);
}

std::string textOf(const VLMOverrideDisplayPixelDimensions& dimensions) { return sizeOf(dimensions.Nx, dimensions.Ny); }

template <class Record>
std::string commandText(const std::shared_ptr<Record>& record) {
  return record != nullptr && record->shouldOverride ? textOf(*record) : "off";
}

std::string policyText(const VLMDisplay& display) {
  return display.displayFreqPolicy != nullptr && display.displayFreqPolicy->settingActual ? "on" : "off";
}

std::string importText(const VLMDisplay& display) {
  if (!display.importedEDID) return "off";
  return display.importedEDIDKeepsID ? "monitor's identity" : "own identity";
}

bool isRange(const std::string& text) {
  std::size_t spans = 0;
  for (std::size_t at = 0; at <= text.size(); ++spans) {
    const std::size_t end = std::min(text.find(' ', at), text.size());
    if (!parseSpan(std::string_view(text).substr(at, end - at))) return false;
    at = end + 1;
  }
  return spans == 3;
}

struct RecordRow {
  std::string_view name;
  std::string (*text)(const VLMDisplay& display);
  bool (*canBe)(const std::string& text);
  const char* values;
};
constexpr std::array kRecords{
    RecordRow{"name", [](const VLMDisplay& display) { return commandText(display.displayName); },
              [](const std::string& text) { return !text.empty() && isWritableText(text); }, "off or a name"},
    RecordRow{"range", [](const VLMDisplay& display) { return commandText(display.monitorTiming); },
              [](const std::string& text) { return text == "off" || isRange(text); },
              "off or three ranges such as \"30-81 56-76 25-170\""},
    RecordRow{"default", [](const VLMDisplay& display) { return commandText(display.defaultResolution); },
              [](const std::string& text) {
                const auto mode = parseMode(text);
                return text == "off" || (mode && mode->refreshHz);
              },
              "off or a resolution with a rate such as 1920x1080@60"},
    RecordRow{"pixels", [](const VLMDisplay& display) { return commandText(display.displayPixelDimensions); },
              [](const std::string& text) {
                const auto mode = parseMode(text);
                return text == "off" || (mode && !mode->refreshHz);
              },
              "off or a size such as 3840x2160"},
    RecordRow{"policy", policyText, [](const std::string& text) { return parseSwitch(text).has_value(); }, "on or off"},
    RecordRow{
        "import", importText,
        [](const std::string& text) { return text == "off" || text == "own identity" || text == "monitor's identity"; },
        "off, \"own identity\" or \"monitor's identity\""},
};

// --- States ---

/// Of a display that is not attached nothing is offered, whatever was when it was seen last.
plist::Array stateWords(const VLMDisplay& display, std::int16_t status, bool isModified) {
  plist::Array words;
  if (isModified) words.emplace_back("not written yet");
  if ((status & kOverrideFoundInOverrideFile) != 0) words.emplace_back("in the file");
  if ((status & kOverrideFoundInSettings) != 0) words.emplace_back("in the settings");
  if ((status & kOverrideFoundInSystem) != 0 && display.isAttached()) words.emplace_back("offered now");
  return words;
}

template <class Record>
void addRecord(plist::Array& records, const VLMDisplay& display, const char* what,
               const std::shared_ptr<Record>& record) {
  if (record == nullptr) return;
  records.emplace_back(plist::Dictionary{{"record", what},
                                         {"value", textOf(*record)},
                                         {"overrides", record->shouldOverride},
                                         {"status", stateWords(display, record->status, record->isModified())}});
}

void addPolicy(plist::Array& records, const VLMOverrideBoolSettting* policy) {
  if (policy == nullptr) return;
  plist::Array status;
  if (policy->shouldOverride()) status.emplace_back("not written yet");
  if (policy->settingInOverride) status.emplace_back("in the file");
  if (policy->settingInPreferences) status.emplace_back("in the settings");
  records.emplace_back(plist::Dictionary{{"record", "policy"},
                                         {"value", policy->settingActual ? "on" : "off"},
                                         {"overrides", policy->settingActual},
                                         {"status", std::move(status)}});
}

void addEdid(plist::Array& records, const VLMDisplay& display) {
  plist::Array status;
  if (display.hasToOverrideImportedEDID()) status.emplace_back("not written yet");
  if (display.inOverrideFileEDID) status.emplace_back("in the file");
  std::string value = display.importedEDID ? "imported, with its own identity" : "the monitor's own";
  if (display.importedEDID && display.importedEDIDKeepsID) value = "imported, with the monitor's identity";
  if (display.inOverrideFileEDID) {
    if (hasImportedMark(*display.inOverrideFileEDID)) status.emplace_back("marked as imported");
    const std::size_t timings = timingsInVLMExtensions(*display.inOverrideFileEDID).size();
    if (timings > 0) status.emplace_back("custom timings in it: " + std::to_string(timings));
  }
  records.emplace_back(plist::Dictionary{{"record", "import"},
                                         {"value", value},
                                         {"overrides", display.importedEDID.has_value()},
                                         {"status", std::move(status)}});
}

plist::Dictionary resolutionView(VLMDisplay& display, const VLMOverrideResolution& entry) {
  const bool isScaled = entry.resolutionType == VLMOverrideResolution::kScaled;
  plist::Dictionary view{{"name", shortName(entry)},
                         {"kind", kindText(entry)},
                         {"width", isScaled ? entry.scaledNx : entry.activeNx},
                         {"height", isScaled ? entry.scaledNy : entry.activeNy},
                         {"overrides", entry.toInstall},
                         {"status", stateWords(display, entry.status, entry.isModified())}};
  if (entry.resolutionType == VLMOverrideResolution::kStandardMode) view.set("systemNumber", entry.appleID);
  if (!isScaled) {
    view.set("refreshHz", rateView(entry.vfreq));
    view.set("pixelClockMHz", rateView(entry.pixelClock));
    view.set("lineRateKHz", rateView(entry.hfreq));
    view.set("interlaced", entry.interlaced);
  }
  plist::Array findings;
  for (const std::string& finding : display.findingsOf(entry)) findings.emplace_back(finding);
  if (entry.isDuplicate) findings.emplace_back("it is there twice");
  view.set("findings", std::move(findings));
  return view;
}

}  // namespace

bool ResolutionArgument::matches(const VLMOverrideResolution& entry) const {
  if (entry.resolutionType == VLMOverrideResolution::kScaled) {
    return !interlaced && !mode.refreshHz && mode.matches(entry.scaledNx, entry.scaledNy, 0);
  }
  return interlaced == entry.interlaced && mode.matches(entry.activeNx, entry.activeNy, entry.vfreq);
}

std::optional<ResolutionArgument> parseResolution(std::string_view text) {
  std::string plain(text);
  const std::size_t end = std::min(plain.find('@'), plain.size());
  const bool interlaced = end > 0 && plain[end - 1] == 'i';
  if (interlaced) plain.erase(end - 1, 1);
  const auto mode = parseMode(plain);
  return mode ? std::optional(ResolutionArgument{.mode = *mode, .interlaced = interlaced}) : std::nullopt;
}

std::optional<SpanArgument> parseSpan(std::string_view text) {
  const std::size_t dash = text.find('-');
  if (dash == std::string_view::npos) return std::nullopt;
  const auto lowest = parseReal(text.substr(0, dash));
  const auto highest = parseReal(text.substr(dash + 1));
  if (!lowest || !highest) return std::nullopt;
  return SpanArgument{.lowest = *lowest, .highest = *highest};
}

std::string withoutPadding(std::string text) {
  text.erase(0, text.find_first_not_of(' '));
  text.erase(text.find_last_not_of(' ') + 1);
  for (const std::string_view padded : {" ,", " :"}) {
    for (std::size_t at = text.find(padded); at != std::string::npos; at = text.find(padded)) text.erase(at, 1);
  }
  return text;
}

std::string shortName(const VLMOverrideResolution& entry) {
  const bool isUnknown = entry.resolutionType == VLMOverrideResolution::kStandardMode && entry.activeNx == 0;
  return isUnknown ? "number " + std::to_string(entry.appleID) : withoutPadding(entry.displayedModeName());
}

std::string kindText(const VLMOverrideResolution& entry) {
  if (entry.resolutionType == VLMOverrideResolution::kScaled) return "scaled";
  return entry.resolutionType == VLMOverrideResolution::kStandardMode ? "standard" : "custom";
}

std::string timingText(const VLMOverrideResolution& entry) {
  const auto parts = [](std::initializer_list<std::uint32_t> figures) {
    std::string text;
    for (const std::uint32_t figure : figures) text += (text.empty() ? "" : " + ") + std::to_string(figure);
    return text;
  };
  return shortNumber(entry.pixelClock) + " MHz, " + shortNumber(entry.hfreq) + " kHz, " +
         parts({entry.activeNx, entry.frontNx, entry.syncNx, entry.backNx}) + " pixels, " +
         parts({entry.activeNy, entry.frontNy, entry.syncNy, entry.backNy}) +
         " lines (active, front porch, sync, back porch)";
}

std::optional<std::string> recordText(const VLMDisplay& display, std::string_view record) {
  for (const RecordRow& row : kRecords) {
    if (row.name == record) return row.text(display);
  }
  return std::nullopt;
}

std::optional<std::string> faultOfRecordText(std::string_view record, const std::string& text) {
  const auto* const row = std::ranges::find(kRecords, record, &RecordRow::name);
  if (row == kRecords.end() || row->canBe(text)) return std::nullopt;
  return quoted(text) + " is no value of " + std::string(record) + ", which is " + row->values;
}

std::string recordNames() {
  std::string names;
  for (const RecordRow& row : kRecords) names += (names.empty() ? "" : ", ") + std::string(row.name);
  return names;
}

plist::Dictionary overridesView(VLMDisplay& display, const std::string& name) {
  const auto content = display.makeContentOfOverrideDictionary(true);
  const std::string path = display.overridePathForSaving();
  plist::Dictionary view{{"display", name},
                         {"file", path},
                         {"fileExists", os().files.checkResourceIsReachable(path)},
                         {"fileReadable", os().files.propertyListWithContentsOfURL(path).has_value()},
                         {"fileFound", display.typeOfOverrideFile != 0},
                         {"needsWriting", display.willNeedToSaveOverride()},
                         {"hasBackup", content.has_value() && content->contains(OverrideKey::backup)}};
  plist::Array resolutions;
  for (const auto& entry : display.overridenModes) resolutions.emplace_back(resolutionView(display, *entry));
  view.set("resolutions", std::move(resolutions));
  plist::Array records;
  addRecord(records, display, "name", display.displayName);
  addRecord(records, display, "range", display.monitorTiming);
  addRecord(records, display, "default", display.defaultResolution);
  addRecord(records, display, "pixels", display.displayPixelDimensions);
  addPolicy(records, display.displayFreqPolicy.get());
  addEdid(records, display);
  view.set("records", std::move(records));
  return view;
}

}  // namespace vlm::sim
