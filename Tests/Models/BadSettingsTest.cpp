#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>

#include "Simulator/Mac/PropertyListFile.h"
#include "Tests/Support/DaemonOnMac.h"
#include "Tests/Support/TestProcess.h"

/// Settings files that are damaged: as files, and value by value.
namespace vlm {
namespace {

using plist::Array;
using plist::Dictionary;
using plist::Value;

constexpr int kEverything = 0x3FFF;

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The file of a daemon that has run, with a second display set.
const std::string& realFile() {
  static const std::string kFile = [] {
    const auto machine = sim::readMachine(std::string(VELMORATIX_MACHINES_FOLDER) + "/laptop-and-two.plist");
    test::DaemonOnMac on(std::get<sim::MachineDescription>(machine));
    on.launch();
    on.mac.advance(2);
    Dictionary settings = on.settings();
    Array sets = *settings.array("displaySetsArray");
    Dictionary second = *sets.front().dictionary();
    second.set("uniqueID", 2);
    sets.push_back(second);
    settings.set("displaySetsArray", sets);
    settings.set("startupSet", 2);
    settings.set("eventsArray", Array{Dictionary{{"a", 1}}});
    settings.set("someoneElses", "x");
    return sim::composePropertyList(settings);
  }();
  return kFile;
}

Dictionary parsed(const std::string& file) { return *sim::parsePropertyList(file).value->dictionary(); }

// --- Files ---

/// The same with one mode a list: the others have the same keys.
void shorten(Value& value) {
  if (Array* const array = value.array()) {
    if (array->size() > 3) array->resize(1, Value(0));
    for (Value& child : *array) shorten(child);
  } else if (Dictionary* const dictionary = value.dictionary()) {
    const Dictionary keys = *dictionary;
    for (const auto& entry : keys) shorten(*dictionary->find(entry.key));
  }
}

TEST(BadSettings, CutOffAnywhereAreNeverTakenForWholeOnes) {
  // Of each shape one: what it takes grows with the square of the length.
  Dictionary settings = parsed(realFile());
  Dictionary record = *settings.dictionary("allDisplays")->dictionary("1001");
  record.remove("allDisplayModes");
  settings.set("allDisplays", Dictionary{{"1001", record}});
  for (const char* const key : {"cmMenuFlags", "desktopFlags", "displaySetsArray", "sysMenuFlags"})
    settings.remove(key);
  Value complete = std::move(settings);
  shorten(complete);
  const std::string whole = sim::composePropertyList(complete);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const auto result = sim::parsePropertyList(whole.substr(0, length));
    EXPECT_TRUE(!result.value || *result.value == complete) << length << " of " << whole.size();
  }
}

/// A daemon that finds one damaged file after the other.
class DamagedFile : public ::testing::Test {
 protected:
  DamagedFile() : on_(test::laptopWith({"Left"})) {}

  void damageAndRestart(const std::string& content) {
    std::ofstream(on_.settingsPath()) << content;
    on_.launch();
    on_.mac.advance(3);
  }
  std::string copy(int number) const {
    return on_.settingsPath() + ".unreadable" + (number == 1 ? "" : "-" + std::to_string(number));
  }
  std::ptrdiff_t linesWith(const std::string& text) const {
    return std::count_if(on_.mac.log.begin(), on_.mac.log.end(),
                         [&](const std::string& line) { return line.find(text) != line.npos; });
  }

