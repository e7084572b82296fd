#include <algorithm>
#include <array>

#include "Models/VLMGlobals.h"

namespace vlm {

namespace {

constexpr const char* kVersionKey = "Version";
/// Its absence tells the start-up that the daemon has never run for this user.
constexpr const char* kRunOnceKey = "VLMDaemonRunOnce";

constexpr const char* kStartupSetKey = "startupSet";

constexpr std::int64_t kDefaultQuitShortCut = 0x350C;
constexpr std::int64_t kDefaultLaunchShortCut = 0x6F05;
/// The Command key's modifier flag.
constexpr std::int64_t kDefaultContextualMenuModifier = 0x100000;

struct BooleanKey {
  const char* key;
  bool VLMGlobals::*field;
  bool ifAbsent;
};

constexpr std::array kGeneralKeys{
    BooleanKey{"checkUpdate", &VLMGlobals::checkUpdate, true},
    BooleanKey{"canProbe", &VLMGlobals::canProbe, false},
    BooleanKey{"inLoginItems", &VLMGlobals::inLoginItems, true},
    BooleanKey{"onlyMeCanActivate", &VLMGlobals::onlyMeCanActivate, false},
    BooleanKey{"quitDockAfterEnabling", &VLMGlobals::quitDockAfterEnabling, false},
    BooleanKey{"quitDockAfterDisabling", &VLMGlobals::quitDockAfterDisabling, false},
    BooleanKey{"monitorMousePosition", &VLMGlobals::monitorMousePosition, false},
    BooleanKey{"forceSleepAfterDisable", &VLMGlobals::forceSleepAfterDisable, false},
    BooleanKey{"startupDoNothing", &VLMGlobals::startupDoNothing, false},
};

constexpr std::array kDesktopKeys{
    BooleanKey{"snapToGrid", &VLMGlobals::snapToGrid, true},
    BooleanKey{"replaceAtRestart", &VLMGlobals::replaceAtRestart, false},
    BooleanKey{"saveAllAppWindows", &VLMGlobals::saveAllAppWindows, false},
    BooleanKey{"saveIcons", &VLMGlobals::saveIcons, true},
    BooleanKey{"saveWindows", &VLMGlobals::saveWindows, true},
    BooleanKey{"saveDesktopBySet", &VLMGlobals::saveDesktopBySet, false},
    BooleanKey{"iconsRelative", &VLMGlobals::iconsRelative, false},
    BooleanKey{"saveAutoDesktop", &VLMGlobals::saveAutoDesktop, false},
    BooleanKey{"autoCreateSets", &VLMGlobals::autoCreateSets, false},
};

/// 16-bit numbers for which 0 means the default.
struct DesktopNumberKey {
  const char* key;
  std::int16_t VLMGlobals::*field;
  std::int16_t ifAbsentOrZero;
};

constexpr std::array kDesktopNumberKeys{
    DesktopNumberKey{"iconsGridH", &VLMGlobals::iconsGridH, 50},
    DesktopNumberKey{"iconsGridV", &VLMGlobals::iconsGridV, 64},
    DesktopNumberKey{"startDelay", &VLMGlobals::startDelay, 5},
};

/// One option of both menus; the defaults differ on purpose.
struct MenuKey {
  const char* statusKey;
  const char* contextKey;
  bool MenuOptions::*field;
  bool statusDefault;
  bool contextDefault;
};

constexpr std::array kMenuKeys{
    MenuKey{"sysShowRez", "cmShowRez", &MenuOptions::ShowRez, true, true},
    MenuKey{"sysShowColors", "cmShowColors", &MenuOptions::ShowColors, true, true},
    MenuKey{"sysShowRescanCmd", "cmShowRescanCmd", &MenuOptions::ShowRescanCmd, true, true},
    MenuKey{"sysShowSets", "cmShowSets", &MenuOptions::ShowSets, true, true},
    MenuKey{"sysShowMirror", "cmShowMirror", &MenuOptions::ShowMirror, true, true},
    MenuKey{"sysShowHierarch", "cmShowHierarch", &MenuOptions::ShowHierarch, false, false},
    MenuKey{"sysShowIconsCmd", "cmShowIconsCmd", &MenuOptions::ShowIconsCmd, false, false},
    MenuKey{"sysShowMainDisp", "cmShowMainDisp", &MenuOptions::ShowMainDisp, false, false},
    MenuKey{"sysShowOnlyClicked", "cmShowOnlyClicked", &MenuOptions::ShowOnlyClicked, false, true},
    MenuKey{"sysShowProfile", "cmShowProfile", &MenuOptions::ShowProfile, true, true},
    MenuKey{"sysShowPrefsCmd", "cmShowPrefsCmd", &MenuOptions::ShowPrefsCmd, true, false},
    MenuKey{"sysSetsHierarch", "cmSetsHierarch", &MenuOptions::SetsHierarch, true, true},
    MenuKey{"sysShowGray", "cmShowGray", &MenuOptions::ShowGray, false, false},
    MenuKey{"sysShowRotate", "cmShowRotate", &MenuOptions::ShowRotate, true, false},
    MenuKey{"sysShowOverscan", "cmShowOverscan", &MenuOptions::ShowOverscan, false, false},
    MenuKey{"sysShowBrightness", "cmShowBrightness", &MenuOptions::ShowBrightness, true, true},
    MenuKey{"sysShowBadges", "cmShowBadges", &MenuOptions::ShowBadges, true, true},
    MenuKey{"sysShowEnable", "cmShowEnable", &MenuOptions::ShowEnable, true, true},
};

/// A dictionary below a key; an empty one when there is none, so that everything in it takes its default.
const plist::Dictionary& dictionaryOrEmpty(const plist::Dictionary& dict, const char* key) {
  static const plist::Dictionary kEmpty;
  const plist::Dictionary* found = dict.dictionary(key);
  return found == nullptr ? kEmpty : *found;
}

}  // namespace

void VLMGlobals::decodeReadableWith(const plist::Dictionary& dict, int flags) {
  if (const std::int32_t version = dict.sInt32(kVersionKey); version != 0) savedPrefsVersion = version;
  if ((flags & SettingsGroup::general) != 0) decodeGeneral(dict);
  decodeMenus(dict, flags);
  if ((flags & SettingsGroup::desktop) != 0) decodeDesktop(dict);
  if ((flags & SettingsGroup::displayRecords) != 0) decodeDisplayRecords(dict);
  if ((flags & SettingsGroup::attachedDisplays) != 0) decodeAttachedDisplays(dict);
  if ((flags & SettingsGroup::displaySets) != 0) decodeDisplaySets(dict);
  // Only now are the sets there that it may name.
  if ((flags & SettingsGroup::general) != 0 && dict.contains(kStartupSetKey)) {
    setStartupDisplaySet(findSetByUniqueID(displaySetsArray, dict.number(kStartupSetKey)));
  }
  if ((flags & SettingsGroup::applicationSets) != 0) decodeApplicationSets(dict);
  if ((flags & SettingsGroup::events) != 0) decodeEvents(dict);
  loadedGroups_ |= flags;
}

void VLMGlobals::decodeGeneral(const plist::Dictionary& dict) {
  quitShortCut = dict.number("quitShortCut").value_or(kDefaultQuitShortCut);
  launchShortCut = dict.number("launchShortCut").value_or(kDefaultLaunchShortCut);
  for (const BooleanKey& row : kGeneralKeys) this->*(row.field) = dict.boolean(row.key, row.ifAbsent);
  if (!dict.contains(kStartupSetKey)) startupSet_.reset();
  startRestoreDelay = dict.sInt16("startRestoreDelay");
}

void VLMGlobals::decodeMenus(const plist::Dictionary& dict, int flags) {
  if ((flags & SettingsGroup::statusMenu) != 0) {
    const plist::Dictionary& menu = dictionaryOrEmpty(dict, "sysMenuFlags");
    for (const MenuKey& row : kMenuKeys) statusItem.*(row.field) = menu.boolean(row.statusKey, row.statusDefault);
    statusItemGray = menu.boolean("statusItemGray", true);
    showStatusItem = menu.boolean("showMenuExtra", true);
  }
  if ((flags & SettingsGroup::contextMenu) != 0) {
    const plist::Dictionary& menu = dictionaryOrEmpty(dict, "cmMenuFlags");
    for (const MenuKey& row : kMenuKeys) contextMenu.*(row.field) = menu.boolean(row.contextKey, row.contextDefault);
    showContextMenu = menu.boolean("showContextMenu", true);
    contextualMenuModifier = dict.sInt64("contextualMenuModifier");
    if (contextualMenuModifier == 0) contextualMenuModifier = kDefaultContextualMenuModifier;
  }
}

void VLMGlobals::decodeDesktop(const plist::Dictionary& dict) {
  const plist::Dictionary& desktop = dictionaryOrEmpty(dict, "desktopFlags");
  for (const BooleanKey& row : kDesktopKeys) this->*(row.field) = desktop.boolean(row.key, row.ifAbsent);
  for (const DesktopNumberKey& row : kDesktopNumberKeys) {
    const std::int16_t value = desktop.sInt16(row.key);
    this->*(row.field) = value == 0 ? row.ifAbsentOrZero : value;
  }
}

plist::Dictionary VLMGlobals::encodeReadableInDict(const plist::Dictionary* dict, int flags) {
  plist::Dictionary result = dict == nullptr ? plist::Dictionary() : *dict;
  if (result.sInt32(kVersionKey) < kSettingsFormatVersion) result.set(kVersionKey, kSettingsFormatVersion);
  result.set(kRunOnceKey, true);
  // Of a group that was never decoded the file's content stays.
  flags &= loadedGroups_;
  if ((flags & SettingsGroup::general) != 0) encodeGeneral(result);
  encodeMenus(result, flags);
  if ((flags & SettingsGroup::desktop) != 0) encodeDesktop(result);
  encodeDisplays(result, flags);
  if ((flags & SettingsGroup::applicationSets) != 0) encodeApplicationSets(result);
  if ((flags & SettingsGroup::events) != 0) encodeEvents(result);
  if ((flags & SettingsGroup::displaySets) != 0) encodeDisplaySets(result);
  return result;
}

void VLMGlobals::encodeGeneral(plist::Dictionary& dict) const {
  if (quitShortCut) dict.set("quitShortCut", *quitShortCut);
  if (launchShortCut) dict.set("launchShortCut", *launchShortCut);
  for (const BooleanKey& row : kGeneralKeys) dict.set(row.key, this->*(row.field));
  if (startupSet_ && startupSet_->uniqueID) {
    dict.set(kStartupSetKey, *startupSet_->uniqueID);
  } else if (dict.number(kStartupSetKey)) {
    // A damaged value stays: which set it meant cannot be told.
    dict.remove(kStartupSetKey);
  }
  dict.set("startRestoreDelay", static_cast<int>(startRestoreDelay));
}

void VLMGlobals::encodeMenus(plist::Dictionary& dict, int flags) const {
  if ((flags & SettingsGroup::statusMenu) != 0) {
    plist::Dictionary menu;
    for (const MenuKey& row : kMenuKeys) menu.set(row.statusKey, statusItem.*(row.field));
    menu.set("statusItemGray", statusItemGray);
    menu.set("showMenuExtra", showStatusItem);
    dict.set("sysMenuFlags", std::move(menu));
  }
  if ((flags & SettingsGroup::contextMenu) != 0) {
    plist::Dictionary menu;
    for (const MenuKey& row : kMenuKeys) menu.set(row.contextKey, contextMenu.*(row.field));
    menu.set("showContextMenu", showContextMenu);
    dict.set("cmMenuFlags", std::move(menu));
    dict.set("contextualMenuModifier", contextualMenuModifier);
  }
}

void VLMGlobals::encodeDesktop(plist::Dictionary& dict) const {
  plist::Dictionary desktop;
  for (const BooleanKey& row : kDesktopKeys) desktop.set(row.key, this->*(row.field));
  for (const DesktopNumberKey& row : kDesktopNumberKeys) desktop.set(row.key, static_cast<int>(this->*(row.field)));
  dict.set("desktopFlags", std::move(desktop));
}

}  // namespace vlm
