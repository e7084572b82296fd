#include "Simulator/Mac/Machine.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>

#include "Simulator/Mac/DdcMonitor.h"
#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/RecordReading.h"

namespace vlm::sim {

namespace {

/// What is beyond these is a slip of the pen.
constexpr std::size_t kMostDisplays = 16, kLongestName = 60, kMostBuses = 8;
constexpr std::uint32_t kHighestPort = 63;
constexpr float kHighestScale = 4;
constexpr double kHighestRate = 1000;

/// Of a UTF-8 text.
std::size_t charactersIn(const std::string& text) {
  return std::size_t(std::count_if(text.begin(), text.end(), [](char c) { return (c & '\xC0') != '\x80'; }));
}

/// A display as the file says it: its EDID may be named in three ways, its port may be left open.
struct DisplayInFile : DisplayDescription {
  std::optional<std::string> edidPath;
  std::optional<plist::Data> edidData;
  std::optional<MonitorDescription> monitor;
  std::optional<std::uint32_t> givenPort;
};

struct MachineInFile : MachineDescription {
  std::vector<DisplayInFile> displaysInFile;
};

Problem readName(DisplayInFile& display, const plist::Value& value);
Problem readPort(DisplayInFile& display, const plist::Value& value);
Problem readMonitor(DisplayInFile& display, const plist::Value& value);
Problem readModeOptions(DisplayInFile& display, const plist::Value& value);
Problem readListedModes(DisplayInFile& display, const plist::Value& value);
Problem readOrigin(DisplayInFile& display, const plist::Value& value);
Problem readFraction(DisplayInFile& display, const plist::Value& value);
Problem readDdc(DisplayInFile& display, const plist::Value& value);
Problem readBuses(DisplayInFile& display, const plist::Value& value);
Problem readDelayUnit(DisplayInFile& display, const plist::Value& value);
template <class Record>
Problem readDepths(Record& record, const plist::Value& value);
Problem readScale(ListedMode& mode, const plist::Value& value);
Problem readRate(ListedMode& mode, const plist::Value& value);
Problem readSeparator(MachineInFile& machine, const plist::Value& value);
Problem readVolume(MachineInFile& machine, const plist::Value& value);
Problem readProcessor(MachineInFile& machine, const plist::Value& value);
Problem readVersion(MachineInFile& machine, const plist::Value& value);
Problem readDisplays(MachineInFile& machine, const plist::Value& value);
template <auto kField>
Problem readProcesses(MachineInFile& machine, const plist::Value& value);
Problem readPolicy(ProcessDescription& process, const plist::Value& value);
Problem readWindows(ProcessDescription& process, const plist::Value& value);

// The keys of a machine file. Kind and default are those of the field; what is not a field of its own has a remark.

constexpr auto kMachineKeys = std::to_array<RecordKey<MachineInFile>>({
    {"name", field<&MachineDescription::name>},
    {"processor", readProcessor},                                        // "intel" (default) or "appleSilicon"
    {"systemVersion", readVersion},                                      // text "12.6" or "12.6.1"
    {"displays", readDisplays},                                          // array of dictionaries, required
    {"processes", readProcesses<&MachineDescription::processes>},        // array of dictionaries: what runs …
    {"applications", readProcesses<&MachineDescription::applications>},  // … and what could be launched
    {"graphicsControl", field<&MachineDescription::graphicsControl>},
    {"darkAppearance", field<&MachineDescription::darkAppearance>},
    {"accessibilityTrusted", field<&MachineDescription::accessibilityTrusted>},
    {"grayscale", field<&MachineDescription::grayscale>},
    {"dockAutoHides", field<&MachineDescription::dockAutoHides>},
    {"volume", readVolume},               // 0 to 1, or "none": no output device
    {"decimalSeparator", readSeparator},  // text, one character
});

constexpr auto kProcessKeys = std::to_array<RecordKey<ProcessDescription>>({
    {"bundleIdentifier", field<&ProcessDescription::bundleIdentifier>},
    {"name", field<&ProcessDescription::name>},
    {"bundlePath", field<&ProcessDescription::bundlePath>},
    {"version", field<&ProcessDescription::version>},
    {"activationPolicy", readPolicy},  // "regular" (default), "accessory" or "prohibited"
    {"windows", readWindows},          // array of texts "X,Y WxH" or "X,Y WxH layer N", points
});

constexpr auto kDisplayKeys = std::to_array<RecordKey<DisplayInFile>>({
    {"name", readName},                             // required, unique in any case of letters
    {"edid", field<&DisplayInFile::edidPath>},      // text: a raw EDID file, relative to the machine file …
    {"edidData", field<&DisplayInFile::edidData>},  // … or data: the EDID itself …
    {"monitor", readMonitor},                       // … or a dictionary that describes the monitor
    {"builtIn", field<&DisplayDescription::builtIn>},
    {"plugged", field<&DisplayDescription::plugged>},
    {"enabled", field<&DisplayDescription::enabled>},
    {"port", readPort},                // absent: the first one that is free
    {"modeOptions", readModeOptions},  // dictionary
    {"modes", readListedModes},        // array of dictionaries, instead of those that EDID and options give
    {"mode", field<&DisplayDescription::mode>},
    {"origin", readOrigin},  // text "X,Y", points
    {"canRotate", field<&DisplayDescription::canRotate>},
    {"canOverscan", field<&DisplayDescription::canOverscan>},
    {"canUnderscan", field<&DisplayDescription::canUnderscan>},
    {"canDisable", field<&DisplayDescription::canDisable>},
    {"supportsHDR", field<&DisplayDescription::supportsHDR>},
    {"systemBrightness", field<&DisplayDescription::systemBrightness>},
    {"brightness", readFraction},  // 0 to 1
    {"ddc", readDdc},              // "none" (default), "healthy" or one of DdcMonitor's other words
    {"ddcMaximum", field<&DisplayDescription::ddcMaximum>},
    {"ddcCurrent", field<&DisplayDescription::ddcCurrent>},
    {"i2cBuses", readBuses},  // array of texts: "working", "closed" or "failing"
    {"i2cTransactionTypes", field<&DisplayDescription::i2cTransactionTypes>},
    {"i2cDelayUnit", readDelayUnit},  // "nanoseconds" (default) or "milliseconds"
    {"presets", field<&DisplayDescription::presets>},
    {"probeOptions", field<&DisplayDescription::probeOptions>},
    {"hardwareMirrorOf", field<&DisplayDescription::hardwareMirrorOf>},  // text: another display's name
});

constexpr auto kMonitorKeys = std::to_array<RecordKey<MonitorDescription>>({
    {"vendor", field<&MonitorDescription::vendor>},
    {"product", field<&MonitorDescription::product>},
    {"serial", field<&MonitorDescription::serial>},
    {"name", field<&MonitorDescription::name>},  // absent: the display's
    {"serialText", field<&MonitorDescription::serialText>},
    {"week", field<&MonitorDescription::week>},
    {"year", field<&MonitorDescription::year>},
    {"digital", field<&MonitorDescription::digital>},
    {"widthMillimetres", field<&MonitorDescription::widthMillimetres>},
    {"heightMillimetres", field<&MonitorDescription::heightMillimetres>},
    {"nativeWidth", field<&MonitorDescription::nativeWidth>},
    {"nativeHeight", field<&MonitorDescription::nativeHeight>},
    {"nativeRefreshHz", field<&MonitorDescription::nativeRefreshHz>},
    {"moreTimings", field<&MonitorDescription::moreTimings>},
});

constexpr auto kModeOptionsKeys = std::to_array<RecordKey<ModeOptions>>({
    {"depths", readDepths<ModeOptions>},
    {"hiDPI", field<&ModeOptions::hiDPI>},
    {"scaledSizes", field<&ModeOptions::scaledSizes>},
    {"oddities", field<&ModeOptions::oddities>},
    {"variableRefresh", field<&ModeOptions::variableRefresh>},
    {"firstModeNumber", field<&ModeOptions::firstModeNumber>},
    {"firstFrameBufferModeID", field<&ModeOptions::firstFrameBufferModeID>},
});

constexpr auto kListedModeKeys = std::to_array<RecordKey<ListedMode>>({
    {"width", field<&ListedMode::width>},
    {"height", field<&ListedMode::height>},
    {"refreshHz", readRate},
    {"scale", readScale},
    {"hidden", field<&ListedMode::hidden>},
    {"interlaced", field<&ListedMode::interlaced>},
    {"noTimingData", field<&ListedMode::noTimingData>},
    {"unsafe", field<&ListedMode::unsafe>},
    {"depths", readDepths<ListedMode>},
});

template <class Record, std::size_t kCount>
Problem readBy(const std::array<RecordKey<Record>, kCount>& keys, const plist::Value& value, Record& record) {
  return readRecord(std::span<const RecordKey<Record>>(keys), value, record);
}

Problem readMonitor(DisplayInFile& display, const plist::Value& value) {
  return readBy(kMonitorKeys, value, display.monitor.emplace());
}

Problem readModeOptions(DisplayInFile& display, const plist::Value& value) {
  return readBy(kModeOptionsKeys, value, display.modeOptions);
}

template <class Record>
Problem readDepths(Record& record, const plist::Value& value) {
  if (Problem problem = take(value, record.depths)) return problem;
  if (record.depths.empty()) return "is empty";
  for (const std::uint32_t depth : record.depths) {
    if (pixelEncodingOfDepth(depth).empty()) return "has a depth of " + std::to_string(depth) + " bits";
  }
  return std::nullopt;
}

Problem readScale(ListedMode& mode, const plist::Value& value) {
  return takeWithin(value, mode.scale, 1.0F, kHighestScale);
}

Problem readRate(ListedMode& mode, const plist::Value& value) {
  return takeWithin(value, mode.refreshHz, 0.0, kHighestRate);
}

Problem readPort(DisplayInFile& display, const plist::Value& value) {
  return takeWithin(value, display.givenPort.emplace(), std::uint32_t{0}, kHighestPort);
}

Problem readName(DisplayInFile& display, const plist::Value& value) {
  if (Problem problem = take(value, display.name)) return problem;
  const std::string& name = display.name;
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; };
  if (name.find_first_not_of(' ') == std::string::npos) return "is blank";
  if (std::any_of(name.begin(), name.end(), isControl)) return "has a control character";
  if (charactersIn(name) > kLongestName) return "has more than " + std::to_string(kLongestName) + " characters";
  return std::nullopt;
}

Problem readSeparator(MachineInFile& machine, const plist::Value& value) {
  if (Problem problem = take(value, machine.decimalSeparator)) return problem;
  if (charactersIn(machine.decimalSeparator) != 1) return "is not one character";
  return std::nullopt;
}

Problem readListedModes(DisplayInFile& display, const plist::Value& value) {
  if (value.array() != nullptr && value.array()->empty()) return "is empty";
  return readRecords(value, display.listedModes, [](const plist::Value& one, ListedMode& mode) -> Problem {
    if (const Problem problem = readBy(kListedModeKeys, one, mode)) return problem;
    if (mode.width == 0 || mode.height == 0) return "has no size";
    return std::nullopt;
  });
}

Problem readOrigin(DisplayInFile& display, const plist::Value& value) {
  int x = 0;
  int y = 0;
  int length = 0;
  const std::string text = value.string() == nullptr ? "" : *value.string();
  const bool isRead = std::sscanf(text.c_str(), "%6d,%6d%n", &x, &y, &length) == 2;
  if (!isRead || static_cast<std::size_t>(length) != text.size()) return "is no text of the form X,Y";
  display.origin = Point{.x = static_cast<double>(x), .y = static_cast<double>(y)};
  return std::nullopt;
}

Problem readFraction(DisplayInFile& display, const plist::Value& value) {
  return takeWithin(value, display.brightness, 0.0F, 1.0F);
}

Problem readDdc(DisplayInFile& display, const plist::Value& value) {
  const auto behaviour = ddcBehaviourNamed(value.string() == nullptr ? "" : *value.string());
  if (!behaviour) return "is not among " + namesOfDdcBehaviours();
  display.ddc = *behaviour;
  return std::nullopt;
}

Problem readBuses(DisplayInFile& display, const plist::Value& value) {
  if (value.array() != nullptr && value.array()->size() > kMostBuses) {
    return "has more than " + std::to_string(kMostBuses) + " buses";
  }
  return readRecords(value, display.i2cBuses, [](const plist::Value& one, I2CBus& bus) -> Problem {
    constexpr std::array<std::string_view, 3> kStates{"working", "closed", "failing"};
    const auto found = std::find(kStates.begin(), kStates.end(), one.string() ? *one.string() : "");
    if (found == kStates.end()) return "is none of \"working\", \"closed\" and \"failing\"";
    bus = static_cast<I2CBus>(found - kStates.begin());
    return std::nullopt;
  });
}

Problem readDelayUnit(DisplayInFile& display, const plist::Value& value) {
  const std::string text = value.string() == nullptr ? "" : *value.string();
  if (text != "nanoseconds" && text != "milliseconds") return "is neither \"nanoseconds\" nor \"milliseconds\"";
  display.i2cDelayInMilliseconds = text == "milliseconds";
  return std::nullopt;
}

Problem readVolume(MachineInFile& machine, const plist::Value& value) {
  machine.volume.reset();
  if (value.string() != nullptr && *value.string() == "none") return std::nullopt;
  return takeWithin(value, machine.volume.emplace(), 0.0F, 1.0F);
}

Problem readProcessor(MachineInFile& machine, const plist::Value& value) {
  const std::string text = value.string() == nullptr ? "" : *value.string();
  if (text != "intel" && text != "appleSilicon") return "is neither \"intel\" nor \"appleSilicon\"";
  machine.processor = text == "intel" ? Processor::intel : Processor::appleSilicon;
  return std::nullopt;
}

Problem readVersion(MachineInFile& machine, const plist::Value& value) {
  unsigned major = 0;
  unsigned minor = 0;
  unsigned patch = 0;
  const std::string text = value.string() == nullptr ? "" : *value.string();
  int shortEnd = 0;
  int longEnd = 0;
  std::sscanf(text.c_str(), "%4u.%4u%n.%4u%n", &major, &minor, &shortEnd, &patch, &longEnd);
  if (text.empty() || std::size_t(std::max(shortEnd, longEnd)) != text.size()) return "is no text of the form 12.6.1";
  machine.systemVersion = {.majorVersion = major, .minorVersion = minor, .patchVersion = patch};
  return std::nullopt;
}

Problem readDisplays(MachineInFile& machine, const plist::Value& value) {
  if (value.array() != nullptr && value.array()->size() > kMostDisplays) {
    return "has " + std::to_string(value.array()->size()) + " displays, more than " + std::to_string(kMostDisplays);
  }
  return readRecords(value, machine.displaysInFile, [](const plist::Value& one, DisplayInFile& display) -> Problem {
    Problem problem = readBy(kDisplayKeys, one, display);
    const ModeOptions& options = display.modeOptions;
    if (!problem && !display.listedModes.empty() && (options.hiDPI || options.scaledSizes || options.oddities)) {
      problem = atKey("modes", "stands beside \"modeOptions\" that add modes; a list is the whole list");
    }
    const plist::Dictionary* const dictionary = one.dictionary();
    const auto name = dictionary == nullptr ? std::nullopt : dictionary->string("name");
    if (problem && name) problem->place = " (" + *name + ")" + problem->place;
    return problem;
  });
}

Problem readWindow(const plist::Value& value, WindowDescription& window) {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  long long layer = 0;
  int sizeEnd = 0;
  int layerEnd = 0;
  const std::string text = value.string() == nullptr ? "" : *value.string();
  std::sscanf(text.c_str(), "%6d,%6d %6dx%6d%n layer %11lld%n", &x, &y, &width, &height, &sizeEnd, &layer, &layerEnd);
  if (text.empty() || std::size_t(std::max(sizeEnd, layerEnd)) != text.size()) return "is no text of the form X,Y WxH";
  if (width <= 0 || height <= 0) return "has no size";
  window = {
      .frame = {.origin = {.x = double(x), .y = double(y)}, .size = {.width = double(width), .height = double(height)}},
      .layer = layer};
  return std::nullopt;
}

Problem readPolicy(ProcessDescription& process, const plist::Value& value) {
  constexpr std::array<std::string_view, 3> kPolicies{"regular", "accessory", "prohibited"};
  const auto found = std::find(kPolicies.begin(), kPolicies.end(), value.string() ? *value.string() : "");
  if (found == kPolicies.end()) return "is none of \"regular\", \"accessory\" and \"prohibited\"";
  process.activationPolicy = static_cast<ActivationPolicy>(found - kPolicies.begin());
  return std::nullopt;
}

Problem readWindows(ProcessDescription& process, const plist::Value& value) {
  return readRecords(value, process.windows, readWindow);
}

template <auto kField>
Problem readProcesses(MachineInFile& machine, const plist::Value& value) {
  return readRecords(value, machine.*kField, [](const plist::Value& one, ProcessDescription& process) -> Problem {
    if (const Problem problem = readBy(kProcessKeys, one, process)) return problem;
    if (process.name.empty()) return "has no name";
    return std::nullopt;
  });
}

// --- Putting it together ---

std::optional<std::string> readEdidFile(const std::string& path, plist::Data& edid) {
  std::string reason;
  const std::optional<std::string> content = readFile(path, kLongestEdid, reason);
  if (!content) return path + ": " + reason;
  edid.assign(content->begin(), content->end());
  return std::nullopt;
}

/// The EDID of a display, in whichever way the file gives it.
std::optional<std::string> settleEdid(DisplayInFile& display, const std::filesystem::path& folder) {
  const int ways =
      int{display.edidPath.has_value()} + int{display.edidData.has_value()} + int{display.monitor.has_value()};
  if (ways != 1) return "one of the keys \"edid\", \"edidData\" and \"monitor\" is needed";
  if (display.edidPath) return readEdidFile((folder / *display.edidPath).string(), display.edid);
  if (display.edidData) {
    display.edid = std::move(*display.edidData);
    return std::nullopt;
  }
  if (display.monitor->name.empty()) display.monitor->name = display.name;
  auto composed = composeEdid(*display.monitor);
  if (const auto* const reason = std::get_if<std::string>(&composed)) return "monitor: " + *reason;
  display.edid = std::get<plist::Data>(std::move(composed));
  return std::nullopt;
}

void takeFreePorts(MachineInFile& machine) {
  for (const DisplayInFile& display : machine.displaysInFile) {
    if (!display.givenPort) continue;
    machine.displays.push_back(display);
    machine.displays.back().port = *display.givenPort;
  }
  // Their ports are known now; the order is that of the file, and settled below.
  std::vector<DisplayDescription> inOrder;
  for (const DisplayInFile& display : machine.displaysInFile) {
    inOrder.push_back(display);
    inOrder.back().port = display.givenPort ? *display.givenPort : firstFreePort(machine);
    if (!display.givenPort) machine.displays.push_back(inOrder.back());
  }
  machine.displays = std::move(inOrder);
}

}  // namespace

std::variant<MachineDescription, std::string> readMachine(const std::string& path) {
  const PropertyListResult file = readPropertyList(path);
  if (!file.value) return path + ": " + file.reason;
  MachineInFile machine;
  if (const Problem problem = readBy(kMachineKeys, *file.value, machine)) {
    return path + problem->place + ": " + problem->reason;
  }
  if (!file.value->dictionary()->contains("displays")) return path + ": key \"displays\" is missing";
  for (std::size_t i = 0; i < machine.displaysInFile.size(); ++i) {
    DisplayInFile& display = machine.displaysInFile[i];
    if (const auto fault = settleEdid(display, std::filesystem::path(path).parent_path())) {
      return path + ": displays[" + std::to_string(i) + "] (" + display.name + "): " + *fault;
    }
  }
  takeFreePorts(machine);
  if (const auto fault = faultInMachine(machine)) return path + ": " + *fault;
  return static_cast<MachineDescription&&>(machine);
}

}  // namespace vlm::sim