  test::DaemonOnMac on_;
};

TEST_F(DamagedFile, IsKeptBesideTheNewOneOnce) {
  const std::string whole = realFile();
  const std::string contents[] = {"<", "garbage", whole.substr(0, whole.size() / 2), whole.substr(0, 100),
                                  sim::composePropertyList(Array{parsed(whole)})};
  int copies = 0;
  for (const std::string& content : contents) {
    SCOPED_TRACE(content.substr(0, 20));
    ++copies;
    for (int time = 0; time < 2; ++time) damageAndRestart(content);
    EXPECT_EQ(contentOf(copy(copies)), content);
    EXPECT_EQ(linesWith("kept as"), copies);
    const Dictionary written = on_.settings();
    EXPECT_EQ(written.dictionary("allDisplays")->count(), 2U);
    EXPECT_EQ(written.array("displaySetsArray")->size(), 1U);
    damageAndRestart("");
    EXPECT_FALSE(std::filesystem::exists(copy(copies + 1)));
  }
}

TEST_F(DamagedFile, IsReplacedWithoutACopyWhenTheUserHasNineOthers) {
  for (int number = 1; number <= 9; ++number) std::ofstream(copy(number)) << number;
  damageAndRestart("garbage");
  ASSERT_EQ(on_.mac.setMode("Left", 1280, 720), std::nullopt);
  on_.mac.advance(3);
  EXPECT_EQ(linesWith("9 others are kept already"), 1);
  EXPECT_EQ(on_.settings().array("displaySetsArray")->size(), 1U);
  for (int number = 1; number <= 9; ++number) EXPECT_EQ(contentOf(copy(number)), std::to_string(number));
  EXPECT_FALSE(std::filesystem::exists(copy(10)));
}

TEST(BadSettings, OfTheWholeMachineAreNeitherCopiedNorReplaced) {
  test::DaemonOnMac on(test::laptopWith({"Left"}));
  const std::filesystem::path folder = on.mac.localFolder() + "/Library/Preferences";
  const std::string file = folder / std::filesystem::path(on.settingsPath()).filename();
  std::ofstream(file) << "damaged";
  on.launch();
  EXPECT_EQ(contentOf(file), "damaged");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
  EXPECT_EQ(on.settings().array("displaySetsArray")->size(), 1U);
}

// --- Values ---

const Value kReplacements[] = {true,
                               std::numeric_limits<std::int64_t>::min(),
                               std::numeric_limits<double>::quiet_NaN(),
                               "text",
                               Array{1, "x", Dictionary{}},
                               Dictionary{{"a", 1}}};

/// Calls with every value in `value`, itself left out, and the path to it; what is done to the value there is undone.
void forEachValueIn(Value& value, const std::vector<std::string>& path,
                    const std::function<void(Value&, const std::vector<std::string>&)>& body) {
  const auto visit = [&](Value& child, const std::string& name) {
    std::vector<std::string> deeper = path;
    deeper.push_back(name);
    const Value kept = child;
    body(child, deeper);
    child = kept;
    forEachValueIn(child, deeper, body);
  };
  if (Array* const array = value.array()) {
    for (std::size_t i = 0; i < array->size(); ++i) visit((*array)[i], std::to_string(i));
  } else if (Dictionary* const dictionary = value.dictionary()) {
    const Dictionary keys = *dictionary;
    for (const auto& entry : keys) visit(*dictionary->find(entry.key), entry.key);
  }
}

TEST(BadSettings, LoseADamagedValueAndNeverItsNeighbours) {
  Value file = parsed(realFile());
  shorten(file);
  file.dictionary()->find("allDisplays")->dictionary()->remove("1003");
  sim::SimulatedMac mac(test::laptopWith({}));
  mac.logEnabled = false;
  const Process::Scope scope(mac.addSession({.name = "daemon"}).process());
  VLMGlobals& document = VLMGlobals::sharedInstance();
  const auto loadedAndSaved = [&] {
    document.forget();
    document.decodeReadableWith(*file.dictionary(), kEverything);
    return document.encodeReadableInDict(file.dictionary(), kEverything);
  };
  const Dictionary intact = loadedAndSaved();
  const auto setWith = [](const Dictionary& settings, std::int64_t uniqueID) {
    const Array& sets = *settings.array("displaySetsArray");
    return std::find_if(sets.begin(), sets.end(), [&](const Value& set) {
             return set.dictionary()->number("uniqueID") == uniqueID;
           }) != sets.end();
  };
  int damages = 0;
  forEachValueIn(file, {}, [&](Value& value, const std::vector<std::string>& path) {
    const std::string& key = path.front();
    // What of the path leads to one record or set; all others stay.
    const std::string damaged = path.size() > 1 ? path[1] : "";
    const Value::Kind kind = value.kind();
    for (const Value& replacement : kReplacements) {
      if (kind == replacement.kind()) continue;
      value = replacement;
      const Dictionary result = loadedAndSaved();
      ++damages;
      for (const auto& entry : intact) {
        // A number that no set bears stands for no set, and then the key goes.
        const bool isNoSet =
            entry.key == "startupSet" && (key == "startupSet" ? replacement.isNumber() : !setWith(result, 2));
        EXPECT_TRUE(isNoSet || result.contains(entry.key)) << entry.key << " by " << key;
      }
      for (const auto& [identifier, record] : *intact.dictionary("allDisplays")) {
        if (key == "volatileDisplays" || (key == "allDisplays" && (damaged.empty() || damaged == identifier))) continue;
        const Value* const kept = result.dictionary("allDisplays")->find(identifier);
        EXPECT_TRUE(kept != nullptr && *kept == record) << identifier << " by " << key << "." << damaged;
      }
      if (key == "displaySetsArray" && damaged.empty()) continue;
      EXPECT_TRUE(damaged == "0" || setWith(result, 1)) << "by " << key;
      EXPECT_TRUE(damaged == "1" || setWith(result, 2)) << "by " << key;
    }
  });
  EXPECT_GT(damages, 2000);
}

TEST(BadSettings, KeepTheRecordOfAMonitorWhoseNumberAnotherBears) {
  const sim::TestProcess process;
  VLMGlobals& document = VLMGlobals::sharedInstance();
  const Dictionary left{{"monitorResID", 1002}, {"sysMonitorName", "Left"}},
      other{{"monitorResID", 1002}, {"sysMonitorName", "Other"}};
  Dictionary file{{"volatileDisplays", Array{1002}}, {"allDisplays", Dictionary{{"1001", left}, {"other", other}}}};
  // The second save meets three of that number.
  for (int save = 0; save < 2; ++save) {
    document.forget();
    document.decodeReadableWith(file, kEverything);
    file = document.encodeReadableInDict(&file, kEverything);
    const Dictionary& all = *file.dictionary("allDisplays");
    EXPECT_EQ(all.dictionary("1002")->string("sysMonitorName"), "Left") << save;
    EXPECT_EQ(*all.dictionary("other"), other);
  }
}

}  // namespace
}  // namespace vlm
