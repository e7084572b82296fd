#include "Simulator/Mac/Machine.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "Simulator/Mac/PropertyListFile.h"
#include "Simulator/Mac/WindowServer.h"
#include "Tests/Support/Machines.h"
#include "Tests/Support/TestProcess.h"

namespace vlm::sim {
namespace {

using plist::Array;
using plist::Dictionary;

/// A folder for machine files that goes with the test.
struct Folder {
  Folder() {
    std::string name = (std::filesystem::temp_directory_path() / "velmoratix-test-XXXXXX").string();
    path = mkdtemp(name.data());
  }
  ~Folder() { std::filesystem::remove_all(path); }
  std::string put(const std::string& name, const std::string& content) const {
    std::ofstream(path + "/" + name, std::ios::binary) << content;
    return path + "/" + name;
  }
  std::string path;
};

Dictionary monitorNamed(const std::string& name) {
  return {{"name", name}, {"monitor", Dictionary{{"vendor", "ABC"}, {"serial", 5}}}};
}

Dictionary machineWith(const Array& displays) { return {{"displays", displays}}; }

Dictionary changed(Dictionary dictionary, const std::string& key, const plist::Value& value) {
  dictionary.set(key, value);
  return dictionary;
}

TEST(MachineFile, EveryKeyReachesItsField) {
  const Folder folder;
  const plist::Data edid = builtInPanel().edid;
  folder.put("panel.bin", std::string(edid.begin(), edid.end()));
  const Dictionary panel{
      {"name", "Panel"},         {"edid", "panel.bin"},
      {"builtIn", true},         {"modeOptions", Dictionary{{"hiDPI", true}, {"depths", Array{32, 30}}}},
      {"mode", "1440x900"},      {"brightness", 0.5},
      {"systemBrightness", true}};
  const Dictionary data{{"name", "Data"},        {"edidData", externalMonitor("Left").edid},
                        {"origin", "-2560,-10"}, {"plugged", false},
                        {"ddc", "healthy"},      {"ddcMaximum", 50},
                        {"ddcCurrent", 49}};
  const Dictionary listed =
      changed(monitorNamed("Listed"), "modes",
              Array{Dictionary{{"width", 800}, {"height", 600}, {"refreshHz", 75}, {"depths", Array{8}}}});
  Dictionary machine = machineWith({panel, changed(data, "port", 0), listed});
  machine.set("processor", "appleSilicon");
  machine.set("systemVersion", "13.4.1");
  machine.set("processes", Array{Dictionary{{"name", "Finder"}, {"bundleIdentifier", "com.apple.finder"}}});
  machine.set("decimalSeparator", ",");

  const auto read = readMachine(folder.put("all.plist", composePropertyList(machine)));
  ASSERT_TRUE(std::holds_alternative<MachineDescription>(read)) << std::get<std::string>(read);
  const auto& result = std::get<MachineDescription>(read);
  EXPECT_EQ(result.processor, Processor::appleSilicon);
  EXPECT_EQ(result.systemVersion.patchVersion, 1);
  EXPECT_EQ(result.decimalSeparator, ",");
  EXPECT_EQ(result.processes.at(0).bundleIdentifier, "com.apple.finder");
  ASSERT_EQ(result.displays.size(), 3U);
  EXPECT_EQ(result.displays[0].edid, edid);
  EXPECT_TRUE(result.displays[0].builtIn);
  EXPECT_EQ(result.displays[0].modeOptions.depths, (std::vector<std::uint32_t>{32, 30}));
  EXPECT_EQ(result.displays[0].brightness, 0.5F);
  EXPECT_EQ(result.displays[1].origin, (Point{.x = -2560, .y = -10}));
  EXPECT_EQ(result.displays[1].ddc, DdcBehaviour::healthy);
  EXPECT_EQ(result.displays[1].ddcCurrent, 49);
  EXPECT_EQ(result.displays[2].listedModes.at(0).refreshHz, 75);
  // The one that says its port has it; the others take those that are left.
  EXPECT_EQ(result.displays[0].port, 1U);
  EXPECT_EQ(result.displays[1].port, 0U);
  EXPECT_EQ(result.displays[2].port, 2U);
}

TEST(MachineFile, RefusesWhatItCannotTakeAndSaysWhere) {
  const Folder folder;
  const Dictionary left = monitorNamed("Left");
  const Dictionary right = monitorNamed("Right");
  const struct {
    const char* name;
    plist::Value content;
    std::string expected;
  } rows[] = {
      {.name = "no dictionary", .content = Array{}, .expected = "is no dictionary"},
      {.name = "no display", .content = machineWith({}), .expected = "there is no display"},
      {.name = "displays of a wrong kind",
       .content = Dictionary{{"displays", 1}},
       .expected = "key \"displays\" is no array"},
      {.name = "unknown key",
       .content = changed(machineWith({left}), "colour", 1),
       .expected = "key \"colour\" is not known"},
      {.name = "unknown key of a display",
       .content = machineWith({left, changed(right, "colour", 1)}),
       .expected = "displays[1] (Right): key \"colour\" is not known"},
      {.name = "unknown key of a monitor",
       .content = machineWith({changed(left, "monitor", Dictionary{{"size", 27}})}),
       .expected = "displays[0] (Left): monitor: key \"size\" is not known"},
      {.name = "wrong kind",
       .content = machineWith({changed(left, "builtIn", 1)}),
       .expected = "displays[0] (Left): key \"builtIn\" is neither true nor false"},
      {.name = "wrong kind in a list",
       .content = machineWith({changed(left, "monitor", Dictionary{{"moreTimings", Array{"800x600", 7}}})}),
       .expected = "displays[0] (Left): monitor: moreTimings[1]: it is no text"},
      {.name = "number beyond its width",
       .content = machineWith({changed(left, "ddcMaximum", 65536)}),
       .expected = "displays[0] (Left): key \"ddcMaximum\" is 65536, beyond 0 to 65535"},
      {.name = "negative number",
       .content = machineWith({changed(left, "port", -1)}),
       .expected = "displays[0] (Left): key \"port\" is -1, beyond 0 to 4294967295"},
      {.name = "brightness",
       .content = machineWith({changed(left, "brightness", 1.5)}),
       .expected = "displays[0] (Left): key \"brightness\" is not between 0 and 1"},
      {.name = "origin",
       .content = machineWith({changed(left, "origin", "1,2,3")}),
       .expected = "displays[0] (Left): key \"origin\" is no text of the form X,Y"},
      {.name = "depth",
       .content = machineWith({changed(left, "modeOptions", Dictionary{{"depths", Array{31}}})}),
       .expected = "displays[0] (Left): key \"modeOptions\" has a depth of 31 bits"},
      {.name = "two EDIDs",
       .content = machineWith({changed(left, "edid", "a.bin")}),
       .expected = "displays[0] (Left): one of the keys \"edid\", \"edidData\" and \"monitor\" is needed"},
      {.name = "no EDID",
       .content = machineWith({Dictionary{{"name", "Left"}}}),
       .expected = "displays[0] (Left): one of the keys \"edid\", \"edidData\" and \"monitor\" is needed"},
      {.name = "EDID file that is missing",
       .content = machineWith({Dictionary{{"name", "Left"}, {"edid", "none.bin"}}}),
       .expected = "displays[0] (Left): " + folder.path + "/none.bin: No such file or directory"},
      {.name = "short EDID",
       .content = machineWith({Dictionary{{"name", "Left"}, {"edidData", plist::Data(100)}}}),
       .expected = "display Left: EDID: "},
      {.name = "duplicate names", .content = machineWith({left, left}), .expected = "two displays have the name Left"},
      {.name = "one port",
       .content = machineWith({changed(left, "port", 3), changed(right, "port", 3)}),
       .expected = "displays Left and Right are both on port 3"},
      {.name = "two panels",
       .content = machineWith({changed(left, "builtIn", true), changed(right, "builtIn", true)}),
       .expected = "displays Left and Right are both built in"},
      {.name = "mode that it lacks",
       .content = machineWith({changed(left, "mode", "1234x567")}),
       .expected = "display Left: it has no mode 1234x567"},
  };
  for (const auto& row : rows) {
    const std::string path = folder.put("m.plist", composePropertyList(row.content));
    const auto read = readMachine(path);
    ASSERT_TRUE(std::holds_alternative<std::string>(read)) << row.name;
    EXPECT_TRUE(std::get<std::string>(read).starts_with(path + ": " + row.expected))
        << row.name << ": " << std::get<std::string>(read);
  }
}

TEST(MachineFile, EveryOneOfTheSimulatorMakesARunningMachine) {
  int machines = 0;
  for (const auto& file : std::filesystem::directory_iterator(VELMORATIX_MACHINES_FOLDER)) {
    const auto read = readMachine(file.path().string());
    ASSERT_TRUE(std::holds_alternative<MachineDescription>(read)) << std::get<std::string>(read);
    SimulatedMac mac(std::get<MachineDescription>(read));
    EXPECT_TRUE(mac.faults().empty()) << file.path() << ": " << mac.faults()[0];
    for (const auto& display : mac.windowServer().displays()) {
      EXPECT_TRUE(display->isActive()) << file.path() << display->description.name;
      EXPECT_GE(display->modes.modes.size(), 3U) << file.path() << display->description.name;
      EXPECT_TRUE(display->edid.findings.empty()) << file.path() << ": " << display->edid.findings[0];
    }
    ++machines;
  }
  EXPECT_EQ(machines, 4);
}

TEST(EdidFile, BecomesADisplayNamedAfterTheMonitor) {
  const Folder folder;
  const plist::Data bytes = externalMonitor("Left").edid;
  const std::string content(bytes.begin(), bytes.end());
  const std::string path = folder.put("a.bin", content);
  EXPECT_EQ(std::get<DisplayDescription>(readDisplay(path, "")).name, "Left");
  EXPECT_EQ(std::get<DisplayDescription>(readDisplay(path, "Mine")).name, "Mine");

  std::string nameless = content;
  nameless[nameless.find(std::string("\0\0\0\xfc", 4)) + 3] = '\x10';  // the descriptor becomes an unused one
  EXPECT_EQ(std::get<DisplayDescription>(readDisplay(folder.put("nameless.bin", nameless), "")).name, "nameless");

  const auto refused = [&](const std::string& file) { return std::get<std::string>(readDisplay(file, "")); };
  EXPECT_EQ(refused(folder.path + "/none"), folder.path + "/none: No such file or directory");
  EXPECT_TRUE(refused(folder.put("short.bin", content.substr(0, 100))).starts_with(folder.path + "/short.bin: "));
  EXPECT_TRUE(refused(folder.put("long.bin", std::string(kLongestEdid + 1, 'x'))).starts_with(folder.path));
}

TEST(Machines, AddedDisplaysGetPortsAndNamesOfTheirOwn) {
  MachineDescription machine = laptopWith({"Left", "Left", "Left"});
  EXPECT_EQ(faultInMachine(machine), std::nullopt);
  EXPECT_EQ(machine.displays[3].name, "Left 3");
  EXPECT_EQ(machine.displays[3].port, 3U);
  machine.displays.erase(machine.displays.begin() + 1);
  EXPECT_EQ(firstFreePort(machine), 1U);
}

TEST(SimulatedMac, OutsideChangesOfUnknownDisplaysAreRefusedWithAReason) {
  SimulatedMac mac(laptopWith({"Left"}));
  EXPECT_EQ(mac.unplug("Elsewhere"), "there is no display \"Elsewhere\"");
  EXPECT_EQ(mac.setMode("Left", 1, 2), "display \"Left\" has no mode of 1x2");
  EXPECT_EQ(mac.setMode("Left", 1920, 1080, 50), std::nullopt);
  EXPECT_EQ(mac.display("Left").mode().width, 1920U);
  EXPECT_EQ(mac.setEnabled("Left", false), std::nullopt);
  EXPECT_FALSE(mac.display("Left").isActive());
  EXPECT_EQ(mac.unplug("Left"), std::nullopt);
  EXPECT_EQ(mac.plug("Left"), std::nullopt);
  mac.turn();
  EXPECT_TRUE(mac.faults().empty());
}

TEST(SimulatedMac, ATemporaryHomeGoesWithItAndAGivenOneStays) {
  const Folder folder;
  std::string temporary;
  {
    const SimulatedMac first(laptopWith({}));
    const SimulatedMac second(laptopWith({}), folder.path + "/deep/home/");
    temporary = first.homeFolder();
    EXPECT_TRUE(std::filesystem::is_directory(temporary + "/Library/Preferences"));
    EXPECT_TRUE(std::filesystem::is_directory(first.localFolder() + "/Library/Preferences"));
    EXPECT_EQ(second.homeFolder(), folder.path + "/deep/home");
  }
  EXPECT_FALSE(std::filesystem::exists(temporary));
  EXPECT_TRUE(std::filesystem::exists(folder.path + "/deep/home/Library/Preferences"));
}

}  // namespace
}  // namespace vlm::sim
