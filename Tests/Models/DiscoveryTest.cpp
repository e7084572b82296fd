#include <gtest/gtest.h>

#include <set>
#include <tuple>

#include "Models/Monitor.h"
#include "Models/VLMApplicationObject.h"
#include "Models/VLMChangeRecorder.h"
#include "Simulator/Mac/Registry.h"
#include "Tests/Support/DisplaysOnMac.h"

/// What discovery makes of a machine's displays, and how it is told of their changes.
namespace vlm {
namespace {

using sim::ListedMode;
using test::DisplaysOnMac;

sim::MachineDescription leftWithModes(const std::vector<ListedMode>& modes, std::vector<std::uint32_t> depths = {32}) {
  sim::MachineDescription machine = sim::desktopWith({"Left"});
  machine.displays[0].listedModes = modes;
  machine.displays[0].modeOptions.depths = std::move(depths);
  return machine;
}

void setRegistry(DisplaysOnMac& displays, io_service_t entry, const char* key, const plist::Value& value) {
  displays.mac().windowServer().registry().setProperty(entry, key, value);
}

TEST(Discovery, DropsModesThatNobodyCanUse) {
  const struct {
    const char* name;
    ListedMode mode;
    bool isKept;
    float definition = 1;
  } rows[] = {
      {.name = "tiny", .mode = {.width = 640, .height = 480}, .isKept = false},
      {.name = "wide enough", .mode = {.width = 800, .height = 480}, .isKept = true},
      {.name = "high enough", .mode = {.width = 720, .height = 600}, .isKept = true},
      {.name = "one point", .mode = {.width = 1, .height = 1}, .isKept = false},
      {.name = "negative", .mode = {.width = 0x80000400, .height = 768, .noTimingData = true}, .isKept = false},
      {.name = "less than a hertz",
       .mode = {.width = 1024, .height = 768, .refreshHz = 0.5, .noTimingData = true},
       .isKept = false},
      {.name = "rate unknown",
       .mode = {.width = 1024, .height = 768, .refreshHz = 0, .noTimingData = true},
       .isKept = true},
      {.name = "no scale", .mode = {.width = 1024, .height = 768, .scale = 0}, .isKept = true},
      {.name = "twice the pixels", .mode = {.width = 1024, .height = 768, .scale = 2}, .isKept = true, .definition = 2},
      {.name = "absurd scale", .mode = {.width = 1024, .height = 768, .scale = 6}, .isKept = false},
      {.name = "hidden", .mode = {.width = 1024, .height = 768, .hidden = true}, .isKept = false},
  };
  for (const auto& row : rows) {
    DisplaysOnMac displays(leftWithModes({{.width = 1920, .height = 1080}, row.mode}));
    const auto mode = displays.mode("Left", row.mode.width, row.mode.height);
    EXPECT_EQ(mode != nullptr, row.isKept) << row.name;
    EXPECT_EQ(mode != nullptr ? mode->definition : row.definition, row.definition) << row.name;
    EXPECT_EQ(displays["Left"]->numberOfModesInCG, 2) << row.name;
  }
}

TEST(Discovery, MakesTheDepthsOfAModeOneMode) {
  DisplaysOnMac displays(leftWithModes({{.width = 1920, .height = 1080}, {.width = 1280, .height = 720}}, {8, 16, 32}));
  const auto left = displays["Left"];
  ASSERT_EQ(left->validDisplayModes.size(), 2U);
  EXPECT_EQ(left->numberOfModesInCG, 6);
  const VLMMode& mode = *left->validDisplayModes[1];
  EXPECT_EQ(mode.colorMask, 8 | 16 | 32);
  const auto& modes = displays.mac().display("Left").modes.modes;
  for (std::size_t slot = 0; slot < 9; ++slot) {
    const auto expected = slot < 3 ? static_cast<std::int32_t>(modes[3 + slot].number) : -1;
    EXPECT_EQ(mode.sysModeID[slot], expected) << slot;
  }
}

TEST(Discovery, PassesOverTheModeBehindARemovedDuplicate) {
  const ListedMode full{.width = 1920, .height = 1080}, small{.width = 1280, .height = 720};
  DisplaysOnMac displays(leftWithModes({full, small, small, small}));
  const auto left = displays["Left"];
  ASSERT_EQ(left->validDisplayModes.size(), 3U);
  const auto& modes = displays.mac().display("Left").modes.modes;
  EXPECT_EQ(left->validDisplayModes[2]->sysModeID[2], static_cast<std::int32_t>(modes[3].number));
  EXPECT_NE(left->validDisplayModes[1]->modeUniqueID, left->validDisplayModes[2]->modeUniqueID);
}

TEST(Discovery, LeavesModesWithoutTimingDataAlone) {
  const ListedMode blind{.width = 1280, .height = 720, .noTimingData = true};
  DisplaysOnMac displays(leftWithModes({{.width = 1920, .height = 1080}, blind, blind}));
  const auto& modes = displays["Left"]->validDisplayModes;
  ASSERT_EQ(modes.size(), 3U);
  EXPECT_TRUE(modes[1]->pixClock == 0 && modes[1]->totalPixels == 0 && !modes[1]->isNative && !modes[1]->isScaled);
  EXPECT_TRUE(modes[0]->pixClock > 0 && modes[0]->totalPixels > 1920 * 1080 && modes[0]->isNative);
}

TEST(Discovery, KnowsTheKindsOfVariableRefresh) {
  const struct {
    const char* name;
    std::int64_t system;
    bool builtIn;
    std::uint32_t kind;
  } rows[] = {{.name = "monitor", .system = 12, .builtIn = false, .kind = 1},
              {.name = "panel", .system = 12, .builtIn = true, .kind = 2},
              {.name = "before the system knew", .system = 11, .builtIn = false, .kind = 0}};
  for (const auto& row : rows) {
    sim::MachineDescription machine = row.builtIn ? sim::laptopWith({}) : sim::desktopWith({"Left"});
    machine.systemVersion = {.majorVersion = row.system, .minorVersion = 0, .patchVersion = 0};
    machine.displays[0].modeOptions.variableRefresh = true;
    DisplaysOnMac displays(machine);
    std::uint32_t kind = 0;
    for (const auto& mode : displays[machine.displays[0].name]->validDisplayModes) kind = std::max(kind, mode->isVRR);
    EXPECT_EQ(kind, row.kind) << row.name;
  }
}

TEST(Discovery, ReadsTheIdentityFromRegistryAndEdid) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  const auto left = displays["Left"];
  const sim::ParsedEdid& edid = displays.mac().display("Left").edid;
  EXPECT_EQ(left->displayVendorID, edid.vendor);
  EXPECT_EQ(left->displayProductID, edid.product);
  EXPECT_EQ(left->serialNumber, edid.serial);
  EXPECT_EQ(left->sysMonitorName, "Left");
  EXPECT_EQ(left->displayedNameForMenu(), "Left (2)");
  EXPECT_TRUE(left->isDigital && left->isEnabled && left->dispIsPresent && !left->hasFakeEDID());
  EXPECT_EQ(left->monitorResID, 1002);
  // The display's own component of the path is cut off, so that the place stays when the monitor changes.
  EXPECT_TRUE(left->driverLocationName->ends_with("/display0")) << *left->driverLocationName;
}

TEST(Discovery, ReadsTextsOfAnEdidWithoutWhatCannotBeStored) {
  DisplaysOnMac displays(sim::desktopWith({"Left"}));
  plist::Data edid(128);
  const auto descriptor = [&](std::size_t index, std::uint8_t tag, const std::string& text) {
    const std::size_t at = 54 + 18 * index;
    edid[at + 3] = tag;
    std::copy(text.begin(), text.end(), edid.begin() + static_cast<std::ptrdiff_t>(at) + 5);
  };
  descriptor(0, 0xFF, "S-1\nignored");
  descriptor(1, 0xFC, std::string("A\0B\xE9\n", 5));
  descriptor(2, 0xFC, "thirteen char");
  std::fill(edid.begin() + 12, edid.begin() + 16, std::uint8_t{1});
  edid[16] = 7;
  edid[17] = 30;
  setRegistry(displays, displays.mac().display("Left").displayService, "IODisplayEDID", edid);
  const auto left = displays["Left"];
  left->emptyCache();
  EXPECT_EQ(left->initializeRegistryData(), 0);
  EXPECT_EQ(left->sysMonitorName, "AB\xC3\xA9thirteen char");
  EXPECT_EQ(left->edidSerialString, "S-1");
  EXPECT_EQ(left->serialNumber, 0U);
  EXPECT_TRUE(left->manufactureWeek == 7 && left->manufactureYear == 2020);
}

TEST(Discovery, TakesAGarbledEdidForNone) {
  DisplaysOnMac displays(sim::desktopWith({"Left"}));
  setRegistry(displays, displays.mac().display("Left").displayService, "IODisplayEDID", plist::Data(128, 0xFF));
  const auto left = displays["Left"];
  EXPECT_FALSE(left->hasFakeEDID());
  left->emptyCache();
  EXPECT_TRUE(left->hasFakeEDID());
  EXPECT_EQ(left->edidDataActual()[10], left->displayProductID & 0xFF);
}

TEST(Discovery, KnowsDisplaysOfAMachineWithoutFrameBuffers) {
  sim::MachineDescription machine = sim::laptopWith({"Left"});
  machine.processor = sim::Processor::appleSilicon;
  DisplaysOnMac displays(machine);
  const auto left = displays["Left"];
  EXPECT_EQ(left->driverLocationName, "unknown");
  EXPECT_EQ(left->connection, 1);
  EXPECT_EQ(left->serialNumber, displays.mac().display("Left").edid.serial);
  EXPECT_EQ(left->sysMonitorName, "Left");
  EXPECT_EQ(displays["Built-in"]->sysMonitorName, "Panel");
  EXPECT_TRUE(left->canRotate && !displays["Built-in"]->canRotate);
  EXPECT_FALSE(left->validDisplayModes.empty());
  EXPECT_EQ(left->initializeRegistryData(), -1);
}

TEST(Discovery, FindsTheWaysToTheBrightness) {
  DisplaysOnMac displays(sim::laptopWith({"Left", "Right"}));
  EXPECT_EQ(displays["Built-in"]->canBrightness, 2);
  EXPECT_EQ(displays["Left"]->canBrightness, 1);
  EXPECT_EQ(displays["Left"]->maxBrightness, 100.0F);
  EXPECT_EQ(displays["Left"]->brightness, 0.75F);
  EXPECT_EQ(displays["Right"]->canBrightness, 0);
  EXPECT_EQ(displays["Right"]->brightness, -1.0F);
}

TEST(Discovery, TellsEveryRotation) {
  DisplaysOnMac displays(sim::desktopWith({"Left"}));
  const std::int16_t codes[] = {0, 6, 4, 1, 5, 3, 2, 7};
  const std::int32_t angles[] = {0, -3, -1, 90, -2, 270, 180, -4};
  const auto left = displays["Left"];
  for (int bits = 0; bits < 8; ++bits) {
    for (const int shift : {0, 4}) {
      setRegistry(displays, displays.mac().display("Left").frameBuffer, "IOFBTransform", bits << shift);
      left->transfType = left->getDisplayTansfType();
      EXPECT_EQ(left->transfType, codes[bits]) << bits;
      EXPECT_EQ(left->orientation(), angles[bits]) << bits;
    }
  }
}

/// An application that only takes down what is posted through it.
class PostingApplication : public VLMApplicationObject {
 public:
  void reloadPrefsFromFile() override {}
  void savePrefsToFileAndForce(bool) override {}
  void quitDaemon() override {}
  void loadStatusItem(bool) override {}
  void openControlApp() override {}
  void closeUtilityPanel() override {}
  void compareVersions() override {}
  void saveDesktop() override {}
  void restoreDesktop() override {}
  void daemonInstallHotKeys() override {}
  void daemonRemoveHotKeys() override {}
  void updateColorSync() override {}
  void postDirectNotificationName(const std::string& name) override { posted.push_back(name); }
  void applicationQuitted(const ProcessSerialNumber&) override {}
  void recordUseSet(const std::shared_ptr<VLMDisplaySet>&) override {}
  bool loadPrefsOriginatedFromMe() const override { return false; }
  void setLoadPrefsOriginatedFromMe(bool) override {}

