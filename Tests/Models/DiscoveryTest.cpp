#include <gtest/gtest.h>

#include "Models/Monitor.h"
#include "Models/VLMApplicationObject.h"
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

/// Reads the modes again after a change of an entry of the frame buffer's table.
template <class Change>
void readAgainWith(DisplaysOnMac& displays, std::size_t index, Change change) {
  plist::Dictionary config = sim::frameBufferConfig(displays.mac().display("Left").modes);
  plist::Array modes = *config.array("IOFBModes");
  plist::Dictionary entry = *modes[index].dictionary();
  plist::Data information = *entry.data("DM"), timing = *entry.data("TM");
  change(information, timing);
  entry.set("DM", information);
  entry.set("TM", timing);
  modes[index] = entry;
  config.set("IOFBModes", modes);
  displays.setProperty("Left", "IOFBConfig", config);
  displays["Left"]->countAndFillAllModes();
}

void put32(plist::Data& record, std::size_t offset, std::uint32_t value) {
  for (int byte = 0; byte < 4; ++byte) record[offset++] = static_cast<std::uint8_t>(value >> (8 * byte));
}

TEST(Discovery, DropsModesThatNobodyCanUse) {
  const struct {
    const char* name;
    ListedMode mode;
    /// 0 when it is dropped.
    float definition;
  } rows[] = {
      {.name = "tiny", .mode = {.width = 640, .height = 480}, .definition = 0},
      {.name = "wide enough", .mode = {.width = 800, .height = 480}, .definition = 1},
      {.name = "high enough", .mode = {.width = 720, .height = 600}, .definition = 1},
      {.name = "one point", .mode = {.width = 1, .height = 1}, .definition = 0},
      {.name = "negative", .mode = {.width = 0x80000400, .height = 768, .noTimingData = true}, .definition = 0},
      {.name = "half a hertz", .mode = {.width = 1024, .height = 768, .refreshHz = 0.5}, .definition = 0},
      {.name = "rate unknown", .mode = {.width = 1024, .height = 768, .refreshHz = 0}, .definition = 1},
      {.name = "no scale", .mode = {.width = 1024, .height = 768, .scale = 0}, .definition = 1},
      {.name = "twice the pixels", .mode = {.width = 1024, .height = 768, .scale = 2}, .definition = 2},
      {.name = "absurd scale", .mode = {.width = 1024, .height = 768, .scale = 6}, .definition = 0},
      {.name = "hidden", .mode = {.width = 1024, .height = 768, .hidden = true}, .definition = 0},
  };
  for (const auto& row : rows) {
    DisplaysOnMac displays(leftWithModes({{.width = 1920, .height = 1080}, row.mode}));
    const auto mode = displays.mode("Left", row.mode.width, row.mode.height);
    EXPECT_EQ(mode != nullptr ? mode->definition : 0, row.definition) << row.name;
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

TEST(Discovery, TakesModesForDuplicatesByTheBytesOfTheirTimings) {
  const struct {
    std::size_t byte;
    bool isKept;
  } rows[] = {{.byte = 11, .isKept = false},
              {.byte = 12, .isKept = true},
              {.byte = 131, .isKept = true},
              {.byte = 132, .isKept = false}};
  const ListedMode full{.width = 1920, .height = 1080}, small{.width = 1280, .height = 720};
  for (const auto& row : rows) {
    DisplaysOnMac displays(leftWithModes({full, small, small}));
    EXPECT_EQ(displays["Left"]->validDisplayModes.size(), 2U);
    readAgainWith(displays, 2, [&](plist::Data&, plist::Data& timing) { timing[row.byte] ^= 0x80; });
    EXPECT_EQ(displays["Left"]->validDisplayModes.size(), row.isKept ? 3U : 2U) << row.byte;
  }
}

TEST(Discovery, LearnsFromTheFrameBufferHowAModeIsMade) {
  // Offsets in the timing record: the scaler's flags and the sizes that it takes and gives.
  constexpr std::size_t kFlags = 20, kScaledWidth = 24, kScaledHeight = 28, kWidth = 64, kHeight = 80;
  const struct {
    const char* name;
    /// What differs in the record of 1280 by 720 pixels.
    std::vector<std::pair<std::size_t, std::uint32_t>> timing;
    bool isScaled, isNative;
  } rows[] = {
      {"plain", {}, false, true},
      {"scaled", {{kScaledWidth, 1280}, {kScaledHeight, 720}, {kWidth, 1920}, {kHeight, 1080}}, true, false},
      {"scaled in width", {{kScaledWidth, 1280}}, true, false},
      {"scaled in height", {{kScaledHeight, 720}}, true, false},
      {"scaled by nothing", {{kScaledWidth, 1280}, {kScaledHeight, 720}}, true, true},
      {"turned", {{kFlags, 0x10}, {kScaledWidth, 720}, {kScaledHeight, 1280}}, false, true},
      {"mirrored", {{kFlags, 0x80}, {kScaledWidth, 720}, {kScaledHeight, 1280}}, false, true},
      {"turned and scaled", {{kFlags, 0x20}, {kScaledWidth, 720}, {kScaledHeight, 1281}}, true, false},
      {"turned without sizes", {{kFlags, 0x40}}, true, false},
      {"other flags", {{kFlags, 0xFFFFFF0F}}, false, true},
  };
  DisplaysOnMac displays(leftWithModes({{.width = 1920, .height = 1080}, {.width = 1280, .height = 720}}));
  for (const auto& row : rows) {
    readAgainWith(displays, 1, [&](plist::Data&, plist::Data& timing) {
      for (const auto& [offset, value] : row.timing) put32(timing, offset, value);
    });
    const auto mode = displays.mode("Left", 1280, 720);
    EXPECT_EQ(mode->isScaled, row.isScaled) << row.name;
    EXPECT_EQ(mode->isNative, row.isNative) << row.name;
    EXPECT_EQ(mode->resolutionType, row.isScaled ? 1 : 0) << row.name;
  }
}

TEST(Discovery, LearnsInterlacingAndTheLongestFrame) {
  DisplaysOnMac displays(leftWithModes({{.width = 1920, .height = 1080}, {.width = 1280, .height = 720}}));
  EXPECT_FALSE(displays.mode("Left", 1280, 720)->interlaced);
  readAgainWith(displays, 1, [](plist::Data& information, plist::Data& timing) {
    information[16] |= 0x40;
    put32(timing, 68, 160);   // horizontal blanking
    put32(timing, 84, 30);    // vertical blanking
    put32(timing, 132, 500);  // and its extension
  });
  const auto mode = displays.mode("Left", 1280, 720);
  EXPECT_TRUE(mode->interlaced && !displays.mode("Left", 1920, 1080)->interlaced);
  EXPECT_EQ(mode->totalPixels, 1440 * 750);
  EXPECT_EQ(mode->totalPixelsMin, 1440 * 1250);
}

TEST(Discovery, LeavesModesWithoutTimingDataAlone) {
  const ListedMode blind{.width = 1280, .height = 720, .noTimingData = true};
  DisplaysOnMac displays(leftWithModes({{.width = 1920, .height = 1080}, blind, blind}));
  const auto& modes = displays["Left"]->validDisplayModes;
  ASSERT_EQ(modes.size(), 3U);
  EXPECT_TRUE(modes[1]->pixClock == 0 && modes[1]->totalPixels == 0 && !modes[1]->isNative && !modes[1]->isScaled);
  EXPECT_TRUE(modes[0]->pixClock > 0 && modes[0]->isNative);
}

TEST(Discovery, TellsModesOfARemoteDesktopApartByWhatTheSystemSays) {
  const ListedMode full{.width = 1920, .height = 1080}, small{.width = 1280, .height = 720};
  sim::MachineDescription machine = leftWithModes({full, small, small}, {16, 32});
  machine.processor = sim::Processor::appleSilicon;
  DisplaysOnMac displays(machine);
  const auto& modes = displays["Left"]->validDisplayModes;
  ASSERT_EQ(modes.size(), 2U);
  EXPECT_EQ(modes[1]->colorMask, 16 | 32);
  auto& listed = displays.mac().display("Left").modes.modes;
  ASSERT_EQ(listed.size(), 6U);
  EXPECT_EQ(modes[1]->sysModeID[2], static_cast<std::int32_t>(listed[3].number));
  // Flags that do not change what the user sees do not make another mode.
  std::uint32_t distinguishing = 0;
  for (std::uint32_t flag = 1; flag != 0; flag <<= 1) {
    listed[4].ioFlags ^= flag;
    displays["Left"]->countAndFillAllModes();
    if (modes.size() == 3) distinguishing |= flag;
    listed[4].ioFlags ^= flag;
  }
  EXPECT_EQ(distinguishing, 0x8FBFFB00);
}

TEST(Discovery, KnowsWhetherAFrameBufferCanBeAskedToLookForDisplays) {
  const struct {
    const char* name;
    std::optional<std::int32_t> left, right;
    bool canProbe;
  } rows[] = {{.name = "nothing said", .left = {}, .right = {}, .canProbe = false},
              {.name = "other bits", .left = 6, .right = {}, .canProbe = false},
              {.name = "the first", .left = 3, .right = 2, .canProbe = true},
              {.name = "the last", .left = {}, .right = 1, .canProbe = true}};
  for (const auto& row : rows) {
    sim::MachineDescription machine = sim::desktopWith({"Left", "Right"});
    machine.displays[0].probeOptions = row.left;
    machine.displays[1].probeOptions = row.right;
    EXPECT_EQ(DisplaysOnMac(machine).document().canProbe, row.canProbe) << row.name;
  }
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
  EXPECT_TRUE(left->isDigital && left->isEnabled && left->dispIsPresent && !left->hasFakeEDID());
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
  const sim::SimulatedDisplay& monitor = displays.mac().display("Left");
  displays.mac().windowServer().registry().setProperty(monitor.displayService, "IODisplayEDID", edid);
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
  const sim::SimulatedDisplay& monitor = displays.mac().display("Left");
  displays.mac().windowServer().registry().setProperty(monitor.displayService, "IODisplayEDID", plist::Data(128, 0xFF));
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
  EXPECT_EQ(left->initializeRegistryData(), -1);
}

/// An application that only takes down what is posted through it.
class PostingApplication : public VLMApplicationObject {
 public:
  explicit PostingApplication(VLMGlobals& document) : document_(document) { document.applicationObject = this; }
  ~PostingApplication() override { document_.applicationObject = nullptr; }

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

 private:
  VLMGlobals& document_;
};

TEST(MonitorConfigurationChange, FlagsAndPostsWhatHappened) {
  const struct {
    const char* name;
    CGDisplayChangeSummaryFlags flags;
    bool rechecks, updates;
    std::vector<std::string> posted;
  } rows[] = {
      {"about to", 0x1, false, false, {}},
      {"another mode", 0x8, true, false, {}},
      {"added", 0x10, true, true, {"VelmoratixOneMonitorAdded"}},
      {"removed", 0x20, true, true, {"VelmoratixOneMonitorRemoved"}},
      {"enabled", 0x100, true, true, {"VelmoratixOneMonitorActivated"}},
      {"disabled", 0x200, true, true, {"VelmoratixOneMonitorDisabled"}},
      {"of a kind without a name", 0x2000, true, true, {}},
  };
  for (const auto& row : rows) {
    DisplaysOnMac displays(sim::laptopWith({"Left"}));
    VLMGlobals& document = displays.document();
    PostingApplication application(document);
    document.needToRecheckDisplays = document.needsUpdatingDisplays = false;
    Monitor_ConfigurationChange(displays.mac().display("Left").id, row.flags, document);
    EXPECT_EQ(document.needToRecheckDisplays, row.rechecks) << row.name;
    EXPECT_EQ(document.needsUpdatingDisplays, row.updates) << row.name;
    displays.mac().advance(1.9);
    EXPECT_TRUE(application.posted.empty()) << row.name;
    displays.mac().advance(0.2);
    EXPECT_EQ(application.posted, row.posted) << row.name;
  }
}

TEST(MonitorConfigurationChange, AddsWhatTheSystemLeftOut) {
  const std::vector<std::string> all{"VelmoratixOneMonitorAdded", "VelmoratixOneMonitorRemoved",
                                     "VelmoratixOneMonitorActivated", "VelmoratixOneMonitorDisabled"};
  const struct {
    const char* name;
    void (*change)(VLMGlobals& document);
    std::vector<std::string> posted;
    const char* logged;
  } rows[] = {
      {"turned", [](VLMGlobals&) {}, {"VelmoratixOneMonitorRotation"}, "Result: is a rotation"},
      // A turn is no turn when everything may have happened.
      {"one more", [](VLMGlobals& document) { document.displayArray.erase(document.displayArray.begin()); }, all,
       "added flags 1"},
      {"one off", [](VLMGlobals& document) { document.displayArray[0]->previousEnabled = false; }, all,
       "added flags 2"},
  };
  for (const auto& row : rows) {
    DisplaysOnMac displays(sim::laptopWith({"Left"}));
    VLMGlobals& document = displays.document();
    PostingApplication application(document);
    for (const auto& display : document.displayArray) display->previousEnabled = display->isEnabled;
    displays.setProperty("Left", "IOFBTransform", 0x3);
    row.change(document);
    Monitor_ConfigurationChange(displays.mac().display("Left").id, 0x1000, document);
    displays.mac().advance(0.6);
    EXPECT_EQ(application.posted.size(), row.posted == all ? 0U : 1U) << row.name;
    displays.mac().advance(2);
    EXPECT_EQ(application.posted, row.posted) << row.name;
    EXPECT_TRUE(displays.hasLogged(row.logged)) << row.name;
  }
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

TEST(MonitorBrightnessChange, IsRecordedWhileASetIsBeingRecorded) {
  const struct {
    const char* name;
    bool isOn, isSetRecorded;
    plist::Dictionary information;
    bool isRecorded = false;
  } rows[] = {
      {.name = "recording", .isOn = true, .isSetRecorded = false, .information = {{"value", 0.5}}, .isRecorded = true},
      {.name = "not recording", .isOn = false, .isSetRecorded = false, .information = {{"value", 0.5}}},
      {.name = "set recorded by now", .isOn = true, .isSetRecorded = true, .information = {{"value", 0.5}}},
      {.name = "as it was", .isOn = true, .isSetRecorded = false, .information = {{"value", 0.75}}},
      {.name = "no value", .isOn = true, .isSetRecorded = false, .information = {}},
  };
  for (const auto& row : rows) {
    DisplaysOnMac displays(sim::laptopWith({}));
    const auto panel = displays["Built-in"];
    test::BrightnessRecorder recorder;
    recorder.isOn = row.isOn;
    displays.document().isSetRecorded = row.isSetRecorded;
    Monitor_BrightnessChange(panel->cgID, row.information, displays.document());
    EXPECT_EQ(recorder.recorded, row.isRecorded ? std::vector<float>{0.5F} : std::vector<float>{}) << row.name;
    EXPECT_EQ(panel->brightness, row.isRecorded ? 0.5F : 0.75F) << row.name;
  }
}

}  // namespace
}  // namespace vlm
