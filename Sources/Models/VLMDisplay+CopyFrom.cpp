#include <algorithm>
#include <map>
#include <unordered_set>
#include <utility>

#include "Models/ModeFacts.h"
#include "Models/VLMDisplay.h"
#include "Platform/Numbers.h"

namespace vlm {

namespace {

/// Modes that the system does not list at the moment are remembered up to this number; the oldest are dropped.
constexpr std::size_t kMostUnlistedModes = 256;

bool isForbiddenBySystem(const VLMMode& mode) {
  return (mode.sysFlags & kSysFlagNotForUse) != 0 || (mode.flags & kModeHiddenFromUser) != 0;
}

bool hasTimingOf(const VLMMode& mode, const VLMMode& other) {
  return mode.pixClock == other.pixClock && mode.totalPixels == other.totalPixels;
}

/// The saved modes, to be found by their facts; each is given away once.
class SavedModes {
 public:
  explicit SavedModes(const VLMDisplay::Modes& modes) {
    for (const auto& mode : modes) byFacts_[ModeFacts::of(*mode)].push_back(mode);
  }

  /// The saved mode that is this one, or null. With `sameTiming` it must also be shown with the same timing.
  std::shared_ptr<VLMMode> take(const VLMMode& mode, bool sameTiming) {
    const auto alike = byFacts_.find(ModeFacts::of(mode));
    if (alike == byFacts_.end()) return nullptr;
    const auto found = std::find_if(alike->second.begin(), alike->second.end(), [&](const auto& saved) {
      return saved != nullptr && (!sameTiming || hasTimingOf(*saved, mode));
    });
    if (found == alike->second.end()) return nullptr;
    taken_.insert(found->get());
    return std::exchange(*found, nullptr);
  }
  bool isTaken(const VLMMode& saved) const { return taken_.contains(&saved); }

 private:
  std::map<ModeFacts, VLMDisplay::Modes> byFacts_;
  std::unordered_set<const VLMMode*> taken_;
};

/// Identifiers given so far; a damaged file may hold one twice.
class Identifiers {
 public:
  bool claimModeID(std::uint32_t id) { return id >= 1 && id <= kLargestModeIdentifier && modeIDs_.insert(id).second; }
  bool claimDeskResID(std::int32_t id) { return id > 0 && deskResIDs_.insert(id).second; }