  std::vector<std::string> posted;
};

TEST(MonitorConfigurationChange, FlagsAndPostsWhatHappened) {
  using Names = std::vector<std::string>;
  const struct {
    const char* name;
    CGDisplayChangeSummaryFlags flags;
    bool rechecks, updates;
    Names posted;
  } rows[] = {
      {.name = "about to", .flags = 0x1, .rechecks = false, .updates = false, .posted = {}},
      {.name = "another mode", .flags = 0x8, .rechecks = true, .updates = false, .posted = {}},
      {.name = "added", .flags = 0x10, .rechecks = true, .updates = true, .posted = {"VelmoratixOneMonitorAdded"}},
      {.name = "removed", .flags = 0x20, .rechecks = true, .updates = true, .posted = {"VelmoratixOneMonitorRemoved"}},
      {.name = "enabled",
       .flags = 0x100,
       .rechecks = true,
       .updates = true,
       .posted = {"VelmoratixOneMonitorActivated"}},
      {.name = "disabled",
       .flags = 0x200,
       .rechecks = true,
       .updates = true,
       .posted = {"VelmoratixOneMonitorDisabled"}},
      {.name = "of a kind without a name", .flags = 0x2000, .rechecks = true, .updates = true, .posted = {}},
  };
  for (const auto& row : rows) {
    DisplaysOnMac displays(sim::laptopWith({"Left"}));
    PostingApplication application;
    VLMGlobals& document = displays.document();
    document.applicationObject = &application;
    document.needToRecheckDisplays = document.needsUpdatingDisplays = false;
    Monitor_ConfigurationChange(displays.mac().display("Left").id, row.flags, document);
    EXPECT_EQ(document.needToRecheckDisplays, row.rechecks) << row.name;
    EXPECT_EQ(document.needsUpdatingDisplays, row.updates) << row.name;
    displays.mac().advance(1.9);
    EXPECT_EQ(application.posted, Names{}) << row.name;
    displays.mac().advance(0.2);
    EXPECT_EQ(application.posted, row.posted) << row.name;
    document.applicationObject = nullptr;
  }
}

TEST(MonitorConfigurationChange, AddsWhatTheSystemLeftOut) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  PostingApplication application;
  VLMGlobals& document = displays.document();
  document.applicationObject = &application;
  for (const auto& display : document.displayArray) display->previousEnabled = display->isEnabled;
  const CGDirectDisplayID left = displays.mac().display("Left").id;
  // A turned display, half a second later.
  setRegistry(displays, displays.mac().display("Left").frameBuffer, "IOFBTransform", 0x3);
  Monitor_ConfigurationChange(left, 0x1000, document);
  displays.mac().advance(0.6);
  EXPECT_EQ(application.posted, (std::vector<std::string>{"VelmoratixOneMonitorRotation"}));
  application.posted.clear();
  // One that was on is off: everything may have happened, and a turn is no turn then.
  displays["Left"]->previousEnabled = false;
  Monitor_ConfigurationChange(left, 0x1000, document);
  displays.mac().advance(3);
  EXPECT_EQ(application.posted.size(), 4U);
  document.applicationObject = nullptr;
}

TEST(MonitorConfigurationChange, RemembersTheModeBeforeAndNoticesOtherModes) {
  DisplaysOnMac displays(sim::laptopWith({"Left"}));
  VLMGlobals& document = displays.document();
  const auto left = displays["Left"];
  Monitor_ConfigurationChange(left->cgID, 0x1, document);
  EXPECT_EQ(left->previousMode.get(), left->currentMode.get());
  EXPECT_EQ(left->previousDepth, left->currentDepth);
  document.needsUpdatingDisplays = false;
  left->numberOfModesInCG -= 1;
  Monitor_ConfigurationChange(left->cgID, 0x8, document);
  EXPECT_TRUE(document.needsUpdatingDisplays);
}

}  // namespace
}  // namespace vlm
