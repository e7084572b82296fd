#include "Simulator/Program/SetEditing.h"

#include <array>
#include <cmath>
#include <string_view>
#include <tuple>
#include <vector>

#include "Colour/VLMColorPreset.h"
#include "Models/VLMDisplay.h"
#include "Models/VLMMonitorInSet.h"
#include "Platform/Numbers.h"
#include "Shared/UpperCase.h"
#include "Simulator/Mac/UuidText.h"
#include "Simulator/Program/Arguments.h"
#include "Simulator/Program/DaemonView.h"
#include "Simulator/Program/DisplayTexts.h"
#include "Simulator/Program/Views.h"

namespace vlm::sim {

namespace {

constexpr const char* kMonitors = "monitorArray";
constexpr const char* kPairs = "complexMirroringSet";
constexpr const char* kMonitorID = "monitorResID";
constexpr std::string_view kMain = "isMainDisplay";
/// Enforces preset and profile, as far as a monitor names them.
constexpr std::string_view kColourFlag = "hasColorProfile";

/// The list of a key, made where there is none.
plist::Array& arrayAt(plist::Dictionary& record, const char* key) {
  if (record.array(key) == nullptr) record.set(key, plist::Array());
  return *record.find(key)->array();
}

plist::Dictionary& monitorOf(plist::Dictionary& set, std::int64_t monitorResID) {
  plist::Array& monitors = arrayAt(set, kMonitors);
  for (plist::Value& value : monitors) {
    plist::Dictionary* monitor = value.dictionary();
    if (monitor != nullptr && monitor->number(kMonitorID) == monitorResID) return *monitor;
  }
  const auto added = VLMMonitorInSet::initEmpty();
  added->monitorResID = monitorResID;
  monitors.emplace_back(added->encodeReadable());
  return *monitors.back().dictionary();
}

// --- Values as people write them: what the file holds, or why it is none ---

struct Unreadable {
  std::string reason;
};
using Read = std::variant<plist::Value, Unreadable>;

/// The mode that somebody means who names a size and perhaps a rate: of those that may be chosen, progressive before
/// interlaced, the one nearest to that rate or to the present one, with the fewest pixels a point. Of twins the present
/// one.
std::shared_ptr<VLMMode> modeMeant(const VLMDisplay& display, const ModeArgument& wanted) {
  const std::shared_ptr<VLMMode> current = display.currentMode.get();
  const double wantedHz = wanted.refreshHz.value_or(current ? current->Hz : 0);
  const auto rank = [&](const VLMMode& mode) {
    return std::tuple(!mode.isValidAct, mode.interlaced, std::fabs(mode.Hz - wantedHz), mode.definition,
                      !mode.isCurrent(), !mode.isNative);
  };
  std::shared_ptr<VLMMode> best;
  for (const auto& mode : display.validDisplayModes) {
    if (!wanted.matches(mode->Nx, mode->Ny, mode->Hz)) continue;
    if (!best || rank(*mode) < rank(*best)) best = mode;
  }
  return best;
}

Read readMode(const EditedDisplay& display, const std::string& text) {
  const auto identifier = parseInteger(text);
  if (identifier && *identifier > 0) return plist::Value(*identifier);
  const auto wanted = parseMode(text);
  if (!wanted) return Unreadable{quoted(text) + " is no mode such as 1920x1080, 1920x1080@60 or its identifier"};
  const auto mode = modeMeant(*display.record, *wanted);
  if (!mode) return Unreadable{quoted(display.name) + " has no mode " + text + "; show modes lists them"};
  return plist::Value(mode->modeUniqueID);
}

Read readDepth(const EditedDisplay& /*display*/, const std::string& text) {
  const auto bits = parseInteger(text);
  for (std::uint64_t mask = 8; bits && mask <= 512; mask *= 2) {
    if (bitsOfDepth(mask) == *bits) return plist::Value(mask);
  }
  return Unreadable{quoted(text) + " is none of the depths 8, 16, 30, 32, 48, 64 and 96"};
}

Read readOrigin(const EditedDisplay& /*display*/, const std::string& text) {
  const auto point = parsePoint(text);
  const auto fits = [](std::int32_t number) { return number == truncateTo<std::int16_t>(number); };
  if (!point || !fits(point->x) || !fits(point->y)) return Unreadable{quoted(text) + " is no point such as -1920,0"};
  const DisplayPosition position{.v = truncateTo<std::int16_t>(point->y), .h = truncateTo<std::int16_t>(point->x)};
  return plist::Value(position.packed());
}

Read readOrientation(const EditedDisplay& /*display*/, const std::string& text) {
  constexpr std::array<std::int64_t, 8> kOrientations{0, 90, 180, 270, -1, -2, -3, -4};
  const auto number = parseInteger(text);
  for (const std::int64_t known : kOrientations) {
    if (number == known) return plist::Value(known);
  }
  return Unreadable{quoted(text) + " is none of 0, 90, 180 and 270 degrees, or -1 to -4 for mirrored pictures"};
}

Read readSwitch(const EditedDisplay& /*display*/, const std::string& text) {
  const auto isOn = parseSwitch(text);
  if (!isOn) return Unreadable{notASwitch(text)};
  return plist::Value(*isOn);
}

Read readFraction(const EditedDisplay& /*display*/, const std::string& text) {
  const auto number = parseReal(text);
  if (!number || *number < 0 || *number > 1) return Unreadable{quoted(text) + " is no number from 0 to 1"};
  return plist::Value(*number);
}

/// Of a display that is not there nobody knows the presets' names; it takes their identifiers.
Read readPreset(const EditedDisplay& display, const std::string& text) {
  const auto preset = VLMColorPreset::presetWithName(text, display.record);
  if (preset && preset->UUID) return plist::Value(*preset->UUID);
  if (VLMColorPreset::presetWithUUID(text, display.record)) return plist::Value(text);
  if (!display.record->dispIsPresent && isUuidText(text)) return plist::Value(upperCased(text));
  if (!display.record->dispIsPresent) {
    return Unreadable{quoted(display.name) + " is not attached: " + quoted(text) + " is no identifier of a preset"};
  }
  return Unreadable{quoted(display.name) + " has no colour preset " + quoted(text)};
}

Read readFullPath(const EditedDisplay& /*display*/, const std::string& text) {
  if (!text.starts_with('/')) return Unreadable{quoted(text) + " is no full path"};
  return plist::Value(text);
}

struct Aspect {
  std::string_view name;
  std::string_view valueKey;
  std::string_view flagKey;  ///< empty: the value itself says whether it counts
  Read (*read)(const EditedDisplay& display, const std::string& text);
};
constexpr std::array kAspects{
    Aspect{"mode", "modeUniqueID", "", readMode},
    Aspect{"depth", "selDepth", "", readDepth},
    Aspect{"origin", "origin", "hasOrigin", readOrigin},
    Aspect{"orientation", "orientation", "hasOrientation", readOrientation},
    Aspect{"activity", "isActive", "hasActivity", readSwitch},
    Aspect{"overscan", "inOverscan", "hasOverscan", readSwitch},
    Aspect{"underscan", "underscan", "hasUnderscan", readFraction},
    Aspect{"hdr", "isInHDR", "hasHDR", readSwitch},
    Aspect{"preset", "colorPreset", kColourFlag, readPreset},
    Aspect{"profile", "colorProfile", kColourFlag, readFullPath},
    Aspect{"main", kMain, "", readSwitch},
};

const Aspect* aspectNamed(const std::string& name) {
  for (const Aspect& aspect : kAspects) {
    if (aspect.name == name) return &aspect;
  }
  return nullptr;
}

Refusal noAspect(const std::string& name) {
  std::string choices;
  for (const Aspect& aspect : kAspects) choices += (choices.empty() ? "" : ", ") + std::string(aspect.name);
  return quoted(name) + " is nothing that a set says of a display (" + choices + ")";
}

bool isColour(const Aspect& aspect) { return aspect.flagKey == kColourFlag; }

/// One display at most is the main one.
void takeMainFromAll(plist::Dictionary& set) {
  for (plist::Value& value : arrayAt(set, kMonitors)) {
    if (value.dictionary() != nullptr) value.dictionary()->set(kMain, false);
  }
}

}  // namespace

std::variant<plist::Dictionary*, std::string> setRecordNamed(plist::Dictionary& settings, const std::string& text) {
  std::vector<plist::Dictionary*> records;
  std::vector<std::string> names;
  for (plist::Value& value : arrayAt(settings, "displaySetsArray")) {
    if (value.dictionary() == nullptr) continue;
    records.push_back(value.dictionary());
    names.push_back(records.back()->string("name").value_or(""));
  }
  const auto place = placeOfSet(names, text);
  if (const auto* reason = std::get_if<std::string>(&place)) return *reason;
  return records[std::get<std::size_t>(place)];
}

Refusal enforce(plist::Dictionary& set, const EditedDisplay& display, const std::string& aspectName,
                const std::string& text) {
  const Aspect* const aspect = aspectNamed(aspectName);
  if (aspect == nullptr) return noAspect(aspectName);
  Read value = aspect->read(display, text);
  if (const auto* unreadable = std::get_if<Unreadable>(&value)) return unreadable->reason;
  if (aspect->valueKey == kMain) takeMainFromAll(set);
  plist::Dictionary& monitor = monitorOf(set, display.monitorResID);
  // Preset and profile share a flag: what was only recorded of the other one would be enforced along with this one.
  if (isColour(*aspect) && !monitor.boolean(kColourFlag)) {
    for (const Aspect& other : kAspects) {
      if (isColour(other)) monitor.remove(other.valueKey);
    }
  }
  monitor.set(aspect->valueKey, std::get<plist::Value>(std::move(value)));
  if (!aspect->flagKey.empty()) monitor.set(aspect->flagKey, true);
  return std::nullopt;
}

Refusal ignore(plist::Dictionary& set, const EditedDisplay& display, const std::string& aspectName) {
  const Aspect* const aspect = aspectNamed(aspectName);
  if (aspect == nullptr) return noAspect(aspectName);
  plist::Dictionary& monitor = monitorOf(set, display.monitorResID);
  if (isColour(*aspect)) {
    monitor.remove(aspect->valueKey);
    const bool namesOther = monitor.contains("colorPreset") || monitor.contains("colorProfile");
    monitor.set(kColourFlag, monitor.boolean(kColourFlag) && namesOther);
  } else if (!aspect->flagKey.empty()) {
    monitor.set(aspect->flagKey, false);
  } else if (aspect->valueKey == kMain) {
    monitor.set(kMain, false);
  } else {
    monitor.set(aspect->valueKey, VLMMonitorInSet::kNoSetting);
  }
  return std::nullopt;
}

Refusal enforceGray(plist::Dictionary& set, const std::string& value) {
  const auto isOn = parseSwitch(value);
  if (!isOn) return notASwitch(value);
  set.set("hasGray", true);
  set.set("inGray", *isOn);
  return std::nullopt;
}

void enforceMirroring(plist::Dictionary& set, bool isOn) {
  set.set("hasMirroring", true);
  set.set("inMirroring", isOn);
  set.set(kPairs, plist::Array());
}

void addMirroringPair(plist::Dictionary& set, const EditedDisplay& shown, const EditedDisplay& shows) {
  set.set("hasMirroring", true);
  set.set("inMirroring", false);
  arrayAt(set, kPairs).emplace_back(plist::Array{shown.monitorResID, shows.monitorResID});
}

Refusal ignoreOfDesk(plist::Dictionary& set, const std::string& aspect) {
  if (aspect == "gray") {
    set.set("hasGray", false);
  } else if (aspect == "mirroring") {
    // Pairs count whether or not the set says that it has mirroring.
    set.set("hasMirroring", false);
    set.set(kPairs, plist::Array());
  } else {
    return quoted(aspect) + " is nothing that a set says of all displays (gray, mirroring)";
  }
  return std::nullopt;
}

}  // namespace vlm::sim