 private:
  std::unordered_set<std::uint32_t> modeIDs_;
  std::unordered_set<std::int32_t> deskResIDs_;
};

/// What the user chose for a mode, as far as the system lets it be used now.
void copyChoices(VLMMode& mode, const VLMMode& saved) {
  mode.setModeName(saved.modeName());
  mode.setFreqName(saved.freqName());
  mode.hasIcon = saved.hasIcon;
  mode.showInfo = saved.showInfo;
  mode.aliasedModeID = saved.aliasedModeID;
  // Where the system forbade it then, the user has had no say; an alias is forbidden again when it is linked.
  if (!mode.isValidAct || isForbiddenBySystem(saved)) return;
  mode.isValidAct = saved.isValidAct || saved.aliasedModeID != 0;
  mode.menuVal = saved.menuVal > 0 ? std::max(mode.menuVal, saved.menuVal) : saved.menuVal;
}

void copyMode(VLMMode& mode, const VLMMode& saved, Identifiers& identifiers) {
  if (identifiers.claimModeID(saved.modeUniqueID)) mode.modeUniqueID = saved.modeUniqueID;
  if (identifiers.claimDeskResID(saved.deskResID)) mode.deskResID = saved.deskResID;
  mode.vesaMode = saved.vesaMode;
  copyChoices(mode, saved);
}

}  // namespace

// The user owns: the identifier of the monitor and those of its modes and desktops, under which sets and layouts are
// stored; the modes' names, choices, icons and aliases; the menu options; brightness and gamma handling with what they
// stored; the override records; the imported EDID.
// The system owns, and the live record keeps: who the monitor is and where it hangs, what it can do, which modes it has
// and how they are made, and how it is configured now.
// The document owns, and puts in afterwards: the states remembered from the daemon's start.
void VLMDisplay::copyDisplayFrom(const VLMDisplay& saved) {
  monitorResID = saved.monitorResID;
  copyOptionsFrom(saved);
  copyModesFrom(saved);
  consolidateUniqueModesID();
  linkAliases();
}

void VLMDisplay::copyOptionsFrom(const VLMDisplay& saved) {
  showNativeInBold = saved.showNativeInBold;
  showFrequenciesApart = saved.showFrequenciesApart;
  showFrequenciesSubMenu = saved.showFrequenciesSubMenu;
  showFrequenciesGrouped = saved.showFrequenciesGrouped;
  useBrightness = saved.useBrightness;
  savedBrightness = saved.savedBrightness;
  savedLastSetBrightness = saved.savedLastSetBrightness;
  if (maxBrightness == 0) maxBrightness = saved.maxBrightness;
  useGamma = saved.useGamma;
  gammaDelay = saved.gammaDelay;
  previousTransfType = saved.previousTransfType;
  copyOverridesFrom(saved);
}

void VLMDisplay::copyOverridesFrom(const VLMDisplay& saved) {
  // A saved name that is only what the system once called the monitor is no choice of the user's: at first sight there
  // may have been no better one.
  const bool hasName = saved.displayName != nullptr && !saved.displayName->name.value_or("").empty();
  if (hasName && (saved.displayName->shouldOverride || saved.displayName->name != saved.sysMonitorName)) {
    const auto systems = std::exchange(displayName, saved.displayName);
    if (displayName->isEqualToDisplayName(systems.get())) displayName->status |= kOverrideFoundInSystem;
  }
  overridenModes = saved.overridenModes;
  monitorTiming = saved.monitorTiming;
  defaultResolution = saved.defaultResolution;
  displayPixelDimensions = saved.displayPixelDimensions;
  displayFreqPolicy = saved.displayFreqPolicy;
  importedEDID = saved.importedEDID;
  importedEDIDKeepsID = saved.importedEDIDKeepsID;
}

void VLMDisplay::copyModesFrom(const VLMDisplay& saved) {
  SavedModes savedModes(saved.allDisplayModes);
  Identifiers identifiers;
  // A mode with the very timing first, so that of two modes alike each finds its own.
  Modes others;
  for (const auto& mode : validDisplayModes) {
    if (const auto match = savedModes.take(*mode, true)) {
      copyMode(*mode, *match, identifiers);
    } else {
      others.push_back(mode);
    }
  }
  for (const auto& mode : others) {
    if (const auto match = savedModes.take(*mode, false)) copyMode(*mode, *match, identifiers);
  }
  // Modes that are gone, perhaps only until the monitor hangs on another port again, stay known: sets and layouts name
  // them. They stand behind the valid ones and cannot be switched to.
  std::size_t unlisted = 0;
  for (const auto& mode : saved.allDisplayModes) {
    if (savedModes.isTaken(*mode)) continue;
    if (unlisted == kMostUnlistedModes || !identifiers.claimModeID(mode->modeUniqueID)) continue;
    if (!identifiers.claimDeskResID(mode->deskResID)) mode->deskResID = 0;
    mode->sysModeID.fill(-1);
    mode->container = this;
    allDisplayModes.push_back(mode);
    ++unlisted;
  }
}

void VLMDisplay::linkAliases() {
  const std::unordered_set<std::shared_ptr<VLMMode>> valid(validDisplayModes.begin(), validDisplayModes.end());
  for (const auto& mode : allDisplayModes) {
    if (mode->aliasedModeID <= 0) continue;
    const auto identifier = static_cast<std::uint32_t>(mode->aliasedModeID);
    // A mode that can be used stands for one that can be used; one that is gone may stand for another that is gone.
    const auto target = valid.contains(mode) ? validModeWithUniqueID(identifier) : anyModeWithUniqueID(identifier);
    if (target != nullptr && target != mode) mode->setAliasedMode(target);
  }
}

}  // namespace vlm
