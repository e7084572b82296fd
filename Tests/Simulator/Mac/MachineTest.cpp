#include "Simulator/Mac/Machine.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "Simulator/Mac/PropertyListFile.h"
#include "Tests/Support/Machines.h"
#include "Tests/Support/TestProcess.h"

namespace vlm::sim {
namespace {

using plist::Array;
using plist::Dictionary;

/// A folder for machine files that goes with the test.
class MachineFile : public testing::Test {
 protected:
  ~MachineFile() override { std::filesystem::remove_all(folder); }

  std::string put(const std::string& name, const std::string& content) const {
    std::ofstream(folder / name, std::ios::binary) << content;
    return folder / name;
  }

  std::string pattern = (std::filesystem::temp_directory_path() / "velmoratix-test-XXXXXX").string();
  const std::filesystem::path folder = mkdtemp(pattern.data());
};

Dictionary changed(Dictionary dictionary, const std::string& key, const plist::Value& value) {
  dictionary.set(key, value);
  return dictionary;
}

TEST_F(MachineFile, GivesDisplaysTheirEdidsModesAndPorts) {
  const plist::Data edid = builtInPanel().edid;
  put("panel.bin", std::string(edid.begin(), edid.end()));
  const Dictionary file{
      {"name", "File"}, {"edid", "panel.bin"}, {"modeOptions", Dictionary{{"depths", Array{32, 30}}}}};
  const Dictionary data{{"name", "Data"}, {"edidData", edid}, {"origin", "-2560,-10"}, {"port", 0}};
  const Dictionary listed{{"name", "Listed"},
                          {"monitor", Dictionary{{"vendor", "ABC"}}},
                          {"modes", Array{Dictionary{{"width", 800}, {"height", 600}, {"refreshHz", 75}}}}};
  const Dictionary machine{{"displays", Array{file, data, listed}}};
  const auto read = readMachine(put("all.plist", composePropertyList(machine)));
  ASSERT_TRUE(std::holds_alternative<MachineDescription>(read)) << std::get<std::string>(read);
  const auto& displays = std::get<MachineDescription>(read).displays;
  EXPECT_EQ(displays.at(0).edid, edid);
  EXPECT_EQ(displays.at(0).modeOptions.depths, (std::vector<std::uint32_t>{32, 30}));
  EXPECT_EQ(displays.at(1).origin, (Point{.x = -2560, .y = -10}));
  EXPECT_EQ(displays.at(2).listedModes.at(0).refreshHz, 75);
  // The one that says its port has it; the others take those that are left.
  EXPECT_EQ(displays.at(0).port, 1U);
  EXPECT_EQ(displays.at(1).port, 0U);
  EXPECT_EQ(displays.at(2).port, 2U);
}

TEST_F(MachineFile, RefusesWhatItCannotTakeAndSaysWhere) {
  const Dictionary bare{{"name", "Left"}};
  const Dictionary left = changed(bare, "monitor", Dictionary{{"vendor", "ABC"}});
  const Dictionary right = changed(left, "name", "Right");
  const auto with = [](const Array& displays) { return Dictionary{{"displays", displays}}; };
  const auto monitor = [&](const std::string& key, const plist::Value& value) {
    return with({changed(left, "monitor", Dictionary{{key, value}})});
  };
  const Dictionary size{{"width", 800}, {"height", 600}};
  const std::string first = "displays[0] (Left): ";
  const std::string sources = "one of the keys \"edid\", \"edidData\" and \"monitor\" is needed";
  const std::pair<plist::Value, std::string> rows[] = {
      {Array{}, "is no dictionary"},
      {with({}), "there is no display"},
      {changed(with({left}), "colour", 1), "key \"colour\" is not known"},
      {changed(with({left}), "processes",
               Array{Dictionary{{"name", "Finder"}, {"windows", Array{"0,0 9x9 layer -5", "0,0 9x9 layer"}}}}),
       "processes[0]: windows[1]: it is no text of the form X,Y WxH"},
      {with({left, changed(right, "colour", 1)}), "displays[1] (Right): key \"colour\" is not known"},
      {monitor("vendor", "vlm"), first + "monitor: vendor \"vlm\" is not three capital letters"},
      {monitor("name", "caf\xc3\xa9"), first + "monitor: name has a character that is not printable ASCII"},
      {monitor("nativeRefreshHz", -1), first + "monitor: native timing 1920x1080 cannot be expressed"},
      {monitor("moreTimings", Array{"800x600@nan"}), first + "monitor: timing \"800x600@nan\" cannot be expressed"},
      {monitor("moreTimings", Array{"800x600i@60"}), first + "monitor: timing \"800x600i@60\" cannot be expressed"},
      {monitor("moreTimings", Array{"800x600@60Hz"}), first + "monitor: timing \"800x600@60Hz\" is not WIDTHxHEIGHT"},
      {monitor("size", 27), first + "monitor: key \"size\" is not known"},
      {monitor("moreTimings", Array{"800x600", 7}), first + "monitor: moreTimings[1]: it is no text"},
      {with({changed(left, "builtIn", 1)}), first + "key \"builtIn\" is neither true nor false"},
      {with({changed(left, "ddcMaximum", 65536)}), first + "key \"ddcMaximum\" is 65536, beyond 0 to 65535"},
      {with({changed(left, "i2cBuses", Array{"failing", "deaf"})}),
       first + "i2cBuses[1]: it is none of \"working\", \"closed\" and \"failing\""},
      {Dictionary{}, "key \"displays\" is missing"},
      {with(Array(17, left)), "key \"displays\" has 17 displays, more than 16"},
      {changed(with({left}), "systemVersion", "12.6 beta"), "key \"systemVersion\" is no text of the form 12.6.1"},
      {changed(with({left}), "decimalSeparator", "::"), "key \"decimalSeparator\" is not one character"},
      {with({changed(left, "name", " ")}), "displays[0] ( ): key \"name\" is blank"},
      {with({changed(left, "name", "a\x1b")}), "displays[0] (a\x1b): key \"name\" has a control character"},
      {with({changed(left, "name", std::string(61, 'a'))}), "displays[0] (" + std::string(61, 'a') + "): key"},
      {with({left, changed(left, "name", "LEFT")}), "displays Left and LEFT differ only in the case of their names"},
      {with({changed(left, "port", -1)}), first + "key \"port\" is -1, beyond 0 to 4294967295"},
      {with({changed(left, "port", 64)}), first + "key \"port\" is 64, beyond 0 to 63"},
      {with({changed(left, "port", std::uint64_t{1} << 63)}), first + "key \"port\" is 9223372036854775808, beyond"},
      {with({changed(left, "hardwareMirrorOf", "nobody")}),
       "display Left: key \"hardwareMirrorOf\": there is no display nobody"},
      {with({changed(left, "brightness", 1.5)}), first + "key \"brightness\" is 1.5, beyond 0 to 1"},
      {with({changed(left, "modes", Array{})}), first + "key \"modes\" is empty"},
      {with({changed(left, "modes", Array{changed(size, "scale", 0)})}),
       first + "modes[0]: key \"scale\" is 0, beyond 1 to 4"},
      {with({changed(left, "modes", Array{changed(size, "depths", Array{})})}),
       first + "modes[0]: key \"depths\" is empty"},
      {with({changed(changed(left, "modes", Array{size}), "modeOptions", Dictionary{{"hiDPI", true}})}),
       first + "key \"modes\" stands beside \"modeOptions\" that add modes"},
      {with({changed(left, "origin", "1,2,3")}), first + "key \"origin\" is no text of the form X,Y"},
      {with({changed(left, "modeOptions", Dictionary{{"depths", Array{31}}})}),
       first + "modeOptions: key \"depths\" has a depth of 31 bits"},
      {with({changed(left, "edid", "a.bin")}), first + sources},
      {with({bare}), first + sources},
      {with({changed(bare, "edid", "none.bin")}), first + (folder / "none.bin: No such file or directory").string()},
      {with({changed(bare, "edidData", plist::Data(100))}), "display Left: EDID: "},
      {with({left, left}), "two displays have the name Left"},
      {with({changed(left, "port", 3), changed(right, "port", 3)}), "displays Left and Right are both on port 3"},
      {with({changed(left, "builtIn", true), changed(right, "builtIn", true)}),
       "displays Left and Right are both built in"},
      {with({changed(left, "mode", "1234x567")}),
       "display Left: key \"mode\": it has no mode 1234x567, but 1920x1080@60"},
  };
  for (const auto& [content, expected] : rows) {
    const std::string path = put("m.plist", composePropertyList(content));
    const auto read = readMachine(path);
    ASSERT_TRUE(std::holds_alternative<std::string>(read)) << expected;
    EXPECT_EQ(std::get<std::string>(read).substr(0, (path + ": " + expected).size()), path + ": " + expected);
  }
}

TEST_F(MachineFile, OfAnEdidIsADisplayNamedAfterTheMonitorOrTheFile) {
  const plist::Data bytes = externalMonitor("Left").edid;
  const std::string content(bytes.begin(), bytes.end());
  const std::string path = put("a.bin", content);
  EXPECT_EQ(std::get<DisplayDescription>(readDisplay(path, "")).name, "Left");
  EXPECT_EQ(std::get<DisplayDescription>(readDisplay(path, "Mine")).name, "Mine");
  std::string nameless = content;
  nameless[nameless.find(std::string("\0\0\0\xfc", 4)) + 3] = '\x10';  // the descriptor becomes an unused one
  EXPECT_EQ(std::get<DisplayDescription>(readDisplay(put("nameless.bin", nameless), "")).name, "nameless");
}

TEST(Machines, AddedDisplaysGetPortsAndNamesOfTheirOwn) {
  MachineDescription machine = laptopWith({"Left", "Left", "Left"});
  EXPECT_EQ(faultInMachine(machine), std::nullopt);
  EXPECT_EQ(machine.displays[3].name, "Left 3");
  EXPECT_EQ(machine.displays[3].port, 3U);
  machine.displays.erase(machine.displays.begin() + 1);
  EXPECT_EQ(firstFreePort(machine), 1U);
}

}  // namespace
}  // namespace vlm::sim
